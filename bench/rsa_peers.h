// RSA by other libraries, as their public interfaces offer it: the bare operations, without padding, and key
// generation. A file for each library, as their headers do not go together.
#ifndef VT_BENCH_RSA_PEERS_H
#define VT_BENCH_RSA_PEERS_H

#include <functional>
#include <string>
#include <vector>

#include "bench/key.h"

namespace bench {

// The eight numbers of a key, big-endian.
struct RsaNumbers {
    Bytes n, e, d, p, q, dp, dq, qInverse;
};

// A key made ready, and in^e or in^d mod n into out; both have the length of n.
using RsaRun = std::function<void(const Bytes& in, Bytes& out)>;

struct RsaPeer {
    std::string who;
    std::function<RsaRun(const RsaNumbers& key)> publicOp;
    std::function<RsaRun(const RsaNumbers& key)> privateOp;  // may be absent
    std::function<void(int bits)> generate;                  // may be absent
    int smallestKey;                                         // bits of the smallest key it makes and takes
};

std::vector<RsaPeer> openSslRsa();
std::vector<RsaPeer> botanRsa();
std::vector<RsaPeer> cryptoPlusPlusRsa();
std::vector<RsaPeer> gcryptRsa();
std::vector<RsaPeer> mbedTlsRsa();
std::vector<RsaPeer> nettleRsa();
std::vector<RsaPeer> nssRsa();
std::vector<RsaPeer> tomCryptRsa();
std::vector<RsaPeer> wolfSslRsa();

// RSAPrivateKey of PKCS#1 as DER, for libraries that read a key so; and inside the PrivateKeyInfo of PKCS#8.
Bytes privateKeyDer(const RsaNumbers& key);
Bytes privateKeyInfoDer(const RsaNumbers& key);

}  // namespace bench

#endif

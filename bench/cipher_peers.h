// What a library does with one message, key set-up and all: the same work for each peer. A file for each library, as
// their headers do not go together.
#ifndef VT_BENCH_CIPHER_PEERS_H
#define VT_BENCH_CIPHER_PEERS_H

#include <functional>
#include <string>
#include <vector>

#include "bench/key.h"

namespace bench {

// A message of whole blocks in CBC mode without padding, or for a digest. Number is RC2's effective bits, RC5's rounds.
struct Job {
    Bytes key;
    Bytes iv;
    unsigned number = 0;
    bool encrypting = true;
};

// out has the size of the result.
using Run = std::function<void(const Job& job, const Bytes& in, Bytes& out)>;

struct Peer {
    std::string work;  // "DES-CBC", "3DES-CBC", "RC2-CBC", "RC4", "RC5-CBC", "MD2", "MD5", "SHA-1"
    std::string who;
    Run run;
};

std::vector<Peer> openSslPeers();
std::vector<Peer> botanPeers();
std::vector<Peer> cryptoPlusPlusPeers();
std::vector<Peer> gcryptPeers();
std::vector<Peer> mbedTlsPeers();
std::vector<Peer> nettlePeers();
std::vector<Peer> nssPeers();
std::vector<Peer> tomCryptPeers();
std::vector<Peer> wolfSslPeers();

}  // namespace bench

#endif

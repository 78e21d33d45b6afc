// One certificate, decoded into a library's own values and encoded again. A file for each library, as their headers do
// not go together.
#ifndef VT_BENCH_X509_PEERS_H
#define VT_BENCH_X509_PEERS_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace bench {

using Bytes = std::vector<std::uint8_t>;

// decode reads the certificate and throws the values away again; it aborts if they cannot be had. encode, where the
// library has it, writes values that were decoded before, without a copy of the encoding that they came from; it
// returns the length, which is that of the certificate. print, where it has it, makes a text of decoded values for
// people and returns its length.
struct X509Peer {
    std::string who;
    std::function<void()> decode;
    std::function<std::size_t()> encode;
    std::function<std::size_t()> print = nullptr;
};

X509Peer ourX509(const Bytes& certificate);
X509Peer botanX509(const Bytes& certificate);
X509Peer gnuTlsX509(const Bytes& certificate);
X509Peer ksbaX509(const Bytes& certificate);
X509Peer mbedTlsX509(const Bytes& certificate);
X509Peer nssX509(const Bytes& certificate);
X509Peer openSslX509(const Bytes& certificate);
X509Peer tasn1X509(const Bytes& certificate);
X509Peer tomCryptX509(const Bytes& certificate);
X509Peer wolfSslX509(const Bytes& certificate);

}  // namespace bench

#endif

// Base64 by other libraries, as their public interfaces offer it. A file for each library, as their headers do not go
// together.
#ifndef VT_BENCH_BASE64_PEERS_H
#define VT_BENCH_BASE64_PEERS_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "bench/pattern.h"

namespace bench {

// Both buffers have room for the result and are there beforehand; what a library wants to allocate itself, it may. Both
// return the length of the result. What a library does not have is null.
//
//     encode      to one line, or as the library breaks lines
//     decodeLine  a text without line breaks
//     decodeLines a text with a line break after each 64th character
struct Base64Peer {
    std::string who;
    std::function<std::size_t(const Bytes& bytes, std::string& text)> encode;
    std::function<std::size_t(const std::string& text, Bytes& bytes)> decodeLine;
    std::function<std::size_t(const std::string& text, Bytes& bytes)> decodeLines;
};

Base64Peer botanBase64();
Base64Peer cryptoPlusPlusBase64();
Base64Peer gnuTlsBase64();
Base64Peer mbedTlsBase64();
Base64Peer nettleBase64();
Base64Peer nssBase64();
Base64Peer openSslBase64();
Base64Peer tomCryptBase64();
Base64Peer wolfSslBase64();

}  // namespace bench

#endif

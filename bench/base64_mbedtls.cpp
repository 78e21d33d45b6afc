#include <mbedtls/base64.h>

#include "bench/base64_peers.h"

namespace bench {
namespace {

std::size_t encode(const Bytes& bytes, std::string& text) {
    std::size_t length = 0;
    mbedtls_base64_encode(reinterpret_cast<unsigned char*>(text.data()), text.size(), &length, bytes.data(),
                          bytes.size());
    return length;
}

std::size_t decode(const std::string& text, Bytes& bytes) {
    std::size_t length = 0;
    mbedtls_base64_decode(bytes.data(), bytes.size(), &length, reinterpret_cast<const unsigned char*>(text.data()),
                          text.size());
    return length;
}

}  // namespace

Base64Peer mbedTlsBase64() {
    return {"mbedTLS", encode, decode, decode};
}

}  // namespace bench

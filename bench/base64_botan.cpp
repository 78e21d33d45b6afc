#include <botan/base64.h>

#include "bench/base64_peers.h"

namespace bench {
namespace {

std::size_t encode(const Bytes& bytes, std::string& text) {
    std::size_t consumed = 0;
    return Botan::base64_encode(text.data(), bytes.data(), bytes.size(), consumed, true);
}

std::size_t decode(const std::string& text, Bytes& bytes) {
    return Botan::base64_decode(bytes.data(), text.data(), text.size());
}

}  // namespace

Base64Peer botanBase64() {
    return {"Botan", encode, decode, decode};
}

}  // namespace bench

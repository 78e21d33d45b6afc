#include <nettle/base64.h>

#include "bench/base64_peers.h"

namespace bench {
namespace {

std::size_t encode(const Bytes& bytes, std::string& text) {
    base64_encode_ctx context;
    base64_encode_init(&context);
    const std::size_t length = base64_encode_update(&context, text.data(), bytes.size(), bytes.data());
    return length + base64_encode_final(&context, text.data() + length);
}

std::size_t decode(const std::string& text, Bytes& bytes) {
    base64_decode_ctx context;
    base64_decode_init(&context);
    std::size_t length = bytes.size();
    return base64_decode_update(&context, &length, bytes.data(), text.size(), text.data()) == 1 ? length : 0;
}

}  // namespace

Base64Peer nettleBase64() {
    return {"nettle", encode, decode, decode};
}

}  // namespace bench

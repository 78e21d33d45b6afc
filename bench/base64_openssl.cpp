#include <openssl/evp.h>

#include <memory>

#include "bench/base64_peers.h"

namespace bench {
namespace {

const unsigned char* charsOf(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

struct FreeContext {
    void operator()(EVP_ENCODE_CTX* context) const { EVP_ENCODE_CTX_free(context); }
};

std::size_t encode(const Bytes& bytes, std::string& text) {
    return static_cast<std::size_t>(
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), bytes.data(), static_cast<int>(bytes.size())));
}

// The block function counts what the padding stands for.
std::size_t decodeLine(const std::string& text, Bytes& bytes) {
    const int length = EVP_DecodeBlock(bytes.data(), charsOf(text), static_cast<int>(text.size()));
    const std::size_t padding = text.size() - text.find_last_not_of('=') - 1;
    return static_cast<std::size_t>(length) - padding;
}

std::size_t decodeLines(const std::string& text, Bytes& bytes) {
    static const std::unique_ptr<EVP_ENCODE_CTX, FreeContext> context(EVP_ENCODE_CTX_new());
    int length = 0;
    int rest = 0;
    EVP_DecodeInit(context.get());
    EVP_DecodeUpdate(context.get(), bytes.data(), &length, charsOf(text), static_cast<int>(text.size()));
    EVP_DecodeFinal(context.get(), bytes.data() + length, &rest);
    return static_cast<std::size_t>(length + rest);
}

}  // namespace

Base64Peer openSslBase64() {
    return {"OpenSSL", encode, decodeLine, decodeLines};
}

}  // namespace bench

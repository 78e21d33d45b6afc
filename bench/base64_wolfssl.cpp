// wolfSSL's codec looks each character up by its whole table, against observers of the cache.
#include <wolfssl/options.h>
#include <wolfssl/wolfcrypt/coding.h>
#include <wolfssl/wolfcrypt/types.h>

#include "bench/base64_peers.h"

namespace bench {
namespace {

std::size_t encode(const Bytes& bytes, std::string& text) {
    auto length = static_cast<word32>(text.size());
    Base64_Encode_NoNl(bytes.data(), static_cast<word32>(bytes.size()), reinterpret_cast<byte*>(text.data()), &length);
    return length;
}

std::size_t decode(const std::string& text, Bytes& bytes) {
    auto length = static_cast<word32>(bytes.size());
    const auto* const in = reinterpret_cast<const byte*>(text.data());
    return Base64_Decode(in, static_cast<word32>(text.size()), bytes.data(), &length) == 0 ? length : 0;
}

}  // namespace

Base64Peer wolfSslBase64() {
    return {"wolfSSL", encode, decode, decode};
}

}  // namespace bench

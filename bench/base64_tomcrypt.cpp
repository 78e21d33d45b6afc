#include <tomcrypt.h>

#include "bench/base64_peers.h"

namespace bench {
namespace {

std::size_t encode(const Bytes& bytes, std::string& text) {
    unsigned long length = text.size();
    base64_encode(bytes.data(), bytes.size(), reinterpret_cast<unsigned char*>(text.data()), &length);
    return length;
}

std::size_t decode(const std::string& text, Bytes& bytes) {
    unsigned long length = bytes.size();
    return base64_decode(reinterpret_cast<const unsigned char*>(text.data()), text.size(), bytes.data(), &length) ==
                   CRYPT_OK
               ? length
               : 0;
}

}  // namespace

Base64Peer tomCryptBase64() {
    return {"libtomcrypt", encode, decode, decode};
}

}  // namespace bench

// NSS allocates the result, and breaks lines.
#include <base64.h>
#include <secport.h>

#include <cstring>

#include "bench/base64_peers.h"

namespace bench {
namespace {

std::size_t encode(const Bytes& bytes, std::string& /*text*/) {
    char* const made = BTOA_DataToAscii(bytes.data(), static_cast<unsigned int>(bytes.size()));
    const std::size_t length = std::strlen(made);
    PORT_Free(made);
    return length;
}

std::size_t decode(const std::string& text, Bytes& /*bytes*/) {
    unsigned int length = 0;
    PORT_Free(ATOB_AsciiToData(text.c_str(), &length));
    return length;
}

}  // namespace

Base64Peer nssBase64() {
    return {"NSS", encode, decode, decode};
}

}  // namespace bench

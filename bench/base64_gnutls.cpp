// GnuTLS allocates the result.
#include <gnutls/gnutls.h>

#include <cstdlib>

#include "bench/base64_peers.h"

namespace bench {
namespace {

using Convert = int (*)(const gnutls_datum_t* in, gnutls_datum_t* out);

std::size_t run(Convert convert, const void* in, std::size_t length) {
    const gnutls_datum_t data = {static_cast<unsigned char*>(const_cast<void*>(in)), static_cast<unsigned int>(length)};
    gnutls_datum_t result = {nullptr, 0};
    if (convert(&data, &result) != 0)
        std::abort();
    gnutls_free(result.data);
    return result.size;
}

std::size_t encode(const Bytes& bytes, std::string& /*text*/) {
    return run(gnutls_base64_encode2, bytes.data(), bytes.size());
}

std::size_t decode(const std::string& text, Bytes& /*bytes*/) {
    return run(gnutls_base64_decode2, text.data(), text.size());
}

}  // namespace

Base64Peer gnuTlsBase64() {
    return {"GnuTLS", encode, decode, decode};
}

}  // namespace bench

// GnuTLS exports the bytes that it imported.
#include <gnutls/x509.h>

#include <cstdlib>
#include <memory>

#include "bench/x509_peers.h"

namespace bench {

namespace {

gnutls_x509_crt_t decoded(const Bytes& certificate) {
    gnutls_x509_crt_t made = nullptr;
    const gnutls_datum_t in = {const_cast<unsigned char*>(certificate.data()),
                               static_cast<unsigned int>(certificate.size())};
    if (gnutls_x509_crt_init(&made) != 0 || gnutls_x509_crt_import(made, &in, GNUTLS_X509_FMT_DER) != 0)
        std::abort();
    return made;
}

}  // namespace

X509Peer gnuTlsX509(const Bytes& certificate) {
    const std::shared_ptr<gnutls_x509_crt_int> held(decoded(certificate), gnutls_x509_crt_deinit);
    return {"GnuTLS", [certificate] { gnutls_x509_crt_deinit(decoded(certificate)); }, nullptr,
            [held] {
                gnutls_datum_t text = {nullptr, 0};
                gnutls_x509_crt_print(held.get(), GNUTLS_CRT_PRINT_FULL, &text);
                gnutls_free(text.data);
                return std::size_t{text.size};
            }};
}

}  // namespace bench

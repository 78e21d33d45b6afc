// OpenSSL keeps the encoding it decoded; it is told that the certificate was changed, so that it encodes.
#include <openssl/x509.h>

#include <cstdlib>
#include <memory>

#include "bench/x509_peers.h"

namespace bench {

namespace {

X509* decoded(const Bytes& certificate) {
    const unsigned char* at = certificate.data();
    X509* const made = d2i_X509(nullptr, &at, static_cast<long>(certificate.size()));
    if (made == nullptr)
        std::abort();
    return made;
}

}  // namespace

X509Peer openSslX509(const Bytes& certificate) {
    const std::shared_ptr<X509> held(decoded(certificate), X509_free);
    i2d_re_X509_tbs(held.get(), nullptr);
    const auto out = std::make_shared<Bytes>(certificate.size());
    return {"OpenSSL", [certificate] { X509_free(decoded(certificate)); },
            [held, out] {
                unsigned char* at = out->data();
                return static_cast<std::size_t>(i2d_X509(held.get(), &at));
            },
            [held] {
                const std::unique_ptr<BIO, decltype(&BIO_free)> text(BIO_new(BIO_s_mem()), BIO_free);
                X509_print(text.get(), held.get());
                return static_cast<std::size_t>(BIO_pending(text.get()));
            }};
}

}  // namespace bench

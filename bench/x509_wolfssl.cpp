// wolfSSL gives the bytes back that it decoded.
#include <wolfssl/options.h>
// The options first.
#include <wolfssl/ssl.h>

#include <cstdlib>

#include "bench/x509_peers.h"

namespace bench {

X509Peer wolfSslX509(const Bytes& certificate) {
    return {"wolfSSL",
            [certificate] {
                WOLFSSL_X509* const made =
                    wolfSSL_X509_d2i(nullptr, certificate.data(), static_cast<int>(certificate.size()));
                if (made == nullptr)
                    std::abort();
                wolfSSL_X509_free(made);
            },
            nullptr};
}

}  // namespace bench

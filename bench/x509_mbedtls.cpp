// mbedTLS copies the encoding, and its values are pointers into the copy.
#include <mbedtls/x509_crt.h>

#include <cstdlib>

#include "bench/x509_peers.h"

namespace bench {

X509Peer mbedTlsX509(const Bytes& certificate) {
    return {"mbedTLS",
            [certificate] {
                mbedtls_x509_crt made;
                mbedtls_x509_crt_init(&made);
                if (mbedtls_x509_crt_parse_der(&made, certificate.data(), certificate.size()) != 0)
                    std::abort();
                mbedtls_x509_crt_free(&made);
            },
            nullptr};
}

}  // namespace bench

// libksba reads certificates; it gives their bytes back as they came.
#include <ksba.h>

#include <cstdlib>

#include "bench/x509_peers.h"

namespace bench {

X509Peer ksbaX509(const Bytes& certificate) {
    return {
        "libksba",
        [certificate] {
            ksba_cert_t made = nullptr;
            if (ksba_cert_new(&made) != 0 || ksba_cert_init_from_mem(made, certificate.data(), certificate.size()) != 0)
                std::abort();
            ksba_cert_release(made);
        },
        nullptr};
}

}  // namespace bench

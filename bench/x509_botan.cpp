// Botan keeps the encoding of what is signed, so that there is nothing of it to encode.
#include <botan/x509cert.h>

#include "bench/x509_peers.h"

namespace bench {

X509Peer botanX509(const Bytes& certificate) {
    return {"Botan", [certificate] { const Botan::X509_Certificate decoded(certificate); }, nullptr};
}

}  // namespace bench

// Botan keeps the encoding of what is signed, so that there is nothing of it to encode.
#include <botan/x509cert.h>

#include <memory>

#include "bench/x509_peers.h"

namespace bench {

X509Peer botanX509(const Bytes& certificate) {
    const auto held = std::make_shared<Botan::X509_Certificate>(certificate);
    return {"Botan", [certificate] { const Botan::X509_Certificate decoded(certificate); }, nullptr,
            [held] { return held->to_string().size(); }};
}

}  // namespace bench

// libtomcrypt knows no certificates: its values are those of ASN.1, in a tree without names.
#define LTM_DESC  // the numbers of libtommath
#include <tomcrypt.h>

#include <cstdlib>

#include "bench/x509_peers.h"

namespace bench {

namespace {

ltc_asn1_list* decoded(const Bytes& certificate) {
    unsigned long length = certificate.size();
    ltc_asn1_list* made = nullptr;
    if (der_decode_sequence_flexi(certificate.data(), &length, &made) != CRYPT_OK)
        std::abort();
    return made;
}

}  // namespace

X509Peer tomCryptX509(const Bytes& certificate) {
    ltc_mp = ltm_desc;
    return {"libtomcrypt", [certificate] { der_free_sequence_flexi(decoded(certificate)); }, nullptr};
}

}  // namespace bench

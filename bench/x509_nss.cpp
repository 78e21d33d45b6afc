#include <cert.h>
#include <nss.h>
#include <secasn1.h>

#include <cstdlib>
#include <memory>

#include "bench/x509_peers.h"

// The library exports what its header calls CERT_DecodeDERCertificate under this name alone.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" CERTCertificate* __CERT_DecodeDERCertificate(SECItem* in, PRBool copy, char* nickname);

namespace bench {

namespace {

CERTCertificate* decoded(const Bytes& certificate) {
    SECItem in = {siDERCertBuffer, const_cast<unsigned char*>(certificate.data()),
                  static_cast<unsigned int>(certificate.size())};
    CERTCertificate* const made = __CERT_DecodeDERCertificate(&in, PR_TRUE, nullptr);
    if (made == nullptr)
        std::abort();
    return made;
}

}  // namespace

X509Peer nssX509(const Bytes& certificate) {
    if (!NSS_IsInitialized() && NSS_NoDB_Init(nullptr) != SECSuccess)
        std::abort();
    const std::shared_ptr<CERTCertificate> held(decoded(certificate), CERT_DestroyCertificate);
    return {"NSS", [certificate] { CERT_DestroyCertificate(decoded(certificate)); },
            [held] {
                PLArenaPool* const arena = PORT_NewArena(DER_DEFAULT_CHUNKSIZE);
                const SECItem* const out =
                    SEC_ASN1EncodeItem(arena, nullptr, held.get(), SEC_ASN1_GET(SEC_SignedCertificateTemplate));
                if (out == nullptr)
                    std::abort();
                const std::size_t length = out->len;
                PORT_FreeArena(arena, PR_FALSE);
                return length;
            }};
}

}  // namespace bench

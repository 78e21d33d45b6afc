#include <cert.h>
#include <keyhi.h>
#include <nss.h>
#include <secasn1.h>

#include <cstdlib>

#include "bench/pkcs10_peers.h"

namespace bench {

namespace {

bool verifies(PLArenaPool* arena, const Bytes& der) {
    SECItem in = {siBuffer, const_cast<unsigned char*>(der.data()), static_cast<unsigned int>(der.size())};
    CERTSignedData read = {};
    CERTCertificateRequest request = {};
    if (SEC_ASN1DecodeItem(arena, &read, SEC_ASN1_GET(CERT_SignedDataTemplate), &in) != SECSuccess ||
        SEC_ASN1DecodeItem(arena, &request, SEC_ASN1_GET(CERT_CertificateRequestTemplate), &read.data) != SECSuccess)
        return false;
    return CERT_VerifySignedDataWithPublicKeyInfo(&read, &request.subjectPublicKeyInfo, nullptr) == SECSuccess;
}

}  // namespace

bool nssVerifiesRequest(const Bytes& der) {
    if (!NSS_IsInitialized() && NSS_NoDB_Init(nullptr) != SECSuccess)
        std::abort();
    PLArenaPool* const arena = PORT_NewArena(DER_DEFAULT_CHUNKSIZE);
    const bool good = verifies(arena, der);
    PORT_FreeArena(arena, PR_FALSE);
    return good;
}

}  // namespace bench

#include "pki/enveloped_access.h"
#include "pki/flat/flat.h"
#include "pki/flat/opening.h"
#include "pki/signed_and_enveloped_data_content_info.h"
#include "pki/signer_access.h"
#include "pki/signer_info.h"

namespace {

using pki::EnvelopedAccess;
using Sealed = VT_SignedAndEnvelopedDataContentInfo;

// What opens a message: the algorithm that it names, and the key that its first recipient's part holds.
struct Opener {
    VT_P11_Alg algorithm;
    VT_P11_Key sessionKey;
};

int32_t openContent(VT_P11_OP& op, Sealed& sealed, int32_t mode, const VT_P11_Key& privateKey, const PKCS_Blob& data,
                    Opener& opener) {
    AlgorithmIdentifier algorithm;
    int32_t result = sealed.getEncryptedContentInfoAlgorithmIdentifier(algorithm);
    if (result == 0)
        result = flat::openSessionKey(op, sealed, privateKey, algorithm, opener.sessionKey);
    if (result == 0)
        result = opener.algorithm.setAlgorithmIdentifier(algorithm);
    return result != 0 ? result : flat::decryptContent(op, sealed, mode, opener.sessionKey, &data);
}

int32_t verifySigners(VT_P11_OP& op, const Sealed& sealed, const Opener& opener, const flat::SignerCheck& check) {
    const AsnSetOf<SignerInfo>& signers = *EnvelopedAccess::signers(sealed);
    VT_SignerInfo signer;
    for (unsigned int i = 0; i < signers.Size(); ++i) {
        int32_t result = signer.decomposeSignerInfo(*signers.Get(i));
        if (result == 0)
            result = signer.decryptDigest(op, opener.algorithm, opener.sessionKey);
        bool verified = false;
        if (result == 0)
            result = flat::checkSigner(check, signer, verified);
        if (result != 0 || verified)
            return result;
    }
    return token::kNoSignerVerified;
}

struct Lists {
    VT_List* certificates;
    VT_List* certificateLists;
};

int32_t readSealed(PKCS_Ctx* ctx, const PKCS_Blob& message, int32_t mode, const PKCS_PriKey& record,
                   const PKCS_Blob* external, const Lists& lists, PKCS_Blob& data) {
    VT_P11_Key privateKey;
    int32_t result = flat::readPrivateKey(record, privateKey);
    if (result != 0)
        return result;
    Sealed sealed;
    Opener opener;
    result = flat::openMessage(ctx, message, sealed);
    if (result == 0)
        result = openContent(*ctx->operation, sealed, mode, privateKey, data, opener);
    const auto* const certificates = EnvelopedAccess::certificates(sealed);
    if (result == 0)
        result = flat::fillList(lists.certificates, certificates);
    if (result == 0)
        result = flat::fillList(lists.certificateLists, EnvelopedAccess::certificateLists(sealed));
    const ContentInfo* const inner = EnvelopedAccess::content(sealed);
    flat::CertificateSearch search(certificates);
    pki::SignedContent signedContent(inner);
    if (result == 0)
        result = verifySigners(*ctx->operation, sealed, opener, {ctx, search, external, signedContent});
    return result == 0 && mode == PKCS7_ATTACHED ? flat::unwrapOutput(*inner, data) : result;
}

}  // namespace

int32_t PKCS7_ReadSignedAndEnvelopedDataMsg(PKCS_Ctx* ctx, const PKCS_Blob* message, int32_t mode,
                                            const PKCS_PriKey* key, const PKCS_Blob* signerCertificate,
                                            VT_List* certificates, VT_List* certificateLists, PKCS_Blob* data) {
    if (flat::anyNull(ctx, message, key, data))
        return VT_E_NULL_ARGUMENT;
    if (message->data == nullptr)
        return token::kMaterialMissing;
    return flat::guarded(VT_E_NULL_ARGUMENT, [&] {
        return readSealed(ctx, *message, mode, *key, signerCertificate, {certificates, certificateLists}, *data);
    });
}

int32_t PKCS7_WriteSignedAndEnvelopedDataMsg(PKCS_Ctx* /*ctx*/, ...) {
    return 0;
}

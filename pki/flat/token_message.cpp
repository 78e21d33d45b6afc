#include "pki/flat/flat.h"
#include "pki/flat/owned_record.h"
#include "pki/flat/signed_message.h"
#include "pki/signer_access.h"
#include "pki/signer_info.h"
#include "schema/schema.h"
#include "token/alg.h"
#include "token/codes.h"
#include "token/key.h"

namespace {

constexpr PKCS_Alg kRsaSignature = {token::kRsa, nullptr, 0, 0};

// What is to be verified; it lies in the opened message.
struct FirstSigner {
    VT_SignerInfo signer;
    const ContentInfo* content = nullptr;
    const Certificate* certificate = nullptr;
};

int32_t findSigner(const pki::SignedParts& parts, FirstSigner& first) {
    // A message without signers is an exception here.
    int32_t result = first.signer.decomposeSignerInfo(*parts.signers->Get(0));
    if (result != 0)
        return result;
    const IssuerAndSerialNumber* const identity = pki::SignerAccess::issuerAndSerialNumber(first.signer);
    if (identity == nullptr)
        return token::kMaterialMissing;
    result = flat::CertificateSearch(parts.certificates).find(*identity, first.certificate);
    if (result != 0)
        return result;
    return first.certificate != nullptr ? 0 : token::kNotTheSigner;
}

// Both outputs, or neither.
int32_t giveOutputs(const FirstSigner& first, PKCS_Blob& certificate, PKCS_Blob& data) {
    flat::OwnedRecord<PKCS_Blob> found;
    int32_t result = flat::giveDer(*first.certificate, found.record);
    if (result == 0)
        result = flat::unwrapOutput(*first.content, data);
    if (result == 0)
        certificate = found.release();
    return result;
}

int32_t verifySigned(PKCS_Ctx* ctx, const PKCS_Blob& message, VT_List* certificates, VT_List* certificateLists,
                     PKCS_Blob& signerCertificate, PKCS_Blob& data) {
    SignedData value;
    pki::SignedParts parts;
    int32_t result = flat::openSigned(message, value, parts);
    if (result != 0)
        return result;
    FirstSigner first;
    first.content = parts.content;
    if (first.content->GetContent() == nullptr)
        return token::kMaterialMissing;
    result = flat::fillList(certificates, parts.certificates);
    if (result == 0)
        result = flat::fillList(certificateLists, parts.certificateLists);
    if (result == 0)
        result = findSigner(parts, first);
    // Callers show content and signer of a message also where the signature is bad.
    if (result == 0)
        result = giveOutputs(first, signerCertificate, data);
    pki::SignedContent content(first.content);
    if (result == 0)
        result = pki::SignerAccess::verify(first.signer, *ctx->operation, *first.certificate, content);
    return result == token::kDigestMismatch ? int32_t{token::kSignatureMismatch} : result;
}

}  // namespace

int32_t VTPKCS_GenSignedMsg(PKCS_Ctx* ctx, const PKCS_Blob* data, const PKCS_Alg* digest, int32_t /*mode*/,
                            const PKCS_Blob* signerCertificate, const VTPKCS_KeyObj* key, const VT_List* certificates,
                            const VT_List* certificateLists, PKCS_Blob* message) {
    if (flat::anyNull(ctx, data, digest, signerCertificate, key, message))
        return VT_E_NULL_ARGUMENT;
    return flat::guarded(VT_E_NULL_ARGUMENT, [&] {
        VT_P11_Key signer;
        const int32_t result = flat::readKeyObject(*key, signer);
        if (result != 0)
            return result;
        return flat::writeSigned(
            ctx,
            {*data, *digest, kRsaSignature, PKCS7_ATTACHED, *signerCertificate, signer, certificates, certificateLists},
            *message);
    });
}

int32_t VTPKCS_VerifySignedMsg(PKCS_Ctx* ctx, const PKCS_Blob* message, VT_List* certificates,
                               VT_List* certificateLists, PKCS_Blob* signerCertificate, PKCS_Blob* data) {
    if (flat::anyNull(ctx, message, signerCertificate, data))
        return VT_E_NULL_ARGUMENT;
    if (message->data == nullptr)
        return token::kMaterialMissing;
    if (ctx->operation == nullptr)
        return token::kNoOperation;
    return flat::guarded(VT_E_NULL_ARGUMENT, [&] {
        return verifySigned(ctx, *message, certificates, certificateLists, *signerCertificate, *data);
    });
}

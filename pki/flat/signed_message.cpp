#include "pki/certificate.h"
#include "pki/flat/flat.h"
#include "pki/flat/message.h"
#include "pki/signed_data_content_info.h"
#include "pki/signer_access.h"
#include "pki/signer_info.h"
#include "schema/schema.h"
#include "token/alg.h"
#include "token/codes.h"
#include "token/key.h"
#include "token/op.h"

namespace {

// ---- Reading

int32_t openMessage(const PKCS_Blob& message, SignedData& value, pki::SignedDataParts& parts) {
    ContentInfo content;
    flat::decodeBlob(message, content);
    return pki::openSignedData(content, value, parts);
}

int32_t findContent(const ContentInfo& attached, int32_t mode, const PKCS_Blob& data, ContentInfo& wrapped,
                    const ContentInfo*& content) {
    switch (mode) {
        case PKCS7_ATTACHED:
            content = &attached;
            return content->GetContent() == nullptr ? token::kMaterialMissing : 0;
        case PKCS7_DETACHED:
            if (data.data == nullptr)
                return token::kMaterialMissing;
            flat::wrapData(data, wrapped);
            content = &wrapped;
            return 0;
        default:
            return token::kUnsupported;
    }
}

int32_t verifySigners(const AsnSetOf<SignerInfo>& signers, const flat::SignerCheck& check) {
    VT_SignerInfo signer;
    for (unsigned int i = 0; i < signers.Size(); ++i) {
        int32_t result = signer.decomposeSignerInfo(*signers.Get(i));
        bool verified = false;
        if (result == 0)
            result = flat::checkSigner(check, signer, verified);
        if (result != 0 || verified)
            return result;
    }
    return token::kNoSignerVerified;
}

int32_t readSigned(PKCS_Ctx* ctx, const PKCS_Blob& message, int32_t mode, const PKCS_Blob* external,
                   VT_List* certificates, VT_List* certificateLists, PKCS_Blob& data) {
    SignedData value;
    pki::SignedDataParts parts;
    int32_t result = openMessage(message, value, parts);
    if (result == 0)
        result = flat::fillList(certificates, parts.certificates);
    if (result == 0)
        result = flat::fillList(certificateLists, parts.certificateLists);
    ContentInfo wrapped;
    const ContentInfo* content = nullptr;
    if (result == 0)
        result = findContent(*parts.content, mode, data, wrapped, content);
    if (result == 0)
        result = verifySigners(*parts.signers, {ctx, parts.certificates, external, content});
    return result == 0 && mode == PKCS7_ATTACHED ? flat::unwrapOutput(*content, data) : result;
}

// ---- Writing

struct SignedParts {
    const PKCS_Blob& data;
    const PKCS_Alg& digest;
    const PKCS_Alg& signature;
    int32_t mode;
    const PKCS_Blob& signerCertificate;
    const PKCS_PriKey& key;
    const VT_List* certificates;
    const VT_List* certificateLists;
};

// What the parts are once they are read.
struct SignedValues {
    VT_P11_Key key;
    AlgorithmIdentifier digest;
    AlgorithmIdentifier signature;
    ContentInfo content;
    Certificate certificate;
    IssuerAndSerialNumber signer;
};

int32_t readParts(PKCS_Ctx* ctx, const SignedParts& parts, SignedValues& values) {
    int32_t result = flat::readPrivateKey(parts.key, values.key);
    VT_P11_Alg digest;
    if (result == 0)
        result = digest.setAlgType(parts.digest.algType);
    VT_P11_Alg signature;
    if (result == 0)
        result = flat::readAlg(parts.signature, signature);
    if (result == 0)
        result = parts.data.data != nullptr ? flat::wrapInput(ctx, parts.data, values.content)
                                            : int32_t{token::kMaterialMissing};
    if (result == 0 && parts.signerCertificate.data == nullptr)
        result = token::kMaterialMissing;
    if (result != 0)
        return result;
    flat::decodeBlob(parts.signerCertificate, values.certificate);
    VT_Certificate certificate;
    certificate.setCertificate(values.certificate);
    result = certificate.getIssuerAndSerialNumber(values.signer);
    if (result == 0 && ctx->operation == nullptr)
        result = token::kNoOperation;
    if (result == 0)
        result = digest.getAlgorithmIdentifier(values.digest);
    return result != 0 ? result : signature.getAlgorithmIdentifier(values.signature);
}

int32_t makeSigner(VT_P11_OP& op, const SignedValues& values, SignerInfo& made) {
    VT_SignerInfo signer;
    signer.setDigestAlgorithmIdentifier(values.digest);
    signer.setDigestEncryptionAlgorithmIdentifier(values.signature);
    signer.setIssuerAndSerialNumber(values.signer);
    const int32_t result = pki::SignerAccess::sign(signer, op, values.key, values.content);
    return result != 0 ? result : signer.composeSignerInfo(made);
}

template <class Add>
int32_t addNodes(const VT_List* list, Add add) {
    int32_t result = 0;
    const VT_List* node = list != nullptr ? list->next : nullptr;
    for (; node != nullptr && result == 0; node = node->next)
        result = add(flat::bytesOf({node->data, node->length}));
    return result;
}

int32_t addCertificates(const SignedParts& parts, const Certificate& signerCertificate,
                        VT_SignedDataContentInfo& message) {
    int32_t result = message.addCertificate(signerCertificate);
    if (result == 0)
        result = addNodes(parts.certificates, [&](const MiByte& der) { return message.addCertificate(der); });
    if (result == 0)
        result = addNodes(parts.certificateLists, [&](const MiByte& der) { return message.addCertificateList(der); });
    return result;
}

int32_t setContent(int32_t mode, const ContentInfo& content, VT_SignedDataContentInfo& message) {
    switch (mode) {
        case PKCS7_ATTACHED:
            return message.setToBeAttachedContentInfo(content);
        case PKCS7_DETACHED:
            return message.setToBeDetachedContentInfo(content);
        default:
            return 0;  // composing finds that there is none
    }
}

int32_t composeSigned(PKCS_Ctx* ctx, const SignedParts& parts, ContentInfo& composed) {
    SignedValues values;
    int32_t result = readParts(ctx, parts, values);
    SignerInfo signer;
    if (result == 0)
        result = makeSigner(*ctx->operation, values, signer);
    VT_SignedDataContentInfo message;
    if (result == 0)
        result = message.addDigestAlgorithmIdentifier(values.digest);
    if (result == 0)
        result = addCertificates(parts, values.certificate, message);
    if (result == 0)
        result = message.addSignerInfo(signer);
    if (result == 0)
        result = setContent(parts.mode, values.content, message);
    values.content.Reset(nullptr);  // a message can be large, and there is a copy of it now
    return result != 0 ? result : pki::SignedDataAccess::composeLast(message, composed);
}

int32_t writeSigned(PKCS_Ctx* ctx, const SignedParts& parts, PKCS_Blob& message) {
    ContentInfo composed;
    const int32_t result = composeSigned(ctx, parts, composed);
    return result != 0 ? result : flat::giveLastDer(composed, message);
}

}  // namespace

int32_t PKCS7_ReadSignedDataMsg(PKCS_Ctx* ctx, const PKCS_Blob* message, int32_t mode,
                                const PKCS_Blob* signerCertificate, VT_List* certificates, VT_List* certificateLists,
                                PKCS_Blob* data) {
    if (flat::anyNull(ctx, message, data))
        return VT_E_NULL_ARGUMENT;
    if (message->data == nullptr)
        return token::kMaterialMissing;
    return flat::guarded(VT_E_MALFORMED, [&] {
        return readSigned(ctx, *message, mode, signerCertificate, certificates, certificateLists, *data);
    });
}

int32_t PKCS7_WriteSignedDataMsg(PKCS_Ctx* ctx, const PKCS_Blob* data, const PKCS_Alg* digest,
                                 const PKCS_Alg* signature, int32_t mode, const PKCS_Blob* signerCertificate,
                                 const PKCS_PriKey* key, const VT_List* certificates, const VT_List* certificateLists,
                                 PKCS_Blob* message) {
    if (flat::anyNull(ctx, data, digest, signature, signerCertificate, key, message))
        return VT_E_NULL_ARGUMENT;
    return flat::guarded(VT_E_NULL_ARGUMENT, [&] {
        return writeSigned(ctx,
                           {*data, *digest, *signature, mode, *signerCertificate, *key, certificates, certificateLists},
                           *message);
    });
}

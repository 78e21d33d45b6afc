#include "pki/flat/signed_message.h"

#include "asn/asn.h"
#include "foundation/byte_buffer.h"
#include "pki/certificate.h"
#include "pki/content.h"
#include "pki/flat/flat.h"
#include "pki/signer_access.h"
#include "pki/signer_info.h"
#include "schema/schema.h"
#include "token/alg.h"
#include "token/codes.h"
#include "token/key.h"
#include "token/op.h"

namespace {

// ---- Reading

int32_t findContent(const pki::SignedParts& parts, int32_t mode, const PKCS_Blob& data, ContentInfo& wrapped,
                    const ContentInfo*& content) {
    switch (mode) {
        case PKCS7_ATTACHED:
            content = parts.content;
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
    pki::SignedParts parts;
    int32_t result = flat::openSigned(message, value, parts);
    if (result == 0)
        result = flat::fillList(certificates, parts.certificates);
    if (result == 0)
        result = flat::fillList(certificateLists, parts.certificateLists);
    ContentInfo wrapped;
    const ContentInfo* content = nullptr;
    if (result == 0)
        result = findContent(parts, mode, data, wrapped, content);
    flat::CertificateSearch search(parts.certificates);
    pki::SignedContent signedContent(content);
    if (result == 0)
        result = verifySigners(*parts.signers, {ctx, search, external, signedContent});
    return result == 0 && mode == PKCS7_ATTACHED ? flat::unwrapOutput(*content, data) : result;
}

// ---- Writing

using flat::SignedRequest;

// What its parts are once they are read. The content lies where it goes in the message: it is the large part, and is
// not copied again.
struct Values {
    AlgorithmIdentifier digest;
    AlgorithmIdentifier signature;
    SignedData message;
    ContentInfo& content = *static_cast<ContentInfo*>(message.Find("contentInfo"));
    Certificate certificate;
    IssuerAndSerialNumber signer;
};

int32_t readRequest(PKCS_Ctx* ctx, const SignedRequest& request, Values& values) {
    VT_P11_Alg digest;
    int32_t result = digest.setAlgType(request.digest.algType);
    VT_P11_Alg signature;
    if (result == 0)
        result = flat::readAlg(request.signature, signature);
    if (result == 0)
        result = request.data.data != nullptr ? flat::wrapInput(ctx, request.data, values.content)
                                              : int32_t{token::kMaterialMissing};
    if (result == 0 && request.signerCertificate.data == nullptr)
        result = token::kMaterialMissing;
    if (result != 0)
        return result;
    flat::decodeBlob(request.signerCertificate, values.certificate);
    VT_Certificate certificate;
    certificate.setCertificate(values.certificate);
    result = certificate.getIssuerAndSerialNumber(values.signer);
    if (result == 0 && ctx->operation == nullptr)
        result = token::kNoOperation;
    if (result == 0)
        result = digest.getAlgorithmIdentifier(values.digest);
    return result != 0 ? result : signature.getAlgorithmIdentifier(values.signature);
}

int32_t makeSigner(VT_P11_OP& op, const VT_P11_Key& key, const Values& values, SignerInfo& made) {
    VT_SignerInfo signer;
    signer.setDigestAlgorithmIdentifier(values.digest);
    signer.setDigestEncryptionAlgorithmIdentifier(values.signature);
    signer.setIssuerAndSerialNumber(values.signer);
    const int32_t result = pki::SignerAccess::sign(signer, op, key, values.content);
    return result != 0 ? result : signer.composeSignerInfo(made);
}

using CertificateSet = AsnSetOf<ExtendedCertificateOrCertificate>;

void addCertificate(const Certificate& certificate, CertificateSet& certificates) {
    ExtendedCertificateOrCertificate choice;
    choice.SetCertificate(certificate);
    certificates.AddElement(choice);
}

void addCertificates(const VT_List* list, CertificateSet& certificates) {
    for (const VT_List* node = list != nullptr ? list->next : nullptr; node != nullptr; node = node->next) {
        Certificate certificate;
        flat::decodeBlob({node->data, node->length}, certificate);
        addCertificate(certificate, certificates);
    }
}

void addCertificateLists(const VT_List* list, AsnSetOf<CertificateList>& certificateLists) {
    for (const VT_List* node = list != nullptr ? list->next : nullptr; node != nullptr; node = node->next) {
        CertificateList certificateList;
        flat::decodeBlob({node->data, node->length}, certificateList);
        certificateLists.AddElement(certificateList);
    }
}

// The content as it goes into the message: whole, its type alone, or, in a mode that there is not, none.
const ContentInfo* contentOf(int32_t mode, const ContentInfo& content, ContentInfo& typeAlone) {
    if (mode == PKCS7_ATTACHED)
        return &content;
    if (mode != PKCS7_DETACHED)
        return nullptr;
    if (const AsnOid* const type = content.GetContentType())
        typeAlone.SetContentType(*type);
    return &typeAlone;
}

int32_t composeSigned(const SignedRequest& request, const SignerInfo& signer, Values& values) {
    AsnSetOf<AlgorithmIdentifier> digests;
    digests.AddElement(values.digest);
    CertificateSet certificates;
    addCertificate(values.certificate, certificates);
    addCertificates(request.certificates, certificates);
    AsnSetOf<CertificateList> lists;
    addCertificateLists(request.certificateLists, lists);
    AsnSetOf<SignerInfo> signers;
    signers.AddElement(signer);
    ContentInfo typeAlone;
    return pki::writeSignedData({contentOf(request.mode, values.content, typeAlone), &signers, &digests, &certificates,
                                 lists.Empty() ? nullptr : &lists},
                                values.message);
}

int32_t encodeSigned(PKCS_Ctx* ctx, const SignedRequest& request, MiByteBuffer& der) {
    Values values;
    int32_t result = readRequest(ctx, request, values);
    SignerInfo signer;
    if (result == 0)
        result = makeSigner(*ctx->operation, request.key, values, signer);
    if (result == 0)
        result = composeSigned(request, signer, values);
    const uint32_t sizeHint = request.mode == PKCS7_ATTACHED ? request.data.length : 0;
    if (result == 0)
        pki::encodeMessage(pki::kSignedDataType, values.message, sizeHint, der);
    return result;
}

}  // namespace

namespace flat {

// The message around the value is let go of once it is taken apart.
int32_t openSigned(const PKCS_Blob& message, SignedData& value, pki::SignedParts& parts) {
    ContentInfo content;
    decodeBlob(message, content);
    return pki::readSignedData(content, value, parts);
}

int32_t writeSigned(PKCS_Ctx* ctx, const SignedRequest& request, PKCS_Blob& message) {
    MiByteBuffer der;
    const int32_t result = encodeSigned(ctx, request, der);
    return result != 0 ? result : giveBlob(der.GetChars(), der.GetLength(), message);
}

}  // namespace flat

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
        VT_P11_Key signer;
        const int32_t result = flat::readPrivateKey(*key, signer);
        if (result != 0)
            return result;
        return flat::writeSigned(
            ctx, {*data, *digest, *signature, mode, *signerCertificate, signer, certificates, certificateLists},
            *message);
    });
}

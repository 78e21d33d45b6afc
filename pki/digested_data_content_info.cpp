#include "pki/digested_data_content_info.h"

#include "pki/collection.h"
#include "pki/encrypted_content.h"
#include "pki/enveloped_access.h"
#include "token/token.h"

VT_DigestedDataContentInfo::VT_DigestedDataContentInfo() = default;
VT_DigestedDataContentInfo::VT_DigestedDataContentInfo(const VT_DigestedDataContentInfo& other) = default;
VT_DigestedDataContentInfo& VT_DigestedDataContentInfo::operator=(const VT_DigestedDataContentInfo& other) = default;
VT_DigestedDataContentInfo::~VT_DigestedDataContentInfo() = default;

int VT_DigestedDataContentInfo::setDigestAlgorithmIdentifier(const AlgorithmIdentifier& identifier) {
    digestAlgorithm.set(identifier);
    return 0;
}

int VT_DigestedDataContentInfo::getDigestAlgorithmIdentifier(AlgorithmIdentifier& identifier) const {
    return pki::copyField(digestAlgorithm, identifier);
}

int VT_DigestedDataContentInfo::setInnerContentInfo(const ContentInfo& content) {
    innerContent.set(content);
    return 0;
}

int VT_DigestedDataContentInfo::getInnerContentInfo(ContentInfo& content) const {
    return pki::copyField(innerContent, content);
}

int VT_DigestedDataContentInfo::digestContent(VT_P11_OP& op, MiByte& result) const {
    if (!innerContent || !digestAlgorithm)
        return token::kMaterialMissing;
    const AsnOctetString* content = innerContent->GetContent();
    if (content == nullptr)
        return token::kElementAbsent;
    VT_P11_Alg alg;
    const int code = alg.setAlgorithmIdentifier(*digestAlgorithm);
    if (code != 0)
        return code;
    MiByte scratch;
    return op.Digest(alg, pki::contentOctets(*content, scratch), result);
}

int VT_DigestedDataContentInfo::makeDigest(VT_P11_OP& op) {
    MiByte computed;
    const int result = digestContent(op, computed);
    if (result != 0)
        return result;
    digest.renew().SetData(computed);
    return 0;
}

int VT_DigestedDataContentInfo::Verify(VT_P11_OP& op) const {
    MiByte computed;
    const int result = digestContent(op, computed);
    if (result != 0)
        return result;
    if (!digest)
        return token::kMaterialMissing;
    MiByte scratch;
    return computed == pki::contentOctets(*digest, scratch) ? 0 : token::kDigestMismatch;
}

int VT_DigestedDataContentInfo::composeDigestedDataContentInfo(ContentInfo& content) {
    DigestedData& value = digestedData.renew();
    value.SetVersion(AsnInteger(0));
    if (!digestAlgorithm || !innerContent || !digest)
        return token::kMaterialMissing;
    value.SetDigestAlgorithm(*digestAlgorithm);
    value.SetContentInfo(*innerContent);
    value.SetDigest(*digest);
    pki::storeContent(content, pki::kDigestedDataType, value);
    return 0;
}

int VT_DigestedDataContentInfo::decomposeDigestedDataContentInfo(const ContentInfo& content) {
    const AsnOctetString* body = nullptr;
    int result = pki::openContent(content, pki::kDigestedDataType, body);
    if (result != 0)
        return result;
    DigestedData& value = digestedData.renew();
    body->GetDerObject(&value);
    if (!pki::isVersion(value.GetVersion(), 0))
        return token::kWrongVersion;
    result = pki::storeField(digest, value.GetDigest());
    if (result == 0)
        result = pki::storeField(digestAlgorithm, value.GetDigestAlgorithm());
    if (result == 0)
        result = pki::storeField(innerContent, value.GetContentInfo());
    return result;
}

void VT_DigestedDataContentInfo::Reset() {
    *this = VT_DigestedDataContentInfo();
}

// ---- For the flat functions

const ContentInfo* pki::EnvelopedAccess::content(const VT_DigestedDataContentInfo& message) {
    return message.innerContent.get();
}

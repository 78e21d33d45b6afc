#include "pki/digested_data_content_info.h"

#include "pki/collection.h"
#include "pki/digested_parts.h"
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
    return pki::digestContent({digestAlgorithm.get(), innerContent.get(), nullptr}, op, result);
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
    return pki::verifyContent({digestAlgorithm.get(), innerContent.get(), digest.get()}, op);
}

int VT_DigestedDataContentInfo::composeDigestedDataContentInfo(ContentInfo& content) {
    DigestedData& value = digestedData.renew();
    const int result = pki::writeDigestedData({digestAlgorithm.get(), innerContent.get(), digest.get()}, value);
    if (result == 0)
        pki::storeContent(content, pki::kDigestedDataType, value);
    return result;
}

int VT_DigestedDataContentInfo::decomposeDigestedDataContentInfo(const ContentInfo& content) {
    pki::DigestedParts found;
    int result = pki::readDigestedData(content, digestedData.renew(), found);
    if (result == 0)
        result = pki::storeField(digest, found.digest);
    if (result == 0)
        result = pki::storeField(digestAlgorithm, found.algorithm);
    if (result == 0)
        result = pki::storeField(innerContent, found.content);
    return result;
}

void VT_DigestedDataContentInfo::Reset() {
    *this = VT_DigestedDataContentInfo();
}

// ---- The elements

int pki::readDigestedData(const ContentInfo& message, DigestedData& value, DigestedParts& parts) {
    const AsnOctetString* encoded = nullptr;
    const int result = openContent(message, kDigestedDataType, encoded);
    if (result != 0)
        return result;
    encoded->GetDerObject(&value);
    if (!isVersion(value.GetVersion(), 0))
        return token::kWrongVersion;
    parts = {value.GetDigestAlgorithm(), value.GetContentInfo(), value.GetDigest()};
    return 0;
}

int pki::digestContent(const DigestedParts& parts, VT_P11_OP& op, MiByte& digest) {
    if (parts.content == nullptr || parts.algorithm == nullptr)
        return token::kMaterialMissing;
    const AsnOctetString* const content = parts.content->GetContent();
    if (content == nullptr)
        return token::kElementAbsent;
    VT_P11_Alg alg;
    const int code = alg.setAlgorithmIdentifier(*parts.algorithm);
    if (code != 0)
        return code;
    MiByte scratch;
    return op.Digest(alg, contentOctets(*content, scratch), digest);
}

int pki::verifyContent(const DigestedParts& parts, VT_P11_OP& op) {
    MiByte computed;
    const int result = digestContent(parts, op, computed);
    if (result != 0)
        return result;
    if (parts.digest == nullptr)
        return token::kMaterialMissing;
    MiByte scratch;
    return computed == contentOctets(*parts.digest, scratch) ? 0 : token::kDigestMismatch;
}

int pki::writeDigestedData(const DigestedParts& parts, DigestedData& value) {
    value.SetVersion(AsnInteger(0));
    if (parts.algorithm == nullptr || parts.content == nullptr || parts.digest == nullptr)
        return token::kMaterialMissing;
    value.SetDigestAlgorithm(*parts.algorithm);
    value.SetContentInfo(*parts.content);
    value.SetDigest(*parts.digest);
    return 0;
}

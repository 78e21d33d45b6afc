#include "pki/signed_data_content_info.h"

#include "asn/asn.h"
#include "pki/collection.h"
#include "pki/content.h"
#include "pki/signed_parts.h"
#include "schema/schema.h"
#include "token/codes.h"

namespace {

constexpr int kVersion = 1;

}  // namespace

VT_SignedDataContentInfo::VT_SignedDataContentInfo() {
    Reset();
}

VT_SignedDataContentInfo::VT_SignedDataContentInfo(const VT_SignedDataContentInfo& other) = default;
VT_SignedDataContentInfo& VT_SignedDataContentInfo::operator=(const VT_SignedDataContentInfo& other) = default;
VT_SignedDataContentInfo::~VT_SignedDataContentInfo() = default;

void VT_SignedDataContentInfo::Reset() {
    certificatesPresent = false;
    certificateListsPresent = false;
    signedData.clear();
    content.clear();
    signers.renew();
    digestAlgorithms.renew();
    certificates.renew();
    certificateLists.renew();
}

// ---- Signers

int VT_SignedDataContentInfo::addSignerInfo(const SignerInfo& signer) {
    return pki::addItem(signers, signer);
}

int VT_SignedDataContentInfo::addSignerInfo(const MiByte& der) {
    return pki::addItem(signers, der);
}

int VT_SignedDataContentInfo::getSignerInfoTotal() const {
    return pki::totalOf(signers);
}

int VT_SignedDataContentInfo::getSignerInfoByIndex(int index, SignerInfo& signer) const {
    return pki::copyItem(signers, index, signer);
}

int VT_SignedDataContentInfo::getSignerInfoByIndex(int index, MiByte& der) const {
    return pki::copyItem(signers, index, der);
}

// ---- Digest algorithms

int VT_SignedDataContentInfo::addDigestAlgorithmIdentifier(const AlgorithmIdentifier& algorithm) {
    return pki::addItem(digestAlgorithms, algorithm);
}

int VT_SignedDataContentInfo::addDigestAlgorithmIdentifier(const MiByte& der) {
    return pki::addItem(digestAlgorithms, der);
}

int VT_SignedDataContentInfo::getDigestAlgorithmIdentifierTotal() const {
    return pki::totalOf(digestAlgorithms);
}

int VT_SignedDataContentInfo::getDigestAlgorithmIdentifierByIndex(int index, AlgorithmIdentifier& algorithm) const {
    return pki::copyItem(digestAlgorithms, index, algorithm);
}

int VT_SignedDataContentInfo::getDigestAlgorithmIdentifierByIndex(int index, MiByte& der) const {
    return pki::copyItem(digestAlgorithms, index, der);
}

// ---- Certificates, and choices of them

int VT_SignedDataContentInfo::addCertificate(const Certificate& certificate) {
    return pki::raiseFlag(certificatesPresent, pki::addCertificate(certificates, certificate));
}

int VT_SignedDataContentInfo::addCertificate(const MiByte& der) {
    return pki::raiseFlag(certificatesPresent, pki::addCertificate(certificates, der));
}

int VT_SignedDataContentInfo::getCertificateTotal() const {
    return pki::totalOf(certificates);
}

int VT_SignedDataContentInfo::getCertificateByIndex(int index, Certificate& certificate) const {
    return pki::copyCertificate(certificatesPresent, certificates, index, certificate);
}

int VT_SignedDataContentInfo::getCertificateByIndex(int index, MiByte& der) const {
    return pki::copyCertificate(certificatesPresent, certificates, index, der);
}

int VT_SignedDataContentInfo::addExtendedCertificateOrCertificate(const ExtendedCertificateOrCertificate& choice) {
    return pki::raiseFlag(certificatesPresent, pki::addItem(certificates, choice));
}

int VT_SignedDataContentInfo::addExtendedCertificateOrCertificate(const MiByte& der) {
    return pki::raiseFlag(certificatesPresent, pki::addItem(certificates, der));
}

int VT_SignedDataContentInfo::getExtendedCertificateOrCertificateTotal() const {
    return pki::totalOf(certificates);
}

int VT_SignedDataContentInfo::getExtendedCertificateOrCertificateByIndex(
    int index, ExtendedCertificateOrCertificate& choice) const {
    return pki::copyItemIf(certificatesPresent, certificates, index, choice);
}

int VT_SignedDataContentInfo::getExtendedCertificateOrCertificateByIndex(int index, MiByte& der) const {
    return pki::copyItemIf(certificatesPresent, certificates, index, der);
}

// ---- Revocation lists

int VT_SignedDataContentInfo::addCertificateList(const CertificateList& list) {
    return pki::raiseFlag(certificateListsPresent, pki::addItem(certificateLists, list));
}

int VT_SignedDataContentInfo::addCertificateList(const MiByte& der) {
    return pki::raiseFlag(certificateListsPresent, pki::addItem(certificateLists, der));
}

int VT_SignedDataContentInfo::getCertificateListTotal() const {
    return pki::totalOf(certificateLists);
}

int VT_SignedDataContentInfo::getCertificateListByIndex(int index, CertificateList& list) const {
    return pki::copyItemIf(certificateListsPresent, certificateLists, index, list);
}

int VT_SignedDataContentInfo::getCertificateListByIndex(int index, MiByte& der) const {
    return pki::copyItemIf(certificateListsPresent, certificateLists, index, der);
}

// ---- Content

int VT_SignedDataContentInfo::setToBeAttachedContentInfo(const ContentInfo& value) {
    content.set(value);
    return 0;
}

int VT_SignedDataContentInfo::setToBeDetachedContentInfo(const ContentInfo& value) {
    const AsnOid* const type = value.GetContentType();
    if (type == nullptr)
        return token::kElementAbsent;
    const AsnOid held(*type);  // of a content that may be the one replaced
    content.renew().SetContentType(held);
    return 0;
}

int VT_SignedDataContentInfo::getAttachedContentInfo(ContentInfo& value) const {
    if (!content || content->GetContent() == nullptr)
        return token::kMaterialMissing;
    value = *content;
    return 0;
}

// ---- The message

int VT_SignedDataContentInfo::composeSignedDataContentInfo(ContentInfo& message) {
    SignedData& made = signedData.renew();
    if ((certificatesPresent && !certificates) || (certificateListsPresent && !certificateLists))
        return token::kMaterialMissing;
    const pki::SignedParts parts = {content.get(), signers.get(), digestAlgorithms.get(),
                                    certificatesPresent ? certificates.get() : nullptr,
                                    certificateListsPresent ? certificateLists.get() : nullptr};
    const int result = pki::writeSignedData(parts, made);
    if (result == 0)
        pki::storeContent(message, pki::kSignedDataType, made);
    return result;
}

int VT_SignedDataContentInfo::decomposeSignedDataContentInfo(const ContentInfo& message) {
    forget();
    pki::SignedParts parts;
    int result = pki::readSignedData(message, signedData.renew(), parts);
    if (result == 0)
        result = pki::storeField(content, parts.content);
    if (result == 0)
        result = pki::storeSet(signers, parts.signers);
    if (result == 0)
        result = pki::storeSet(digestAlgorithms, parts.digestAlgorithms);
    if (result == 0)
        result = pki::storeSetIf(certificatesPresent, certificates, parts.certificates);
    if (result == 0)
        result = pki::storeSetIf(certificateListsPresent, certificateLists, parts.certificateLists);
    return result;
}

void VT_SignedDataContentInfo::forget() {
    certificatesPresent = false;
    certificateListsPresent = false;
    signedData.clear();
    content.clear();
    pki::emptySet(signers);
    pki::emptySet(digestAlgorithms);
    pki::emptySet(certificates);
    pki::emptySet(certificateLists);
}

// ---- The elements

int pki::readSignedData(const ContentInfo& message, SignedData& value, SignedParts& parts) {
    const AsnOctetString* encoded = nullptr;
    const int result = openContent(message, kSignedDataType, encoded);
    if (result != 0)
        return result;
    encoded->GetDerObject(&value);
    parts.content = value.GetContentInfo();
    parts.signers = selectedSet<SignerInfo>(value.GetSignerInfos());
    parts.digestAlgorithms = selectedSet<AlgorithmIdentifier>(value.GetDigestAlgorithms());
    parts.certificates = selectedSet<ExtendedCertificateOrCertificate>(value.GetCertificates());
    parts.certificateLists = selectedSet<CertificateList>(value.GetCrls());
    if (parts.content == nullptr || parts.signers == nullptr || parts.digestAlgorithms == nullptr)
        return token::kElementAbsent;
    return 0;
}

int pki::writeSignedData(const SignedParts& parts, SignedData& value) {
    if (parts.content == nullptr || parts.signers == nullptr || parts.digestAlgorithms == nullptr)
        return token::kMaterialMissing;
    value.SetVersion(AsnInteger(kVersion));
    value.SetContentInfo(*parts.content);
    wrapSet(value, "signerInfos", "siSet", *parts.signers);
    wrapSet(value, "digestAlgorithms", "daSet", *parts.digestAlgorithms);
    if (parts.certificates != nullptr)
        wrapSet(value, "certificates", "certSet", *parts.certificates);
    if (parts.certificateLists != nullptr)
        wrapSet(value, "crls", "crlSet", *parts.certificateLists);
    return 0;
}

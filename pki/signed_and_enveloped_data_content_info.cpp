#include "pki/signed_and_enveloped_data_content_info.h"

#include "pki/collection.h"
#include "pki/encrypted_content.h"
#include "pki/enveloped_access.h"
#include "token/token.h"

using Self = VT_SignedAndEnvelopedDataContentInfo;

Self::VT_SignedAndEnvelopedDataContentInfo() {
    recipients.renew();
    encryptedSigners.renew();
    digestAlgorithms.renew();
    certificates.renew();
    certificateLists.renew();
}
Self::VT_SignedAndEnvelopedDataContentInfo(const VT_SignedAndEnvelopedDataContentInfo& other) = default;
Self& Self::operator=(const VT_SignedAndEnvelopedDataContentInfo& other) = default;
Self::~VT_SignedAndEnvelopedDataContentInfo() = default;

int Self::setInnerContentInfo(const ContentInfo& content) {
    innerContent.set(content);
    return 0;
}

int Self::getInnerContentInfo(ContentInfo& content) const {
    return pki::copyField(innerContent, content);
}

int Self::addRecipientInfo(const RecipientInfo& recipient) {
    return pki::addItem(recipients, recipient);
}

int Self::addRecipientInfo(const MiByte& der) {
    return pki::addItem(recipients, der);
}

int Self::getRecipientInfoTotal() const {
    return pki::totalOf(recipients);
}

int Self::getRecipientInfoByIndex(int index, RecipientInfo& recipient) const {
    return pki::copyItem(recipients, index, recipient);
}

int Self::getRecipientInfoByIndex(int index, MiByte& der) const {
    return pki::copyItem(recipients, index, der);
}

int Self::addEncryptedSignerInfo(const SignerInfo& signer) {
    return pki::addItem(encryptedSigners, signer);
}

int Self::addEncryptedSignerInfo(const MiByte& der) {
    return pki::addItem(encryptedSigners, der);
}

int Self::getEncryptedSignerInfoTotal() const {
    return pki::totalOf(encryptedSigners);
}

int Self::getEncryptedSignerInfoByIndex(int index, SignerInfo& signer) const {
    return pki::copyItem(encryptedSigners, index, signer);
}

int Self::getEncryptedSignerInfoByIndex(int index, MiByte& der) const {
    return pki::copyItem(encryptedSigners, index, der);
}

int Self::addDigestAlgorithmIdentifier(const AlgorithmIdentifier& identifier) {
    return pki::addItem(digestAlgorithms, identifier);
}

int Self::addDigestAlgorithmIdentifier(const MiByte& der) {
    return pki::addItem(digestAlgorithms, der);
}

int Self::getDigestAlgorithmIdentifierTotal() const {
    return pki::totalOf(digestAlgorithms);
}

int Self::getDigestAlgorithmIdentifierByIndex(int index, AlgorithmIdentifier& identifier) const {
    return pki::copyItem(digestAlgorithms, index, identifier);
}

int Self::getDigestAlgorithmIdentifierByIndex(int index, MiByte& der) const {
    return pki::copyItem(digestAlgorithms, index, der);
}

int Self::addCertificate(const Certificate& certificate) {
    return pki::raiseFlag(certificatesPresent, pki::addCertificate(certificates, certificate));
}

int Self::addCertificate(const MiByte& der) {
    return pki::raiseFlag(certificatesPresent, pki::addCertificate(certificates, der));
}

int Self::getCertificateTotal() const {
    return pki::totalOf(certificates);
}

int Self::getCertificateByIndex(int index, Certificate& certificate) const {
    return pki::copyCertificate(certificatesPresent, certificates, index, certificate);
}

int Self::getCertificateByIndex(int index, MiByte& der) const {
    return pki::copyCertificate(certificatesPresent, certificates, index, der);
}

int Self::addExtendedCertificateOrCertificate(const ExtendedCertificateOrCertificate& choice) {
    return pki::raiseFlag(certificatesPresent, pki::addItem(certificates, choice));
}

int Self::addExtendedCertificateOrCertificate(const MiByte& der) {
    return pki::raiseFlag(certificatesPresent, pki::addItem(certificates, der));
}

int Self::getExtendedCertificateOrCertificateTotal() const {
    return pki::totalOf(certificates);
}

int Self::getExtendedCertificateOrCertificateByIndex(int index, ExtendedCertificateOrCertificate& choice) const {
    return pki::copyItemIf(certificatesPresent, certificates, index, choice);
}

int Self::getExtendedCertificateOrCertificateByIndex(int index, MiByte& der) const {
    return pki::copyItemIf(certificatesPresent, certificates, index, der);
}

int Self::addCertificateList(const CertificateList& list) {
    return pki::raiseFlag(certificateListsPresent, pki::addItem(certificateLists, list));
}

int Self::addCertificateList(const MiByte& der) {
    return pki::raiseFlag(certificateListsPresent, pki::addItem(certificateLists, der));
}

int Self::getCertificateListTotal() const {
    return pki::totalOf(certificateLists);
}

int Self::getCertificateListByIndex(int index, CertificateList& list) const {
    return pki::copyItemIf(certificateListsPresent, certificateLists, index, list);
}

int Self::getCertificateListByIndex(int index, MiByte& der) const {
    return pki::copyItemIf(certificateListsPresent, certificateLists, index, der);
}

int Self::getEncryptedContentInfoAlgorithmIdentifier(AlgorithmIdentifier& identifier) const {
    return pki::algorithmOf(encryptedContent, identifier);
}

int Self::composeAttachedEncryptedContentInfo(VT_P11_OP& op, const VT_P11_Alg& alg, const VT_P11_Key& key) {
    return pki::encryptAttached(op, alg, key, innerContent.get(), encryptedContent);
}

int Self::composeDetachedEncryptedContentInfo(VT_P11_OP& op, const VT_P11_Alg& alg, const VT_P11_Key& key,
                                              MiByte& ciphertext) {
    return pki::encryptDetached(op, alg, key, innerContent.get(), encryptedContent, ciphertext);
}

int Self::decomposeAttachedEncryptedContentInfo(VT_P11_OP& op, const VT_P11_Key& key) {
    return pki::decryptAttached(op, key, encryptedContent, innerContent);
}

int Self::decomposeDetachedEncryptedContentInfo(VT_P11_OP& op, const VT_P11_Key& key, const MiByte& ciphertext) {
    return pki::decryptDetached(op, key, encryptedContent, ciphertext, innerContent);
}

int Self::composeSignedAndEnvelopedDataContentInfo(ContentInfo& content) {
    SignedAndEnvelopedData& value = signedAndEnvelopedData.renew();
    value.SetVersion(AsnInteger(1));
    if (!encryptedContent || !recipients || !encryptedSigners || !digestAlgorithms)
        return token::kMaterialMissing;
    value.SetEncryptedContentInfo(*encryptedContent);
    pki::wrapSet(value, "recipientInfos", "riSet", *recipients);
    pki::wrapSet(value, "signerInfos", "siSet", *encryptedSigners);
    pki::wrapSet(value, "digestAlgorithms", "daSet", *digestAlgorithms);
    if (certificatesPresent)
        pki::wrapSet(value, "certificates", "certSet", *certificates);
    if (certificateListsPresent)
        pki::wrapSet(value, "crls", "crlSet", *certificateLists);
    pki::storeContent(content, pki::kSignedAndEnvelopedDataType, value);
    return 0;
}

int Self::decomposeSignedAndEnvelopedDataContentInfo(const ContentInfo& content) {
    certificatesPresent = false;
    certificateListsPresent = false;
    pki::emptySet(certificates);
    pki::emptySet(certificateLists);
    const AsnOctetString* body = nullptr;
    int result = pki::openContent(content, pki::kSignedAndEnvelopedDataType, body);
    if (result != 0)
        return result;
    SignedAndEnvelopedData& value = signedAndEnvelopedData.renew();
    body->GetDerObject(&value);
    if (!pki::isVersion(value.GetVersion(), 1))
        return token::kWrongVersion;
    result = pki::storeField(encryptedContent, value.GetEncryptedContentInfo());
    if (result == 0)
        result = pki::storeSet(recipients, pki::selectedSet<RecipientInfo>(value.GetRecipientInfos()));
    if (result == 0)
        result = pki::storeSet(encryptedSigners, pki::selectedSet<SignerInfo>(value.GetSignerInfos()));
    if (result == 0)
        result = pki::storeSet(digestAlgorithms, pki::selectedSet<AlgorithmIdentifier>(value.GetDigestAlgorithms()));
    if (result == 0)
        result = pki::storeSetIf(certificatesPresent, certificates,
                                 pki::selectedSet<ExtendedCertificateOrCertificate>(value.GetCertificates()));
    if (result == 0)
        result = pki::storeSetIf(certificateListsPresent, certificateLists,
                                 pki::selectedSet<CertificateList>(value.GetCrls()));
    return result;
}

void Self::Reset() {
    *this = VT_SignedAndEnvelopedDataContentInfo();
}

// ---- For the flat functions

const ContentInfo* pki::EnvelopedAccess::content(const VT_SignedAndEnvelopedDataContentInfo& message) {
    return message.innerContent.get();
}

const AsnSetOf<SignerInfo>* pki::EnvelopedAccess::signers(const VT_SignedAndEnvelopedDataContentInfo& message) {
    return message.encryptedSigners.get();
}

const AsnSetOf<ExtendedCertificateOrCertificate>* pki::EnvelopedAccess::certificates(
    const VT_SignedAndEnvelopedDataContentInfo& message) {
    return message.certificatesPresent ? message.certificates.get() : nullptr;
}

const AsnSetOf<CertificateList>* pki::EnvelopedAccess::certificateLists(
    const VT_SignedAndEnvelopedDataContentInfo& message) {
    return message.certificateListsPresent ? message.certificateLists.get() : nullptr;
}

int pki::EnvelopedAccess::decompose(VT_SignedAndEnvelopedDataContentInfo& message, const ContentInfo& from) {
    const int result = message.decomposeSignedAndEnvelopedDataContentInfo(from);
    message.signedAndEnvelopedData.clear();
    return result;
}

#include "pki/enveloped_data_content_info.h"

#include "pki/collection.h"
#include "pki/encrypted_content.h"
#include "pki/enveloped_access.h"
#include "token/token.h"

VT_EnvelopedDataContentInfo::VT_EnvelopedDataContentInfo() {
    recipients.renew();
}
VT_EnvelopedDataContentInfo::VT_EnvelopedDataContentInfo(const VT_EnvelopedDataContentInfo& other) = default;
VT_EnvelopedDataContentInfo& VT_EnvelopedDataContentInfo::operator=(const VT_EnvelopedDataContentInfo& other) = default;
VT_EnvelopedDataContentInfo::~VT_EnvelopedDataContentInfo() = default;

int VT_EnvelopedDataContentInfo::setInnerContentInfo(const ContentInfo& content) {
    innerContent.set(content);
    return 0;
}

int VT_EnvelopedDataContentInfo::getInnerContentInfo(ContentInfo& content) const {
    return pki::copyField(innerContent, content);
}

int VT_EnvelopedDataContentInfo::addRecipientInfo(const RecipientInfo& recipient) {
    return pki::addItem(recipients, recipient);
}

int VT_EnvelopedDataContentInfo::addRecipientInfo(const MiByte& der) {
    return pki::addItem(recipients, der);
}

int VT_EnvelopedDataContentInfo::getRecipientInfoTotal() const {
    return pki::totalOf(recipients);
}

int VT_EnvelopedDataContentInfo::getRecipientInfoByIndex(int index, RecipientInfo& recipient) const {
    return pki::copyItem(recipients, index, recipient);
}

int VT_EnvelopedDataContentInfo::getRecipientInfoByIndex(int index, MiByte& der) const {
    return pki::copyItem(recipients, index, der);
}

int VT_EnvelopedDataContentInfo::getEncryptedContentInfoAlgorithmIdentifier(AlgorithmIdentifier& identifier) const {
    return pki::algorithmOf(encryptedContent, identifier);
}

int VT_EnvelopedDataContentInfo::composeAttachedEncryptedContentInfo(VT_P11_OP& op, const VT_P11_Alg& alg,
                                                                     const VT_P11_Key& key) {
    return pki::encryptAttached(op, alg, key, innerContent.get(), encryptedContent);
}

int VT_EnvelopedDataContentInfo::composeDetachedEncryptedContentInfo(VT_P11_OP& op, const VT_P11_Alg& alg,
                                                                     const VT_P11_Key& key, MiByte& ciphertext) {
    return pki::encryptDetached(op, alg, key, innerContent.get(), encryptedContent, ciphertext);
}

int VT_EnvelopedDataContentInfo::decomposeAttachedEncryptedContentInfo(VT_P11_OP& op, const VT_P11_Key& key) {
    return pki::decryptAttached(op, key, encryptedContent, innerContent);
}

int VT_EnvelopedDataContentInfo::decomposeDetachedEncryptedContentInfo(VT_P11_OP& op, const VT_P11_Key& key,
                                                                       const MiByte& ciphertext) {
    return pki::decryptDetached(op, key, encryptedContent, ciphertext, innerContent);
}

int VT_EnvelopedDataContentInfo::composeEnvelopedDataContentInfo(ContentInfo& content) {
    EnvelopedData& value = envelopedData.renew();
    value.SetVersion(AsnInteger(0));
    if (!encryptedContent || !recipients)
        return token::kMaterialMissing;
    value.SetEncryptedContentInfo(*encryptedContent);
    pki::wrapSet(value, "recipientInfos", "riSet", *recipients);
    pki::storeContent(content, pki::kEnvelopedDataType, value);
    return 0;
}

int VT_EnvelopedDataContentInfo::decomposeEnvelopedDataContentInfo(const ContentInfo& content) {
    const AsnOctetString* body = nullptr;
    int result = pki::openContent(content, pki::kEnvelopedDataType, body);
    if (result != 0)
        return result;
    EnvelopedData& value = envelopedData.renew();
    body->GetDerObject(&value);
    if (!pki::isVersion(value.GetVersion(), 0))
        return token::kWrongVersion;
    result = pki::storeField(encryptedContent, value.GetEncryptedContentInfo());
    if (result == 0)
        result = pki::storeSet(recipients, pki::selectedSet<RecipientInfo>(value.GetRecipientInfos()));
    return result;
}

void VT_EnvelopedDataContentInfo::Reset() {
    *this = VT_EnvelopedDataContentInfo();
}

// ---- For the flat functions

const ContentInfo* pki::EnvelopedAccess::content(const VT_EnvelopedDataContentInfo& message) {
    return message.innerContent.get();
}

int pki::EnvelopedAccess::encrypt(VT_EnvelopedDataContentInfo& message, VT_P11_OP& op, const VT_P11_Alg& alg,
                                  const VT_P11_Key& key, const ContentInfo& content, MiByte& ciphertext) {
    return pki::encryptDetached(op, alg, key, &content, message.encryptedContent, ciphertext);
}

int pki::EnvelopedAccess::decompose(VT_EnvelopedDataContentInfo& message, const ContentInfo& from) {
    const int result = message.decomposeEnvelopedDataContentInfo(from);
    message.envelopedData.clear();
    return result;
}

#include "pki/encrypted_data_content_info.h"

#include "pki/collection.h"
#include "pki/encrypted_content.h"
#include "pki/enveloped_access.h"
#include "token/token.h"

VT_EncryptedDataContentInfo::VT_EncryptedDataContentInfo() = default;
VT_EncryptedDataContentInfo::VT_EncryptedDataContentInfo(const VT_EncryptedDataContentInfo& other) = default;
VT_EncryptedDataContentInfo& VT_EncryptedDataContentInfo::operator=(const VT_EncryptedDataContentInfo& other) = default;
VT_EncryptedDataContentInfo::~VT_EncryptedDataContentInfo() = default;

int VT_EncryptedDataContentInfo::setInnerContentInfo(const ContentInfo& content) {
    innerContent.set(content);
    return 0;
}

int VT_EncryptedDataContentInfo::getInnerContentInfo(ContentInfo& content) const {
    return pki::copyField(innerContent, content);
}

int VT_EncryptedDataContentInfo::getEncryptedContentInfoAlgorithmIdentifier(AlgorithmIdentifier& identifier) const {
    return pki::algorithmOf(encryptedContent, identifier);
}

int VT_EncryptedDataContentInfo::EncryptAttachedContentInfo(VT_P11_OP& op, const VT_P11_Alg& alg,
                                                            const VT_P11_Key& key) {
    return pki::encryptAttached(op, alg, key, innerContent.get(), encryptedContent);
}

int VT_EncryptedDataContentInfo::EncryptDettachedContentInfo(VT_P11_OP& op, const VT_P11_Alg& alg,
                                                             const VT_P11_Key& key, MiByte& ciphertext) {
    return pki::encryptDetached(op, alg, key, innerContent.get(), encryptedContent, ciphertext);
}

int VT_EncryptedDataContentInfo::DecryptAttachedContentInfo(VT_P11_OP& op, const VT_P11_Key& key) {
    return pki::decryptAttached(op, key, encryptedContent, innerContent);
}

int VT_EncryptedDataContentInfo::DecryptDettachedContentInfo(VT_P11_OP& op, const VT_P11_Key& key,
                                                             const MiByte& ciphertext) {
    return pki::decryptDetached(op, key, encryptedContent, ciphertext, innerContent);
}

int VT_EncryptedDataContentInfo::composeEncryptedDataContentInfo(ContentInfo& content) {
    EncryptedData& value = encryptedData.renew();
    value.SetVersion(AsnInteger(0));
    if (!encryptedContent)
        return token::kMaterialMissing;
    value.SetEncryptedContentInfo(*encryptedContent);
    pki::storeContent(content, pki::kEncryptedDataType, value);
    return 0;
}

int VT_EncryptedDataContentInfo::decomposeEncryptedDataContentInfo(const ContentInfo& content) {
    const AsnOctetString* body = nullptr;
    const int result = pki::openContent(content, pki::kEncryptedDataType, body);
    if (result != 0)
        return result;
    EncryptedData& value = encryptedData.renew();
    body->GetDerObject(&value);
    if (!pki::isVersion(value.GetVersion(), 0))
        return token::kWrongVersion;
    return pki::storeField(encryptedContent, value.GetEncryptedContentInfo());
}

void VT_EncryptedDataContentInfo::Reset() {
    *this = VT_EncryptedDataContentInfo();
}

// ---- For the flat functions

const ContentInfo* pki::EnvelopedAccess::content(const VT_EncryptedDataContentInfo& message) {
    return message.innerContent.get();
}

int pki::EnvelopedAccess::encrypt(VT_EncryptedDataContentInfo& message, VT_P11_OP& op, const VT_P11_Alg& alg,
                                  const VT_P11_Key& key, const ContentInfo& content, MiByte& ciphertext) {
    return pki::encryptDetached(op, alg, key, &content, message.encryptedContent, ciphertext);
}

int pki::EnvelopedAccess::decompose(VT_EncryptedDataContentInfo& message, const ContentInfo& from) {
    const int result = message.decomposeEncryptedDataContentInfo(from);
    message.encryptedData.clear();
    return result;
}

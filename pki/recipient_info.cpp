#include "pki/recipient_info.h"

#include "pki/collection.h"
#include "token/token.h"

VT_RecipientInfo::VT_RecipientInfo() = default;
VT_RecipientInfo::VT_RecipientInfo(const VT_RecipientInfo& other) = default;
VT_RecipientInfo& VT_RecipientInfo::operator=(const VT_RecipientInfo& other) = default;
VT_RecipientInfo::~VT_RecipientInfo() = default;

int VT_RecipientInfo::setIssuerAndSerialNumber(const IssuerAndSerialNumber& value) {
    issuerAndSerial.set(value);
    return 0;
}

int VT_RecipientInfo::getIssuerAndSerialNumber(IssuerAndSerialNumber& value) const {
    return pki::copyField(issuerAndSerial, value);
}

int VT_RecipientInfo::setKeyEncryptionAlgorithmIdentifier(const AlgorithmIdentifier& identifier) {
    keyEncryptionAlgorithm.set(identifier);
    return 0;
}

int VT_RecipientInfo::getKeyEncryptionAlgorithmIdentifier(AlgorithmIdentifier& identifier) const {
    return pki::copyField(keyEncryptionAlgorithm, identifier);
}

int VT_RecipientInfo::encryptKey(VT_P11_OP& op, const VT_P11_Key& key, const MiByte& sessionKey) {
    if (!keyEncryptionAlgorithm)
        return token::kMaterialMissing;
    VT_P11_Alg alg;
    int result = alg.setAlgorithmIdentifier(*keyEncryptionAlgorithm);
    if (result != 0)
        return result;
    MiByte encrypted;
    result = op.Encrypt(alg, key, sessionKey, encrypted);
    if (result != 0)
        return result;
    encryptedKey.renew().SetData(encrypted);
    return 0;
}

int VT_RecipientInfo::decryptKey(VT_P11_OP& op, const VT_P11_Key& key, MiByte& sessionKey) const {
    if (!encryptedKey || !keyEncryptionAlgorithm)
        return token::kMaterialMissing;
    VT_P11_Alg alg;
    const int result = alg.setAlgorithmIdentifier(*keyEncryptionAlgorithm);
    if (result != 0)
        return result;
    MiByte scratch;
    return op.Decrypt(alg, key, pki::contentOctets(*encryptedKey, scratch), sessionKey);
}

int VT_RecipientInfo::composeRecipientInfo(RecipientInfo& value) {
    RecipientInfo& composed = recipient.renew();
    composed.SetVersion(AsnInteger(0));
    if (!issuerAndSerial || !keyEncryptionAlgorithm || !encryptedKey)
        return token::kMaterialMissing;
    composed.SetIssuerAndSerialNumber(*issuerAndSerial);
    composed.SetKeyEncryptionAlgorithm(*keyEncryptionAlgorithm);
    composed.SetEncryptedKey(*encryptedKey);
    value = composed;
    return 0;
}

int VT_RecipientInfo::composeRecipientInfo(MiByte& der) {
    RecipientInfo value;
    const int result = composeRecipientInfo(value);
    if (result != 0)
        return result;
    pki::encodeDer(value, der);
    return 0;
}

int VT_RecipientInfo::decomposeRecipientInfo(const RecipientInfo& value) {
    recipient.set(value);
    if (!pki::isVersion(recipient->GetVersion(), 0))
        return token::kWrongVersion;
    int result = pki::storeField(issuerAndSerial, recipient->GetIssuerAndSerialNumber());
    if (result == 0)
        result = pki::storeField(keyEncryptionAlgorithm, recipient->GetKeyEncryptionAlgorithm());
    if (result == 0)
        result = pki::storeField(encryptedKey, recipient->GetEncryptedKey());
    return result;
}

int VT_RecipientInfo::decomposeRecipientInfo(const MiByte& der) {
    RecipientInfo value;
    pki::decodeDer(der, value);
    return decomposeRecipientInfo(value);
}

void VT_RecipientInfo::Reset() {
    *this = VT_RecipientInfo();
}

// VT_RecipientInfo: the session key of a message, encrypted for one recipient (PKCS#7, RFC 2315, 10.2).
//
//     RecipientInfo   version 0, issuerAndSerialNumber, keyEncryptionAlgorithm, encryptedKey
#ifndef VT_PKI_RECIPIENT_INFO_H
#define VT_PKI_RECIPIENT_INFO_H

#include "foundation/export.h"
#include "pki/held.h"

class AlgorithmIdentifier;
class AsnOctetString;
class IssuerAndSerialNumber;
class MiByte;
class RecipientInfo;
class VT_P11_Key;
class VT_P11_OP;

// Setters copy in, getters copy out. Each operation gives 0 or a code (token/codes.def); codes of the token layer pass
// through, and so do the exceptions of malformed DER.
//
//     -1001   a required element of a decoded value is absent
//     -1003   a required member has not been set
class VT_API VT_RecipientInfo {
  public:
    VT_RecipientInfo();
    VT_RecipientInfo(const VT_RecipientInfo& other);
    VT_RecipientInfo& operator=(const VT_RecipientInfo& other);
    ~VT_RecipientInfo();

    // The recipient's certificate is known by its issuer and serial number.
    int setIssuerAndSerialNumber(const IssuerAndSerialNumber& value);
    int getIssuerAndSerialNumber(IssuerAndSerialNumber& value) const;
    int setKeyEncryptionAlgorithmIdentifier(const AlgorithmIdentifier& identifier);
    int getKeyEncryptionAlgorithmIdentifier(AlgorithmIdentifier& identifier) const;

    // encryptKey encrypts the bytes of the session key with the recipient's public key, by the key encryption
    // algorithm, and holds the result in place of an earlier one.
    int encryptKey(VT_P11_OP& op, const VT_P11_Key& key, const MiByte& sessionKey);

    // decryptKey opens the held encrypted key with the private key.
    int decryptKey(VT_P11_OP& op, const VT_P11_Key& key, MiByte& sessionKey) const;

    // composeRecipientInfo makes the value, or its DER, from the three members.
    int composeRecipientInfo(RecipientInfo& value);
    int composeRecipientInfo(MiByte& der);

    // decomposeRecipientInfo takes a value, or its DER, apart: -1020 for another version than 0.
    int decomposeRecipientInfo(const RecipientInfo& value);
    int decomposeRecipientInfo(const MiByte& der);

    // Reset lets go of every member.
    void Reset();

  private:
    Held<IssuerAndSerialNumber> issuerAndSerial;
    Held<AlgorithmIdentifier> keyEncryptionAlgorithm;
    Held<AsnOctetString> encryptedKey;
    Held<RecipientInfo> recipient;  // the last one composed or decomposed
};

#endif

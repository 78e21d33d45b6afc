// VT_EncryptedDataContentInfo: content encrypted under a key that the reader has already (PKCS#7, RFC 2315, 13).
//
//     ContentInfo                contentType 1.2.840.113549.1.7.6
//       EncryptedData            version 0
//         EncryptedContentInfo   contentType of the inner content, contentEncryptionAlgorithm, encryptedContent
//
// What is encrypted are the content octets of the inner content, without tag and length. A detached message leaves
// encryptedContent out, and the ciphertext goes another way.
#ifndef VT_PKI_ENCRYPTED_DATA_CONTENT_INFO_H
#define VT_PKI_ENCRYPTED_DATA_CONTENT_INFO_H

#include "foundation/export.h"
#include "pki/held.h"

class AlgorithmIdentifier;
class ContentInfo;
class EncryptedContentInfo;
class EncryptedData;
class MiByte;
class VT_P11_Alg;
class VT_P11_Key;
class VT_P11_OP;

namespace pki {
struct EnvelopedAccess;
}

// Setters copy in, getters copy out. Each operation gives 0 or a code (token/codes.def); codes of the token layer pass
// through, and so do the exceptions of malformed DER.
//
//     -1001   a required element of a decoded value is absent
//     -1003   a required member has not been set
class VT_API VT_EncryptedDataContentInfo {
  public:
    VT_EncryptedDataContentInfo();
    VT_EncryptedDataContentInfo(const VT_EncryptedDataContentInfo& other);
    VT_EncryptedDataContentInfo& operator=(const VT_EncryptedDataContentInfo& other);
    ~VT_EncryptedDataContentInfo();

    // The inner content is there once it is set or decrypted; decomposing alone does not give it.
    int setInnerContentInfo(const ContentInfo& content);
    int getInnerContentInfo(ContentInfo& content) const;

    // getEncryptedContentInfoAlgorithmIdentifier gives the algorithm that a message names, so that its key can be set.
    int getEncryptedContentInfoAlgorithmIdentifier(AlgorithmIdentifier& identifier) const;

    // EncryptAttachedContentInfo encrypts the inner content into a new encrypted content. EncryptDettachedContentInfo
    // gives the result to the caller instead.
    int EncryptAttachedContentInfo(VT_P11_OP& op, const VT_P11_Alg& alg, const VT_P11_Key& key);
    int EncryptDettachedContentInfo(VT_P11_OP& op, const VT_P11_Alg& alg, const VT_P11_Key& key, MiByte& ciphertext);

    // DecryptAttachedContentInfo decrypts into a new inner content, by the algorithm that the encrypted content names.
    // DecryptDettachedContentInfo takes the ciphertext from the caller. The inner content has the type that is told and
    // the bytes in an OCTET STRING, whatever their tag was: encryption does not keep it.
    int DecryptAttachedContentInfo(VT_P11_OP& op, const VT_P11_Key& key);
    int DecryptDettachedContentInfo(VT_P11_OP& op, const VT_P11_Key& key, const MiByte& ciphertext);

    // composeEncryptedDataContentInfo makes the message; content is reset first.
    int composeEncryptedDataContentInfo(ContentInfo& content);

    // decomposeEncryptedDataContentInfo takes a message apart: -1009 for another type of content, -1020 for another
    // version than 0.
    int decomposeEncryptedDataContentInfo(const ContentInfo& content);

    // Reset lets go of every member.
    void Reset();

  private:
    friend struct pki::EnvelopedAccess;

    Held<EncryptedContentInfo> encryptedContent;
    Held<ContentInfo> innerContent;
    Held<EncryptedData> encryptedData;  // the last one composed or decomposed
};

#endif

// VT_EnvelopedDataContentInfo: content encrypted under a random session key, which each recipient can open with a
// private key (PKCS#7, RFC 2315, 10).
//
//     ContentInfo                contentType 1.2.840.113549.1.7.3
//       EnvelopedData            version 0
//         RecipientInfos         SET OF RecipientInfo (recipient_info.h)
//         EncryptedContentInfo   contentType of the inner content, contentEncryptionAlgorithm, encryptedContent
//
// What is encrypted are the content octets of the inner content, without tag and length. A detached message leaves
// encryptedContent out, and the ciphertext goes another way.
#ifndef VT_PKI_ENVELOPED_DATA_CONTENT_INFO_H
#define VT_PKI_ENVELOPED_DATA_CONTENT_INFO_H

#include "foundation/export.h"
#include "pki/held.h"

class AlgorithmIdentifier;
template <class T>
class AsnSetOf;
class ContentInfo;
class EncryptedContentInfo;
class EnvelopedData;
class MiByte;
class RecipientInfo;
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
class VT_API VT_EnvelopedDataContentInfo {
  public:
    VT_EnvelopedDataContentInfo();
    VT_EnvelopedDataContentInfo(const VT_EnvelopedDataContentInfo& other);
    VT_EnvelopedDataContentInfo& operator=(const VT_EnvelopedDataContentInfo& other);
    ~VT_EnvelopedDataContentInfo();

    // The inner content is there once it is set or decrypted; decomposing alone does not give it.
    int setInnerContentInfo(const ContentInfo& content);
    int getInnerContentInfo(ContentInfo& content) const;

    // Recipients, as values or as DER, in the order of adding or of the message. MiOutOfRangeExp for an index past the
    // end.
    int addRecipientInfo(const RecipientInfo& recipient);
    int addRecipientInfo(const MiByte& der);
    int getRecipientInfoTotal() const;
    int getRecipientInfoByIndex(int index, RecipientInfo& recipient) const;
    int getRecipientInfoByIndex(int index, MiByte& der) const;

    // getEncryptedContentInfoAlgorithmIdentifier gives the algorithm that a message names, so that its key can be set.
    int getEncryptedContentInfoAlgorithmIdentifier(AlgorithmIdentifier& identifier) const;

    // composeAttachedEncryptedContentInfo encrypts the inner content into a new encrypted content.
    // composeDetachedEncryptedContentInfo gives the result to the caller instead.
    int composeAttachedEncryptedContentInfo(VT_P11_OP& op, const VT_P11_Alg& alg, const VT_P11_Key& key);
    int composeDetachedEncryptedContentInfo(VT_P11_OP& op, const VT_P11_Alg& alg, const VT_P11_Key& key,
                                            MiByte& ciphertext);

    // decomposeAttachedEncryptedContentInfo decrypts into a new inner content, by the algorithm that the encrypted
    // content names. decomposeDetachedEncryptedContentInfo takes the ciphertext from the caller. The inner content has
    // the type that is told and the bytes in an OCTET STRING, whatever their tag was: encryption does not keep it.
    int decomposeAttachedEncryptedContentInfo(VT_P11_OP& op, const VT_P11_Key& key);
    int decomposeDetachedEncryptedContentInfo(VT_P11_OP& op, const VT_P11_Key& key, const MiByte& ciphertext);

    // composeEnvelopedDataContentInfo makes the message; content is reset first.
    int composeEnvelopedDataContentInfo(ContentInfo& content);

    // decomposeEnvelopedDataContentInfo takes a message apart: -1009 for another type of content, -1020 for another
    // version than 0, -1001 for recipients in the form of a SEQUENCE.
    int decomposeEnvelopedDataContentInfo(const ContentInfo& content);

    // Reset lets go of every member and starts an empty set of recipients.
    void Reset();

  private:
    friend struct pki::EnvelopedAccess;

    Held<ContentInfo> innerContent;
    Held<EncryptedContentInfo> encryptedContent;
    Held<AsnSetOf<RecipientInfo>> recipients;
    Held<EnvelopedData> envelopedData;  // the last one composed or decomposed
};

#endif

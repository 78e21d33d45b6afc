// VT_SignedAndEnvelopedDataContentInfo: content encrypted under a session key, with signatures that are encrypted under
// the same key (PKCS#7, RFC 2315, 11).
//
//     ContentInfo                contentType 1.2.840.113549.1.7.4
//       SignedAndEnvelopedData   version 1
//         RecipientInfos         SET OF RecipientInfo (recipient_info.h)
//         digestAlgorithms       SET OF AlgorithmIdentifier
//         EncryptedContentInfo   contentType of the inner content, contentEncryptionAlgorithm, encryptedContent
//         certificates           [0] SET OF ExtendedCertificateOrCertificate, only if there are some
//         crls                   [1] SET OF CertificateList, only if there are some
//         signerInfos            SET OF SignerInfo (signer_info.h), each with its signature encrypted
//
// What is encrypted are the content octets of the inner content, without tag and length. A detached message leaves
// encryptedContent out, and the ciphertext goes another way.
#ifndef VT_PKI_SIGNED_AND_ENVELOPED_DATA_CONTENT_INFO_H
#define VT_PKI_SIGNED_AND_ENVELOPED_DATA_CONTENT_INFO_H

#include "foundation/export.h"
#include "pki/held.h"

class AlgorithmIdentifier;
template <class T>
class AsnSetOf;
class Certificate;
class CertificateList;
class ContentInfo;
class EncryptedContentInfo;
class ExtendedCertificateOrCertificate;
class MiByte;
class RecipientInfo;
class SignedAndEnvelopedData;
class SignerInfo;
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
class VT_API VT_SignedAndEnvelopedDataContentInfo {
  public:
    VT_SignedAndEnvelopedDataContentInfo();
    VT_SignedAndEnvelopedDataContentInfo(const VT_SignedAndEnvelopedDataContentInfo& other);
    VT_SignedAndEnvelopedDataContentInfo& operator=(const VT_SignedAndEnvelopedDataContentInfo& other);
    ~VT_SignedAndEnvelopedDataContentInfo();

    // The inner content is there once it is set or decrypted; decomposing alone does not give it.
    int setInnerContentInfo(const ContentInfo& content);
    int getInnerContentInfo(ContentInfo& content) const;

    // Collections, item by item, as values or as DER, in the order of adding or of the message. MiOutOfRangeExp for an
    // index past the end.
    int addRecipientInfo(const RecipientInfo& recipient);
    int addRecipientInfo(const MiByte& der);
    int getRecipientInfoTotal() const;
    int getRecipientInfoByIndex(int index, RecipientInfo& recipient) const;
    int getRecipientInfoByIndex(int index, MiByte& der) const;

    // Signers whose signature VT_SignerInfo::encryptDigest has encrypted with the session key.
    int addEncryptedSignerInfo(const SignerInfo& signer);
    int addEncryptedSignerInfo(const MiByte& der);
    int getEncryptedSignerInfoTotal() const;
    int getEncryptedSignerInfoByIndex(int index, SignerInfo& signer) const;
    int getEncryptedSignerInfoByIndex(int index, MiByte& der) const;

    // The digest algorithms of the signers. Nothing adds them by itself.
    int addDigestAlgorithmIdentifier(const AlgorithmIdentifier& identifier);
    int addDigestAlgorithmIdentifier(const MiByte& der);
    int getDigestAlgorithmIdentifierTotal() const;
    int getDigestAlgorithmIdentifierByIndex(int index, AlgorithmIdentifier& identifier) const;
    int getDigestAlgorithmIdentifierByIndex(int index, MiByte& der) const;

    // Certificates, and the CHOICE around each, are two views of one set; adding by either makes it present. Getting
    // one, or a revocation list, gives -1003 where they are not present.
    int addCertificate(const Certificate& certificate);
    int addCertificate(const MiByte& der);
    int getCertificateTotal() const;
    int getCertificateByIndex(int index, Certificate& certificate) const;
    int getCertificateByIndex(int index, MiByte& der) const;

    // The certificates, by the CHOICE around each.
    int addExtendedCertificateOrCertificate(const ExtendedCertificateOrCertificate& choice);
    int addExtendedCertificateOrCertificate(const MiByte& der);
    int getExtendedCertificateOrCertificateTotal() const;
    int getExtendedCertificateOrCertificateByIndex(int index, ExtendedCertificateOrCertificate& choice) const;
    int getExtendedCertificateOrCertificateByIndex(int index, MiByte& der) const;

    // Revocation lists.
    int addCertificateList(const CertificateList& list);
    int addCertificateList(const MiByte& der);
    int getCertificateListTotal() const;
    int getCertificateListByIndex(int index, CertificateList& list) const;
    int getCertificateListByIndex(int index, MiByte& der) const;

    // The algorithm, encryption and decryption: as in VT_EnvelopedDataContentInfo.
    int getEncryptedContentInfoAlgorithmIdentifier(AlgorithmIdentifier& identifier) const;
    int composeAttachedEncryptedContentInfo(VT_P11_OP& op, const VT_P11_Alg& alg, const VT_P11_Key& key);
    int composeDetachedEncryptedContentInfo(VT_P11_OP& op, const VT_P11_Alg& alg, const VT_P11_Key& key,
                                            MiByte& ciphertext);
    int decomposeAttachedEncryptedContentInfo(VT_P11_OP& op, const VT_P11_Key& key);
    int decomposeDetachedEncryptedContentInfo(VT_P11_OP& op, const VT_P11_Key& key, const MiByte& ciphertext);

    // composeSignedAndEnvelopedDataContentInfo makes the message; content is reset first.
    int composeSignedAndEnvelopedDataContentInfo(ContentInfo& content);

    // decomposeSignedAndEnvelopedDataContentInfo takes a message apart: -1009 for another type of content, -1020 for
    // another version than 1, -1001 for recipients, signers or digest algorithms in the form of a SEQUENCE.
    // Certificates and revocation lists in that form count as not present.
    int decomposeSignedAndEnvelopedDataContentInfo(const ContentInfo& content);

    // Reset lets go of every member and starts empty sets.
    void Reset();

  private:
    friend struct pki::EnvelopedAccess;

    bool certificatesPresent = false;
    bool certificateListsPresent = false;
    Held<ContentInfo> innerContent;
    Held<EncryptedContentInfo> encryptedContent;
    Held<AsnSetOf<RecipientInfo>> recipients;
    Held<AsnSetOf<SignerInfo>> encryptedSigners;
    Held<AsnSetOf<AlgorithmIdentifier>> digestAlgorithms;
    Held<AsnSetOf<ExtendedCertificateOrCertificate>> certificates;
    Held<AsnSetOf<CertificateList>> certificateLists;
    Held<SignedAndEnvelopedData> signedAndEnvelopedData;  // the last one composed or decomposed
};

#endif

// VT_SignedDataContentInfo: signed data (RFC 2315 section 9.1), put together and taken apart.
//
//     ContentInfo
//       contentType          1.2.840.113549.1.7.2
//       content              [0] SignedData
//         version            1
//         digestAlgorithms   SET OF AlgorithmIdentifier
//         contentInfo        what is signed; of detached content only the type
//         certificates       [0] SET OF, only if there are any
//         crls               [1] SET OF, only if there are any
//         signerInfos        SET OF SignerInfo
#ifndef VT_PKI_SIGNED_DATA_CONTENT_INFO_H
#define VT_PKI_SIGNED_DATA_CONTENT_INFO_H

#include "foundation/export.h"
#include "pki/held.h"

class AlgorithmIdentifier;
template <class T>
class AsnSetOf;
class Certificate;
class CertificateList;
class ContentInfo;
class ExtendedCertificateOrCertificate;
class MiByte;
class SignedData;
class SignerInfo;

// Setters store copies and getters copy out; copies of the object are deep. Operations return 0 for success. -1003 is
// for what was not set, -1001 for what a decoded value lacks. The exceptions of the values pass through; the object is
// then left as far as it had come, for Reset.
//
// Collections keep the order in which items were added, or in which a message had them; a message that is composed has
// them in the order of DER. The forms with a MiByte take and give the DER of one item; there an add decodes it, and
// malformed DER adds nothing. An index at or past the total throws MiOutOfRangeExp.
class VT_API VT_SignedDataContentInfo {
  public:
    VT_SignedDataContentInfo();
    VT_SignedDataContentInfo(const VT_SignedDataContentInfo& other);
    VT_SignedDataContentInfo& operator=(const VT_SignedDataContentInfo& other);
    ~VT_SignedDataContentInfo();

    // Signers, as VT_SignerInfo composes them.
    int addSignerInfo(const SignerInfo& signer);
    int addSignerInfo(const MiByte& der);
    int getSignerInfoTotal() const;
    int getSignerInfoByIndex(int index, SignerInfo& signer) const;
    int getSignerInfoByIndex(int index, MiByte& der) const;

    // The digest algorithms of the signers. Nothing adds them by itself.
    int addDigestAlgorithmIdentifier(const AlgorithmIdentifier& algorithm);
    int addDigestAlgorithmIdentifier(const MiByte& der);
    int getDigestAlgorithmIdentifierTotal() const;
    int getDigestAlgorithmIdentifierByIndex(int index, AlgorithmIdentifier& algorithm) const;
    int getDigestAlgorithmIdentifierByIndex(int index, MiByte& der) const;

    // Certificates and certificate choices are one collection: a certificate is put into a choice, and taken out of
    // one. While there are none, the get operations give -1003; getCertificateByIndex gives -1001 for a choice without
    // a certificate.
    int addCertificate(const Certificate& certificate);
    int addCertificate(const MiByte& der);
    int getCertificateTotal() const;
    int getCertificateByIndex(int index, Certificate& certificate) const;
    int getCertificateByIndex(int index, MiByte& der) const;

    // The same collection, by its choices.
    int addExtendedCertificateOrCertificate(const ExtendedCertificateOrCertificate& choice);
    int addExtendedCertificateOrCertificate(const MiByte& der);
    int getExtendedCertificateOrCertificateTotal() const;
    int getExtendedCertificateOrCertificateByIndex(int index, ExtendedCertificateOrCertificate& choice) const;
    int getExtendedCertificateOrCertificateByIndex(int index, MiByte& der) const;

    // While there are none, the get operations give -1003.
    int addCertificateList(const CertificateList& list);
    int addCertificateList(const MiByte& der);
    int getCertificateListTotal() const;
    int getCertificateListByIndex(int index, CertificateList& list) const;
    int getCertificateListByIndex(int index, MiByte& der) const;

    // The content goes into the message whole, or its type alone does and the octets travel apart. -1001 for a
    // detached content without a type.
    int setToBeAttachedContentInfo(const ContentInfo& value);
    int setToBeDetachedContentInfo(const ContentInfo& value);

    // getAttachedContentInfo gives -1003 where there is no content, and for a detached one.
    int getAttachedContentInfo(ContentInfo& value) const;

    // composeSignedDataContentInfo builds the message, whatever the argument held. -1003 without a content.
    int composeSignedDataContentInfo(ContentInfo& message);

    // decomposeSignedDataContentInfo takes a message apart; its version is not looked at. -1001 for a missing element,
    // -1009 for a message of another type. What the object held before is gone. Signers and digest algorithms in the
    // form of a SEQUENCE give -1001; certificates and revocation lists in that form count as absent.
    int decomposeSignedDataContentInfo(const ContentInfo& message);

    // Reset brings the object back to what it was when it was made.
    void Reset();

  private:
    void forget();

    bool certificatesPresent = false;
    bool certificateListsPresent = false;
    Held<SignedData> signedData;
    Held<ContentInfo> content;
    Held<AsnSetOf<SignerInfo>> signers;
    Held<AsnSetOf<AlgorithmIdentifier>> digestAlgorithms;
    Held<AsnSetOf<ExtendedCertificateOrCertificate>> certificates;
    Held<AsnSetOf<CertificateList>> certificateLists;
};

#endif

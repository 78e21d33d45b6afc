// VT_SignerInfo: one signer of a PKCS#7 message (RFC 2315 section 9.2), made and checked.
//
//     SignerInfo
//       version                     1
//       issuerAndSerialNumber       of the signer's certificate
//       digestAlgorithm
//       authenticatedAttributes     [0] SET OF, only if there are any
//       digestEncryptionAlgorithm
//       encryptedDigest             a DigestInfo under the signer's RSA key (PKCS#1)
//       unauthenticatedAttributes   [1] SET OF, only if there are any
//
// What is signed is the content's octets, without tag and length. With authenticated attributes it is the DER of their
// SET, two of which bind the content: its type (1.2.840.113549.1.9.3) and its digest (1.2.840.113549.1.9.4).
#ifndef VT_PKI_SIGNER_INFO_H
#define VT_PKI_SIGNER_INFO_H

#include "foundation/export.h"
#include "pki/held.h"

class AlgorithmIdentifier;
class AsnOctetString;
template <class T>
class AsnSetOf;
class Certificate;
class ContentInfo;
class IssuerAndSerialNumber;
class MiByte;
class PKCS7Attribute;
class SignerInfo;
class VT_P11_Key;
class VT_P11_Alg;
class VT_P11_OP;

namespace pki {
class SignedContent;
struct SignerAccess;
}  // namespace pki

// Setters store copies and getters copy out; copies of the object are deep. Operations return 0 for success. -1003 is
// for what was not set, -1001 for what a decoded value lacks. Codes of VT_P11_Alg, VT_P11_Key and VT_P11_OP pass
// through, and so do the exceptions of the values; the object is then left as far as it had come, for Reset.
class VT_API VT_SignerInfo {
  public:
    VT_SignerInfo();
    VT_SignerInfo(const VT_SignerInfo& other);
    VT_SignerInfo& operator=(const VT_SignerInfo& other);
    ~VT_SignerInfo();

    // setInnerContentInfo stores the content that is signed or verified.
    int setInnerContentInfo(const ContentInfo& content);

    // By issuer and serial number the signer's certificate is known; the data are digested by the digest algorithm, and
    // the digest is signed by the digest encryption algorithm.
    int setIssuerAndSerialNumber(const IssuerAndSerialNumber& value);
    int getIssuerAndSerialNumber(IssuerAndSerialNumber& value) const;
    int setDigestAlgorithmIdentifier(const AlgorithmIdentifier& value);
    int getDigestAlgorithmIdentifier(AlgorithmIdentifier& value) const;
    int setDigestEncryptionAlgorithmIdentifier(const AlgorithmIdentifier& value);
    int getDigestEncryptionAlgorithmIdentifier(AlgorithmIdentifier& value) const;

    // composeSignerInfo builds the schema value, as such or as DER. -1003 if issuer and serial number, one of the
    // algorithms or the encrypted digest is not there. Attributes go in where there are any.
    int composeSignerInfo(SignerInfo& value);
    int composeSignerInfo(MiByte& der);

    // decomposeSignerInfo takes a signer apart. -1020 for another version than 1, a missing one included; -1001 for
    // any other missing element. Attributes of the object that it had before are gone; attributes in the form of a
    // SEQUENCE count as absent.
    int decomposeSignerInfo(const SignerInfo& value);
    int decomposeSignerInfo(const MiByte& der);

    // SignDigest signs the inner content by the two algorithms and the private key, and stores the encrypted digest.
    // If there are authenticated attributes, the content's type and digest are added behind them first, at each call
    // anew. -1003 if the content or an algorithm is not set, -1001 for a content without octets or without a type.
    int SignDigest(VT_P11_OP& op, const VT_P11_Key& key);

    // VerifyDigest checks the encrypted digest against the inner content and the certificate's key. It is opened in
    // software, whatever token op is connected to; op computes the digests. In this order:
    //
    //     -1021   the certificate has another issuer or serial number than the signer
    //     -1018   the digest algorithm inside the signature is not the signer's
    //     -1022   authenticated attributes, but none of them, or none with a digest
    //     -1009   an attribute tells another content type than the content's
    //     -1012   a digest differs: that of the attribute, or that of the signature
    int VerifyDigest(VT_P11_OP& op, const Certificate& certificate);

    // encryptDigest and decryptDigest put the encrypted digest under a session key, and back: messages that are signed
    // and enveloped have it so. -1003 if it is absent.
    int encryptDigest(VT_P11_OP& op, const VT_P11_Alg& alg, const VT_P11_Key& key);
    int decryptDigest(VT_P11_OP& op, const VT_P11_Alg& alg, const VT_P11_Key& key);

    // Attributes by their order. Adding one makes the signer a signer with attributes of that kind. An index at or past
    // the total throws MiOutOfRangeExp.
    int addAuthPKCS7Attribute(const PKCS7Attribute& attribute);
    int addUnAuthPKCS7Attribute(const PKCS7Attribute& attribute);
    int getAuthPKCS7AttributeTotal() const;
    int getUnAuthPKCS7AttributeTotal() const;
    int getAuthPKCS7AttributeByIndex(int index, PKCS7Attribute& attribute) const;
    int getUnAuthPKCS7AttributeByIndex(int index, PKCS7Attribute& attribute) const;

    // Reset brings the object back to what it was when it was made: nothing set, no attributes.
    void Reset();

  private:
    friend struct pki::SignerAccess;

    int sign(VT_P11_OP& op, const VT_P11_Key& key, const ContentInfo* content);
    int addContentAttributes(const ContentInfo& content, const MiByte& digest);
    int verify(VT_P11_OP& op, const Certificate& certificate, pki::SignedContent& content) const;

    bool authenticatedPresent = false;
    bool unauthenticatedPresent = false;
    Held<ContentInfo> innerContent;
    Held<SignerInfo> signer;
    Held<IssuerAndSerialNumber> issuerAndSerialNumber;
    Held<AlgorithmIdentifier> digestAlgorithm;
    Held<AlgorithmIdentifier> digestEncryptionAlgorithm;
    Held<AsnOctetString> encryptedDigest;
    Held<AsnSetOf<PKCS7Attribute>> authenticatedAttributes;
    Held<AsnSetOf<PKCS7Attribute>> unauthenticatedAttributes;
};

#endif

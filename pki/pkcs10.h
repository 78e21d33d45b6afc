// VT_PKCS10: a certification request (PKCS#10, RFC 2986).
//
//     CertificationRequest
//       CertificationRequestInfo   version 0, subject, subjectPKInfo, attributes
//       signatureAlgorithm
//       signature                  BIT STRING over the DER of the CertificationRequestInfo
//
// No request composed here is signed: see composePKCS10.
#ifndef VT_PKI_PKCS10_H
#define VT_PKI_PKCS10_H

#include "foundation/export.h"
#include "pki/held.h"

template <class T>
class AsnSetOf;
class Attribute;
class CertificationRequest;
class CertificationRequestInfo;
class MiByte;
class Name;
class RSAPublicKey;
class SubjectPublicKeyInfo;
class VT_P11_Alg;
class VT_P11_Key;
class VT_P11_OP;

// Setters copy in, getters copy out. Each operation gives 0 or a code (token/codes.def); codes of the token layer pass
// through, and so do the exceptions of malformed DER and of incomplete values.
class VT_API VT_PKCS10 {
  public:
    VT_PKCS10();
    VT_PKCS10(const VT_PKCS10& other);
    VT_PKCS10& operator=(const VT_PKCS10& other);
    ~VT_PKCS10();

    // setRSAPublickKey makes the subject key: rsaEncryption with NULL parameters around the DER of the numbers.
    int setRSAPublickKey(const RSAPublicKey& key);

    // getPublicKey gives the numbers of the subject key: -1001 if it has no algorithm or no bits, -1009 if it is no RSA
    // key.
    int getPublicKey(RSAPublicKey& key) const;

    // Attributes, in the order of adding or of the request; a composed request has them in the order of DER.
    // getAttributeByIndex gives -1005 for an index out of range.
    int addAttribute(const Attribute& attribute);
    int getAttributesTotal(int& total) const;
    int getAttributeByIndex(int index, Attribute& attribute) const;

    // The subject, as DER or as a value.
    int setName(const MiByte& der);
    int setName(const Name& name);
    int getName(MiByte& der) const;
    int getName(Name& name) const;

    // composePKCS10 makes a request without a signature, as its callers have always had it. With a null key the
    // signature is a filler of 30 bytes that begins with "There is not a Signature"; with a key it is empty, and the
    // caller puts one in. op and the key serve for the tests of a digest alone.
    //
    //     -1001   the algorithm names none
    //     -1006   another algorithm than RSA, or RSA with MD5, MD2 or SHA-1
    //     -1010   alg is null
    //     -1014   RSA without a digest, a key is given, and there are 117 bytes or more to sign
    int composePKCS10(VT_P11_OP& op, const VT_P11_Key* key, const VT_P11_Alg* alg, CertificationRequest& request);
    int composePKCS10(VT_P11_OP& op, const VT_P11_Key* key, const VT_P11_Alg* alg, MiByte& der);

    // decomposePKCS10 takes a request apart into the members: -1003 if a part is missing. It checks no signature.
    int decomposePKCS10(VT_P11_OP& op, const CertificationRequest& request);
    int decomposePKCS10(VT_P11_OP& op, const MiByte& der);

    // verifyPKCS10 checks the signature of a request against the key in it, whatever the members hold. The signature is
    // opened in software; op serves for the digest.
    //
    //     0       it is good
    //     -1001   a required element is absent
    //     -1002   the digest in the signature is another one
    //     -1006   another algorithm than those above, or a key that is no RSA key
    //     -1014   RSA without a digest, and 117 bytes or more are signed
    static int verifyPKCS10(VT_P11_OP& op, const CertificationRequest& request);
    static int verifyPKCS10(VT_P11_OP& op, const MiByte& der);

    // Reset starts anew with empty members.
    void Reset();

  private:
    Held<AsnSetOf<Attribute>> attributes;
    Held<SubjectPublicKeyInfo> subjectKey;
    Held<Name> subject;
    Held<CertificationRequestInfo> requestInfo;  // the last one composed or decomposed
};

#endif

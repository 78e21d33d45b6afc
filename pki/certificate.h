// VT_Certificate: what the message classes ask of one X.509 certificate.
//
// Operations give 0 or a negative code (token/codes.h). What the ASN.1 runtime throws passes through: malformed DER and
// an index out of range are exceptions here (asn/der_decode.h), never codes. An element that is absent, or that the
// certificate's schema does not have, is missing.
#ifndef VT_PKI_CERTIFICATE_H
#define VT_PKI_CERTIFICATE_H

#include "foundation/export.h"
#include "schema/x509.h"

class ExtendedCertificateOrCertificate;
class IssuerAndSerialNumber;
class MiByte;
class RSAPublicKey;

class VT_API VT_Certificate {
  public:
    VT_Certificate();
    VT_Certificate(const VT_Certificate& other);
    VT_Certificate& operator=(const VT_Certificate& other);
    ~VT_Certificate();

    // The value, copied in and out. Always 0.
    int setCertificate(const Certificate& value);
    int getCertificate(Certificate& value) const;

    // The DER of the value. Decoding starts at offset 0 and does not look at what follows the certificate; one that
    // throws leaves the value partly filled. Encoding throws for an incomplete value. Else 0.
    int setCertificate(const MiByte& der);
    int getCertificate(MiByte& der) const;

    // A certificate as the lists of PKCS#7 have it, always in the alternative "certificate"; -1001 if the other one or
    // none is selected.
    int setExtendedCertificate(const ExtendedCertificateOrCertificate& choice);
    int getExtendedCertificate(ExtendedCertificateOrCertificate& choice) const;

    // Issuer and serial number, which name a certificate in PKCS#7. -1001, with the target untouched, if one is
    // missing.
    int getIssuerAndSerialNumber(IssuerAndSerialNumber& target) const;

    // The public key, decoded from the bits of the subjectPublicKey; the parameters of its algorithm do not count.
    // -1001 for a missing element; -1006 for any algorithm but rsaEncryption (1.2.840.113549.1.1.1).
    int getRSAPublicKey(RSAPublicKey& target) const;

    // The subject as name nodes (pki/name.h): how many, and one of them. -1001 for a missing element, and for an
    // attribute without type or value; an index at or past the total throws MiOutOfRangeExp.
    int getSubjectsTotal(int& total) const;
    int getSubjectsByIndex(int index, MiByte& node) const;

    // 0 if the clock of the system, in GMT, is within the validity; both ends count as inside. -1025 if it is not;
    // -1003 without a tBSCertificate, -1001 without a validity or one of its bounds, -1024 for a bound without a time.
    int VerifyValidityPeriod() const;

    // Does nothing: callers reset what they hold and still use its certificate.
    void Reset() {}

  private:
    Certificate certificate;
};

#endif

// VT_Certificate_Tool: the signature of one certificate, checked with another.
#ifndef VT_PKI_CERTIFICATE_TOOL_H
#define VT_PKI_CERTIFICATE_TOOL_H

#include "foundation/export.h"

class Certificate;
class MiByte;
class VT_P11_OP;

class VT_API VT_Certificate_Tool {
  public:
    // Checks one link: that the key of issuerCert made the signature of cert. With one of the two null, the other is
    // checked against its own key. No path is walked, and no extension, date or revocation is looked at.
    //
    // The issuers of the two certificates must be the same: it is issuer against issuer, not the subject of the one
    // against the issuer of the other. So a certificate passes against the self-signed root that issued it, and is
    // refused against an intermediate authority. Callers depend on it.
    //
    // The signature is over the encoding of the decoded tBSCertificate. What the DigestInfo inside it calls its
    // algorithm does not count, nor what follows the DigestInfo: with a key whose exponent is 3 such a signature can be
    // made up, so do not trust one. What the certificate calls its algorithm does count:
    //
    //     1.2.840.113549.1.1.1   RSA alone: the DigestInfo holds the encoding itself, at most 116 bytes
    //     1.2.840.113549.1.1.2   MD2 with RSA
    //     1.2.840.113549.1.1.4   MD5 with RSA
    //     1.2.840.113549.1.1.5   SHA-1 with RSA
    //
    // op must have a chooser. 0 for a good signature. Codes, in the order of the steps:
    //
    //     -1010   both certificates are null
    //     -1001   an element that is needed is missing
    //     -1023   the issuers differ; nothing has been computed
    //     -1006   the key is no RSA key, or the signature's algorithm is none of the four
    //     -1014   RSA alone over more than 116 bytes
    //     -1002   the digest in the signature is another one
    //
    // and those of VT_P11_Key::setRSAPublicKey, VT_P11_Alg::setAlgorithmIdentifier, VT_P11_OP::Digest and
    // VT_P11_OP::Decrypt as they come. The key or the DigestInfo may be malformed, which is an exception.
    static int VerifyCertificateChain(VT_P11_OP& op, const Certificate* issuerCert, const Certificate* cert);

    // The same with DER, which is decoded from offset 0.
    static int VerifyCertificateChain(VT_P11_OP& op, const MiByte* issuerDer, const MiByte* certDer);
};

#endif

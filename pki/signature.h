// The signature of a certificate or of a request: what it covers, and what is found in it. For the sources of this
// room.
//
//     1.2.840.113549.1.1.1   RSA alone: the DigestInfo in the signature holds the signed bytes themselves
//     1.2.840.113549.1.1.2   MD2 with RSA: it holds their digest
//     1.2.840.113549.1.1.4   MD5 with RSA
//     1.2.840.113549.1.1.5   SHA-1 with RSA
#ifndef VT_PKI_SIGNATURE_H
#define VT_PKI_SIGNATURE_H

class AsnOid;
class MiByte;
class VT_P11_OP;

namespace pki {

// One of the algorithms above.
struct SignatureAlgorithm {
    const char* identifier;
    int digest;  // the code of VT_P11_Alg, 0 for none
};

// signatureAlgorithmOf gives the algorithm of an identifier, null for any other.
const SignatureAlgorithm* signatureAlgorithmOf(const AsnOid& identifier);

// signedValue gives what a signature over the text must hold. -1014 for RSA alone over more than 116 bytes; codes of
// VT_P11_OP::Digest.
int signedValue(VT_P11_OP& op, const SignatureAlgorithm& algorithm, const MiByte& text, MiByte& value);

// valueInside gives what an opened signature holds, whatever algorithm its DigestInfo names, and whatever follows it.
// -1001 for a DigestInfo without a digest; the exceptions of malformed DER.
int valueInside(const MiByte& opened, MiByte& value);

}  // namespace pki

#endif

// Elements of a certificate as VT_Certificate and VT_Certificate_Tool read them, without a copy of it.
#ifndef VT_PKI_CERTIFICATE_ELEMENTS_H
#define VT_PKI_CERTIFICATE_ELEMENTS_H

class Certificate;
class Name;
class RSAPublicKey;

namespace pki {

// IssuerOf gives the issuer, null where it or the tBSCertificate is missing.
const Name* IssuerOf(const Certificate& certificate);

// ReadRsaPublicKey is VT_Certificate::getRSAPublicKey.
int ReadRsaPublicKey(const Certificate& certificate, RSAPublicKey& target);

}  // namespace pki

#endif

// Elements of a certificate as VT_Certificate and VT_Certificate_Tool read them, without a copy of it; and its key, as
// requests have one too.
#ifndef VT_PKI_CERTIFICATE_ELEMENTS_H
#define VT_PKI_CERTIFICATE_ELEMENTS_H

class Certificate;
class Name;
class RSAPublicKey;
class SubjectPublicKeyInfo;
class VT_P11_Key;

namespace pki {

// issuerOf gives the issuer, null where it or the tBSCertificate is missing.
const Name* issuerOf(const Certificate& certificate);

// readRsaPublicKey is VT_Certificate::getRSAPublicKey, of a certificate or of the element that has the key; null counts
// as missing. readRsaKey makes a key of it; codes of VT_P11_Key::setRSAPublicKey.
int readRsaPublicKey(const Certificate& certificate, RSAPublicKey& target);
int readRsaPublicKey(const SubjectPublicKeyInfo* info, RSAPublicKey& target);
int readRsaKey(const Certificate& certificate, VT_P11_Key& key);
int readRsaKey(const SubjectPublicKeyInfo* info, VT_P11_Key& key);

}  // namespace pki

#endif

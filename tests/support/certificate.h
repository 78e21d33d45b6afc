// Certificates for tests, built element by element without the code under test. They are not signed by anybody: their
// signature is a made-up bit string, which no store looks at.
#ifndef VT_TESTS_SUPPORT_CERTIFICATE_H
#define VT_TESTS_SUPPORT_CERTIFICATE_H

#include <string>
#include <vector>

#include "tests/support/fake_crypto_api.h"
#include "tests/support/hex.h"

namespace support {

struct CertificateParts {
    std::string subject = "CN=Alice, O=Example";   // components between ", "; keys C, CN, E, L, O, OU
    std::string issuer = "CN=Test CA, O=Example";  // the same
    Bytes serial = {0x01};                         // content of the INTEGER, most significant byte first
    std::string notBefore = "20141021103000Z";     // GeneralizedTime
    Bytes publicBlob = fakePublicBlob(1024);       // the key as a PUBLICKEYBLOB
    bool version = true;                           // whether the version is told
};

// makeCertificate gives the DER of a version 3 certificate; without `version` of a version 1 certificate.
Bytes makeCertificate(const CertificateParts& parts);

// nameDer gives the DER of a Name such as "CN=Alice, O=Example"; the empty text is the empty name.
Bytes nameDer(const std::string& name);

// certificatesOnly gives a PKCS#7 SignedData (RFC 2315) that carries the certificates in this order and has no signer,
// as openssl crl2pkcs7 -nocrl makes it.
Bytes certificatesOnly(const std::vector<Bytes>& certificates);

// base64 gives the text with a line break after each 64 characters.
std::string base64(const Bytes& bytes);

}  // namespace support

#endif

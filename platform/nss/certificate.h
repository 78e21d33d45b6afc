// Certificates (RFC 5280) as CERT_INFO, read here and not by NSS: what is to be stored or compared may be anything.
#ifndef VT_PLATFORM_NSS_CERTIFICATE_H
#define VT_PLATFORM_NSS_CERTIFICATE_H

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "platform/nss/der.h"
#include "platform/nss/output.h"
#include "platform/types.h"

namespace platform::nss {

// Certificate owns its bytes and all that its CERT_INFO points to.
class Certificate {
  public:
    Certificate() = default;
    Certificate(const Certificate&) = delete;
    Certificate& operator=(const Certificate&) = delete;

    // bytes gives what was parsed, der the certificate without what may follow it.
    const Bytes& bytes() const { return bytes_; }
    Span der() const { return der_; }
    CERT_INFO& info() const { return const_cast<CERT_INFO&>(info_); }

    // isSelfIssued: issuer and subject are the same bytes.
    bool isSelfIssued() const;
    // isAuthority: the basic constraints say so, or it is a self-issued one of version 1, which has none.
    bool isAuthority() const;
    // rsaModulus gives the modulus without leading zeros; empty for another kind of key.
    Bytes rsaModulus() const;

  private:
    friend class CertificateParser;
    friend std::shared_ptr<Certificate> parseCertificate(const BYTE* data, std::size_t size);

    Bytes bytes_;
    Span der_ = {};
    CERT_INFO info_ = {};
    Bytes serialNumber_;
    std::deque<std::string> objectIds_;  // a deque, as CERT_INFO points into it while it grows
    std::vector<CERT_EXTENSION> extensions_;
};

// parseCertificate reads a certificate; bytes behind it are kept and ignored. Every field of the outer structure must
// be there in DER; names, parameters and extension values are captured as they stand. Null with the last error
// CRYPT_E_ASN1_EOD for no bytes, and CRYPT_E_ASN1_CORRUPT for what is no certificate.
std::shared_ptr<Certificate> parseCertificate(const BYTE* data, std::size_t size);

}  // namespace platform::nss

#endif

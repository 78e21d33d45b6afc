// Queries of the user's certificate stores, and clean-up. Names are matched component by component, case aside.
#ifndef VT_ENROL_STORE_H
#define VT_ENROL_STORE_H

#include <cstddef>
#include <cstdint>

namespace enrol {

// DeleteCertificate deletes the first certificate of that issuer and serial number that has a key. The key's container
// stays. 0 or 22218126.
std::int32_t DeleteCertificate(const char* issuerDn, const char* serialHex);

// CertificateExists: 0 when DeleteCertificate would find one, otherwise 1.
std::int32_t CertificateExists(const char* issuerDn, const char* serialHex);

// PruneCertificates keeps the most recent of the certificates of that subject and issuer and deletes the older ones
// that have a key. 0, or 22238126 when fewer than two match.
std::int32_t PruneCertificates(const char* subjectDn, const char* issuerDn);

// CheckCertificateInWindowsStores: 0 when the certificate stands in "ROOT" or "CA", otherwise a code.
std::int32_t CheckCertificateInWindowsStores(const char* text, std::size_t length);

}  // namespace enrol

#endif

// The search for the certificates that signers name. For the sources of this room.
#ifndef VT_PKI_FLAT_CERTIFICATE_SEARCH_H
#define VT_PKI_FLAT_CERTIFICATE_SEARCH_H

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "asn/set_of.h"
#include "schema/forward.h"

namespace flat {

// certificateIn gives the alternative "certificate" of a choice; null where it is not the one selected.
const Certificate* certificateIn(const ExtendedCertificateOrCertificate& choice);

// A short message can name thousands of signers and bring thousands of certificates, and comparing each with each would
// keep its reader busy for minutes: among many, certificates are looked up by a hash.
class CertificateSearch {
  public:
    // The certificates, which may be null, lie in a message that outlives the search.
    explicit CertificateSearch(const AsnSetOf<ExtendedCertificateOrCertificate>* certificates)
        : certificates_(certificates) {}

    // find gives the first certificate that has the signer's issuer and serial number, null if there is none. -1001 for
    // a choice that has no certificate, and for a certificate that lacks issuer or serial number, before the one.
    int32_t find(const IssuerAndSerialNumber& signer, const Certificate*& found);

  private:
    int32_t lookAt(unsigned int position, const IssuerAndSerialNumber& signer, const Certificate*& found) const;
    int32_t findAmongFew(const IssuerAndSerialNumber& signer, const Certificate*& found) const;
    int32_t findByHash(const IssuerAndSerialNumber& signer, const Certificate*& found);
    void makeIndex();

    const AsnSetOf<ExtendedCertificateOrCertificate>* certificates_;
    bool indexed_ = false;
    bool faulty_ = false;  // the index ends before a certificate that lacks something
    std::vector<std::pair<std::size_t, unsigned int>> index_;  // hash and position, sorted
};

}  // namespace flat

#endif

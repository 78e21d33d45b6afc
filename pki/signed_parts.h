// The elements of signed data, looked at where they lie. VT_SignedDataContentInfo copies them in and out; the flat
// functions read and write whole messages without that. For the sources of this room and of pki/flat.
#ifndef VT_PKI_SIGNED_PARTS_H
#define VT_PKI_SIGNED_PARTS_H

#include "asn/set_of.h"
#include "schema/forward.h"

namespace pki {

// What is null is not there.
struct SignedParts {
    const ContentInfo* content = nullptr;
    const AsnSetOf<SignerInfo>* signers = nullptr;
    const AsnSetOf<AlgorithmIdentifier>* digestAlgorithms = nullptr;
    const AsnSetOf<ExtendedCertificateOrCertificate>* certificates = nullptr;
    const AsnSetOf<CertificateList>* certificateLists = nullptr;
};

// readSignedData decodes the content of a message into value, to whose elements parts then points. -1001 for a missing
// type, content, contentInfo, signers or digest algorithms (in the form of a SEQUENCE they count as missing), -1009 for
// another type. Certificates and revocation lists are optional.
int readSignedData(const ContentInfo& message, SignedData& value, SignedParts& parts);

// writeSignedData copies the parts into value, which must be new, but may have the content already: one that is the
// value's own is left where it is. -1003 without content, signers or digest algorithms.
int writeSignedData(const SignedParts& parts, SignedData& value);

}  // namespace pki

#endif

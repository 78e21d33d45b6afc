// The elements of digested data, looked at where they lie. VT_DigestedDataContentInfo copies them in and out; the flat
// functions read and write whole messages without that. For the sources of this room and of pki/flat.
#ifndef VT_PKI_DIGESTED_PARTS_H
#define VT_PKI_DIGESTED_PARTS_H

#include "schema/forward.h"

class AsnOctetString;
class MiByte;
class VT_P11_OP;

namespace pki {

// What is null is not there.
struct DigestedParts {
    const AlgorithmIdentifier* algorithm = nullptr;
    const ContentInfo* content = nullptr;
    const AsnOctetString* digest = nullptr;
};

// readDigestedData decodes the content of a message into value, to whose elements parts then points. -1001 for a
// missing type or content, -1009 for another type, -1020 for another version than 0.
int readDigestedData(const ContentInfo& message, DigestedData& value, DigestedParts& parts);

// digestContent digests the octets of the content. -1003 without content or algorithm, -1001 for a content without
// octets, codes of the token layer.
int digestContent(const DigestedParts& parts, VT_P11_OP& op, MiByte& digest);

// verifyContent digests the content and compares: -1003 without a digest, -1012 for another one.
int verifyContent(const DigestedParts& parts, VT_P11_OP& op);

// writeDigestedData copies the parts into value, which must be new, but may have the content already: one that is the
// value's own is left where it is. -1003 if one is missing.
int writeDigestedData(const DigestedParts& parts, DigestedData& value);

}  // namespace pki

#endif

// What the visitors and the lists do with the byte cache of a value (object.h): in its modes stored bytes stand in
// place of the value, on the way out and on the way in.
#ifndef VT_ASN_BYTE_CACHE_H
#define VT_ASN_BYTE_CACHE_H

#include <algorithm>
#include <cstdint>

#include "asn/object.h"
#include "foundation/byte_buffer.h"
#include "foundation/exceptions.h"

namespace AsnByteCache {

// The first step of every encode: out is cut back to offset. True if the stored element or content was written there
// and there is nothing more to do.
inline bool WriteElement(const AsnObject& value, MiByteBuffer& out, unsigned int offset) {
    out.SetLength(offset);
    if (value.GetAsnByteType() != AsnObject::ASN_WHOLE_BYTE)
        return false;
    out.Append(value.GetAsnByte());
    return true;
}
inline bool WriteContent(const AsnObject& value, MiByteBuffer& out, unsigned int offset) {
    out.SetLength(offset);
    if (value.GetAsnByteType() != AsnObject::ASN_CONTENT_BYTE)
        return false;
    out.Append(value.GetAsnContentByte());
    return true;
}

// True if the element or content was stored and is not to be parsed. The size of an element is not held against the
// input, and what is there of it is stored; MiOutOfRangeExp if it has no room in a result. The offset of an element,
// and all of a content, must lie within the input.
inline bool KeepElement(AsnObject& value, const MiByte& in, unsigned int offset, std::uint64_t size) {
    if (value.GetAsnByteType() != AsnObject::ASN_WHOLE_BYTE)
        return false;
    if (size > UINT32_MAX)
        throw MiOutOfRangeExp();
    value.SetAsnByte(in.GetChars(), offset, std::min(static_cast<unsigned int>(size), in.GetLength() - offset));
    return true;
}
inline bool KeepContent(AsnObject& value, const MiByte& in, unsigned int offset, unsigned int length) {
    if (value.GetAsnByteType() != AsnObject::ASN_CONTENT_BYTE)
        return false;
    value.SetAsnContentByte(in.GetChars(), offset, length);
    return true;
}

}  // namespace AsnByteCache

#endif

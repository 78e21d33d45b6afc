// AsnTag: what an identifier octet says, and how the tag came to be there.
#ifndef VT_ASN_TAG_H
#define VT_ASN_TAG_H

#include <cstdint>
#include <iosfwd>

#include "foundation/export.h"

// The values of class and form are those of the identifier octet (X.690, 8.1.2): they are or-ed straight into it.
enum ASN_TAG_CLASS : int {
    ASN_UNIVERSAL = 0x00,    // of ASN.1 itself, such as 2 for INTEGER
    ASN_APPLICATION = 0x40,  // of one standard
    ASN_CONTEXT = 0x80,      // of the place, such as [0]
    ASN_PRIVATE = 0xC0,      // of an enterprise
};

// How a tag came to be there.
enum ASN_TAG_MODE : int {
    ASN_NOT_TAGGED = 0,  // it is that of the type, or was read
    ASN_IMPLICIT = 1,    // it stands in place of that of the type
    ASN_EXPLICIT = 2,    // it stands around that of the type
};

// Whether the content is bytes or elements.
enum ASN_TAG_FORM : int {
    ASN_PRIMITIVE = 0x00,    // bytes
    ASN_CONSTRUCTED = 0x20,  // elements
};

struct VT_API AsnTag {
    ASN_TAG_CLASS tagClass = ASN_UNIVERSAL;  // bits 8 and 7 of the first octet
    ASN_TAG_MODE tagMode = ASN_NOT_TAGGED;   // not on the wire
    ASN_TAG_FORM tagForm = ASN_PRIMITIVE;    // bit 6 of the first octet
    std::uint32_t tagNumber = 0;             // in the first octet up to 30, else behind it
};

// All four fields are compared, the mode too: a tag that was read (mode 0) differs from the same tag that was built
// as IMPLICIT or EXPLICIT.
VT_API bool operator==(const AsnTag& a, const AsnTag& b);
VT_API bool operator!=(const AsnTag& a, const AsnTag& b);

// Prints nothing for a universal tag. Others print as "[", "APPLICATION " or "PRIVATE " (nothing for context class),
// the number in decimal, "]  ", and "EXPLICIT  " or "IMPLICIT  ".
VT_API std::basic_ostream<char>& operator<<(std::basic_ostream<char>& os, AsnTag& tag);
VT_API std::basic_ostream<char>& operator<<(std::basic_ostream<char>& os, const AsnTag& tag);

#endif

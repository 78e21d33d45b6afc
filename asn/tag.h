// AsnTag: what an identifier octet says, and how the tag came to be there.
#ifndef VT_ASN_TAG_H
#define VT_ASN_TAG_H

#include <cstdint>
#include <iosfwd>

#include "foundation/export.h"

// The values of class and form are those of the identifier octet (X.690, 8.1.2): they are or-ed straight into it.
enum ASN_TAG_CLASS : int {
    ASN_UNIVERSAL = 0x00,
    ASN_APPLICATION = 0x40,
    ASN_CONTEXT = 0x80,
    ASN_PRIVATE = 0xC0,
};

enum ASN_TAG_MODE : int {
    ASN_NOT_TAGGED = 0,
    ASN_IMPLICIT = 1,
    ASN_EXPLICIT = 2,
};

enum ASN_TAG_FORM : int {
    ASN_PRIMITIVE = 0x00,
    ASN_CONSTRUCTED = 0x20,
};

struct VT_API AsnTag {
    ASN_TAG_CLASS tagClass = ASN_UNIVERSAL;
    ASN_TAG_MODE tagMode = ASN_NOT_TAGGED;
    ASN_TAG_FORM tagForm = ASN_PRIMITIVE;
    std::uint32_t tagNumber = 0;
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

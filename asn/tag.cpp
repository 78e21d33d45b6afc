#include "asn/tag.h"

#include <ostream>
#include <string>

bool operator==(const AsnTag& a, const AsnTag& b) {
    return a.tagClass == b.tagClass && a.tagMode == b.tagMode && a.tagForm == b.tagForm && a.tagNumber == b.tagNumber;
}

bool operator!=(const AsnTag& a, const AsnTag& b) {
    return !(a == b);
}

std::basic_ostream<char>& operator<<(std::basic_ostream<char>& os, const AsnTag& tag) {
    if (tag.tagClass == ASN_UNIVERSAL)
        return os;
    os << "[";
    if (tag.tagClass == ASN_APPLICATION)
        os << "APPLICATION ";
    if (tag.tagClass == ASN_PRIVATE)
        os << "PRIVATE ";
    os << std::to_string(tag.tagNumber) << "]  ";
    if (tag.tagMode == ASN_EXPLICIT)
        os << "EXPLICIT  ";
    if (tag.tagMode == ASN_IMPLICIT)
        os << "IMPLICIT  ";
    return os;
}

std::basic_ostream<char>& operator<<(std::basic_ostream<char>& os, AsnTag& tag) {
    return os << static_cast<const AsnTag&>(tag);
}

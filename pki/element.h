// Look-ups in values that came from outside.
#ifndef VT_PKI_ELEMENT_H
#define VT_PKI_ELEMENT_H

#include "asn/asn.h"

namespace pki {

// elementOf gives the member of that name; null where it is absent, where the schema has no such member, and where it
// is of another type, which only a caller's own schema can cause.
template <class T>
const T* elementOf(const AsnSequence& of, const char* name) {
    const AsnObject* member = of.Get(name);
    return member != nullptr && member->IsAsnPresent() ? dynamic_cast<const T*>(member) : nullptr;
}

}  // namespace pki

#endif

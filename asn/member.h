// AsnMember: one line of a schema, from which sequences, sets and choices make their members.
#ifndef VT_ASN_MEMBER_H
#define VT_ASN_MEMBER_H

#include "asn/object.h"

struct AsnMember {
    const char* name;      // by which it is found and printed
    AsnObject* (*make)();  // a new value of the member's type; for ASN_EXPLICIT the inner value of its AsnContainer
    AsnObject::ASN_STATE state = AsnObject::ASN_MANDATORY;  // its role
    bool anyType = false;                                   // stands for an ANY and accepts every tag

    // A tag in place of that of the type, unless the mode is ASN_NOT_TAGGED. The form stays that of the type, or
    // becomes constructed.
    ASN_TAG_MODE tagMode = ASN_NOT_TAGGED;
    unsigned int tagNumber = 0;            // that of the tag in place
    ASN_TAG_CLASS tagClass = ASN_CONTEXT;  // that of the tag in place
    bool constructed = false;              // whether the form becomes constructed
};

// AsnMake<T> is what a table has for `make`.
template <class T>
AsnObject* AsnMake() {
    return new T;
}

// AsnMakeMember is the member as a schema has it: named, tagged, with its role, absent. The caller owns it.
VT_API AsnObject* AsnMakeMember(const AsnMember& member);

#endif

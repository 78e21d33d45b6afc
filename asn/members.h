// What sequences and sets, and partly choices, do with their named members. `elements` is their list, null until the
// first member exists.
#ifndef VT_ASN_MEMBERS_H
#define VT_ASN_MEMBERS_H

#include <memory>

#include "asn/list.h"

class AsnObject;
struct AsnMember;

namespace AsnMembers {

// MiInvalidArgumentExp for null and for an element without a name.
void RequireNamed(const AsnObject* e);

void Add(AsnList*& elements, const AsnObject* e);
void Insert(AsnList*& elements, unsigned int index, const AsnObject* e);
void Replace(AsnList* elements, unsigned int index, const AsnObject* e);
void Replace(AsnList* elements, const char* name, const AsnObject* e);
void Delete(AsnList* elements, unsigned int index);
void Delete(AsnList* elements, const char* name);

// MiInvalidArgumentExp without a list or with a null name; MiOutOfRangeExp for the index; null for an unknown name.
AsnObject* Find(const AsnList* elements, unsigned int index);
AsnObject* Find(const AsnList* elements, const char* name);

// The member takes the value and is present.
void Set(const AsnList* elements, const char* name, const AsnObject* value);
// The same, and before that it takes name, tag, role and flags.
void SetComplete(const AsnList* elements, const char* name, const AsnObject* value);

// Clones of all members; no list for no members. Copy puts them in place of those in `to`.
std::unique_ptr<AsnList> Clones(const AsnList* from);
void Copy(AsnList*& to, const AsnList* from);

bool EqualContents(const AsnList* a, const AsnList* b);

// A new list of the members of a schema.
AsnList* Make(const AsnMember* members, unsigned int count);

}  // namespace AsnMembers

#endif

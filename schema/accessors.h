// What the accessors of the classes share, without the types of the members. schema.h tells the errors.
#ifndef VT_SCHEMA_ACCESSORS_H
#define VT_SCHEMA_ACCESSORS_H

class AsnChoice;
class AsnObject;
class AsnOctetString;
class AsnSequence;
class AsnSet;

namespace SchemaAccess {

// The member of that name, null where it is absent.
const AsnObject* Present(const AsnSequence& of, const char* name);
const AsnObject* Present(const AsnSet& of, const char* name);

// The value inside a member, or inside an alternative, that is an AsnContainer. Null where the member is absent or the
// alternative not selected.
const AsnObject* Inner(const AsnSequence& of, const char* name);
const AsnObject* Inner(const AsnChoice& of, const char* name);

// Stores a clone of value in such a member, and makes it present or selects it.
void SetInner(AsnSequence& of, const char* name, const AsnObject& value);
void SetInner(AsnChoice& of, const char* name, const AsnObject& value);

// Copies value and its tag into a member that no tag tells.
void SetAny(AsnSequence& of, const char* name, const AsnOctetString& value);

}  // namespace SchemaAccess

#endif

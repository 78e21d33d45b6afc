// The classes of this room by name, for programs that are told a type at run time.
#ifndef VT_SCHEMA_REGISTRY_H
#define VT_SCHEMA_REGISTRY_H

class AsnObject;

// One class of this room.
struct AsnSchemaType {
    const char* name;      // that of the class
    AsnObject* (*make)();  // a new empty value, which the caller owns
};

// Every class, ordered by name as strcmp has it; count becomes their number.
const AsnSchemaType* AsnSchemaTypes(unsigned int& count);

// The class of that name; null for null and for an unknown one.
const AsnSchemaType* AsnFindSchemaType(const char* name);

// A new empty value of the class of that name, which the caller owns; null for null and for an unknown one.
AsnObject* AsnMakeSchemaObject(const char* name);

#endif

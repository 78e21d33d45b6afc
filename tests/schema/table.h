// The types of tables/*.def as data, with which one test can go through all classes.
//
//     TYPE(class, base without Asn)
//     MEMBER(class, member, accessor without Set or Get, type of the value, tag mode, tag number, role, flag)
//     WRAPPER(class, APPLICATION number, type of the value)
//
// flag: `any` accepts every tag, `constructed` is marked so, `plain` is neither.
#ifndef VT_TESTS_SCHEMA_TABLE_H
#define VT_TESTS_SCHEMA_TABLE_H

#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include "asn/asn.h"
#include "foundation/foundation.h"

namespace table {

using Value = std::unique_ptr<AsnObject>;

enum class Mode { untagged, implicit_, explicit_ };
enum class Role { mandatory, optional, default_ };
enum class Flag { plain, any, constructed };
enum class Base { Sequence, Set, Choice, Wrapper };

struct Member {
    const char* name;
    const std::type_info* type;  // of the value, not of a container around it
    Mode mode;
    unsigned int number;
    Role role;
    Flag flag;
    Value (*empty)();
    Value (*sample)();  // with values in all members
    void (*set)(AsnObject& of, const AsnObject& value);
    const AsnObject* (*get)(const AsnObject& of);
};

struct Type {
    const char* name;
    const std::type_info* type;
    Base base;
    Value (*make)();
    void (*assign)(AsnObject& to, const AsnObject& from);  // both of the type
    std::vector<Member> members;
};

// All of them; a wrapper has one Member, which stands for SetObject and GetObject.
const std::vector<Type>& types();

// The type of that class, null if it is none of the table.
const Type* find(const std::type_info& type);

// The tag that a value of the type has by itself.
AsnTag ownTag(const std::type_info& type);

// Sets every member to a sample; in a choice the alternative at that index, or the last if there are fewer.
// Alternatives of an untagged CHOICE are passed over, since no decoder can tell them.
void fill(AsnObject& value, const Type& type, std::size_t alternative = 0);

Value make(const Type& type);
Value makeFilled(const Type& type, std::size_t alternative = 0);

// A member of a value of the table, by position. Alternatives too, selected or not.
AsnObject* memberAt(AsnObject& value, const Type& type, unsigned int index);

std::string toHex(const AsnObject& value);

}  // namespace table

#endif

// Every class against the tables of tables/*.def, and what all classes have in common.
#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

#include "foundation/foundation.h"
#include "schema/schema.h"
#include "tests/schema/bytes.h"
#include "tests/schema/table.h"
#include "tests/support/broken_der.h"

using table::Base;
using table::Flag;
using table::Member;
using table::Mode;
using table::Role;
using table::Type;
using table::Value;

namespace {

// Accessors, their exact types, and the bases.
#define TYPE(CLASS, BASE)                               \
    static_assert(std::is_base_of_v<Asn##BASE, CLASS>); \
    static_assert(sizeof(CLASS) == sizeof(Asn##BASE), "a class has no data of its own");
#define MEMBER(CLASS, NAME, ACCESSOR, VALUE, MODE, NUMBER, ROLE, FLAG)                             \
    static_assert(std::is_same_v<decltype(&CLASS::Set##ACCESSOR), void (CLASS::*)(const VALUE&)>); \
    static_assert(std::is_same_v<decltype(&CLASS::Get##ACCESSOR), const VALUE* (CLASS::*)() const>);
#define WRAPPER(CLASS, NUMBER, VALUE)                                                               \
    static_assert(std::is_base_of_v<AsnContainer, CLASS> && sizeof(CLASS) == sizeof(AsnContainer)); \
    static_assert(std::is_same_v<decltype(&CLASS::SetObject), void (CLASS::*)(const VALUE&)>);      \
    static_assert(std::is_same_v<decltype(&CLASS::GetObject), const VALUE* (CLASS::*)() const>);
#include "tests/schema/tables/directory.def"
#include "tests/schema/tables/pkcs.def"
#include "tests/schema/tables/x509.def"
#undef TYPE
#undef MEMBER
#undef WRAPPER

unsigned int size(AsnObject& value, const Type& type) {
    switch (type.base) {
        case Base::Sequence:
            return dynamic_cast<AsnSequence&>(value).Size();
        case Base::Set:
            return dynamic_cast<AsnSet&>(value).Size();
        case Base::Choice:
            return dynamic_cast<AsnChoice&>(value).Size();
        default:
            return 1;
    }
}

AsnTag expectedTag(const Member& member) {
    AsnTag tag = table::ownTag(*member.type);
    if (member.mode == Mode::untagged)
        return tag;
    tag.tagClass = ASN_CONTEXT;
    tag.tagNumber = member.number;
    if (member.mode == Mode::explicit_) {
        tag.tagMode = ASN_EXPLICIT;
        tag.tagForm = ASN_PRIMITIVE;
    } else {
        tag.tagMode = ASN_IMPLICIT;
    }
    if (member.flag == Flag::constructed)
        tag.tagForm = ASN_CONSTRUCTED;
    return tag;
}

AsnObject::ASN_STATE expectedState(const Member& member) {
    switch (member.role) {
        case Role::optional:
            return AsnObject::ASN_OPTIONAL;
        case Role::default_:
            return AsnObject::ASN_DEFAULT;
        default:
            return AsnObject::ASN_MANDATORY;
    }
}

void forEachType(void (*check)(const Type& type)) {
    for (const Type& type : table::types()) {
        SCOPED_TRACE(type.name);
        check(type);
    }
}

void membersAreThoseOfTheTable(const Type& type) {
    const Value value = table::make(type);
    EXPECT_TRUE(typeOf(*value) == *type.type);
    EXPECT_EQ(value->GetAsnTag(), table::ownTag(*type.type));
    EXPECT_EQ(value->GetAsnState(), AsnObject::ASN_MANDATORY);
    EXPECT_TRUE(value->GetAsnName().Empty());
    EXPECT_FALSE(value->IsAsnPresent());
    EXPECT_FALSE(value->IsAsnAnyType());
    EXPECT_EQ(value->IsAsnChoice(), type.base == Base::Choice);
    ASSERT_EQ(size(*value, type), type.members.size());
    for (unsigned int i = 0; i < type.members.size(); ++i) {
        const Member& member = type.members[i];
        SCOPED_TRACE(member.name);
        const AsnObject* found = table::memberAt(*value, type, i);
        ASSERT_NE(found, nullptr);
        EXPECT_TRUE(found->GetAsnName() == member.name);
        if (type.base == Base::Wrapper) {
            EXPECT_TRUE(typeOf(*found) == *member.type);
            continue;
        }
        const AsnObject* inner = found;
        if (member.mode == Mode::explicit_) {
            ASSERT_TRUE(typeOf(*found) == typeid(AsnContainer));
            inner = dynamic_cast<const AsnContainer*>(found)->GetData();
            ASSERT_NE(inner, nullptr);
            EXPECT_EQ(inner->GetAsnTag(), table::ownTag(*member.type));
        }
        EXPECT_TRUE(typeOf(*inner) == *member.type);
        EXPECT_EQ(found->GetAsnTag(), expectedTag(member));
        EXPECT_EQ(found->GetAsnState(), expectedState(member));
        EXPECT_EQ(found->IsAsnAnyType(), member.flag == Flag::any);
        EXPECT_FALSE(found->IsAsnPresent());
    }
}
TEST(tables_test, MembersAreThoseOfTheTable) {
    forEachType(membersAreThoseOfTheTable);
}

void aFreshValueHasNothing(const Type& type) {
    const Value value = table::make(type);
    if (type.base == Base::Wrapper) {
        EXPECT_EQ(type.members[0].get(*value), table::memberAt(*value, type, 0));
        return;
    }
    bool needsNothing = type.base != Base::Choice;
    for (const Member& member : type.members) {
        EXPECT_EQ(member.get(*value), nullptr) << member.name;
        needsNothing = needsNothing && member.role != Role::mandatory;
    }
    MiByteBuffer out;
    if (needsNothing) {
        EXPECT_EQ(table::toHex(*value), type.base == Base::Set ? "31 00" : "30 00");
    } else {
        EXPECT_THROW(value->DerEncode(out, 0), AsnEncodeExp);
    }
}
TEST(tables_test, AFreshValueHasNothing) {
    forEachType(aFreshValueHasNothing);
}

// The operations of an object in the order of its virtual table. The destructor has two entries, so slot n of the
// others is entry n + 1.
constexpr std::size_t kClone = 8 + 1;
constexpr std::size_t kSetupElements = 10 + 1;

bool sameEntry(const AsnObject& a, const AsnObject& b, std::size_t entry) {
    const auto table = [](const AsnObject& value) { return *reinterpret_cast<void* const* const*>(&value); };
    return table(a)[entry] == table(b)[entry];
}

void onlyTwoOperationsAreReplaced(const Type& type) {
    const Value value = table::make(type);
    const AsnSequence sequence;
    const AsnSet set;
    const AsnChoice choice;
    const AsnContainer container;
    const AsnObject* const bases[] = {&sequence, &set, &choice, &container};
    const AsnObject& base = *bases[static_cast<std::size_t>(type.base)];
    const std::size_t entries = type.base == Base::Wrapper ? kSetupElements : kSetupElements + 1;
    for (std::size_t entry = 2; entry < entries; ++entry)
        EXPECT_EQ(sameEntry(*value, base, entry), entry != kClone && entry != kSetupElements) << entry;
}
TEST(tables_test, OnlyCloneAndSetupElementsAreReplaced) {
    forEachType(onlyTwoOperationsAreReplaced);
}

// Each accessor alone, on a fresh value.
void accessorsReachTheirMember(const Type& type) {
    for (unsigned int i = 0; i < type.members.size(); ++i) {
        const Member& member = type.members[i];
        SCOPED_TRACE(member.name);
        const Value value = table::make(type);
        const Value sample = member.sample();
        sample->SetAsnName(member.name);
        member.set(*value, *sample);

        const AsnObject* got = member.get(*value);
        ASSERT_NE(got, nullptr);
        EXPECT_NE(got, sample.get()) << "a setter copies";
        EXPECT_TRUE(typeOf(*got) == *member.type);
        EXPECT_TRUE(got->EqualsContent(sample.get()));
        const AsnObject* found = table::memberAt(*value, type, i);
        if (type.base == Base::Wrapper || member.mode != Mode::explicit_) {
            EXPECT_EQ(got, found);
        } else {
            EXPECT_EQ(got, dynamic_cast<const AsnContainer*>(found)->GetData());
        }
        if (type.base == Base::Wrapper)
            continue;
        EXPECT_EQ(found->GetAsnState(), expectedState(member));
        if (member.flag != Flag::any) {
            EXPECT_EQ(found->GetAsnTag(), expectedTag(member));
        }
        if (type.base == Base::Choice)
            continue;
        EXPECT_TRUE(found->IsAsnPresent());
        for (const Member& other : type.members)
            if (&other != &member) {
                EXPECT_EQ(other.get(*value), nullptr) << other.name;
            }
    }
}
TEST(tables_test, AccessorsReachTheirMember) {
    forEachType(accessorsReachTheirMember);
}

// The literal names are those that callers and accessors share.
void membersAreFoundByName(const Type& type) {
    const Value value = table::make(type);
    for (unsigned int i = 0; type.base != Base::Wrapper && i < type.members.size(); ++i) {
        const char* name = type.members[i].name;
        AsnObject* found = table::memberAt(*value, type, i);
        if (auto* sequence = dynamic_cast<AsnSequence*>(value.get())) {
            EXPECT_EQ(sequence->Find(name), found) << name;
        }
        if (auto* set = dynamic_cast<AsnSet*>(value.get())) {
            EXPECT_EQ(set->Find(name), found) << name;
        }
        if (auto* choice = dynamic_cast<AsnChoice*>(value.get())) {
            EXPECT_EQ(choice->Find(name), found) << name;
        }
    }
}
TEST(tables_test, MembersAreFoundByName) {
    forEachType(membersAreFoundByName);
}

void missingMandatoryMembersStopTheEncoder(const Type& type) {
    if (type.base == Base::Choice || type.base == Base::Wrapper)
        return;
    for (const Member& missing : type.members) {
        const Value value = table::make(type);
        for (const Member& member : type.members) {
            if (&member == &missing)
                continue;
            const Value sample = member.sample();
            sample->SetAsnName(member.name);
            member.set(*value, *sample);
        }
        MiByteBuffer out;
        if (missing.role == Role::mandatory) {
            EXPECT_THROW(value->DerEncode(out, 0), AsnEncodeExp) << missing.name;
        } else {
            EXPECT_NO_THROW(value->DerEncode(out, 0)) << missing.name;
        }
    }
}
TEST(tables_test, MissingMandatoryMembersStopTheEncoder) {
    forEachType(missingMandatoryMembersStopTheEncoder);
}

void aCloneIsTheSame(const Type& type) {
    for (const Value& value : {table::make(type), table::makeFilled(type)}) {
        value->SetAsnName("anything");
        const Value clone(value->Clone());
        EXPECT_NE(clone.get(), value.get());
        EXPECT_TRUE(typeOf(*clone) == *type.type);
        EXPECT_TRUE(clone->Equals(value.get()));
        EXPECT_TRUE(value->Equals(clone.get()));
    }
    const Value filled = table::makeFilled(type);
    const Value clone(filled->Clone());
    const std::string before = table::toHex(*clone);
    filled->Reset(nullptr);
    EXPECT_EQ(table::toHex(*clone), before) << "a clone is deep";
}
TEST(tables_test, ACloneIsTheSame) {
    forEachType(aCloneIsTheSame);
}

void anAssignedValueIsTheSame(const Type& type) {
    const Value source = table::makeFilled(type);
    const std::string encoding = table::toHex(*source);
    const Value value = table::makeFilled(type, 1);
    type.assign(*value, *source);
    EXPECT_TRUE(value->Equals(source.get()));
    EXPECT_EQ(table::toHex(*value), encoding);
    source->Reset(nullptr);
    EXPECT_EQ(table::toHex(*value), encoding) << "the copy is deep";
    type.assign(*value, *value);
    EXPECT_EQ(table::toHex(*value), encoding);
    type.assign(*value, *table::make(type));
    EXPECT_TRUE(value->Equals(table::make(type).get()));
}
TEST(tables_test, AnAssignedValueIsTheSame) {
    forEachType(anAssignedValueIsTheSame);
}

void resetKeepsTheMembersAndEmptiesThem(const Type& type) {
    const Value value = table::makeFilled(type);
    const AsnObject* first = table::memberAt(*value, type, 0);
    value->Reset(nullptr);
    EXPECT_EQ(table::memberAt(*value, type, 0), first);
    ASSERT_EQ(size(*value, type), type.members.size());
    const Value fresh = table::make(type);
    for (unsigned int i = 0; i < type.members.size(); ++i) {
        SCOPED_TRACE(type.members[i].name);
        if (type.base != Base::Wrapper) {
            EXPECT_EQ(type.members[i].get(*value), nullptr);
        }
        EXPECT_TRUE(table::memberAt(*fresh, type, i)->EqualsContent(table::memberAt(*value, type, i)));
    }
}
TEST(tables_test, ResetKeepsTheMembersAndEmptiesThem) {
    forEachType(resetKeepsTheMembersAndEmptiesThem);
}

void whatIsEncodedIsDecoded(const Type& type) {
    const std::size_t variants = type.base == Base::Choice ? type.members.size() : 1;
    for (std::size_t i = 0; i < variants; ++i) {
        SCOPED_TRACE(type.members[i].name);
        const Value value = table::makeFilled(type, i);
        MiByteBuffer out;
        const unsigned int length = value->DerEncode(out, 0);
        const Value decoded = table::make(type);
        ASSERT_EQ(decoded->DerDecode(out.GetByte(), 0), length);
        EXPECT_EQ(table::toHex(*decoded), table::toHex(*value));
        EXPECT_TRUE(decoded->EqualsContent(value.get()));
        for (const Member& member : type.members)
            EXPECT_EQ(member.get(*decoded) == nullptr, member.get(*value) == nullptr) << member.name;
    }
}
TEST(tables_test, WhatIsEncodedIsDecoded) {
    forEachType(whatIsEncodedIsDecoded);
}

// A composite takes a value with all its members by Reset too.
void resetFromAnotherCopies(const Type& type) {
    const Value source = table::makeFilled(type);
    const Value value = table::make(type);
    value->Reset(source.get());
    EXPECT_TRUE(value->EqualsContent(source.get()));
    EXPECT_EQ(table::toHex(*value), table::toHex(*source));
    EXPECT_NE(table::memberAt(*value, type, 0), table::memberAt(*source, type, 0));
}
TEST(tables_test, ResetFromAnotherCopies) {
    forEachType(resetFromAnotherCopies);
}

// Whatever the bytes: a value, or one of the decoder's failures and nothing else. True if it was a value.
bool survives(const Type& type, const support::Bytes& bytes) {
    const Value value = table::make(type);
    try {
        decode(*value, bytes);
        return true;
    } catch (const MiInvalidArgumentExp&) {
    } catch (const MiOutOfRangeExp&) {
    } catch (const MiRangeExp&) {
    } catch (const AsnDecodeExp&) {
    }
    return false;
}

void brokenInputIsRefusedOrRead(const Type& type) {
    const Value value = table::makeFilled(type, 1);
    const support::Bytes good = encode(*value);
    for (const support::Broken& broken : support::truncations(good))
        EXPECT_FALSE(survives(type, broken.bytes)) << "cut behind " << broken.place;
    for (const support::Broken& broken : support::withShortLengths(good))
        survives(type, broken.bytes);
    for (const support::Broken& broken : support::withLongLengths(good))
        survives(type, broken.bytes);
    for (const support::Broken& broken : support::withTags(good, 0x81))
        survives(type, broken.bytes);
}
TEST(tables_test, BrokenInputIsRefusedOrRead) {
    forEachType(brokenInputIsRefusedOrRead);
}

TEST(tables_test, AHundredAndOneWithMembersAndTwoWrappers) {
    std::size_t wrappers = 0;
    for (const Type& type : table::types())
        wrappers += type.base == Base::Wrapper ? 1 : 0;
    EXPECT_EQ(table::types().size(), 103U);
    EXPECT_EQ(wrappers, 2U);
}

}  // namespace

// Containers, sequences, sets and INSTANCE OF.
#include "asn/sequence.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <string>
#include <typeinfo>

#include "foundation/pool.h"
#include "tests/asn/der_io.h"
#include "tests/support/failing_heap.h"

namespace {

using der_io::bytes;
using der_io::composite;
using der_io::decode;
using der_io::encoded;
using der_io::explicitly;
using der_io::member;
using der_io::octets;
using der_io::toHex;
using der_io::typeOf;

std::string text(const MiString& value) {
    return {value.GetChars() == nullptr ? "" : value.GetChars(), value.GetLength()};
}

template <class Composite>
std::string names(Composite& value) {
    std::string all;
    for (unsigned int i = 0; i < value.Size(); ++i)
        all += text(value.Get(i)->GetAsnName()) + " ";
    return all;
}

// An element that no composite takes.
const AsnInteger& nameless() {
    static const AsnInteger value(1);
    return value;
}

TEST(sequence_test, AContainerStartsWithoutAValueAndATag) {
    AsnContainer value;
    EXPECT_EQ(value.Data(), nullptr);
    EXPECT_EQ(value.GetData(), nullptr);
    EXPECT_EQ(value.GetAsnTag(), AsnTag());
    EXPECT_THROW(value.SetData(nullptr), MiInvalidArgumentExp);
    EXPECT_THROW(value.SetDataSpace(nullptr), MiInvalidArgumentExp);
}

TEST(sequence_test, AContainerClonesOrTakesOver) {
    AsnContainer value;
    const AsnInteger five(5);
    value.SetData(&five);
    EXPECT_NE(value.GetData(), &five);
    EXPECT_TRUE(value.GetData()->Equals(&five));
    auto* owned = new AsnInteger(6);
    value.SetDataSpace(owned);
    EXPECT_EQ(value.Data(), owned);
    value.SetDataSpace(owned);
    EXPECT_EQ(value.Data(), owned);
    value.SetData(value.GetData());
    EXPECT_EQ(static_cast<const AsnInteger*>(value.GetData())->GetInteger(), 6);
}

TEST(sequence_test, AContainerIsReset) {
    AsnContainer value;
    value.Reset(nullptr);
    EXPECT_EQ(value.GetData(), nullptr);
    auto* inner = new AsnInteger(6);
    value.SetDataSpace(inner);
    value.Reset(&value);
    EXPECT_EQ(inner->GetInteger(), 6);
    value.Reset(nullptr);
    EXPECT_EQ(value.Data(), inner);
    EXPECT_EQ(inner->GetInteger(), 0);

    const AsnContainer source = explicitly(3, "source", octets("AA"));
    value.SetAsnName("target");
    value.Reset(&source);
    EXPECT_TRUE(value.GetData()->Equals(source.GetData()));
    EXPECT_EQ(text(value.GetAsnName()), "target");
    EXPECT_EQ(value.GetAsnTagNumber(), 0U);
    const AsnContainer none;
    value.Reset(&none);
    EXPECT_EQ(value.GetData(), nullptr);
}

TEST(sequence_test, AContainerTakesAValueFromInsideItself) {
    AsnContainer inside;
    const AsnInteger five(5);
    inside.SetData(&five);
    AsnContainer value;
    value.SetData(&inside);
    value.SetData(static_cast<const AsnContainer*>(value.GetData())->GetData());
    EXPECT_TRUE(value.GetData()->Equals(&five));
    AsnContainer outer;
    outer.SetData(&value);
    outer.Reset(outer.GetData());
    EXPECT_TRUE(outer.GetData()->Equals(&five));
    outer.SetData(&value);
    outer = dynamic_cast<const AsnContainer&>(*outer.GetData());
    EXPECT_TRUE(outer.GetData()->Equals(&five));
}

TEST(sequence_test, ContainersCompareByTheirValues) {
    const AsnContainer none;
    const AsnContainer five = explicitly(0, "a", AsnInteger(5));
    const AsnContainer alsoFive = explicitly(1, "b", AsnInteger(5));
    const AsnContainer six = explicitly(0, "a", AsnInteger(6));
    EXPECT_TRUE(none == AsnContainer());
    EXPECT_FALSE(none == five);
    EXPECT_FALSE(five == none);
    EXPECT_TRUE(five == alsoFive);
    EXPECT_TRUE(five != six);
    EXPECT_FALSE(five.EqualsContent(nullptr));
    const std::unique_ptr<AsnObject> clone(five.Clone());
    EXPECT_EQ(typeOf(*clone), typeid(AsnContainer));
    EXPECT_TRUE(clone->Equals(&five));
    AsnContainer assigned = six;
    assigned = five;
    EXPECT_TRUE(assigned.Equals(&five));
    const AsnContainer& self = assigned;
    assigned = self;
    EXPECT_TRUE(assigned.Equals(&five));
}

template <class T>
class sequence_test_each : public ::testing::Test {
  protected:
    // sequence_test_each "a" = 1, "b" = 2, "c" = 3, mandatory and absent.
    T abc() { return composite<T>(member("a", AsnInteger(1)), member("b", AsnInteger(2)), member("c", AsnInteger(3))); }
};
using MemberTypes = ::testing::Types<AsnSequence, AsnSet>;
TYPED_TEST_SUITE(sequence_test_each, MemberTypes, );

int integer(const AsnObject* value) {
    return dynamic_cast<const AsnInteger&>(*value).GetInteger();
}

TYPED_TEST(sequence_test_each, StartWithoutAList) {
    TypeParam value;
    EXPECT_EQ(value.GetAsnTagForm(), ASN_CONSTRUCTED);
    EXPECT_EQ(value.GetAsnTagClass(), ASN_UNIVERSAL);
    EXPECT_EQ(value.Size(), 0U);
    EXPECT_TRUE(value.Empty());
    EXPECT_EQ(value.GetComponentByteType(), AsnObject::ASN_NO_BYTE);
    EXPECT_THROW((void)value.Find(0U), MiInvalidArgumentExp);
    EXPECT_THROW((void)value.Get(0U), MiInvalidArgumentExp);
    EXPECT_THROW((void)value.Find("a"), MiInvalidArgumentExp);
    EXPECT_THROW((void)value.Get("a"), MiInvalidArgumentExp);
    const AsnInteger five = member("a", AsnInteger(5));
    EXPECT_THROW(value.Set("a", &five), MiInvalidArgumentExp);
    EXPECT_THROW(value.DelElement(0U), MiInvalidArgumentExp);
    EXPECT_THROW(value.DelElement("a"), MiInvalidArgumentExp);
    EXPECT_THROW(value.ReplaceElement(0U, &five), MiInvalidArgumentExp);
    EXPECT_THROW(value.ReplaceElement("a", &five), MiInvalidArgumentExp);
    EXPECT_THROW(value.InsertElement(1, &five), MiOutOfRangeExp);
    value.ClearAllElements();
    value.Reset(nullptr);
    EXPECT_EQ(value.Size(), 0U);
    value.InsertElement(0, &five);
    EXPECT_EQ(names(value), "a ");
}

TYPED_TEST(sequence_test_each, AreAddedAsClonesInOrder) {
    TypeParam value;
    AsnInteger one = member("one", AsnInteger(1));
    one.SetAsnState(AsnObject::ASN_OPTIONAL);
    one.SetAsnPresent(true);
    one.SetAsnTag(ASN_CONTEXT, ASN_IMPLICIT, 4);
    value.AddElement(&one);
    one.SetData(9);
    const AsnOid two = member("two", AsnOid("1.2"));
    value.AddElement(&two);
    EXPECT_EQ(value.Size(), 2U);
    EXPECT_FALSE(value.Empty());
    EXPECT_EQ(names(value), "one two ");
    EXPECT_EQ(integer(value.Get(0U)), 1);
    one.SetData(1);
    EXPECT_TRUE(value.Get(0U)->Equals(&one));
    EXPECT_EQ(value.Find("two"), value.Find(1U));
    EXPECT_EQ(value.Get("one"), value.Get(0U));
}

TYPED_TEST(sequence_test_each, HaveNames) {
    TypeParam value = this->abc();
    EXPECT_THROW(value.AddElement(nullptr), MiInvalidArgumentExp);
    EXPECT_THROW(value.AddElement(&nameless()), MiInvalidArgumentExp);
    EXPECT_THROW(value.InsertElement(0, nullptr), MiInvalidArgumentExp);
    EXPECT_THROW(value.InsertElement(0, &nameless()), MiInvalidArgumentExp);
    EXPECT_THROW(value.InsertElement(9, &nameless()), MiInvalidArgumentExp);
    EXPECT_THROW(value.ReplaceElement(0U, nullptr), MiInvalidArgumentExp);
    EXPECT_THROW(value.ReplaceElement(0U, &nameless()), MiInvalidArgumentExp);
    EXPECT_THROW(value.ReplaceElement("a", nullptr), MiInvalidArgumentExp);
    EXPECT_THROW(value.ReplaceElement("a", &nameless()), MiInvalidArgumentExp);
    EXPECT_EQ(names(value), "a b c ");
}

TYPED_TEST(sequence_test_each, AreInserted) {
    TypeParam value = this->abc();
    const AsnInteger x = member("x", AsnInteger(7));
    value.InsertElement(0, &x);
    value.InsertElement(2, &x);
    value.InsertElement(5, &x);
    EXPECT_EQ(names(value), "x a x b c x ");
    EXPECT_THROW(value.InsertElement(7, &x), MiOutOfRangeExp);
    EXPECT_EQ(value.Size(), 6U);
}

TYPED_TEST(sequence_test_each, AreReplaced) {
    TypeParam value = this->abc();
    const AsnOid x = member("x", AsnOid("1.2"));
    value.ReplaceElement(1U, &x);
    EXPECT_EQ(names(value), "a x c ");
    EXPECT_TRUE(value.Get(1U)->Equals(&x));
    value.ReplaceElement("c", &x);
    EXPECT_EQ(names(value), "a x x ");
    value.ReplaceElement("a", value.Get(2U));
    value.ReplaceElement(0U, value.Get(0U));
    EXPECT_EQ(names(value), "x x x ");
    EXPECT_THROW(value.ReplaceElement(3U, &x), MiOutOfRangeExp);
    EXPECT_THROW(value.ReplaceElement("unknown", &x), MiInvalidArgumentExp);
    EXPECT_THROW(value.ReplaceElement(static_cast<const char*>(nullptr), &x), MiInvalidArgumentExp);
}

TYPED_TEST(sequence_test_each, AreDeleted) {
    TypeParam value = this->abc();
    EXPECT_THROW(value.DelElement(3U), MiOutOfRangeExp);
    EXPECT_THROW(value.DelElement("unknown"), MiInvalidArgumentExp);
    EXPECT_THROW(value.DelElement(static_cast<const char*>(nullptr)), MiInvalidArgumentExp);
    value.DelElement(1U);
    EXPECT_EQ(names(value), "a c ");
    value.DelElement("a");
    EXPECT_EQ(names(value), "c ");
    value.ClearAllElements();
    EXPECT_EQ(value.Size(), 0U);
    // The list is there still: it is the index that is wrong now.
    EXPECT_THROW((void)value.Find(0U), MiOutOfRangeExp);
    EXPECT_THROW(value.DelElement(0U), MiOutOfRangeExp);
    EXPECT_EQ(value.Find("c"), nullptr);
}

TYPED_TEST(sequence_test_each, AreFound) {
    auto value = composite<TypeParam>(member("a", AsnInteger(1)), member("b", AsnInteger(2)));
    EXPECT_EQ(integer(value.Find(1U)), 2);
    EXPECT_EQ(integer(value.Get(1U)), 2);
    EXPECT_EQ(integer(value.Find("a")), 1);
    EXPECT_THROW((void)value.Find(2U), MiOutOfRangeExp);
    EXPECT_THROW((void)value.Find(5U), MiOutOfRangeExp);
    EXPECT_THROW((void)value.Get(2U), MiOutOfRangeExp);
    EXPECT_EQ(value.Find("unknown"), nullptr);
    EXPECT_EQ(value.Get("unknown"), nullptr);
    EXPECT_EQ(value.Find(""), nullptr);
    EXPECT_EQ(value.Find("ab"), nullptr);
    EXPECT_THROW((void)value.Find(static_cast<const char*>(nullptr)), MiInvalidArgumentExp);
    EXPECT_THROW((void)value.Get(static_cast<const char*>(nullptr)), MiInvalidArgumentExp);
}

TYPED_TEST(sequence_test_each, TheFirstOfOneNameIsFound) {
    auto value = composite<TypeParam>(member("a", AsnInteger(1)), member("a", AsnInteger(2)));
    EXPECT_EQ(value.Find("a"), value.Find(0U));
}

TYPED_TEST(sequence_test_each, SetCopiesTheValueAndMakesItPresent) {
    TypeParam value = this->abc();
    value.Find("b")->SetAsnState(AsnObject::ASN_OPTIONAL);
    AsnInteger nine = member("nine", AsnInteger(9));
    nine.SetAsnTag(ASN_CONTEXT, ASN_EXPLICIT, 9);
    value.Set("b", &nine);
    const AsnObject* b = value.Get("b");
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(integer(b), 9);
    EXPECT_TRUE(b->IsAsnPresent());
    EXPECT_EQ(b->GetAsnTagNumber(), 2U);
    EXPECT_EQ(b->GetAsnState(), AsnObject::ASN_OPTIONAL);
    EXPECT_FALSE(value.Get("a")->IsAsnPresent());

    value.Set("a", value.Get("a"));
    EXPECT_EQ(integer(value.Get("a")), 1);
    EXPECT_TRUE(value.Get("a")->IsAsnPresent());
}

TYPED_TEST(sequence_test_each, AFailedSetChangesNothing) {
    TypeParam value = this->abc();
    const TypeParam before = value;
    const AsnInteger nine(9);
    EXPECT_THROW(value.Set("unknown", &nine), MiInvalidArgumentExp);
    EXPECT_THROW(value.Set("a", nullptr), MiInvalidArgumentExp);
    EXPECT_THROW(value.Set(nullptr, &nine), MiInvalidArgumentExp);
    EXPECT_TRUE(value.Equals(&before));
    EXPECT_FALSE(value.Get("a")->IsAsnPresent());
}

TYPED_TEST(sequence_test_each, ResetKeepsThemAndMakesThemAbsent) {
    TypeParam value = this->abc();
    der_io::setPresent(value);
    value.Find("a")->SetAsnTag(ASN_CONTEXT, ASN_IMPLICIT, 4);
    value.SetAsnName("whole");
    const AsnObject* a = value.Get("a");
    value.Reset(nullptr);
    EXPECT_EQ(names(value), "a b c ");
    EXPECT_EQ(value.Get("a"), a);
    EXPECT_EQ(integer(a), 0);
    EXPECT_EQ(a->GetAsnTagNumber(), 4U);
    for (unsigned int i = 0; i < 3; ++i)
        EXPECT_FALSE(value.Get(i)->IsAsnPresent());
    EXPECT_EQ(text(value.GetAsnName()), "whole");
}

TYPED_TEST(sequence_test_each, ResetToAnotherReplacesTheSchema) {
    TypeParam value = this->abc();
    value.SetAsnName("target");
    AsnInteger x = member("x", AsnInteger(7), AsnObject::ASN_OPTIONAL);
    x.SetAsnPresent(true);
    x.SetAsnTag(ASN_CONTEXT, ASN_IMPLICIT, 4);
    const auto source = composite<TypeParam>(x);
    value.Reset(&source);
    EXPECT_EQ(names(value), "x ");
    EXPECT_TRUE(value.Get("x")->Equals(&x));
    EXPECT_NE(value.Get("x"), source.Get("x"));
    EXPECT_EQ(text(value.GetAsnName()), "target");
    value.Reset(&value);
    EXPECT_EQ(names(value), "x ");

    TypeParam none;
    value.Reset(&none);
    EXPECT_EQ(value.Size(), 0U);
    EXPECT_THROW((void)value.Find(0U), MiInvalidArgumentExp);  // no list
    value = source;
    none.AddElement(&x);
    none.ClearAllElements();
    value.Reset(&none);
    EXPECT_THROW((void)value.Find(0U), MiInvalidArgumentExp);
}

TYPED_TEST(sequence_test_each, ExhaustedMemoryTakesNoMembersAway) {
    const TypeParam source = this->abc();
    auto value = composite<TypeParam>(member("x", AsnInteger(7)));
    bool kept = true;
    const long failures = support::forEachExhaustion([&] {
        foundation::PoolTrim();
        try {
            value.Reset(&source);
        } catch (const std::bad_alloc&) {
            kept = kept && value.Size() == 1;
        }
    });
    EXPECT_GT(failures, 3);
    EXPECT_TRUE(kept);
    EXPECT_EQ(names(value), "a b c ");
}

TYPED_TEST(sequence_test_each, ResetToAMemberOfItself) {
    TypeParam inner = this->abc();
    inner.SetAsnName("inner");
    auto value = composite<TypeParam>(inner);
    value.Reset(value.Get("inner"));
    EXPECT_EQ(names(value), "a b c ");
    value = composite<TypeParam>(inner);
    value = dynamic_cast<const TypeParam&>(*value.Get("inner"));
    EXPECT_EQ(names(value), "a b c ");
    value.SetAsnName("self");
    value.AddElement(&value);
    EXPECT_EQ(names(value), "a b c self ");
}

TYPED_TEST(sequence_test_each, CompareInTheirOrder) {
    const TypeParam none;
    TypeParam emptied = this->abc();
    emptied.ClearAllElements();
    EXPECT_TRUE(none == TypeParam());
    EXPECT_FALSE(none == emptied);
    EXPECT_FALSE(emptied == none);
    EXPECT_FALSE(none.EqualsContent(nullptr));

    const TypeParam abc = this->abc();
    EXPECT_TRUE(abc == this->abc());
    EXPECT_TRUE(abc == abc);
    EXPECT_FALSE(abc != this->abc());
    EXPECT_FALSE(abc == none);
    EXPECT_FALSE(none == abc);
    const auto ab = composite<TypeParam>(member("a", AsnInteger(1)), member("b", AsnInteger(2)));
    EXPECT_FALSE(abc == ab);
    const auto ba = composite<TypeParam>(member("b", AsnInteger(2)), member("a", AsnInteger(1)));
    EXPECT_FALSE(ab == ba);
    // Names and presence are no content.
    auto renamed = composite<TypeParam>(member("x", AsnInteger(1)), member("y", AsnInteger(2)));
    der_io::setPresent(renamed);
    EXPECT_TRUE(ab == renamed);
    const auto oids = composite<TypeParam>(member("a", AsnOid("1")), member("b", AsnOid("2")));
    EXPECT_FALSE(ab == oids);
}

TYPED_TEST(sequence_test_each, CopiesAreWholeButForTheComponentMode) {
    TypeParam source = this->abc();
    source.SetAsnName("source");
    source.SetAsnTag(ASN_CONTEXT, ASN_IMPLICIT, 3);
    source.Find("b")->SetAsnPresent(true);
    const MiByte cache = bytes("AA");
    source.SetAsnContentByte(&cache);
    const TypeParam copy(source);
    EXPECT_TRUE(copy.Equals(&source));
    EXPECT_EQ(names(copy), "a b c ");
    EXPECT_NE(copy.Get(0U), source.Get(0U));
    EXPECT_NE(copy.GetAsnContentByte(), source.GetAsnContentByte());

    const std::unique_ptr<AsnObject> clone(source.Clone());
    EXPECT_EQ(typeOf(*clone), typeid(TypeParam));
    EXPECT_TRUE(clone->Equals(&source));

    auto assigned = composite<TypeParam>(member("old", AsnOid("1.2")));
    assigned = source;
    EXPECT_TRUE(assigned.Equals(&source));
    EXPECT_EQ(names(assigned), "a b c ");
    const TypeParam& self = assigned;
    assigned = self;
    EXPECT_EQ(names(assigned), "a b c ");
    EXPECT_FALSE(assigned.IsAsnChoice());
}

TEST(sequence_test, TagNumbers) {
    EXPECT_EQ(AsnSequence().GetAsnTagNumber(), 16U);
    EXPECT_EQ(AsnSet().GetAsnTagNumber(), 17U);
}

TEST(sequence_test, ComponentModesOfASequence) {
    AsnSequence value;
    value.OnComponentByte();
    EXPECT_EQ(value.GetComponentByteType(), AsnObject::ASN_WHOLE_BYTE);
    EXPECT_EQ(AsnSequence(value).GetComponentByteType(), AsnObject::ASN_NO_BYTE);
    AsnSequence assigned;
    assigned.OnComponentByte();
    assigned = value;
    EXPECT_EQ(assigned.GetComponentByteType(), AsnObject::ASN_NO_BYTE);
    value.OffComponentByte();
    EXPECT_EQ(value.GetComponentByteType(), AsnObject::ASN_NO_BYTE);
    value.OnComponentContentByte();
    EXPECT_EQ(value.GetComponentByteType(), AsnObject::ASN_CONTENT_BYTE);
    value.OffComponentContentByte();
    EXPECT_EQ(value.GetComponentByteType(), AsnObject::ASN_NO_BYTE);
}

TEST(sequence_test, ComponentModesOfASet) {
    AsnSet value;
    value.OnComponentDerByte();
    EXPECT_EQ(value.GetComponentByteType(), AsnObject::ASN_WHOLE_BYTE);
    EXPECT_EQ(AsnSet(value).GetComponentByteType(), AsnObject::ASN_NO_BYTE);
    AsnSet assigned;
    assigned.OnComponentDerByte();
    assigned = value;
    EXPECT_EQ(assigned.GetComponentByteType(), AsnObject::ASN_NO_BYTE);
    value.OffComponentDerByte();
    EXPECT_EQ(value.GetComponentByteType(), AsnObject::ASN_NO_BYTE);
    value.OnComponentDerContentByte();
    EXPECT_EQ(value.GetComponentByteType(), AsnObject::ASN_CONTENT_BYTE);
    value.OffComponentDerContentByte();
    EXPECT_EQ(value.GetComponentByteType(), AsnObject::ASN_NO_BYTE);
}

TEST(sequence_test, CompleteDataGivesTheMemberAnotherTag) {
    auto value = composite<AsnSequence>(member("any", octets("FF"), AsnObject::ASN_OPTIONAL));
    AsnOctetString any;
    const AsnInteger five(5);
    any.SetDerObject(&five);
    any.SetAsnName("any");
    value.AddCompleteData("any", &any);
    const AsnObject* set = value.Get("any");
    ASSERT_NE(set, nullptr);
    EXPECT_EQ(set->GetAsnTagNumber(), 2U);
    EXPECT_EQ(set->GetAsnState(), AsnObject::ASN_MANDATORY);
    EXPECT_TRUE(set->IsAsnPresent());
    EXPECT_FALSE(any.IsAsnPresent());
    EXPECT_EQ(encoded(value), "30 03 02 01 05");
}

TEST(sequence_test, CompleteDataReplacesTheName) {
    auto value = composite<AsnSequence>(member("any", octets("FF")));
    const AsnOctetString named = member("other", octets("AA"));
    value.AddCompleteData("any", &named);
    EXPECT_EQ(value.Get("any"), nullptr);
    ASSERT_NE(value.Get("other"), nullptr);
    EXPECT_TRUE(value.Get("other")->EqualsContent(&named));

    EXPECT_THROW(value.AddCompleteData("any", &named), MiInvalidArgumentExp);
    EXPECT_THROW(value.AddCompleteData(nullptr, &named), MiInvalidArgumentExp);
    EXPECT_THROW(value.AddCompleteData("other", nullptr), MiInvalidArgumentExp);
    AsnSequence none;
    EXPECT_THROW(none.AddCompleteData("any", &named), MiInvalidArgumentExp);
}

TEST(sequence_test, CompleteDataFromInsideTheMember) {
    auto inner = member("inner", composite<AsnSequence>(member("x", AsnInteger(5))));
    inner.SetAsnTag(ASN_CONTEXT, ASN_IMPLICIT, 9);
    auto value = composite<AsnSequence>(member("outer", composite<AsnSequence>(inner)));
    value.AddCompleteData("outer", dynamic_cast<const AsnSequence&>(*value.Get("outer")).Get("inner"));
    const auto* set = dynamic_cast<const AsnSequence*>(value.Get("inner"));
    ASSERT_NE(set, nullptr);
    EXPECT_EQ(set->GetAsnTagNumber(), 9U);
    EXPECT_TRUE(set->IsAsnPresent());
    EXPECT_EQ(names(*set), "x ");

    value.AddCompleteData("inner", value.Get("inner"));
    EXPECT_EQ(names(*set), "x ");
    EXPECT_EQ(set->GetAsnTagNumber(), 9U);
}

TEST(sequence_test, ManyMembersKeepTheirOrder) {
    AsnSequence value;
    for (int i = 0; i < 100; ++i) {
        const AsnInteger next = member(("m" + std::to_string(i)).c_str(), AsnInteger(i));
        value.AddElement(&next);
    }
    EXPECT_EQ(value.Size(), 100U);
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(integer(value.Get(("m" + std::to_string(i)).c_str())), i);
    const AsnSequence copy(value);
    EXPECT_TRUE(copy == value);
    for (int i = 0; i < 50; ++i)
        value.DelElement(0U);
    EXPECT_EQ(integer(value.Get(0U)), 50);
    EXPECT_EQ(copy.Size(), 100U);
}

// A class as a schema has it: a table, a constructor that builds from it, a clone of its own type.
template <class Base>
struct Schema : Base {
    Schema() { Schema::SetupElements(); }
    Schema(const Schema&) = default;
    Schema& operator=(const Schema&) = default;
    ~Schema() override = default;
    AsnObject* Clone() const override { return new Schema(*this); }

  protected:
    void SetupElements() override {
        static constexpr AsnMember kMembers[] = {
            {"plain", AsnMake<AsnInteger>},
            {"any", AsnMake<AsnOctetString>, AsnObject::ASN_OPTIONAL, true},
            {"implicit", AsnMake<AsnSequence>, AsnObject::ASN_DEFAULT, false, ASN_IMPLICIT, 1},
            {"constructed", AsnMake<AsnOctetString>, AsnObject::ASN_MANDATORY, false, ASN_IMPLICIT, 2, ASN_APPLICATION,
             true},
            {"explicit", AsnMake<AsnOid>, AsnObject::ASN_OPTIONAL, false, ASN_EXPLICIT, 40},
        };
        this->SetupMembers(kMembers, 5);
    }
};

template <class T>
class sequence_test_schema : public ::testing::Test {};
using SchemaTypes = ::testing::Types<Schema<AsnSequence>, Schema<AsnSet>, Schema<AsnChoice>>;
TYPED_TEST_SUITE(sequence_test_schema, SchemaTypes, );

void expectMember(const AsnObject* member, const char* name, const std::type_info& type, AsnObject::ASN_STATE state,
                  bool any) {
    SCOPED_TRACE(name);
    EXPECT_EQ(text(member->GetAsnName()), name);
    EXPECT_EQ(typeOf(*member), type);
    EXPECT_EQ(member->GetAsnState(), state);
    EXPECT_EQ(member->IsAsnAnyType(), any);
    EXPECT_FALSE(member->IsAsnPresent());
}

void expectTag(const AsnObject* member, ASN_TAG_CLASS tagClass, ASN_TAG_MODE mode, ASN_TAG_FORM form,
               unsigned int number) {
    SCOPED_TRACE(text(member->GetAsnName()));
    EXPECT_EQ(member->GetAsnTagClass(), tagClass);
    EXPECT_EQ(member->GetAsnTagMode(), mode);
    EXPECT_EQ(member->GetAsnTagForm(), form);
    EXPECT_EQ(member->GetAsnTagNumber(), number);
}

TYPED_TEST(sequence_test_schema, AreMadeFromTheirTable) {
    TypeParam value;
    ASSERT_EQ(value.Size(), 5U);
    expectMember(value.Find(0U), "plain", typeid(AsnInteger), AsnObject::ASN_MANDATORY, false);
    expectMember(value.Find(1U), "any", typeid(AsnOctetString), AsnObject::ASN_OPTIONAL, true);
    expectMember(value.Find(2U), "implicit", typeid(AsnSequence), AsnObject::ASN_DEFAULT, false);
    expectMember(value.Find(3U), "constructed", typeid(AsnOctetString), AsnObject::ASN_MANDATORY, false);
    expectMember(value.Find(4U), "explicit", typeid(AsnContainer), AsnObject::ASN_OPTIONAL, false);
    expectTag(value.Find(0U), ASN_UNIVERSAL, ASN_NOT_TAGGED, ASN_PRIMITIVE, 2);
    expectTag(value.Find(1U), ASN_UNIVERSAL, ASN_NOT_TAGGED, ASN_PRIMITIVE, 4);
    expectTag(value.Find(2U), ASN_CONTEXT, ASN_IMPLICIT, ASN_CONSTRUCTED, 1);
    expectTag(value.Find(3U), ASN_APPLICATION, ASN_IMPLICIT, ASN_CONSTRUCTED, 2);
    expectTag(value.Find(4U), ASN_CONTEXT, ASN_EXPLICIT, ASN_PRIMITIVE, 40);
    const AsnObject* inner = dynamic_cast<AsnContainer&>(*value.Find(4U)).GetData();
    ASSERT_NE(inner, nullptr);
    expectMember(inner, "", typeid(AsnOid), AsnObject::ASN_MANDATORY, false);
    expectTag(inner, ASN_UNIVERSAL, ASN_NOT_TAGGED, ASN_PRIMITIVE, 6);
}

TYPED_TEST(sequence_test_schema, StayThroughAReset) {
    TypeParam value;
    const AsnInteger five(5);
    value.Set("plain", &five);
    AsnObject* plain = value.Find("plain");
    value.Reset(nullptr);
    EXPECT_EQ(value.Size(), 5U);
    EXPECT_EQ(value.Find("plain"), plain);
    EXPECT_EQ(integer(plain), 0);
    EXPECT_FALSE(plain->IsAsnPresent());
    const std::unique_ptr<AsnObject> clone(value.Clone());
    EXPECT_EQ(typeOf(*clone), typeid(TypeParam));
    EXPECT_TRUE(clone->EqualsContent(&value));
}

TYPED_TEST(sequence_test_schema, AreNotBuiltAnewForAnEmptiedList) {
    TypeParam value;
    value.ClearAllElements();
    value.Reset(nullptr);
    EXPECT_EQ(value.Size(), 0U);
}

TEST(sequence_test, AnElementAddedToASchemaIsAMemberLikeAnyOther) {
    Schema<AsnSequence> value;
    const AsnBoolean more = member("more", AsnBoolean(true));
    value.AddElement(&more);
    value.Set("more", &more);
    const AsnInteger five(5);
    value.Set("plain", &five);
    const AsnOctetString aa = octets("AA");
    value.Set("any", &aa);
    value.Set("constructed", &aa);
    EXPECT_EQ(encoded(value), "30 0C 02 01 05 04 01 AA 62 01 AA 01 01 FF");
    Schema<AsnSequence> read;
    read.AddElement(&more);
    EXPECT_EQ(decode(read, "30 0C 02 01 05 04 01 AA 62 01 AA 01 01 FF"), 14U);
    EXPECT_TRUE(read.Get("more")->IsAsnPresent());
    EXPECT_TRUE(read == value);
}

TEST(sequence_test, InstanceOfIsAnExternal) {
    AsnInstanceOf value;
    EXPECT_EQ(value.GetAsnTagNumber(), 8U);
    EXPECT_EQ(value.GetAsnTagForm(), ASN_CONSTRUCTED);
    EXPECT_EQ(value.GetAsnTagClass(), ASN_UNIVERSAL);
    EXPECT_EQ(names(value), "type_id value ");
    EXPECT_EQ(typeOf(*value.Get(0U)), typeid(AsnOid));
    const AsnObject& explicitValue = *value.Get(1U);
    EXPECT_EQ(typeid(explicitValue), typeid(AsnContainer));
    EXPECT_EQ(explicitValue.GetAsnTagClass(), ASN_CONTEXT);
    EXPECT_EQ(explicitValue.GetAsnTagMode(), ASN_EXPLICIT);
    EXPECT_EQ(explicitValue.GetAsnTagNumber(), 0U);
    EXPECT_EQ(explicitValue.GetAsnState(), AsnObject::ASN_MANDATORY);
    EXPECT_EQ(value.GetType_id(), nullptr);
    EXPECT_EQ(value.GetValue(), nullptr);
    EXPECT_THROW(encoded(value), AsnEncodeExp);
}

TEST(sequence_test, InstanceOfHasAccessors) {
    AsnInstanceOf value;
    value.SetType_id(AsnOid("1.2.3"));
    value.SetValue(octets("AA BB"));
    ASSERT_NE(value.GetType_id(), nullptr);
    EXPECT_STREQ(value.GetType_id()->GetData().GetChars(), "1.2.3");
    ASSERT_NE(value.GetValue(), nullptr);
    EXPECT_EQ(toHex(value.GetValue()->GetData()), "AA BB");
    EXPECT_EQ(encoded(value), "28 0A 06 02 2A 03 A0 04 04 02 AA BB");

    const std::unique_ptr<AsnObject> clone(value.Clone());
    EXPECT_EQ(typeOf(*clone), typeid(AsnInstanceOf));
    EXPECT_TRUE(clone->Equals(&value));
    AsnInstanceOf assigned;
    assigned = value;
    EXPECT_TRUE(assigned.Equals(&value));

    AsnInstanceOf read;
    EXPECT_EQ(decode(read, "28 0A 06 02 2A 03 A0 04 04 02 AA BB"), 12U);
    EXPECT_TRUE(read == value);
    value.Reset(nullptr);
    EXPECT_EQ(names(value), "type_id value ");
    EXPECT_EQ(value.GetType_id(), nullptr);
    EXPECT_EQ(value.GetValue(), nullptr);
}

TEST(sequence_test, InstanceOfWithAnotherSchema) {
    AsnInstanceOf value;
    const auto other = composite<AsnSequence>(member("a", AsnInteger(1)));
    value.AsnSequence::operator=(other);
    EXPECT_THROW((void)value.GetType_id(), AsnDataExp);
    EXPECT_THROW((void)value.GetValue(), AsnDataExp);
    EXPECT_THROW(value.SetType_id(AsnOid("1.2")), MiInvalidArgumentExp);
    EXPECT_THROW(value.SetValue(octets("AA")), AsnDataExp);
}

}  // namespace

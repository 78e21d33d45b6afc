#include "asn/choice.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <string>
#include <typeinfo>

#include "foundation/pool.h"
#include "tests/asn/der_io.h"
#include "tests/support/failing_heap.h"

namespace {

using der_io::composite;
using der_io::implicit;
using der_io::member;
using der_io::typeOf;

std::string nameOf(const AsnObject* value) {
    return value == nullptr ? "none" : value->GetAsnName().GetChars();
}

int integer(const AsnObject* value) {
    return dynamic_cast<const AsnInteger&>(*value).GetInteger();
}

// "a" = INTEGER 1 or "b" = [1] IMPLICIT INTEGER 2, none selected.
AsnChoice ab() {
    return composite<AsnChoice>(member("a", AsnInteger(1)), member("b", implicit(1, AsnInteger(2))));
}

TEST(choice_test, StartsWithoutAListASelectionOrATag) {
    AsnChoice value;
    EXPECT_TRUE(value.IsAsnChoice());
    EXPECT_EQ(value.GetAsnTag(), AsnTag());
    EXPECT_EQ(value.Size(), 0U);
    EXPECT_TRUE(value.Empty());
    EXPECT_EQ(value.Get(), nullptr);
    EXPECT_EQ(value.Get(0U), nullptr);
    EXPECT_EQ(value.Get(9U), nullptr);
    EXPECT_EQ(value.Get("a"), nullptr);
    EXPECT_EQ(value.Find(0U), nullptr);
    EXPECT_EQ(value.Find(9U), nullptr);
    EXPECT_EQ(value.Find("a"), nullptr);
    EXPECT_THROW(value.Set("a"), AsnDataExp);
    EXPECT_THROW(value.Set(nullptr), MiInvalidArgumentExp);
    value.DelElement(0U);
    value.DelElement("a");
    value.ClearAllElements();
    const AsnInteger one = member("a", AsnInteger(1));
    value.ReplaceElement(0U, &one);
    value.ReplaceElement("a", &one);
    value.Reset(nullptr);
    EXPECT_EQ(value.Size(), 0U);
}

TEST(choice_test, AlternativesAreAddedAsNamedClones) {
    AsnChoice value;
    AsnInteger one = member("a", AsnInteger(1));
    value.AddElement(&one);
    one.SetData(5);
    EXPECT_EQ(value.Size(), 1U);
    EXPECT_FALSE(value.Empty());
    EXPECT_EQ(integer(value.Find(0U)), 1);
    EXPECT_EQ(value.Find("a"), value.Find(0U));
    const AsnInteger nameless(1);
    EXPECT_THROW(value.AddElement(nullptr), MiInvalidArgumentExp);
    EXPECT_THROW(value.AddElement(&nameless), MiInvalidArgumentExp);
    EXPECT_EQ(value.Get(), nullptr);
}

TEST(choice_test, AlternativesAreFoundSelectedOrNot) {
    AsnChoice value = ab();
    EXPECT_EQ(nameOf(value.Find(1U)), "b");
    EXPECT_EQ(value.Find("b"), value.Find(1U));
    EXPECT_THROW((void)value.Find(2U), MiOutOfRangeExp);
    EXPECT_EQ(value.Find("unknown"), nullptr);
    EXPECT_EQ(value.Find(static_cast<const char*>(nullptr)), nullptr);
}

TEST(choice_test, SetSelectsAndCopies) {
    AsnChoice value = ab();
    const AsnInteger nine(9);
    value.Set("b", &nine);
    EXPECT_EQ(nameOf(value.Get()), "b");
    EXPECT_EQ(integer(value.Get()), 9);
    EXPECT_EQ(value.Get()->GetAsnTagNumber(), 1U);
    EXPECT_FALSE(value.Get()->IsAsnPresent());
    value.Set("a");
    EXPECT_EQ(value.Get(), value.Find("a"));
    EXPECT_EQ(integer(value.Get()), 1);
    value.Set("b", value.Find("b"));
    EXPECT_EQ(integer(value.Get()), 9);
    value.Set("b", nullptr);
    EXPECT_EQ(nameOf(value.Get()), "b");
    EXPECT_EQ(integer(value.Get()), 0);
}

TEST(choice_test, SetNeedsAName) {
    AsnChoice value = ab();
    value.Set("a");
    const AsnInteger nine(9);
    EXPECT_THROW(value.Set(nullptr, &nine), MiInvalidArgumentExp);
    EXPECT_THROW(value.Set(nullptr), MiInvalidArgumentExp);
    EXPECT_THROW(value.Set("unknown", &nine), AsnDataExp);
    EXPECT_THROW(value.Set("unknown"), AsnDataExp);
    EXPECT_EQ(nameOf(value.Get()), "a");
    EXPECT_EQ(integer(value.Get()), 1);
}

TEST(choice_test, GetByNameIgnoresTheName) {
    AsnChoice value = ab();
    EXPECT_EQ(value.Get("a"), nullptr);
    value.Set("a");
    EXPECT_EQ(nameOf(value.Get("a")), "a");
    EXPECT_EQ(nameOf(value.Get("b")), "a");
    EXPECT_EQ(nameOf(value.Get("unknown")), "a");
    EXPECT_EQ(nameOf(value.Get(static_cast<const char*>(nullptr))), "a");
}

TEST(choice_test, GetByIndexAsksWhichIsSelected) {
    AsnChoice value = ab();
    EXPECT_EQ(value.Get(0U), nullptr);
    EXPECT_EQ(value.Get(5U), nullptr);
    value.Set("a");
    EXPECT_EQ(nameOf(value.Get(0U)), "a");
    EXPECT_EQ(value.Get(1U), nullptr);
    EXPECT_THROW((void)value.Get(2U), MiOutOfRangeExp);
    EXPECT_THROW((void)value.Get(5U), MiOutOfRangeExp);
}

TEST(choice_test, ReplacementsNeedAnElementAndForgiveTheRest) {
    AsnChoice value = ab();
    const AsnOid x = member("x", AsnOid("1.2"));
    const AsnOid nameless("1.2");
    EXPECT_THROW(value.ReplaceElement(0U, nullptr), MiInvalidArgumentExp);
    EXPECT_THROW(value.ReplaceElement("a", nullptr), MiInvalidArgumentExp);
    EXPECT_THROW(value.ReplaceElement(0U, &nameless), MiInvalidArgumentExp);
    EXPECT_THROW(value.ReplaceElement("a", &nameless), MiInvalidArgumentExp);
    EXPECT_THROW(value.ReplaceElement(9U, nullptr), MiInvalidArgumentExp);
    value.ReplaceElement(2U, &x);
    value.ReplaceElement("unknown", &x);
    value.ReplaceElement(static_cast<const char*>(nullptr), &x);
    EXPECT_EQ(value.Find("x"), nullptr);
    value.ReplaceElement(0U, &x);
    EXPECT_EQ(nameOf(value.Find(0U)), "x");
    value.ReplaceElement("b", &x);
    EXPECT_EQ(nameOf(value.Find(1U)), "x");
}

TEST(choice_test, DeletionsForgive) {
    AsnChoice value = ab();
    value.DelElement(2U);
    value.DelElement("unknown");
    value.DelElement(static_cast<const char*>(nullptr));
    EXPECT_EQ(value.Size(), 2U);
    value.DelElement(0U);
    EXPECT_EQ(nameOf(value.Find(0U)), "b");
    value.DelElement("b");
    EXPECT_TRUE(value.Empty());
    EXPECT_THROW((void)value.Find(0U), MiOutOfRangeExp);  // the list is there still
}

TEST(choice_test, WithTheSelectedAlternativeGoesTheSelection) {
    const AsnInteger x = member("x", AsnInteger(1));
    AsnChoice value = ab();
    value.Set("a");
    value.DelElement("b");
    EXPECT_EQ(nameOf(value.Get()), "a");
    value.DelElement("a");
    EXPECT_EQ(value.Get(), nullptr);
    value = ab();
    value.Set("b");
    value.ReplaceElement("a", &x);
    EXPECT_EQ(nameOf(value.Get()), "b");
    value.ReplaceElement("b", value.Get());
    EXPECT_EQ(value.Get(), nullptr);
    value = ab();
    value.Set("b");
    value.ClearAllElements();
    EXPECT_EQ(value.Get(), nullptr);
    EXPECT_TRUE(value.Empty());
}

TEST(choice_test, ResetKeepsAlternativesAndTheirPresence) {
    AsnChoice value = ab();
    value.Set("a");
    value.Find("a")->SetAsnPresent(true);
    value.Reset(nullptr);
    EXPECT_EQ(value.Get(), nullptr);
    EXPECT_EQ(value.Size(), 2U);
    EXPECT_EQ(integer(value.Find("a")), 0);
    EXPECT_EQ(integer(value.Find("b")), 0);
    EXPECT_TRUE(value.Find("a")->IsAsnPresent());
}

TEST(choice_test, ResetToAnotherReplacesTheSchema) {
    auto value = composite<AsnChoice>(member("old", AsnOid("1.2")));
    value.Set("old");
    AsnChoice source = ab();
    value.Reset(&source);
    EXPECT_EQ(value.Size(), 2U);
    EXPECT_EQ(value.Get(), nullptr);
    source.Set("b");
    value.Reset(&source);
    EXPECT_EQ(nameOf(value.Get()), "b");
    EXPECT_EQ(value.Get(), value.Find(1U));
    EXPECT_NE(value.Get(), source.Get());
    value.Reset(&value);
    EXPECT_EQ(nameOf(value.Get()), "b");
    const AsnChoice none;
    value.Reset(&none);
    EXPECT_EQ(value.Get(), nullptr);
    EXPECT_EQ(value.Find(0U), nullptr);
}

TEST(choice_test, ExhaustedMemoryTakesNoSelectionAway) {
    AsnChoice source = ab();
    source.Set("b");
    auto value = composite<AsnChoice>(member("old", AsnOid("1.2")));
    value.Set("old");
    const AsnObject* old = value.Get();
    bool kept = true;
    const long failures = support::forEachExhaustion([&] {
        foundation::PoolTrim();
        try {
            value.Reset(&source);
        } catch (const std::bad_alloc&) {
            kept = kept && value.Get() == old && value.Size() == 1;
        }
    });
    EXPECT_GT(failures, 2);
    EXPECT_TRUE(kept);
    EXPECT_EQ(nameOf(value.Get()), "b");
}

TEST(choice_test, ResetToAnAlternativeOfItself) {
    AsnChoice inner = ab();
    inner.Set("b");
    inner.SetAsnName("inner");
    auto value = composite<AsnChoice>(inner);
    value.Set("inner");
    value.Reset(value.Get());
    EXPECT_EQ(value.Size(), 2U);
    EXPECT_EQ(nameOf(value.Get()), "b");
    value = composite<AsnChoice>(inner);
    value = dynamic_cast<const AsnChoice&>(*value.Find("inner"));
    EXPECT_EQ(nameOf(value.Get()), "b");
}

TEST(choice_test, CopiesSelectTheirOwnAlternative) {
    AsnChoice source = ab();
    source.SetAsnName("source");
    source.SetAsnPresent(true);
    source.Set("b");
    const AsnChoice copy(source);
    EXPECT_EQ(nameOf(copy.Get()), "b");
    EXPECT_NE(copy.Get(), source.Get());
    EXPECT_NE(copy.Get(1U), nullptr);
    EXPECT_TRUE(copy.Equals(&source));
    const std::unique_ptr<AsnObject> clone(source.Clone());
    EXPECT_EQ(typeOf(*clone), typeid(AsnChoice));
    EXPECT_TRUE(clone->Equals(&source));
    auto assigned = composite<AsnChoice>(member("old", AsnOid("1.2")));
    assigned.Set("old");
    assigned = source;
    EXPECT_TRUE(assigned.Equals(&source));
    EXPECT_EQ(assigned.Get(), assigned.Find(1U));
    const AsnChoice& self = assigned;
    assigned = self;
    EXPECT_EQ(assigned.Get(), assigned.Find(1U));
    assigned = AsnChoice();
    EXPECT_EQ(assigned.Get(), nullptr);
}

TEST(choice_test, OneWithoutASelectionEqualsAnyOther) {
    const AsnChoice none = ab();
    AsnChoice one = ab();
    one.Set("a");
    EXPECT_FALSE(none.EqualsContent(nullptr));
    EXPECT_TRUE(none == one);
    EXPECT_FALSE(one == none);
    EXPECT_TRUE(none == AsnChoice());
}

TEST(choice_test, SelectionsCompareByContent) {
    AsnChoice one = ab();
    AsnChoice other = ab();
    const AsnInteger seven(7);
    one.Set("a", &seven);
    other.Set("b", &seven);
    EXPECT_TRUE(one == other);
    EXPECT_TRUE(one == one);
    const AsnInteger eight(8);
    other.Set("b", &eight);
    EXPECT_TRUE(one != other);
    // Alternatives of two types are never equal.
    auto text = composite<AsnChoice>(member("a", AsnOid("7")));
    text.Set("a");
    EXPECT_FALSE(one == text);
    EXPECT_FALSE(text == one);
}

}  // namespace

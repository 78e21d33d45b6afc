// All classes and lists as a program of somebody else's sees them, who has the headers and the product alone: what the
// product does not export does not link here.
#include <gtest/gtest.h>

#include <cstddef>

#include "schema/schema.h"
#include "tests/schema/bytes.h"
#include "tests/schema/table.h"

namespace {

using table::Base;
using table::Type;
using table::Value;

TEST(client_test, EveryClassWorksAcrossTheLibrary) {
    for (const Type& type : table::types()) {
        SCOPED_TRACE(type.name);
        const std::size_t variants = type.base == Base::Choice ? type.members.size() : 1;
        for (std::size_t i = 0; i < variants; ++i) {
            const Value value = table::makeFilled(type, i);
            const Value clone(value->Clone());
            EXPECT_TRUE(typeOf(*clone) == *type.type);
            MiByteBuffer out;
            const unsigned int length = value->DerEncode(out, 0);
            const Value decoded = table::make(type);
            EXPECT_EQ(decoded->DerDecode(out.GetByte(), 0), length);
            EXPECT_TRUE(decoded->EqualsContent(clone.get()));
        }
    }
}

template <class T>
void copies() {
    T value;
    T copy(value);
    copy = value;
    EXPECT_TRUE(copy.Equals(&value));
    value.Reset(nullptr);
}

TEST(client_test, EveryClassIsCopied) {
#define TYPE(CLASS, BASE) copies<CLASS>();
#define MEMBER(CLASS, NAME, ACCESSOR, VALUE, MODE, NUMBER, ROLE, FLAG)
#define WRAPPER(CLASS, NUMBER, VALUE) copies<CLASS>();
#include "tests/schema/tables/directory.def"
#include "tests/schema/tables/pkcs.def"
#include "tests/schema/tables/x509.def"
#undef TYPE
#undef MEMBER
#undef WRAPPER
}

template <class List, class Item>
void usesList() {
    copies<List>();
    List list;
    const Item item;
    list.AddElement(item);
    list.OnComponentContentByte();
    list.OffComponentContentByte();
    list.OnComponentByte();
    EXPECT_EQ(list.GetComponentByteType(), AsnObject::ASN_WHOLE_BYTE);
    list.OffComponentByte();
    const List copy(list);
    EXPECT_EQ(copy.Size(), 1U);
    EXPECT_TRUE(copy == list);
    EXPECT_FALSE(copy != list);
    EXPECT_NE(copy.Get(0), list.Get(0));
    list.ClearAllElements();
    EXPECT_TRUE(list.Empty());
}

TEST(client_test, EveryListWorksAcrossTheLibrary) {
#define LIST(CLASS, ITEM) usesList<CLASS, ITEM>();
#include "tests/schema/tables/lists.def"
#undef LIST
}

TEST(client_test, TheHandWrittenOperation) {
    const TBSCertificate certificate;
    AsnSequenceOf<AttributeTypeAndDistinguishedValue> out;
    certificate.GetSubjectName(out);
    EXPECT_EQ(out.Size(), 0U);
}

}  // namespace

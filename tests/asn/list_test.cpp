// The list templates AsnSetOf and AsnSequenceOf.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <numeric>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include "tests/asn/der_io.h"
#include "tests/support/der.h"

namespace {

using der_io::bytes;
using der_io::decode;
using der_io::encoded;
using der_io::encodedContent;
using der_io::octets;
using der_io::toHex;
using der_io::typeOf;
using support::Bytes;

using Octets = AsnSequenceOf<AsnOctetString>;
using OctetSet = AsnSetOf<AsnOctetString>;

template <class List>
List listOf(std::initializer_list<const char*> items) {
    List list;
    for (const char* item : items)
        list.AddElement(octets(item));
    return list;
}

template <class List>
class list_test_each : public ::testing::Test {};
using ListTypes = ::testing::Types<Octets, OctetSet>;
TYPED_TEST_SUITE(list_test_each, ListTypes, );

TYPED_TEST(list_test_each, StartEmpty) {
    const TypeParam list;
    EXPECT_EQ(list.GetAsnTagForm(), ASN_CONSTRUCTED);
    EXPECT_EQ(list.GetAsnTagClass(), ASN_UNIVERSAL);
    EXPECT_EQ(list.Size(), 0U);
    EXPECT_TRUE(list.Empty());
    EXPECT_THROW((void)list.Get(0), MiOutOfRangeExp);
    EXPECT_EQ(list.GetComponentByteType(), AsnObject::ASN_NO_BYTE);
    EXPECT_FALSE(list.IsAsnChoice());
    EXPECT_EQ(encodedContent(list), "");
}

TYPED_TEST(list_test_each, HoldClones) {
    TypeParam list;
    AsnOctetString item = octets("AA");
    item.SetAsnName("item");
    list.AddElement(item);
    item.SetData(bytes("BB"));
    list.AddElement(item);
    EXPECT_EQ(list.Size(), 2U);
    EXPECT_FALSE(list.Empty());
    EXPECT_EQ(toHex(list.Get(0)->GetData()), "AA");
    EXPECT_STREQ(list.Get(0)->GetAsnName().GetChars(), "item");
    EXPECT_EQ(toHex(list.Get(1)->GetData()), "BB");
    EXPECT_THROW((void)list.Get(2), MiOutOfRangeExp);
    list.AddElement(*list.Get(0));
    EXPECT_EQ(toHex(list.Get(2)->GetData()), "AA");
    list.ClearAllElements();
    EXPECT_EQ(list.Size(), 0U);
}

TYPED_TEST(list_test_each, ComponentModes) {
    TypeParam list;
    list.OnComponentByte();
    EXPECT_EQ(list.GetComponentByteType(), AsnObject::ASN_WHOLE_BYTE);
    EXPECT_EQ(TypeParam(list).GetComponentByteType(), AsnObject::ASN_NO_BYTE);
    TypeParam assigned;
    assigned.OnComponentByte();
    assigned = list;
    EXPECT_EQ(assigned.GetComponentByteType(), AsnObject::ASN_NO_BYTE);
    list.OffComponentByte();
    EXPECT_EQ(list.GetComponentByteType(), AsnObject::ASN_NO_BYTE);
    list.OnComponentContentByte();
    EXPECT_EQ(list.GetComponentByteType(), AsnObject::ASN_CONTENT_BYTE);
    list.OffComponentContentByte();
    EXPECT_EQ(list.GetComponentByteType(), AsnObject::ASN_NO_BYTE);
}

TYPED_TEST(list_test_each, CopyAndReset) {
    auto list = listOf<TypeParam>({"AA", "BB"});
    list.SetAsnName("list");
    list.SetAsnState(AsnObject::ASN_OPTIONAL);
    const TypeParam copy(list);
    EXPECT_TRUE(copy.Equals(&list));
    EXPECT_NE(copy.Get(0), list.Get(0));
    const std::unique_ptr<AsnObject> clone(list.Clone());
    EXPECT_EQ(typeOf(*clone), typeid(TypeParam));
    EXPECT_TRUE(clone->Equals(&list));
    auto assigned = listOf<TypeParam>({"01", "02", "03"});
    assigned = list;
    EXPECT_TRUE(assigned.Equals(&list));
    const TypeParam& self = assigned;
    assigned = self;
    EXPECT_TRUE(assigned.Equals(&list));

    assigned.Reset(&assigned);
    EXPECT_EQ(assigned.Size(), 2U);
    assigned.Reset(nullptr);
    EXPECT_EQ(assigned.Size(), 0U);
    EXPECT_STREQ(assigned.GetAsnName().GetChars(), "list");
    assigned.Reset(&list);
    EXPECT_TRUE(assigned == list);
}

TYPED_TEST(list_test_each, CompareBySizeAndItems) {
    const auto list = listOf<TypeParam>({"AA", "BB"});
    EXPECT_TRUE(list == list);
    EXPECT_TRUE(list == listOf<TypeParam>({"AA", "BB"}));
    EXPECT_FALSE(list != listOf<TypeParam>({"AA", "BB"}));
    EXPECT_FALSE(list == listOf<TypeParam>({"AA"}));
    EXPECT_FALSE(list == listOf<TypeParam>({"AA", "BB", "CC"}));
    EXPECT_FALSE(list == listOf<TypeParam>({"AA", "CC"}));
    EXPECT_FALSE(list.EqualsContent(nullptr));
    EXPECT_TRUE(TypeParam() == TypeParam());
    const AsnSequence other;
    EXPECT_FALSE(list.EqualsContent(&other));
}

TEST(list_test, TagNumbers) {
    EXPECT_EQ(Octets().GetAsnTagNumber(), 16U);
    EXPECT_EQ(OctetSet().GetAsnTagNumber(), 17U);
}

TEST(list_test, OrderCountsInSequencesAlone) {
    EXPECT_FALSE(listOf<Octets>({"AA", "BB"}) == listOf<Octets>({"BB", "AA"}));
    EXPECT_TRUE(listOf<OctetSet>({"AA", "BB"}) == listOf<OctetSet>({"BB", "AA"}));
    EXPECT_TRUE(listOf<OctetSet>({"AA", "BB", "CC"}) == listOf<OctetSet>({"CC", "AA", "BB"}));
}

TEST(list_test, SetsWithRepeatedItemsDifferFromTheirCopies) {
    const auto twice = listOf<OctetSet>({"AA", "AA"});
    EXPECT_TRUE(twice == twice);
    EXPECT_FALSE(twice == OctetSet(twice));
    EXPECT_FALSE(twice == listOf<OctetSet>({"AA", "BB"}));
    EXPECT_FALSE(listOf<OctetSet>({"AA", "BB"}) == twice);
    EXPECT_FALSE(listOf<OctetSet>({"AA", "AA", "BB"}) == listOf<OctetSet>({"AA", "BB", "BB"}));
    EXPECT_TRUE(listOf<Octets>({"AA", "AA"}) == listOf<Octets>({"AA", "AA"}));
}

// The rule in its own words: the first equals of all items, without repeats, are as many as there are items.
template <class T>
bool equalByTheRule(const AsnSetOf<T>& a, const AsnSetOf<T>& b) {
    std::set<unsigned int> firstEquals;
    for (unsigned int i = 0; i < a.Size(); ++i) {
        for (unsigned int j = 0; j < b.Size(); ++j) {
            if (a.Get(i)->EqualsContent(b.Get(j))) {
                firstEquals.insert(j);
                break;
            }
        }
    }
    return a.Size() == b.Size() && firstEquals.size() == a.Size();
}

// Attribute-like items of all sorts of members, by number.
AsnSequence mixed(int number) {
    auto choice = der_io::composite<AsnChoice>(der_io::member("a", AsnInteger(number % 2)));
    if (number % 3 != 0)
        choice.Set("a");
    const AsnSetOf<AsnInteger> list = [&] {
        AsnSetOf<AsnInteger> items;
        items.AddElement(AsnInteger(number % 5));
        return items;
    }();
    AsnPrintableString text;
    text.SetData(std::to_string(number % 11).c_str());
    AsnIA5String mail;
    mail.SetVisibleString(std::to_string(number % 13).c_str());
    return der_io::composite<AsnSequence>(
        der_io::member("text", text), der_io::member("set", der_io::composite<AsnSet>(der_io::member("mail", mail))),
        der_io::member("oid", AsnOid(("1.2." + std::to_string(number / 4)).c_str())), der_io::member("null", AsnNull()),
        der_io::member("choice", choice), der_io::member("list", list),
        der_io::explicitly(0, "explicit", AsnInteger(number % 7)), der_io::member("flag", AsnBoolean(number % 2 == 0)));
}

TEST(list_test, LongSetsCompareByTheSameRule) {
    std::mt19937 random(20141022);
    for (int round = 0; round < 60; ++round) {
        SCOPED_TRACE(round);
        const int size = 30 + round;
        const int range = size * (1 + round % 4);
        std::vector<int> numbers(static_cast<std::size_t>(range));
        std::iota(numbers.begin(), numbers.end(), 0);
        std::shuffle(numbers.begin(), numbers.end(), random);
        numbers.resize(static_cast<std::size_t>(size));
        AsnSetOf<AsnSequence> a;
        for (const int number : numbers)
            a.AddElement(mixed(number));
        std::shuffle(numbers.begin(), numbers.end(), random);
        if (round % 3 == 1)
            numbers[0] = numbers[1];
        if (round % 5 == 2)
            numbers[0] = range + 1;
        AsnSetOf<AsnSequence> b;
        for (const int number : numbers)
            b.AddElement(mixed(number));
        EXPECT_EQ(a == b, equalByTheRule(a, b));
        EXPECT_EQ(b == a, equalByTheRule(b, a));
        EXPECT_EQ(a == AsnSetOf<AsnSequence>(a), equalByTheRule(a, a));
    }
}

TEST(list_test, LongSetsOfUnlikeItemsCompareByTheSameRule) {
    AsnSetOf<AsnSequence> a;
    AsnSetOf<AsnSequence> b;
    for (int i = 0; i < 40; ++i) {
        a.AddElement(der_io::composite<AsnSequence>(der_io::member("i", AsnInteger(i))));
        b.AddElement(der_io::composite<AsnSequence>(der_io::member("i", AsnInteger(39 - i))));
    }
    EXPECT_TRUE(a == b);
    // NULL equals anything, in one direction.
    a.AddElement(der_io::composite<AsnSequence>(der_io::member("i", AsnNull())));
    b.AddElement(der_io::composite<AsnSequence>(der_io::member("i", AsnOid("1.2"))));
    EXPECT_EQ(a == b, equalByTheRule(a, b));
    EXPECT_FALSE(b == a);
}

TEST(list_test, LongSetsOfUnlikeItemsMayBeEqual) {
    const auto item = [](const auto& first, bool flag) {
        return der_io::composite<AsnSequence>(der_io::member("first", first), der_io::member("flag", AsnBoolean(flag)));
    };
    AsnSetOf<AsnSequence> a;
    AsnSetOf<AsnSequence> b;
    for (int i = 0; i < 40; ++i) {
        a.AddElement(item(AsnInteger(i), true));
        b.AddElement(item(AsnInteger(i), true));
    }
    // NULL equals the identifier, and by its flag none of the others.
    a.AddElement(item(AsnNull(), false));
    b.AddElement(item(AsnOid("1.2"), false));
    EXPECT_TRUE(a == b);
    EXPECT_FALSE(b == a);
}

TEST(list_test, LongSetsOfEmptyContainersCompareByTheSameRule) {
    AsnSetOf<AsnSequence> a;
    AsnSetOf<AsnSequence> b;
    for (int i = 0; i < 40; ++i) {
        a.AddElement(der_io::composite<AsnSequence>(der_io::member("i", AsnInteger(i)),
                                                    der_io::member("nothing", AsnContainer())));
        b.AddElement(*a.Get(static_cast<unsigned int>(i)));
    }
    EXPECT_TRUE(a == b);
}

// Of such items nothing but the one string tells them apart.
void set(AsnPrintableString& item, int number) {
    item.SetData(std::to_string(number).c_str());
}
void set(AsnIA5String& item, int number) {
    item.SetVisibleString(std::to_string(number).c_str());
}

template <class String>
void longSetsOfStringsCompare() {
    AsnSetOf<String> a;
    AsnSetOf<String> b;
    String item;
    for (int i = 0; i < 40; ++i) {
        set(item, i);
        a.AddElement(item);
        set(item, 39 - i);
        b.AddElement(item);
    }
    EXPECT_TRUE(a == b);
    set(item, 40);
    a.AddElement(item);
    set(item, 0);
    b.AddElement(item);
    EXPECT_FALSE(a == b) << "0 stands twice in b, and 40 not at all";
    EXPECT_FALSE(b == a);
}

TEST(list_test, LongSetsOfStringsCompareInAnyOrder) {
    longSetsOfStringsCompare<AsnPrintableString>();
    longSetsOfStringsCompare<AsnIA5String>();
}

TEST(list_test, AListMovesItsItems) {
    for (const unsigned int size : {0U, 1U, 4U, 5U, 40U}) {
        AsnList list;
        for (unsigned int i = 0; i < size; ++i)
            list.Append(new AsnInteger(static_cast<int>(i)));
        const std::vector<AsnObject*> items(list.begin(), list.end());
        const AsnList moved(std::move(list));
        EXPECT_EQ(std::vector<AsnObject*>(moved.begin(), moved.end()), items);
        EXPECT_EQ(list.Size(), 0U);  // NOLINT(bugprone-use-after-move): what is left can be filled again
        list.Append(new AsnInteger(7));
        EXPECT_EQ(list.Size(), 1U);
        EXPECT_EQ(moved.Size(), size);
    }
}

TEST(list_test, AHundredThousandItemsCompareInAnyOrder) {
    OctetSet a;
    OctetSet b;
    AsnOctetString item;
    for (unsigned int i = 0; i < 100000; ++i) {
        const char bytes[] = {static_cast<char>(i >> 16), static_cast<char>(i >> 8), static_cast<char>(i), 'x'};
        item.SetData(bytes, 0, 4);
        a.AddElement(item);
    }
    for (unsigned int i = a.Size(); i-- > 0;)
        b.AddElement(*a.Get(i));
    EXPECT_TRUE(a == b);
    b.Get(0)->SetData(MiByte());
    EXPECT_FALSE(a == b);
    EXPECT_FALSE(b == a);
}

// Each item against each other would take minutes.
TEST(list_test, FiftyThousandSequencesThatDifferInTheirLastMemberCompareInAnyOrder) {
    const auto item = [](int number) {
        return der_io::composite<AsnSequence>(der_io::member("version", AsnInteger(0)),
                                              der_io::member("number", AsnInteger(number)));
    };
    AsnSetOf<AsnSequence> a;
    AsnSetOf<AsnSequence> b;
    for (int i = 0; i < 50000; ++i) {
        a.AddElement(item(i));
        b.AddElement(item(49999 - i));
    }
    EXPECT_TRUE(a == b);
    b.AddElement(item(50000));
    a.AddElement(item(50001));
    EXPECT_FALSE(a == b);
}

TEST(list_test, SequencesAreWrittenInTheirOrder) {
    EXPECT_EQ(encoded(Octets()), "30 00");
    EXPECT_EQ(encoded(listOf<Octets>({"FF FF FF", "00", ""})), "30 0A 04 03 FF FF FF 04 01 00 04 00");
}

TEST(list_test, SetsAreWrittenShortestFirst) {
    EXPECT_EQ(encoded(OctetSet()), "31 00");
    EXPECT_EQ(encoded(listOf<OctetSet>({"BB"})), "31 03 04 01 BB");
    const auto list = listOf<OctetSet>({"FF FF FF", "00"});
    EXPECT_EQ(encoded(list), "31 08 04 01 00 04 03 FF FF FF");
    EXPECT_EQ(toHex(list.Get(0)->GetData()), "FF FF FF");  // the items stay in their order
    EXPECT_EQ(encoded(listOf<OctetSet>({"00 00 00", "FF"})), "31 08 04 01 FF 04 03 00 00 00");
}

TEST(list_test, SetItemsOfOneLengthSortAsUnsignedBytes) {
    EXPECT_EQ(encoded(listOf<OctetSet>({"80", "7F", "FF", "00"})), "31 0C 04 01 00 04 01 7F 04 01 80 04 01 FF");
    EXPECT_EQ(encoded(listOf<OctetSet>({"01 02", "01 01", "00 FF"})), "31 0C 04 02 00 FF 04 02 01 01 04 02 01 02");
    EXPECT_EQ(encoded(listOf<OctetSet>({"AA", "AA"})), "31 06 04 01 AA 04 01 AA");
}

TEST(list_test, SetsAreSortedBehindWhatStandsBefore) {
    const auto list = listOf<OctetSet>({"02", "01"});
    MiByteBuffer out(bytes("FF FE FD"));
    EXPECT_EQ(list.DerEncode(out, 2), 8U);
    EXPECT_EQ(toHex(out), "FF FE 31 06 04 01 01 04 01 02");
    EXPECT_EQ(list.DerEncodeContent(out, 5), 6U);
    EXPECT_EQ(toHex(out), "FF FE 31 06 04 04 01 01 04 01 02");
}

TYPED_TEST(list_test_each, AreWrittenUnderTheirOwnTag) {
    auto list = listOf<TypeParam>({"AA"});
    list.SetAsnTag(ASN_CONTEXT, ASN_IMPLICIT, 3);
    EXPECT_EQ(encoded(list), "A3 03 04 01 AA");
}

TYPED_TEST(list_test_each, LongContentGetsALongLength) {
    TypeParam list;
    AsnOctetString item;
    item.SetData(MiByte(200, 0x11));
    list.AddElement(item);
    MiByteBuffer out;
    EXPECT_EQ(list.DerEncode(out, 0), 206U);
    EXPECT_EQ(toHex(out.GetChars() + 1, 5), "81 CB 04 81 C8");
}

TYPED_TEST(list_test_each, TheCacheIsWrittenAsItStands) {
    auto list = listOf<TypeParam>({"AA"});
    const MiByte cache = bytes("01 02 03");
    list.SetAsnByte(&cache);
    EXPECT_EQ(encoded(list), "01 02 03");
    list.SetAsnContentByte(&cache);
    EXPECT_EQ(encodedContent(list), "01 02 03");
    list.SetAsnContentByte(nullptr);
    EXPECT_EQ(encodedContent(list), "");
    list.SetAsnByte(nullptr);
    EXPECT_EQ(encoded(list), "");
    list.OffByte();
    EXPECT_EQ(encodedContent(list), "04 01 AA");
}

TYPED_TEST(list_test_each, AreReadAndKeepTheirOwnTag) {
    auto list = listOf<TypeParam>({"00", "00", "00"});
    list.SetAsnTag(ASN_CONTEXT, ASN_IMPLICIT, 3);
    const AsnTag own = list.GetAsnTag();
    EXPECT_EQ(decode(list, "65 06 04 01 AA 04 01 BB"), 8U);
    EXPECT_EQ(list.GetAsnTag(), own);
    ASSERT_EQ(list.Size(), 2U);
    EXPECT_EQ(toHex(list.Get(0)->GetData()), "AA");
    EXPECT_EQ(toHex(list.Get(1)->GetData()), "BB");
    EXPECT_EQ(decode(list, "30 00 FF"), 2U);
    EXPECT_EQ(list.Size(), 0U);
}

TYPED_TEST(list_test_each, AreReadFromAnOffset) {
    TypeParam list;
    const MiByte in = bytes("FF 30 03 04 01 AA FF");
    EXPECT_EQ(list.DerDecode(in, 1), 5U);
    EXPECT_EQ(list.Size(), 1U);
    EXPECT_EQ(list.DerDecodeContent(in, 3, 3), 3U);
    EXPECT_EQ(list.Size(), 1U);
}

TYPED_TEST(list_test_each, RefuseWhatIsNotThere) {
    TypeParam list;
    const MiByte in = bytes("30 03 04 01 AA");
    EXPECT_THROW(list.DerDecode(MiByte(), 0), MiInvalidArgumentExp);
    EXPECT_THROW(list.DerDecode(in, 5), MiOutOfRangeExp);
    EXPECT_THROW(list.DerDecode(in, 9), MiOutOfRangeExp);
    EXPECT_THROW(decode(list, "30"), MiOutOfRangeExp);
    EXPECT_THROW(decode(list, "30 04 04 01 AA"), MiOutOfRangeExp);
    EXPECT_THROW(decode(list, "1F 81"), MiRangeExp);
    EXPECT_THROW(decode(list, "30 85 00 00 00 00 03 04 01 AA"), MiRangeExp);
    EXPECT_EQ(list.DerDecodeContent(MiByte(), 0, 0), 0U);
    EXPECT_EQ(list.DerDecodeContent(MiByte(), 9, 0), 0U);
    EXPECT_THROW(list.DerDecodeContent(MiByte(), 0, 1), MiInvalidArgumentExp);
    EXPECT_THROW(list.DerDecodeContent(in, 2, 4), MiOutOfRangeExp);
    EXPECT_THROW(list.DerDecodeContent(in, 0xFFFFFFFF, 2), MiOutOfRangeExp);
    EXPECT_THROW(list.DerDecodeContent(in, 2, 0xFFFFFFFF), MiOutOfRangeExp);
}

TYPED_TEST(list_test_each, TheLastItemEndsWithTheContent) {
    TypeParam list;
    // The second item has one byte that the list does not.
    EXPECT_THROW(decode(list, "30 05 04 01 AA 04 01 BB"), AsnDecodeExp);
    // A BOOLEAN of two bytes reports one, so that the next item starts in its middle.
    AsnSequenceOf<AsnBoolean> booleans;
    EXPECT_THROW(decode(booleans, "30 04 01 02 FF 00"), MiOutOfRangeExp);
}

TYPED_TEST(list_test_each, KeepTheWholeElementInThatMode) {
    TypeParam list;
    list.OnByte();
    EXPECT_EQ(decode(list, "30 03 04 01 AA FF"), 5U);
    EXPECT_EQ(list.Size(), 0U);
    ASSERT_NE(list.GetAsnByte(), nullptr);
    EXPECT_EQ(toHex(*list.GetAsnByte()), "30 03 04 01 AA");
    EXPECT_EQ(encoded(list), "30 03 04 01 AA");
    // A length past the input is not caught; what is there is kept.
    EXPECT_EQ(decode(list, "30 10 04 01 AA"), 18U);
    EXPECT_EQ(toHex(*list.GetAsnByte()), "30 10 04 01 AA");
    EXPECT_EQ(decode(list, "30 00"), 2U);
    EXPECT_EQ(toHex(*list.GetAsnByte()), "30 00");
    EXPECT_THROW(decode(list, "30 84 FF FF FF FF 04 01 AA"), MiOutOfRangeExp);
}

TYPED_TEST(list_test_each, KeepTheContentInThatMode) {
    TypeParam list;
    list.OnContentByte();
    EXPECT_EQ(decode(list, "30 03 FF FF FF 00"), 5U);
    EXPECT_EQ(list.Size(), 0U);
    ASSERT_NE(list.GetAsnContentByte(), nullptr);
    EXPECT_EQ(toHex(*list.GetAsnContentByte()), "FF FF FF");
    EXPECT_THROW(decode(list, "30 04 FF FF FF"), MiOutOfRangeExp);
}

TYPED_TEST(list_test_each, ItemsTakeTheComponentMode) {
    TypeParam list;
    list.OnComponentByte();
    EXPECT_EQ(decode(list, "30 07 04 01 AA 04 02 BB CC"), 9U);
    ASSERT_EQ(list.Size(), 2U);
    ASSERT_NE(list.Get(1)->GetAsnByte(), nullptr);
    EXPECT_EQ(toHex(*list.Get(1)->GetAsnByte()), "04 02 BB CC");
    EXPECT_TRUE(list.Get(1)->GetData().Empty());
    EXPECT_EQ(list.GetAsnByteType(), AsnObject::ASN_NO_BYTE);
    list.OnComponentContentByte();
    decode(list, "30 03 04 01 AA");
    ASSERT_NE(list.Get(0)->GetAsnContentByte(), nullptr);
    EXPECT_EQ(toHex(*list.Get(0)->GetAsnContentByte()), "AA");
    list.OffComponentByte();
    decode(list, "30 03 04 01 AA");
    EXPECT_EQ(list.Get(0)->GetAsnByteType(), AsnObject::ASN_NO_BYTE);
}

TEST(list_test, ItemsKeepTheTagTheyWereReadWith) {
    Octets list;
    decode(list, "30 06 0C 01 61 84 01 62");
    EXPECT_EQ(list.Get(0)->GetAsnTagNumber(), 12U);
    EXPECT_EQ(list.Get(1)->GetAsnTagClass(), ASN_CONTEXT);
    EXPECT_EQ(encoded(list), "30 06 0C 01 61 84 01 62");
}

TEST(list_test, ListsOfLists) {
    AsnSequenceOf<AsnSetOf<AsnInteger>> list;
    EXPECT_EQ(decode(list, "30 0A 31 06 02 01 05 02 01 04 31 00"), 12U);
    ASSERT_EQ(list.Size(), 2U);
    EXPECT_EQ(list.Get(0)->Size(), 2U);
    EXPECT_EQ(list.Get(0)->Get(1)->GetInteger(), 4);
    EXPECT_EQ(list.Get(1)->Size(), 0U);
    EXPECT_EQ(encoded(list), "30 0A 31 06 02 01 04 02 01 05 31 00");
    EXPECT_TRUE(list == (AsnSequenceOf<AsnSetOf<AsnInteger>>(list)));
}

TYPED_TEST(list_test_each, AHundredThousandItems) {
    const unsigned int count = 100000;
    const Bytes item = {0x04, 0x02, 0x12, 0x34};
    const Bytes input = der::tlv(0x30, der::repeat(count, item));
    TypeParam list;
    EXPECT_EQ(decode(list, input), input.size());
    EXPECT_EQ(list.Size(), count);
    MiByteBuffer out;
    EXPECT_EQ(list.DerEncode(out, 0), input.size());
    EXPECT_EQ(out.GetLength(), input.size());
    const std::unique_ptr<AsnObject> clone(list.Clone());
    EXPECT_EQ(dynamic_cast<const TypeParam&>(*clone).Size(), count);
}

TEST(list_test, PrintedItems) {
    Octets list;
    std::ostringstream none;
    list.SetAsnName("items");
    list.ToOstream(none, 1);
    EXPECT_EQ(none.str(), "    items  SEQUENCE OF {}");

    AsnSetOf<AsnInteger> numbers;
    numbers.AddElement(AsnInteger(1));
    numbers.AddElement(AsnInteger(2));
    numbers.SetAsnTag(ASN_CONTEXT, ASN_IMPLICIT, 3);
    std::ostringstream os;
    numbers.ToOstream(os, 0);
    EXPECT_EQ(os.str(), "[3]  IMPLICIT  SET OF {\n    INTEGER : 1\n    INTEGER : 2 }");
}

}  // namespace

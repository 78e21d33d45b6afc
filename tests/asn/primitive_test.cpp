// Booleans, numbers, bit and octet strings, null and object identifiers; and what all primitive values share.
#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <sstream>
#include <string>
#include <typeinfo>

#include "tests/asn/der_io.h"

namespace {

using der_io::bytes;
using der_io::decode;
using der_io::encoded;
using der_io::octets;
using der_io::toHex;
using der_io::typeOf;

// What all primitive values do alike, for two values of a type that differ from each other and from the empty one.
template <class T>
void expectValueSemantics(const T& a, const T& b, unsigned int universalTag) {
    SCOPED_TRACE(typeid(T).name());
    const T empty;
    EXPECT_EQ(empty.GetAsnTagNumber(), universalTag);
    EXPECT_EQ(empty.GetAsnTagClass(), ASN_UNIVERSAL);
    EXPECT_EQ(empty.GetAsnTagMode(), ASN_NOT_TAGGED);
    EXPECT_EQ(empty.GetAsnTagForm(), ASN_PRIMITIVE);
    EXPECT_FALSE(empty.IsAsnPresent());
    EXPECT_FALSE(empty.IsAsnChoice());

    EXPECT_TRUE(a == a);
    EXPECT_FALSE(a == b);
    EXPECT_TRUE(a != b);
    EXPECT_FALSE(a != a);
    EXPECT_FALSE(a == empty);
    EXPECT_FALSE(a.EqualsContent(nullptr));
    EXPECT_TRUE(a.EqualsContent(&a));

    // Names, tags and roles play no part in equality, and copies take them.
    T named = a;
    named.SetAsnName("named");
    named.SetAsnTag(ASN_CONTEXT, ASN_IMPLICIT, 5);
    named.SetAsnState(AsnObject::ASN_OPTIONAL);
    named.SetAsnPresent(true);
    EXPECT_TRUE(a == named);
    const T copy(named);
    EXPECT_TRUE(copy.Equals(&named));
    T assigned = b;
    assigned = named;
    EXPECT_TRUE(assigned.Equals(&named));
    T& self = assigned;
    assigned = self;
    EXPECT_TRUE(assigned.Equals(&named));

    const std::unique_ptr<AsnObject> clone(named.Clone());
    EXPECT_EQ(typeOf(*clone), typeid(T));
    EXPECT_TRUE(clone->Equals(&named));

    // Reset touches the value alone.
    T reset = named;
    const MiByte cache = bytes("AA");
    reset.SetAsnByte(&cache);
    reset.Reset(nullptr);
    EXPECT_TRUE(reset == empty);
    EXPECT_STREQ(reset.GetAsnName().GetChars(), "named");
    EXPECT_EQ(reset.GetAsnTag(), named.GetAsnTag());
    EXPECT_EQ(reset.GetAsnState(), AsnObject::ASN_OPTIONAL);
    EXPECT_TRUE(reset.IsAsnPresent());
    EXPECT_EQ(toHex(*reset.GetAsnByte()), "AA");
    reset.Reset(&b);
    EXPECT_TRUE(reset == b);
    EXPECT_STREQ(reset.GetAsnName().GetChars(), "named");
    EXPECT_EQ(toHex(*reset.GetAsnByte()), "AA");
    reset.Reset(&reset);
    EXPECT_TRUE(reset == b);

    const AsnSequence other;
    EXPECT_FALSE(a.EqualsContent(&other));
}

AsnUTCTime utc(const char* text) {
    AsnUTCTime time;
    time.SetTime(text);
    return time;
}

AsnGeneralizedTime generalized(const char* text) {
    AsnGeneralizedTime time;
    time.SetTime(text);
    return time;
}

template <class T>
T visible(const char* text) {
    T value;
    value.SetVisibleString(text);
    return value;
}

AsnBitString bits(const char* text) {
    return {MiBitSet(text)};
}

TEST(primitive_test, AllAreValues) {
    expectValueSemantics(AsnInteger(5), AsnInteger(-6), 2);
    expectValueSemantics(bits("101"), bits("1010"), 3);
    expectValueSemantics(octets("01 02"), octets("03"), 4);
    expectValueSemantics(AsnOid("1.2.3"), AsnOid("1.2.4"), 6);
    expectValueSemantics(AsnEnumerated(1), AsnEnumerated(2), 10);
    expectValueSemantics(visible<AsnUTF8String>("ab"), visible<AsnUTF8String>("ac"), 12);
    expectValueSemantics(AsnNumericString("12"), AsnNumericString("123"), 18);
    expectValueSemantics(AsnPrintableString("ab"), AsnPrintableString("ac"), 19);
    expectValueSemantics(visible<AsnTeletexString>("ab"), visible<AsnTeletexString>("ac"), 20);
    expectValueSemantics(visible<AsnIA5String>("ab"), visible<AsnIA5String>("ac"), 22);
    expectValueSemantics(utc("141022120000Z"), utc("141022120001Z"), 23);
    expectValueSemantics(generalized("20141022120000Z"), generalized("20141022120000.5Z"), 24);
    expectValueSemantics(generalized("20141022120000.5Z"), generalized("20141022120001.5Z"), 24);
    expectValueSemantics(AsnVisibleString("ab"), AsnVisibleString("ac"), 26);
    expectValueSemantics(visible<AsnUniversalString>("ab"), visible<AsnUniversalString>("abc"), 28);
    expectValueSemantics(visible<AsnBMPString>("ab"), visible<AsnBMPString>("ac"), 30);
}

TEST(primitive_test, Booleans) {
    EXPECT_EQ(AsnBoolean().GetAsnTagNumber(), 1U);
    EXPECT_FALSE(AsnBoolean().GetData());
    EXPECT_TRUE(AsnBoolean(true).GetData());
    AsnBoolean value;
    value.SetData(true);
    EXPECT_TRUE(value.GetData());
    EXPECT_TRUE(value == AsnBoolean(true));
    EXPECT_TRUE(value != AsnBoolean());
    const AsnBoolean copy(value);
    EXPECT_TRUE(copy.GetData());
    value.Reset(nullptr);
    EXPECT_FALSE(value.GetData());
    value.Reset(&copy);
    EXPECT_TRUE(value.GetData());
    const std::unique_ptr<AsnObject> clone(value.Clone());
    EXPECT_TRUE(clone->Equals(&value));
    EXPECT_FALSE(value.EqualsContent(nullptr));
    value = AsnBoolean();
    EXPECT_FALSE(value.GetData());
}

TEST(primitive_test, Integers) {
    EXPECT_EQ(AsnInteger().GetInteger(), 0);
    EXPECT_EQ(AsnInteger(INT_MIN).GetInteger(), INT_MIN);
    EXPECT_EQ(AsnInteger(MiBigInteger(300)).GetInteger(), 300);
    AsnInteger value;
    value.SetData(-129);
    EXPECT_EQ(value.GetInteger(), -129);
    EXPECT_EQ(toHex(value.GetBigInteger().GetByte()), "FF 7F");
    value.SetData(MiBigInteger(128));
    EXPECT_EQ(toHex(value.GetBigInteger().GetByte()), "00 80");
    value.Reset(nullptr);
    EXPECT_EQ(value.GetBigInteger().GetSign(), 0);
}

TEST(primitive_test, IntegersFromBytesAreTwosComplement) {
    const MiByte source = bytes("AA 00 00 80 FF FF 80");
    AsnInteger value;
    value.SetData(source.GetChars(), 1, 3);
    EXPECT_EQ(value.GetInteger(), 128);
    EXPECT_EQ(toHex(value.GetBigInteger().GetByte()), "00 80");
    value.SetData(source.GetChars(), 4, 3);
    EXPECT_EQ(value.GetInteger(), -128);
    EXPECT_EQ(toHex(value.GetBigInteger().GetByte()), "80");
    value.SetData(source.GetChars(), 1, 0);
    EXPECT_EQ(value.GetInteger(), 0);
    value.SetData(7);
    value.SetData(nullptr, 0, 3);
    EXPECT_EQ(value.GetInteger(), 0);
}

TEST(primitive_test, WideIntegersAreCutByGetInteger) {
    const MiByte source = bytes("01 00 00 00 00 00 00 00 2A");
    AsnInteger value;
    value.SetData(source.GetChars(), 0, 9);
    EXPECT_EQ(value.GetInteger(), 42);
}

TEST(primitive_test, EnumeratedHoldsThirtyTwoBits) {
    EXPECT_EQ(AsnEnumerated().GetData(), 0);
    EXPECT_EQ(AsnEnumerated(INT_MIN).GetData(), INT_MIN);
    AsnEnumerated value;
    value.SetData(INT_MAX);
    EXPECT_EQ(value.GetData(), INT_MAX);
    decode(value, "0A 05 01 00 00 00 07");
    EXPECT_EQ(value.GetData(), 7);
}

TEST(primitive_test, BitStrings) {
    EXPECT_TRUE(AsnBitString().GetData().Empty());
    AsnBitString value(MiBitSet("101"));
    EXPECT_EQ(value.GetData().GetBitLength(), 3U);
    value.SetData(MiBitSet("0110"));
    EXPECT_STREQ(value.GetData().GetBitsString().GetChars(), "0110");
    const MiByte source = bytes("FF A5 C0");
    value.SetData(source.GetChars(), 1, 10);
    EXPECT_STREQ(value.GetData().GetBitsString().GetChars(), "1010010111");
    value.SetData(nullptr, 0, 10);
    EXPECT_TRUE(value.GetData().Empty());
}

TEST(primitive_test, OctetStrings) {
    EXPECT_TRUE(AsnOctetString().GetData().Empty());
    AsnOctetString value;
    value.SetData(bytes("01 02 03"));
    EXPECT_EQ(toHex(value.GetData()), "01 02 03");
    value.SetData(bytes("0A 0B 0C 0D").GetChars(), 1, 2);
    EXPECT_EQ(toHex(value.GetData()), "0B 0C");
    value.SetData(value.GetData());
    EXPECT_EQ(toHex(value.GetData()), "0B 0C");
    value.SetData("x", 0, 0);
    EXPECT_TRUE(value.GetData().Empty());
    value.SetData(bytes("01"));
    value.SetData(nullptr, 0, 5);
    EXPECT_TRUE(value.GetData().Empty());
}

TEST(primitive_test, ABooleanAssignedToItselfStays) {
    AsnBoolean value(true);
    value.SetAsnName("flag");
    const AsnBoolean copy(value);
    const AsnBoolean& self = value;
    value = self;
    EXPECT_TRUE(value.Equals(&copy));
    EXPECT_TRUE(value.GetData());
}

TEST(primitive_test, NullsAreEqualToAnything) {
    const AsnNull value;
    EXPECT_EQ(value.GetAsnTagNumber(), 5U);
    EXPECT_FALSE(value.EqualsContent(nullptr));
    const AsnNull other;
    EXPECT_TRUE(value == other);
    EXPECT_FALSE(value != other);
    const AsnBoolean boolean;
    EXPECT_TRUE(value.EqualsContent(&boolean));
    AsnNull named;
    named.SetAsnName("n");
    const std::unique_ptr<AsnObject> clone(named.Clone());
    EXPECT_TRUE(clone->Equals(&named));
    AsnNull assigned;
    assigned = named;
    EXPECT_TRUE(assigned.Equals(&named));
    const AsnNull& self = assigned;
    assigned = self;
    EXPECT_TRUE(assigned.Equals(&named));
    assigned.Reset(&value);
    assigned.Reset(nullptr);
    EXPECT_TRUE(assigned.Equals(&named));
}

TEST(primitive_test, ObjectIdentifiersAreNotTested) {
    EXPECT_TRUE(AsnOid().GetData().Empty());
    EXPECT_TRUE(AsnOid(nullptr).GetData().Empty());
    AsnOid value("not an identifier");
    EXPECT_STREQ(value.GetData().GetChars(), "not an identifier");
    value.SetData("1.2.840");
    EXPECT_STREQ(value.GetData().GetChars(), "1.2.840");
    value.SetData(value.GetData().GetChars());
    EXPECT_STREQ(value.GetData().GetChars(), "1.2.840");
    value.SetData(nullptr);
    EXPECT_TRUE(value.GetData().Empty());
}

TEST(primitive_test, ObjectIdentifiersPrintAtLevelZero) {
    AsnOid value("1.2.840");
    value.SetAsnName("type");
    std::ostringstream expected;
    value.ToOstream(expected, 0);
    std::ostringstream os;
    os << value;
    EXPECT_EQ(os.str(), expected.str());
    EXPECT_NE(os.str().find("1.2.840"), std::string::npos);
}

TEST(primitive_test, AnAnyTakesTagAndContentOfAValue) {
    AsnInteger source(300);
    source.SetAsnName("number");
    source.SetAsnTag(ASN_CONTEXT, ASN_IMPLICIT, 4);
    source.SetAsnState(AsnObject::ASN_OPTIONAL);
    source.SetAsnAnyType(true);
    AsnOctetString any = octets("FF");
    any.SetAsnPresent(true);
    any.SetDerObject(&source);
    EXPECT_EQ(toHex(any.GetData()), "01 2C");
    EXPECT_STREQ(any.GetAsnName().GetChars(), "number");
    EXPECT_EQ(any.GetAsnTag(), source.GetAsnTag());
    EXPECT_EQ(any.GetAsnState(), AsnObject::ASN_OPTIONAL);
    EXPECT_TRUE(any.IsAsnAnyType());
    EXPECT_FALSE(any.IsAsnPresent());
    EXPECT_EQ(encoded(any), "84 02 01 2C");
    EXPECT_EQ(encoded(any), encoded(source));

    AsnInteger back;
    any.GetDerObject(&back);
    EXPECT_EQ(back.GetInteger(), 300);
    EXPECT_EQ(back.GetAsnTagNumber(), 2U);
}

TEST(primitive_test, AnAnyOfAConstructedValueKeepsItsForm) {
    AsnSequenceOf<AsnInteger> source;
    source.AddElement(AsnInteger(1));
    source.AddElement(AsnInteger(2));
    AsnOctetString any;
    any.SetDerObject(&source);
    EXPECT_EQ(encoded(any), "30 06 02 01 01 02 01 02");
    AsnSequenceOf<AsnInteger> back;
    any.GetDerObject(&back);
    EXPECT_TRUE(back == source);
}

TEST(primitive_test, AnAnyIsReadIntoItsOwnParent) {
    AsnSequenceOf<AsnOctetString> source;
    source.AddElement(octets("05"));
    source.AddElement(octets("06 07"));
    AsnOctetString any;
    any.SetDerObject(&source);
    AsnSequenceOf<AsnOctetString> parent;
    parent.AddElement(any);
    parent.Get(0)->GetDerObject(&parent);
    EXPECT_TRUE(parent == source);
}

TEST(primitive_test, AnAnyTakesTheCacheToo) {
    AsnInteger source(1);
    const MiByte content = bytes("00 01");
    source.SetAsnContentByte(&content);
    AsnOctetString any;
    any.SetDerObject(&source);
    EXPECT_EQ(toHex(any.GetData()), "00 01");
    EXPECT_EQ(any.GetAsnByteType(), AsnObject::ASN_CONTENT_BYTE);
    EXPECT_EQ(toHex(*any.GetAsnContentByte()), "00 01");
}

TEST(primitive_test, AnAnyNeedsAValue) {
    AsnOctetString any = octets("01");
    EXPECT_THROW(any.SetDerObject(nullptr), MiInvalidArgumentExp);
    EXPECT_THROW(any.GetDerObject(nullptr), MiInvalidArgumentExp);
    EXPECT_EQ(toHex(any.GetData()), "01");
    AsnOid noText;
    EXPECT_THROW(any.SetDerObject(&noText), AsnDataExp);
    AsnBoolean boolean;
    EXPECT_THROW(octets("").GetDerObject(&boolean), MiInvalidArgumentExp);
}

}  // namespace

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "asn/asn.h"
#include "tests/asn/der_io.h"
#include "tests/support/der.h"
#include "tests/support/hex.h"

namespace {

using der_io::big;
using der_io::composite;
using der_io::encoded;
using der_io::encodedBytes;
using der_io::encodedContent;
using der_io::explicitly;
using der_io::implicit;
using der_io::member;
using der_io::octets;
using der_io::setPresent;
using der_io::toHex;
using support::Bytes;

std::string encodedTag(ASN_TAG_CLASS tagClass, ASN_TAG_MODE mode, ASN_TAG_FORM form, unsigned int number) {
    AsnNull value;
    value.SetAsnTag(tagClass, mode, form, number);
    MiByteBuffer out;
    AsnDerEncode encoder;
    const unsigned int written = encoder.EncodeTag(value.GetAsnTag(), out, 0);
    EXPECT_EQ(written, out.GetLength());
    return toHex(out);
}

std::string encodedLength(unsigned int length) {
    AsnDerEncode encoder;
    return toHex(encoder.EncodeLength(length));
}

std::string encodedOid(const char* text) {
    return encodedContent(AsnOid(text));
}

// UTF-8 of one character, given as four bytes.
std::string encodedCharacter(unsigned int character) {
    const Bytes four{static_cast<std::uint8_t>(character >> 24), static_cast<std::uint8_t>(character >> 16),
                     static_cast<std::uint8_t>(character >> 8), static_cast<std::uint8_t>(character)};
    AsnUTF8String value;
    value.SetData(der_io::toMiByte(four));
    return encodedContent(value);
}

TEST(der_encoder_test, TagsOfOneOctet) {
    EXPECT_EQ(encodedTag(ASN_UNIVERSAL, ASN_NOT_TAGGED, ASN_PRIMITIVE, 0), "00");
    EXPECT_EQ(encodedTag(ASN_UNIVERSAL, ASN_NOT_TAGGED, ASN_CONSTRUCTED, 16), "30");
    EXPECT_EQ(encodedTag(ASN_APPLICATION, ASN_IMPLICIT, ASN_PRIMITIVE, 1), "41");
    EXPECT_EQ(encodedTag(ASN_CONTEXT, ASN_IMPLICIT, ASN_PRIMITIVE, 0), "80");
    EXPECT_EQ(encodedTag(ASN_CONTEXT, ASN_IMPLICIT, ASN_CONSTRUCTED, 0), "A0");
    EXPECT_EQ(encodedTag(ASN_PRIVATE, ASN_IMPLICIT, ASN_PRIMITIVE, 30), "DE");
}

TEST(der_encoder_test, AnExplicitTagIsConstructedWhateverItsForm) {
    EXPECT_EQ(encodedTag(ASN_CONTEXT, ASN_EXPLICIT, ASN_PRIMITIVE, 2), "A2");
    EXPECT_EQ(encodedTag(ASN_CONTEXT, ASN_EXPLICIT, ASN_CONSTRUCTED, 2), "A2");
    EXPECT_EQ(encodedTag(ASN_PRIVATE, ASN_EXPLICIT, ASN_PRIMITIVE, 31), "FF 1F");
}

TEST(der_encoder_test, TagsOfManyOctets) {
    EXPECT_EQ(encodedTag(ASN_CONTEXT, ASN_NOT_TAGGED, ASN_PRIMITIVE, 31), "9F 1F");
    EXPECT_EQ(encodedTag(ASN_CONTEXT, ASN_NOT_TAGGED, ASN_PRIMITIVE, 127), "9F 7F");
    EXPECT_EQ(encodedTag(ASN_CONTEXT, ASN_NOT_TAGGED, ASN_PRIMITIVE, 128), "9F 81 00");
    EXPECT_EQ(encodedTag(ASN_UNIVERSAL, ASN_NOT_TAGGED, ASN_CONSTRUCTED, 16383), "3F FF 7F");
    EXPECT_EQ(encodedTag(ASN_UNIVERSAL, ASN_NOT_TAGGED, ASN_CONSTRUCTED, 16384), "3F 81 80 00");
    EXPECT_EQ(encodedTag(ASN_APPLICATION, ASN_NOT_TAGGED, ASN_PRIMITIVE, 0xFFFFFFFF), "5F 8F FF FF FF 7F");
}

TEST(der_encoder_test, ATagIsWrittenAtItsOffset) {
    AsnDerEncode encoder;
    AsnNull value;
    value.SetAsnTag(ASN_CONTEXT, ASN_IMPLICIT, ASN_PRIMITIVE, 200);
    MiByteBuffer out;
    out.Append(static_cast<unsigned char>(0x11));
    out.Append(static_cast<unsigned char>(0x22));
    EXPECT_EQ(encoder.EncodeTag(value.GetAsnTag(), out, 1), 3U);
    EXPECT_EQ(toHex(out), "11 9F 81 48");
}

TEST(der_encoder_test, LengthsAreTheShortestDefiniteForm) {
    EXPECT_EQ(encodedLength(0), "00");
    EXPECT_EQ(encodedLength(0x7F), "7F");
    EXPECT_EQ(encodedLength(0x80), "81 80");
    EXPECT_EQ(encodedLength(0xFF), "81 FF");
    EXPECT_EQ(encodedLength(0x100), "82 01 00");
    EXPECT_EQ(encodedLength(0xFFFF), "82 FF FF");
    EXPECT_EQ(encodedLength(0x10000), "83 01 00 00");
    EXPECT_EQ(encodedLength(0xFFFFFF), "83 FF FF FF");
    EXPECT_EQ(encodedLength(0x1000000), "84 01 00 00 00");
    EXPECT_EQ(encodedLength(0xFFFFFFFF), "84 FF FF FF FF");
}

TEST(der_encoder_test, ElementsGetTheirLengthInFrontOfAnyContent) {
    for (const std::size_t n : {0U, 1U, 127U, 128U, 255U, 256U, 65535U, 65536U, 16777216U}) {
        const Bytes content(n, 0x5A);
        AsnOctetString value;
        value.SetData(der_io::toMiByte(content));
        EXPECT_TRUE(encodedBytes(value) == der::tlv(0x04, content)) << n;
        AsnContainer container = explicitly(0, "", value);
        EXPECT_TRUE(encodedBytes(container) == der::tagged(0, der::tlv(0x04, content))) << n;
    }
}

TEST(der_encoder_test, Boolean) {
    EXPECT_EQ(encoded(AsnBoolean(true)), "01 01 FF");
    EXPECT_EQ(encoded(AsnBoolean(false)), "01 01 00");
}

TEST(der_encoder_test, Integer) {
    EXPECT_EQ(encoded(AsnInteger(0)), "02 01 00");
    EXPECT_EQ(encoded(AsnInteger(1)), "02 01 01");
    EXPECT_EQ(encoded(AsnInteger(127)), "02 01 7F");
    EXPECT_EQ(encoded(AsnInteger(128)), "02 02 00 80");
    EXPECT_EQ(encoded(AsnInteger(256)), "02 02 01 00");
    EXPECT_EQ(encoded(AsnInteger(-1)), "02 01 FF");
    EXPECT_EQ(encoded(AsnInteger(-128)), "02 01 80");
    EXPECT_EQ(encoded(AsnInteger(-129)), "02 02 FF 7F");
    EXPECT_EQ(encoded(AsnInteger(2147483647)), "02 04 7F FF FF FF");
    EXPECT_EQ(encoded(AsnInteger(-2147483647 - 1)), "02 04 80 00 00 00");
    EXPECT_EQ(encoded(big("00 F0 E0 D0 C0 B0 A0 90 80 70")), "02 0A 00 F0 E0 D0 C0 B0 A0 90 80 70");
    EXPECT_EQ(encoded(big("00 00 80")), "02 02 00 80");
}

TEST(der_encoder_test, Enumerated) {
    EXPECT_EQ(encoded(AsnEnumerated(0)), "0A 01 00");
    EXPECT_EQ(encoded(AsnEnumerated(128)), "0A 02 00 80");
    EXPECT_EQ(encoded(AsnEnumerated(-1)), "0A 01 FF");
    EXPECT_EQ(encoded(AsnEnumerated(-32769)), "0A 03 FF 7F FF");
    EXPECT_EQ(encoded(AsnEnumerated(2147483647)), "0A 04 7F FF FF FF");
}

TEST(der_encoder_test, BitString) {
    EXPECT_EQ(encoded(AsnBitString()), "03 01 00");
    EXPECT_EQ(encoded(AsnBitString(MiBitSet("1"))), "03 02 07 80");
    EXPECT_EQ(encoded(AsnBitString(MiBitSet("101"))), "03 02 05 A0");
    EXPECT_EQ(encoded(AsnBitString(MiBitSet("10000001"))), "03 02 00 81");
    EXPECT_EQ(encoded(AsnBitString(MiBitSet("100000011"))), "03 03 07 81 80");
    EXPECT_EQ(encodedContent(AsnBitString(MiBitSet(static_cast<unsigned int>(9)))), "07 00 00");
}

TEST(der_encoder_test, OctetStringAndNull) {
    EXPECT_EQ(encoded(octets("")), "04 00");
    EXPECT_EQ(encoded(octets("DE AD 00")), "04 03 DE AD 00");
    EXPECT_EQ(encoded(AsnNull()), "05 00");
    EXPECT_EQ(encodedContent(AsnNull()), "");
}

// Arcs and bytes from RFC 8017, X.520 and X.690 8.19; others by openssl asn1parse -genstr OID:...
TEST(der_encoder_test, ObjectIdentifier) {
    EXPECT_EQ(encoded(AsnOid("1.2.840.113549")), "06 06 2A 86 48 86 F7 0D");
    EXPECT_EQ(encoded(AsnOid("1.2.840.113549.1.1.11")), "06 09 2A 86 48 86 F7 0D 01 01 0B");
    EXPECT_EQ(encoded(AsnOid("2.5.4.3")), "06 03 55 04 03");
    EXPECT_EQ(encoded(AsnOid("2.999.3")), "06 03 88 37 03");
    EXPECT_EQ(encodedOid("0.0"), "00");
    EXPECT_EQ(encodedOid("1.39"), "4F");
    EXPECT_EQ(encodedOid("2.100.127.128.16383.16384"), "81 34 7F 81 00 FF 7F 81 80 00");
}

TEST(der_encoder_test, ObjectIdentifierArcsAreCutAt32Bits) {
    EXPECT_EQ(encodedOid("1.2.2147483647"), "2A 87 FF FF FF 7F");
    EXPECT_EQ(encodedOid("1.2.2147483648"), "2A 88 80 80 80 00");
    EXPECT_EQ(encodedOid("1.2.4294967295"), "2A 8F FF FF FF 7F");
    EXPECT_EQ(encodedOid("1.2.4294967296"), "2A 00");
    EXPECT_EQ(encodedOid("1.2.4294967301"), "2A 05");
    // 2^128 + 7
    EXPECT_EQ(encodedOid("1.2.340282366920938463463374607431768211463"), "2A 07");
    EXPECT_EQ(encodedOid("4294967297.2"), "2A");
}

TEST(der_encoder_test, ObjectIdentifierFirstArcsAreNotChecked) {
    EXPECT_EQ(encodedOid("0.40"), "28");
    EXPECT_EQ(encodedOid("1.100"), "81 0C");
    EXPECT_EQ(encodedOid("3.5"), "7D");
    EXPECT_EQ(encodedOid("9.9"), "82 71");
    EXPECT_EQ(encodedOid("107374182.15"), "8F FF FF FF 7F");
    EXPECT_EQ(encodedOid("107374182.40"), "18");  // 2^32 + 24
    EXPECT_EQ(encodedOid("2.4294967295"), "4F");
}

TEST(der_encoder_test, ObjectIdentifierArcsMayHaveASign) {
    EXPECT_EQ(encodedOid("+1.+2.+840"), "2A 86 48");
    EXPECT_EQ(encodedOid("1.2.-0"), "2A 00");
    EXPECT_EQ(encodedOid("1.2.+0"), "2A 00");
}

TEST(der_encoder_test, ObjectIdentifierWithoutItsArcsIsBadData) {
    for (const char* text : {"", "1", "12", "1.", ".", "..", ".1", ".1.2", "1..2", "1.2.", "1.2..3", "1.2.3.", "x.",
                             "-1.2", "1.-2", "1.2.-3", "-4294967296.2", "1.2.-4294967296"}) {
        MiByteBuffer out;
        EXPECT_THROW((void)AsnOid(text).DerEncode(out, 0), AsnDataExp) << text;
        EXPECT_THROW((void)AsnOid(text).DerEncodeContent(out, 0), AsnDataExp) << text;
    }
}

TEST(der_encoder_test, ObjectIdentifierArcsThatAreNoNumbers) {
    for (const char* text : {"x", "x.1", "1.x", "1.2.x", "1.02", "01.2", "1.2.00", "1.2.-00", "1.2. 3", "1.2.3 ",
                             "1.2.3a", "1.2.-3a", "1.2.--3", "1.2.0x10", "1,2.3", "1.2.\xB2"}) {
        MiByteBuffer out;
        if (std::strchr(text, '.') == nullptr)
            EXPECT_THROW((void)AsnOid(text).DerEncode(out, 0), AsnDataExp) << text;
        else
            EXPECT_THROW((void)AsnOid(text).DerEncode(out, 0), MiInvalidArgumentExp) << text;
    }
}

TEST(der_encoder_test, ObjectIdentifierOfManyArcs) {
    std::string text = "1.2";
    Bytes content{0x2A};
    for (int i = 0; i < 20000; ++i) {
        text += ".840";
        content.push_back(0x86);
        content.push_back(0x48);
    }
    EXPECT_TRUE(encodedBytes(AsnOid(text.c_str())) == der::tlv(0x06, content));
}

TEST(der_encoder_test, Times) {
    AsnUTCTime utc;
    utc.SetTime("1410221200Z");
    EXPECT_EQ(encoded(utc), toHex(der_io::toMiByte(der::text(0x17, "141022120000Z"))));
    AsnGeneralizedTime generalized;
    generalized.SetTime("20141022120000.500Z");
    EXPECT_EQ(encoded(generalized), toHex(der_io::toMiByte(der::text(0x18, "20141022120000.5Z"))));
    EXPECT_EQ(encoded(AsnUTCTime()), toHex(der_io::toMiByte(der::text(0x17, "700101000000Z"))));
}

TEST(der_encoder_test, WideStrings) {
    AsnBMPString bmp;
    bmp.SetData(der_io::bytes("00 41 20 AC 00 42"));
    EXPECT_EQ(encoded(bmp), "1E 06 00 41 20 AC 00 42");
    EXPECT_EQ(encoded(AsnBMPString()), "1E 00");
    AsnUniversalString universal;
    universal.SetData(der_io::bytes("00 00 00 41 00 01 F5 11"));
    EXPECT_EQ(encoded(universal), "1C 08 00 00 00 41 00 01 F5 11");
    EXPECT_EQ(encoded(AsnUniversalString()), "1C 00");
}

TEST(der_encoder_test, NarrowStrings) {
    AsnIA5String ia5;
    ia5.SetVisibleString("a@b");
    EXPECT_EQ(encoded(ia5), "16 03 61 40 62");
    AsnTeletexString teletex;
    teletex.SetData(der_io::bytes("C8 75"));
    EXPECT_EQ(encoded(teletex), "14 02 C8 75");
    EXPECT_EQ(encoded(AsnNumericString("1 2")), "12 03 31 20 32");
    EXPECT_EQ(encoded(AsnPrintableString("DE")), "13 02 44 45");
    EXPECT_EQ(encoded(AsnVisibleString("x!")), "1A 02 78 21");
    EXPECT_EQ(encoded(AsnIA5String()), "16 00");
    EXPECT_EQ(encoded(AsnTeletexString()), "14 00");
    EXPECT_EQ(encoded(AsnNumericString()), "12 00");
    EXPECT_EQ(encoded(AsnPrintableString()), "13 00");
    EXPECT_EQ(encoded(AsnVisibleString()), "1A 00");
}

// The bytes of the characters up to U+10FFFF by python3, chr(v).encode(); those above by RFC 2279, the form of that
// time.
TEST(der_encoder_test, Utf8) {
    EXPECT_EQ(encoded(AsnUTF8String()), "0C 00");
    EXPECT_EQ(encodedCharacter(0x00), "00");
    EXPECT_EQ(encodedCharacter(0x41), "41");
    EXPECT_EQ(encodedCharacter(0x7F), "7F");
    EXPECT_EQ(encodedCharacter(0x80), "C2 80");
    EXPECT_EQ(encodedCharacter(0xE9), "C3 A9");
    EXPECT_EQ(encodedCharacter(0x7FF), "DF BF");
    EXPECT_EQ(encodedCharacter(0x800), "E0 A0 80");
    EXPECT_EQ(encodedCharacter(0x20AC), "E2 82 AC");
    EXPECT_EQ(encodedCharacter(0xFFFF), "EF BF BF");
    EXPECT_EQ(encodedCharacter(0x10000), "F0 90 80 80");
    EXPECT_EQ(encodedCharacter(0x1F511), "F0 9F 94 91");
    EXPECT_EQ(encodedCharacter(0x10FFFF), "F4 8F BF BF");
    EXPECT_EQ(encodedCharacter(0x1FFFFF), "F7 BF BF BF");
    EXPECT_EQ(encodedCharacter(0x200000), "F8 88 80 80 80");
    EXPECT_EQ(encodedCharacter(0x3FFFFFF), "FB BF BF BF BF");
    EXPECT_EQ(encodedCharacter(0x4000000), "FC 84 80 80 80 80");
    EXPECT_EQ(encodedCharacter(0x7FFFFFFF), "FD BF BF BF BF BF");
    AsnUTF8String text;
    text.SetData(der_io::bytes("00 00 00 61 00 00 00 E9 00 00 00 62"));
    EXPECT_EQ(encoded(text), "0C 04 61 C3 A9 62");
}

// A character that no setter takes: the lead byte has no more room.
class OutOfRange : public AsnUTF8String {
  public:
    OutOfRange() {
        data = AsnCharacters(2);
        data.Data()[0] = {{0, 0, 0, 0x41}};
        data.Data()[1] = {{0xFF, 0xFF, 0xFF, 0xFF}};
    }
};

TEST(der_encoder_test, Utf8BeyondItsRange) {
    EXPECT_EQ(encodedContent(OutOfRange()), "41 FE 83 BF BF BF BF BF");
}

TEST(der_encoder_test, Sequence) {
    auto value = composite<AsnSequence>(member("a", AsnInteger(5)), member("b", AsnBoolean(true)));
    setPresent(value);
    EXPECT_EQ(encoded(value), "30 06 02 01 05 01 01 FF");
    EXPECT_EQ(encodedContent(value), "02 01 05 01 01 FF");
    EXPECT_EQ(encoded(AsnSequence()), "30 00");
    EXPECT_EQ(encoded(AsnSet()), "31 00");
    value.ClearAllElements();
    EXPECT_EQ(encoded(value), "30 00");
}

TEST(der_encoder_test, AnAbsentMemberIsSkippedUnlessMandatory) {
    auto value = composite<AsnSequence>(member("o", AsnInteger(1), AsnObject::ASN_OPTIONAL),
                                        member("d", AsnInteger(2), AsnObject::ASN_DEFAULT), member("m", AsnInteger(3)));
    value.Find("m")->SetAsnPresent(true);
    EXPECT_EQ(encoded(value), "30 03 02 01 03");
    value.Find("d")->SetAsnPresent(true);  // written, whatever the default is
    EXPECT_EQ(encoded(value), "30 06 02 01 02 02 01 03");
    value.Find("m")->SetAsnPresent(false);
    MiByteBuffer out;
    EXPECT_THROW((void)value.DerEncode(out, 0), AsnEncodeExp);
    EXPECT_THROW((void)value.DerEncodeContent(out, 0), AsnEncodeExp);
}

TEST(der_encoder_test, ASetWithoutItsMandatoryMemberFails) {
    auto value = composite<AsnSet>(member("a", AsnInteger(1)), member("b", AsnBoolean(true), AsnObject::ASN_OPTIONAL));
    MiByteBuffer out;
    EXPECT_THROW((void)value.DerEncode(out, 0), AsnEncodeExp);
    value.Find("a")->SetAsnPresent(true);
    EXPECT_EQ(encoded(value), "31 03 02 01 01");
}

TEST(der_encoder_test, ASetIsWrittenInTheOrderOfItsTags) {
    auto value =
        composite<AsnSet>(implicit(1, member("one", AsnInteger(1))), implicit(0, member("zero", AsnInteger(0))));
    setPresent(value);
    EXPECT_EQ(encoded(value), "31 06 80 01 00 81 01 01");
    EXPECT_EQ(value.Get(0U)->GetAsnTagNumber(), 1U);
    EXPECT_EQ(value.Get(1U)->GetAsnTagNumber(), 0U);
}

// The exchange looks at the class first and at the number only then, and never moves a member before one of a lower
// class: what follows is traced by hand.
TEST(der_encoder_test, ASetIsOrderedByExchanges) {
    AsnInteger application = member("application", AsnInteger(1));
    application.SetAsnTag(ASN_APPLICATION, ASN_IMPLICIT, 9);
    auto mixed = composite<AsnSet>(implicit(1, member("context", AsnInteger(2))), application,
                                   member("universal", AsnInteger(3)));
    setPresent(mixed);
    // [1], APPLICATION 9, INTEGER 2: no pair has both the lower class and the lower number in the wrong place but the
    // second and third.
    EXPECT_EQ(encoded(mixed), "31 09 81 01 02 02 01 03 49 01 01");

    auto same = composite<AsnSet>(implicit(3, member("c", AsnInteger(3))), implicit(1, member("a", AsnInteger(1))),
                                  implicit(2, member("b", AsnInteger(2))), implicit(1, member("again", AsnInteger(4))));
    setPresent(same);
    // By exchanges: 3 1 2 1' -> 1 3 2 1' -> 1 2 3 1' -> 1 1' 3 2 -> 1 1' 2 3
    EXPECT_EQ(encoded(same), "31 0C 81 01 01 81 01 04 82 01 02 83 01 03");

    AsnInteger high = member("high", AsnInteger(7));
    high.SetAsnTag(ASN_CONTEXT, ASN_IMPLICIT, 0x80000000U);  // numbers compare unsigned
    auto numbers = composite<AsnSet>(high, implicit(5, member("low", AsnInteger(5))));
    setPresent(numbers);
    EXPECT_EQ(encoded(numbers), "31 0B 85 01 05 9F 88 80 80 80 00 01 07");
}

// A case where exchanging and a stable sort part: equal tags change places on the way.
TEST(der_encoder_test, EqualTagsOfASetMayChangePlaces) {
    auto value =
        composite<AsnSet>(implicit(2, member("first", AsnInteger(1))), implicit(2, member("second", AsnInteger(2))),
                          implicit(1, member("last", AsnInteger(3))));
    setPresent(value);
    // 2 2' 1 -> 1 2' 2
    EXPECT_EQ(encoded(value), "31 09 81 01 03 82 01 02 82 01 01");
}

TEST(der_encoder_test, AChoiceIsWrittenUnderTheTagOfItsAlternative) {
    auto value = composite<AsnChoice>(implicit(0, member("zero", AsnInteger())), member("octets", AsnOctetString()));
    MiByteBuffer out;
    EXPECT_THROW((void)value.DerEncode(out, 0), AsnEncodeExp);
    EXPECT_THROW((void)value.DerEncodeContent(out, 0), AsnEncodeExp);
    const AsnInteger five(5);
    value.Set("zero", &five);
    value.SetAsnTag(ASN_CONTEXT, ASN_EXPLICIT, 7);  // of no effect
    EXPECT_EQ(encoded(value), "80 01 05");
    EXPECT_EQ(encodedContent(value), "05");
    const AsnOctetString data = octets("01 02");
    value.Set("octets", &data);
    EXPECT_EQ(encoded(value), "04 02 01 02");
}

TEST(der_encoder_test, AChoiceInAChoiceWritesATagOfZero) {
    auto inner = member("inner", composite<AsnChoice>(member("number", AsnInteger())));
    const AsnInteger five(5);
    inner.Set("number", &five);
    auto outer = composite<AsnChoice>(inner);
    outer.Set("inner", &inner);
    EXPECT_EQ(encoded(outer), "00 01 05");
}

TEST(der_encoder_test, AContainerWrapsTheWholeInnerElement) {
    EXPECT_EQ(encoded(explicitly(0, "version", AsnInteger(2))), "A0 03 02 01 02");
    EXPECT_EQ(encodedContent(explicitly(0, "version", AsnInteger(2))), "02 01 02");
    auto choice = composite<AsnChoice>(member("number", AsnInteger()));
    const AsnInteger five(5);
    choice.Set("number", &five);
    EXPECT_EQ(encoded(explicitly(1, "", choice)), "A1 03 02 01 05");
}

TEST(der_encoder_test, AContainerWithoutAValueThrows) {
    AsnContainer empty;
    MiByteBuffer out;
    EXPECT_THROW((void)empty.DerEncode(out, 0), AsnDataExp);
    EXPECT_THROW((void)empty.DerEncodeContent(out, 0), AsnDataExp);
}

TEST(der_encoder_test, WholeBytesAreWrittenAsTheyStand) {
    AsnInteger value(5);
    const MiByte image = der_io::bytes("FF FF");
    value.SetAsnByte(&image);
    EXPECT_EQ(encoded(value), "FF FF");
    value.SetData(6);
    EXPECT_EQ(encoded(value), "FF FF");
    value.OffByte();
    EXPECT_EQ(encoded(value), "02 01 06");
    value.OnByte();
    EXPECT_EQ(encoded(value), "FF FF");
    value.OnContentByte();
    EXPECT_EQ(encoded(value), "02 02 FF FF");
    EXPECT_EQ(encodedContent(value), "FF FF");
    value.ClearByte();
    EXPECT_EQ(encoded(value), "02 01 06");
}

TEST(der_encoder_test, AnEmptyImageWritesNothing) {
    AsnInteger value(5);
    value.OnByte();
    EXPECT_EQ(encoded(value), "");
    EXPECT_EQ(encodedContent(value), "05");  // the mode of whole elements does not touch the content alone
    AsnInteger content(5);
    content.OnContentByte();
    EXPECT_EQ(encoded(content), "02 00");
    EXPECT_EQ(encodedContent(content), "");
}

template <class T>
class der_encoder_test_cache : public testing::Test {};
using EveryType =
    testing::Types<AsnContainer, AsnChoice, AsnSet, AsnSequence, AsnTeletexString, AsnVisibleString, AsnPrintableString,
                   AsnNumericString, AsnUTF8String, AsnUniversalString, AsnIA5String, AsnBMPString, AsnUTCTime,
                   AsnGeneralizedTime, AsnOid, AsnEnumerated, AsnBitString, AsnInteger, AsnOctetString, AsnBoolean,
                   AsnInstanceOf, AsnSetOf<AsnInteger>, AsnSequenceOf<AsnInteger>>;
TYPED_TEST_SUITE(der_encoder_test_cache, EveryType, );

TYPED_TEST(der_encoder_test_cache, BothModesGoBeforeTheValue) {
    TypeParam value;  // of which some could not be encoded as they are
    const MiByte image = der_io::bytes("AA BB CC");
    value.SetAsnByte(&image);
    EXPECT_EQ(encoded(value), "AA BB CC");
    value.SetAsnContentByte(&image);
    EXPECT_EQ(encodedContent(value), "AA BB CC");
    value.SetAsnByte(nullptr);
    EXPECT_EQ(encoded(value), "");
    value.SetAsnContentByte(nullptr);
    EXPECT_EQ(encodedContent(value), "");
}

TEST(der_encoder_test, NullHasNoContentInAnyMode) {
    AsnNull value;
    const MiByte image = der_io::bytes("AA BB");
    value.SetAsnByte(&image);
    EXPECT_EQ(encoded(value), "AA BB");
    value.SetAsnContentByte(&image);
    EXPECT_EQ(encoded(value), "05 00");  // an element of it has no content step
    EXPECT_EQ(encodedContent(value), "AA BB");
}

TEST(der_encoder_test, ContentBytesOfAChoiceStandUnderTheTagOfItsAlternative) {
    auto value = composite<AsnChoice>(implicit(0, member("zero", AsnInteger())));
    const MiByte image = der_io::bytes("AA BB");
    value.SetAsnContentByte(&image);
    MiByteBuffer out;
    EXPECT_THROW((void)value.DerEncode(out, 0), AsnEncodeExp);
    const AsnInteger five(5);
    value.Set("zero", &five);
    EXPECT_EQ(encoded(value), "80 02 AA BB");
}

TEST(der_encoder_test, WritingStartsAtTheOffset) {
    MiByteBuffer out;
    out.Append("\x01\x02\x03\x04\x05", 5);
    EXPECT_EQ(AsnInteger(5).DerEncode(out, 10), 3U);
    EXPECT_EQ(toHex(out), "01 02 03 04 05 00 00 00 00 00 02 01 05");
    EXPECT_EQ(AsnBoolean(true).DerEncode(out, 2), 3U);
    EXPECT_EQ(toHex(out), "01 02 01 01 FF");
    EXPECT_EQ(AsnBoolean(true).DerEncodeContent(out, 1), 1U);
    EXPECT_EQ(toHex(out), "01 FF");
    EXPECT_EQ(AsnNull().DerEncodeContent(out, 1), 0U);
    EXPECT_EQ(toHex(out), "01");
    EXPECT_EQ(AsnOctetString().DerEncodeContent(out, 3), 0U);
    EXPECT_EQ(toHex(out), "01 00 00");
}

TEST(der_encoder_test, EncodingChangesNoValue) {
    auto value =
        composite<AsnSet>(implicit(1, member("one", AsnInteger(1))), implicit(0, member("zero", AsnInteger(0))));
    setPresent(value);
    const std::string first = encoded(value);
    EXPECT_EQ(encoded(value), first);
    EXPECT_EQ(value.Find(0U)->GetAsnName().CompareTo("one"), 0);
}

TEST(der_encoder_test, DeepNesting) {
    Bytes expected = der::integer(5);
    AsnContainer value = explicitly(0, "", AsnInteger(5));
    for (int depth = 0; depth < 200; ++depth) {
        expected = der::tagged(0, expected);
        value = explicitly(0, "", value);
    }
    EXPECT_TRUE(encodedBytes(value) == der::tagged(0, expected));
}

TEST(der_encoder_test, AHundredThousandItems) {
    AsnSequenceOf<AsnInteger> list;
    AsnSetOf<AsnInteger> set;
    for (int i = 0; i < 100000; ++i) {
        list.AddElement(AsnInteger(i % 100));
        set.AddElement(AsnInteger(99 - i % 100));
    }
    Bytes content;
    Bytes sorted;
    for (int i = 0; i < 100000; ++i) {
        content.insert(content.end(), {0x02, 0x01, static_cast<std::uint8_t>(i % 100)});
        sorted.insert(sorted.end(), {0x02, 0x01, static_cast<std::uint8_t>(i / 1000)});
    }
    EXPECT_TRUE(encodedBytes(list) == der::tlv(0x30, content));
    EXPECT_TRUE(encodedBytes(set) == der::tlv(0x31, sorted));
}

TEST(der_encoder_test, TheVisitorHasNoData) {
    EXPECT_EQ(sizeof(AsnEncode), sizeof(MiObject));
    EXPECT_EQ(sizeof(AsnDerEncode), sizeof(MiObject));
    AsnDerEncode encoder;
    AsnDerEncode copy(encoder);
    EXPECT_EQ(&(copy = encoder), &copy);
}

}  // namespace

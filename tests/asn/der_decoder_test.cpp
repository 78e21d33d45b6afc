#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "asn/asn.h"
#include "tests/asn/der_io.h"
#include "tests/support/der.h"
#include "tests/support/hex.h"

namespace {

using der_io::bytes;
using der_io::composite;
using der_io::decode;
using der_io::decodeContent;
using der_io::encoded;
using der_io::explicitly;
using der_io::implicit;
using der_io::member;
using der_io::toHex;
using support::Bytes;

struct Tag {
    unsigned int read;
    int tagClass;
    int form;
    unsigned int number;
};

Tag decodeTag(std::string_view hexText, unsigned int offset = 0) {
    AsnDerDecode decoder;
    AsnTag tag;
    tag.tagMode = ASN_EXPLICIT;
    const unsigned int read = decoder.DecodeTag(tag, bytes(hexText), offset);
    EXPECT_EQ(tag.tagMode, ASN_EXPLICIT);  // not written
    return {read, tag.tagClass, tag.tagForm, tag.tagNumber};
}

struct Length {
    unsigned int read;
    unsigned int length;
};

Length decodeLength(std::string_view hexText, unsigned int offset = 0) {
    AsnDerDecode decoder;
    unsigned int length = 0xDEAD;
    const unsigned int read = decoder.DecodeLength(length, bytes(hexText), offset);
    return {read, length};
}

std::string oidText(std::string_view content) {
    AsnOid value;
    EXPECT_EQ(decodeContent(value, content), support::hex(content).size());
    return value.GetData().Empty() ? "" : value.GetData().GetChars();
}

// The characters of a UTF8String of that content, four bytes each.
std::string characters(std::string_view content) {
    AsnUTF8String value;
    EXPECT_EQ(decodeContent(value, content), support::hex(content).size());
    return toHex(value.GetByte());
}

TEST(der_decoder_test, TagsOfOneOctet) {
    const struct {
        const char* input;
        int tagClass;
        int form;
        unsigned int number;
    } rows[] = {{"02", 0x00, 0x00, 2}, {"30", 0x00, 0x20, 16}, {"80", 0x80, 0x00, 0},
                {"A3", 0x80, 0x20, 3}, {"41", 0x40, 0x00, 1},  {"7E", 0x40, 0x20, 30},
                {"C5", 0xC0, 0x00, 5}, {"FE", 0xC0, 0x20, 30}, {"00", 0x00, 0x00, 0}};
    for (const auto& row : rows) {
        const Tag tag = decodeTag(row.input);
        EXPECT_EQ(tag.read, 1U) << row.input;
        EXPECT_EQ(tag.tagClass, row.tagClass) << row.input;
        EXPECT_EQ(tag.form, row.form) << row.input;
        EXPECT_EQ(tag.number, row.number) << row.input;
    }
}

TEST(der_decoder_test, TagsOfManyOctets) {
    const struct {
        const char* input;
        unsigned int read;
        unsigned int number;
    } rows[] = {
        {"1F 00", 2, 0},
        {"1F 05", 2, 5},  // not the shortest form
        {"1F 7F", 2, 127},
        {"9F 81 00", 3, 128},
        {"1F 80 80 01", 4, 1},
        {"5F FF FF 7F", 4, 0x1FFFFF},
        {"1F 81 80 80 00", 5, 0x200000},
        {"1F 81 80 80 80 00", 6, 0x10000000},
        {"1F 8F FF FF FF 7F", 6, 0xFFFFFFFF},
        {"1F 90 80 80 80 00", 6, 0},  // the number wraps
        {"1F FF FF FF FF 7F", 6, 0xFFFFFFFF},
    };
    for (const auto& row : rows) {
        const Tag tag = decodeTag(row.input);
        EXPECT_EQ(tag.read, row.read) << row.input;
        EXPECT_EQ(tag.number, row.number) << row.input;
    }
    EXPECT_EQ(decodeTag("30 03 BF 1F 05", 2).read, 2U);
}

TEST(der_decoder_test, TagsThatAreTooLongOrCut) {
    for (const char* input : {"1F", "1F 81", "1F 81 80 80 80", "9F 81 80 80", "1F 81 80 80 80 80 00",
                              "1F 81 80 80 80 80", "1F FF FF FF FF FF"})
        EXPECT_THROW((void)decodeTag(input), MiRangeExp) << input;
    EXPECT_THROW((void)decodeTag(""), MiInvalidArgumentExp);
    EXPECT_THROW((void)decodeTag("", 1), MiInvalidArgumentExp);
    EXPECT_THROW((void)decodeTag("02 01", 2), MiOutOfRangeExp);
    EXPECT_THROW((void)decodeTag("02 01", 0xFFFFFFFF), MiOutOfRangeExp);
}

TEST(der_decoder_test, Lengths) {
    const struct {
        const char* input;
        unsigned int read;
        unsigned int length;
    } rows[] = {
        {"00", 1, 0},
        {"7F", 1, 127},
        {"80", 1, 0},  // the indefinite form reads as empty
        {"81 05", 2, 5},
        {"81 80", 2, 128},
        {"82 00 05", 3, 5},
        {"83 01 00 00", 4, 65536},
        {"84 00 00 00 05", 5, 5},
        {"84 FF FF FF FF", 5, 0xFFFFFFFF},
    };
    for (const auto& row : rows) {
        const Length length = decodeLength(row.input);
        EXPECT_EQ(length.read, row.read) << row.input;
        EXPECT_EQ(length.length, row.length) << row.input;
    }
    EXPECT_EQ(decodeLength("04 81 05", 1).length, 5U);
}

TEST(der_decoder_test, LengthsThatAreTooLongOrCut) {
    for (const char* input : {"81", "82 05", "84 00 00 00", "85 00 00 00 00 05", "FF", "FF 00", "85"})
        EXPECT_THROW((void)decodeLength(input), MiRangeExp) << input;
    EXPECT_THROW((void)decodeLength(""), MiInvalidArgumentExp);
    EXPECT_THROW((void)decodeLength("05", 1), MiOutOfRangeExp);
    EXPECT_THROW((void)decodeLength("05", 0xFFFFFFFF), MiOutOfRangeExp);
}

TEST(der_decoder_test, Boolean) {
    AsnBoolean value;
    EXPECT_EQ(decode(value, "01 01 FF"), 3U);
    EXPECT_TRUE(value.GetData());
    EXPECT_EQ(decode(value, "01 01 00"), 3U);
    EXPECT_FALSE(value.GetData());
    EXPECT_EQ(decode(value, "01 01 01"), 3U);  // any byte but zero
    EXPECT_TRUE(value.GetData());
    EXPECT_EQ(decode(value, "01 02 00 FF"), 3U);  // one byte counts, and is reported
    EXPECT_FALSE(value.GetData());
    EXPECT_EQ(decodeContent(value, "01 00 00"), 1U);
    EXPECT_TRUE(value.GetData());
}

TEST(der_decoder_test, Integer) {
    AsnInteger value;
    EXPECT_EQ(decode(value, "02 01 00"), 3U);
    EXPECT_EQ(value.GetInteger(), 0);
    EXPECT_EQ(decode(value, "02 02 00 80"), 4U);
    EXPECT_EQ(value.GetInteger(), 128);
    EXPECT_EQ(decode(value, "02 01 80"), 3U);
    EXPECT_EQ(value.GetInteger(), -128);
    EXPECT_EQ(decode(value, "02 04 00 00 00 05"), 6U);  // not the shortest form
    EXPECT_EQ(value.GetInteger(), 5);
    EXPECT_EQ(encoded(value), "02 01 05");
    EXPECT_EQ(decode(value, "02 09 00 F1 E2 D3 C4 B5 A6 97 88"), 11U);
    EXPECT_EQ(toHex(value.GetBigInteger().GetByte()), "00 F1 E2 D3 C4 B5 A6 97 88");
}

TEST(der_decoder_test, EnumeratedIsCutTo32Bits) {
    AsnEnumerated value;
    EXPECT_EQ(decode(value, "0A 01 05"), 3U);
    EXPECT_EQ(value.GetData(), 5);
    EXPECT_EQ(decode(value, "0A 01 FF"), 3U);
    EXPECT_EQ(value.GetData(), -1);
    EXPECT_EQ(decode(value, "0A 06 01 00 00 00 00 07"), 8U);
    EXPECT_EQ(value.GetData(), 7);
}

TEST(der_decoder_test, BitString) {
    AsnBitString value;
    EXPECT_EQ(decode(value, "03 02 05 A0"), 4U);
    EXPECT_EQ(value.GetData().GetBitLength(), 3U);
    EXPECT_EQ(value.GetData().GetBitsString().CompareTo("101"), 0);
    EXPECT_EQ(decode(value, "03 01 00"), 3U);
    EXPECT_TRUE(value.GetData().Empty());
    EXPECT_EQ(decode(value, "03 03 00 12 34"), 5U);
    EXPECT_EQ(value.GetData().GetBitLength(), 16U);
    EXPECT_EQ(toHex(value.GetData().GetByte()), "12 34");
}

TEST(der_decoder_test, PaddingOfABitStringGoesOutAsItCameIn) {
    AsnBitString value;
    decode(value, "03 02 04 AF");
    EXPECT_EQ(encoded(value), "03 02 04 AF");
}

TEST(der_decoder_test, TheUnusedCountOfABitStringMayBeAnyThatTheBitsCover) {
    AsnBitString value;
    EXPECT_EQ(decode(value, "03 03 08 FF FF"), 5U);
    EXPECT_EQ(encoded(value), "03 02 00 FF");
    EXPECT_EQ(decode(value, "03 03 10 FF FF"), 5U);
    EXPECT_TRUE(value.GetData().Empty());
    EXPECT_THROW(decode(value, "03 03 11 FF FF"), MiOutOfRangeExp);
    EXPECT_THROW(decode(value, "03 01 01"), MiOutOfRangeExp);
    EXPECT_THROW(decode(value, "03 01 FF"), MiOutOfRangeExp);
}

TEST(der_decoder_test, OctetString) {
    AsnOctetString value;
    EXPECT_EQ(decode(value, "04 03 00 01 02"), 5U);
    EXPECT_EQ(toHex(value.GetData()), "00 01 02");
    EXPECT_EQ(decode(value, "04 00"), 2U);
    EXPECT_TRUE(value.GetData().Empty());
}

TEST(der_decoder_test, Null) {
    AsnNull value;
    EXPECT_EQ(decode(value, "05 00"), 2U);
    EXPECT_EQ(decode(value, "05 81 00"), 3U);
    EXPECT_THROW(decode(value, "05 01 00"), MiInvalidArgumentExp);
    EXPECT_THROW(decode(value, "05 01"), MiInvalidArgumentExp);
    EXPECT_EQ(value.DerDecodeContent(bytes("05 00"), 2, 0), 0U);
    EXPECT_THROW(value.DerDecodeContent(bytes("05 00"), 1, 1), MiInvalidArgumentExp);
    EXPECT_THROW(value.DerDecodeContent(bytes("05 00"), 1, 2), MiOutOfRangeExp);
    EXPECT_THROW(value.DerDecodeContent(MiByte(), 0, 0), MiInvalidArgumentExp);
}

TEST(der_decoder_test, ObjectIdentifier) {
    EXPECT_EQ(oidText("2A 86 48 86 F7 0D"), "1.2.840.113549");
    EXPECT_EQ(oidText("2A 86 48 86 F7 0D 01 01 0B"), "1.2.840.113549.1.1.11");
    EXPECT_EQ(oidText("55 04 03"), "2.5.4.3");
    EXPECT_EQ(oidText("88 37 03"), "2.999.3");
    EXPECT_EQ(oidText("00"), "0.0");
    EXPECT_EQ(oidText("27"), "0.39");
    EXPECT_EQ(oidText("28"), "1.0");
    EXPECT_EQ(oidText("4F"), "1.39");
    EXPECT_EQ(oidText("50"), "2.0");
    EXPECT_EQ(oidText("7F"), "2.47");
    EXPECT_EQ(oidText("2A 8F FF FF FF 7F"), "1.2.4294967295");
    EXPECT_EQ(oidText("2A 80 01"), "1.2.1");           // a leading group of zero
    EXPECT_EQ(oidText("2A 90 80 80 80 05"), "1.2.5");  // cut to 32 bits
    EXPECT_EQ(oidText("8F FF FF FF 7F"), "2.4294967215");
}

TEST(der_decoder_test, AnUnfinishedArcIsDropped) {
    EXPECT_EQ(oidText("2A 86"), "1.2");
    EXPECT_EQ(oidText("2A 86 48 86 F7"), "1.2.840");
    EXPECT_EQ(oidText("86"), "");
    EXPECT_EQ(oidText("FF FF FF FF FF FF"), "");
}

TEST(der_decoder_test, LongObjectIdentifiers) {
    Bytes content{0x2A};
    std::string text = "1.2";
    for (int i = 0; i < 5000; ++i) {
        content.insert(content.end(), {0x8F, 0xFF, 0xFF, 0xFF, 0x7F, 0x7F, 0x00});
        text += ".4294967295.127.0";
    }
    AsnOid value;
    EXPECT_EQ(decode(value, der::tlv(0x06, content)), der::tlv(0x06, content).size());
    EXPECT_EQ(value.GetData().GetChars(), text);
}

TEST(der_decoder_test, Times) {
    AsnUTCTime utc;
    EXPECT_EQ(decode(utc, der::text(0x17, "1410221200Z")), 13U);
    EXPECT_EQ(utc.GetTimeString().CompareTo("141022120000Z"), 0);
    AsnGeneralizedTime generalized;
    EXPECT_EQ(decode(generalized, der::text(0x18, "20141022120000.500Z")), 21U);
    EXPECT_EQ(generalized.GetTimeString().CompareTo("20141022120000.5Z"), 0);
    for (const char* text : {"x", "141022120", "14102212000x", "141322120000Z", "141022120000+0860", "999999999999Z"})
        EXPECT_THROW(decode(utc, der::text(0x17, text)), AsnDecodeExp) << text;
    for (const char* text : {"x", "2014102212000", "20141022120000x", "20141322120000Z", "20141022120000+08"})
        EXPECT_THROW(decode(generalized, der::text(0x18, text)), AsnDecodeExp) << text;
}

TEST(der_decoder_test, StringsOutsideTheirAlphabet) {
    AsnPrintableString printable;
    EXPECT_EQ(decode(printable, der::text(0x13, "a@b")), 5U);  // SetData(const char*) rejects it
    EXPECT_EQ(printable.GetData().CompareTo("a@b"), 0);
    EXPECT_THROW(printable.SetData("a@b"), MiInvalidArgumentExp);
    EXPECT_EQ(decode(printable, der::text(0x13, "a`b")), 5U);
    EXPECT_THROW(decode(printable, der::text(0x13, "a'b")), AsnDecodeExp);
    EXPECT_THROW(decode(printable, der::text(0x13, "a*b")), AsnDecodeExp);
    AsnNumericString numeric;
    EXPECT_EQ(decode(numeric, der::text(0x12, "1 2")), 5U);
    EXPECT_THROW(decode(numeric, der::text(0x12, "1x")), AsnDecodeExp);
    AsnVisibleString visible;
    EXPECT_EQ(decode(visible, der::text(0x1A, "a*b~")), 6U);
    EXPECT_THROW(decode(visible, der::text(0x1A, "a\x7F")), AsnDecodeExp);
    EXPECT_THROW(decode(visible, der::text(0x1A, "a\x80")), AsnDecodeExp);
    EXPECT_THROW(decode(visible, der::text(0x1A, "a\n")), AsnDecodeExp);
}

TEST(der_decoder_test, StringsThatTakeAnyByte) {
    AsnIA5String ia5;
    EXPECT_EQ(decode(ia5, "16 03 00 80 FF"), 5U);
    EXPECT_EQ(toHex(ia5.GetByte()), "00 80 FF");
    AsnTeletexString teletex;
    EXPECT_EQ(decode(teletex, "14 03 00 80 FF"), 5U);
    EXPECT_EQ(toHex(teletex.GetData()), "00 80 FF");
}

TEST(der_decoder_test, WideStrings) {
    AsnBMPString bmp;
    EXPECT_EQ(decode(bmp, "1E 04 00 41 20 AC"), 6U);
    EXPECT_EQ(toHex(bmp.GetByte()), "00 00 00 41 00 00 20 AC");
    EXPECT_THROW(decode(bmp, "1E 03 00 41 20"), AsnDecodeExp);
    AsnUniversalString universal;
    EXPECT_EQ(decode(universal, "1C 08 00 00 00 41 00 01 F5 11"), 10U);
    EXPECT_EQ(toHex(universal.GetByte()), "00 00 00 41 00 01 F5 11");
    EXPECT_THROW(decode(universal, "1C 03 00 00 41"), AsnDecodeExp);
    EXPECT_THROW(decode(universal, "1C 04 80 00 00 41"), AsnDecodeExp);
}

// The alphabet test of a UniversalString walks from the offset in the whole input to the length of the content, so
// further in nothing is looked at.
TEST(der_decoder_test, AUniversalStringFurtherInIsNotLookedAt) {
    AsnUniversalString value;
    EXPECT_EQ(value.DerDecode(bytes("05 00 05 00 1C 04 80 00 00 41"), 4), 6U);
    EXPECT_EQ(toHex(value.GetByte()), "80 00 00 41");
    EXPECT_THROW(value.DerDecode(bytes("1C 08 00 00 00 41 80 00 00 41"), 0), AsnDecodeExp);
    EXPECT_EQ(value.DerDecode(bytes("05 00 05 00 1C 08 00 00 00 41 80 00 00 41"), 4), 10U);
}

TEST(der_decoder_test, EmptyStrings) {
    AsnPrintableString printable("x");
    EXPECT_EQ(decode(printable, "13 00"), 2U);
    EXPECT_TRUE(printable.GetData().Empty());
    AsnUTF8String utf8;
    utf8.SetVisibleString("x");
    EXPECT_EQ(decode(utf8, "0C 00"), 2U);
    EXPECT_EQ(utf8.GetDataLength(), 0U);
    utf8.SetVisibleString("x");
    EXPECT_EQ(utf8.DerDecodeContent(bytes("00"), 0, 0), 0U);
    EXPECT_EQ(utf8.GetDataLength(), 0U);
    AsnBMPString bmp;
    bmp.SetVisibleString("x");
    EXPECT_EQ(bmp.DerDecodeContent(bytes("00"), 0, 0), 0U);
    EXPECT_EQ(bmp.GetDataLength(), 0U);
}

TEST(der_decoder_test, Utf8) {
    EXPECT_EQ(characters("61 62"), "00 00 00 61 00 00 00 62");
    EXPECT_EQ(characters("C3 A9"), "00 00 00 E9");
    EXPECT_EQ(characters("E2 82 AC F0 9F 94 91"), "00 00 20 AC 00 01 F5 11");
    EXPECT_EQ(characters("FC 84 80 80 80 80"), "04 00 00 00");
    EXPECT_EQ(characters("00"), "00 00 00 00");
}

TEST(der_decoder_test, AnAsciiCharacterOvertakesAWaitingOne) {
    EXPECT_EQ(characters("C3 A9 61"), "00 00 00 61 00 00 00 E9");
    EXPECT_EQ(characters("C3 A9 61 62 C3 A8"), "00 00 00 61 00 00 00 62 00 00 00 E9 00 00 00 E8");
    EXPECT_EQ(characters("C3 61 A9"), "00 00 00 61 00 00 00 E9");
}

TEST(der_decoder_test, OddUtf8) {
    EXPECT_EQ(characters("C1 81"), "00 00 00 41");     // an overlong form
    EXPECT_EQ(characters("E0 80 AF"), "00 00 00 2F");  // another
    EXPECT_EQ(characters("C0 80 61"), "00 00 00 61");  // a character of zero is none
    EXPECT_EQ(characters("C0 80"), "");
    EXPECT_EQ(characters("A9"), "00 00 00 29");        // without a lead byte
    EXPECT_EQ(characters("C3"), "00 00 00 03");        // without what follows it
    EXPECT_EQ(characters("C3 A9 A9"), "00 00 3A 69");  // with too much
    EXPECT_EQ(characters("C3 C3 A9"), "00 00 00 03 00 00 00 E9");
    EXPECT_EQ(characters("ED A0 80"), "00 00 D8 00");  // half a surrogate pair
}

TEST(der_decoder_test, Utf8ThatIsRefused) {
    AsnUTF8String value;
    for (const char* input : {"0C 01 FE", "0C 01 FF", "0C 03 61 FF 61", "0C 03 C3 A9 FE"})
        EXPECT_THROW(decode(value, input), AsnDecodeExp) << input;
    // 3F of six bits each: the top byte of the character passes 7F.
    EXPECT_THROW(decode(value, "0C 06 BF BF BF BF BF BF"), AsnDecodeExp);
    EXPECT_EQ(decode(value, "0C 06 FD BF BF BF BF BF"), 8U);
}

TEST(der_decoder_test, TheValueTakesTheTagOfTheInput) {
    AsnInteger value;
    value.SetAsnTag(ASN_CONTEXT, ASN_IMPLICIT, 3);
    EXPECT_EQ(decode(value, "64 01 05"), 3U);
    EXPECT_EQ(value.GetAsnTagClass(), ASN_APPLICATION);
    EXPECT_EQ(value.GetAsnTagMode(), ASN_NOT_TAGGED);
    EXPECT_EQ(value.GetAsnTagForm(), ASN_CONSTRUCTED);
    EXPECT_EQ(value.GetAsnTagNumber(), 4U);
    EXPECT_EQ(encoded(value), "64 01 05");
}

TEST(der_decoder_test, AListKeepsItsOwnTag) {
    AsnSequenceOf<AsnInteger> list;
    EXPECT_EQ(decode(list, "A7 03 02 01 05"), 5U);
    EXPECT_EQ(encoded(list), "30 03 02 01 05");
    AsnSetOf<AsnInteger> set;
    EXPECT_EQ(decode(set, "30 06 02 01 05 02 01 04"), 8U);
    EXPECT_EQ(encoded(set), "31 06 02 01 04 02 01 05");
}

TEST(der_decoder_test, DecodingStartsAtTheOffset) {
    AsnInteger value;
    EXPECT_EQ(value.DerDecode(bytes("FF FF 02 01 05 FF"), 2), 3U);
    EXPECT_EQ(value.GetInteger(), 5);
    EXPECT_EQ(value.DerDecodeContent(bytes("FF FF 02 01 05 FF"), 4, 1), 1U);
    EXPECT_EQ(value.GetInteger(), 5);
    auto sequence = composite<AsnSequence>(member("a", AsnInteger()), member("b", AsnInteger()));
    EXPECT_EQ(sequence.DerDecode(bytes("00 00 30 06 02 01 05 02 01 06"), 2), 8U);
    EXPECT_EQ(sequence.DerDecodeContent(bytes("00 02 01 05 02 01 07"), 1, 6), 6U);
    EXPECT_EQ(encoded(*sequence.Get("b")), "02 01 07");
}

TEST(der_decoder_test, Sequence) {
    auto value = composite<AsnSequence>(member("a", AsnInteger()), member("b", AsnBoolean()));
    EXPECT_EQ(decode(value, "30 06 02 01 05 01 01 FF"), 8U);
    EXPECT_TRUE(value.Get("a")->IsAsnPresent());
    EXPECT_TRUE(value.Get("b")->IsAsnPresent());
    EXPECT_EQ(encoded(value), "30 06 02 01 05 01 01 FF");
    EXPECT_EQ(value.Get("a")->GetAsnName().CompareTo("a"), 0);
    EXPECT_EQ(value.Get("a")->GetAsnState(), AsnObject::ASN_MANDATORY);
}

TEST(der_decoder_test, TheTagOfAMandatoryMemberIsNotCompared) {
    auto value = composite<AsnSequence>(member("a", AsnInteger()));
    EXPECT_EQ(decode(value, "30 03 04 01 05"), 5U);
    EXPECT_EQ(value.Get("a")->GetAsnTagNumber(), 4U);
    EXPECT_EQ(encoded(value), "30 03 04 01 05");
}

TEST(der_decoder_test, AnEmptySequenceFitsAnySchema) {
    auto value = composite<AsnSequence>(member("a", AsnInteger()), member("b", AsnInteger(), AsnObject::ASN_OPTIONAL));
    EXPECT_EQ(decode(value, "30 03 02 01 05"), 5U);
    EXPECT_EQ(decode(value, "30 00"), 2U);
    EXPECT_FALSE(value.Get("a")->IsAsnPresent());
    EXPECT_EQ(value.DerDecodeContent(MiByte(), 0, 0), 0U);
    EXPECT_EQ(value.DerDecodeContent(bytes("30"), 7, 0), 0U);
    AsnSequence none;
    EXPECT_EQ(decode(none, "30 00"), 2U);
    AsnSet empty;
    EXPECT_EQ(decode(empty, "31 00"), 2U);
    EXPECT_EQ(empty.DerDecodeContent(MiByte(), 0, 0), 0U);
}

TEST(der_decoder_test, TheIndefiniteFormReadsAsEmpty) {
    auto value = composite<AsnSequence>(member("a", AsnInteger()));
    EXPECT_EQ(decode(value, "30 80 02 01 05 00 00"), 2U);
    EXPECT_FALSE(value.Get("a")->IsAsnPresent());
    // What follows is read as the next element: 80 leaves "s" empty, and 02 01 05 is "b".
    auto outer = composite<AsnSequence>(member("s", value), member("b", AsnInteger()));
    EXPECT_EQ(decode(outer, "30 07 30 80 02 01 05 00 00"), 7U);
    EXPECT_EQ(encoded(*outer.Get("b")), "02 01 05");
}

TEST(der_decoder_test, AnOptionalMemberIsSkippedWhereTheTagDiffers) {
    auto value = composite<AsnSequence>(implicit(0, member("o", AsnInteger(), AsnObject::ASN_OPTIONAL)),
                                        implicit(1, member("d", AsnInteger(), AsnObject::ASN_DEFAULT)),
                                        member("m", AsnInteger()));
    EXPECT_EQ(decode(value, "30 03 02 01 05"), 5U);
    EXPECT_FALSE(value.Get("o")->IsAsnPresent());
    EXPECT_FALSE(value.Get("d")->IsAsnPresent());
    EXPECT_TRUE(value.Get("m")->IsAsnPresent());
    EXPECT_EQ(decode(value, "30 06 81 01 07 02 01 05"), 8U);
    EXPECT_FALSE(value.Get("o")->IsAsnPresent());
    EXPECT_TRUE(value.Get("d")->IsAsnPresent());
    EXPECT_EQ(decode(value, "30 09 80 01 09 81 01 07 02 01 05"), 11U);
    EXPECT_TRUE(value.Get("o")->IsAsnPresent());
    EXPECT_EQ(encoded(value), "30 09 80 01 09 81 01 07 02 01 05");
    EXPECT_EQ(decode(value, "30 03 02 01 05"), 5U);
    EXPECT_FALSE(value.Get("o")->IsAsnPresent());
    EXPECT_FALSE(value.Get("d")->IsAsnPresent());
}

TEST(der_decoder_test, TheFormPlaysNoPartInAComparison) {
    auto value = composite<AsnSequence>(implicit(0, member("o", AsnInteger(), AsnObject::ASN_OPTIONAL)));
    EXPECT_EQ(decode(value, "30 03 A0 01 05"), 5U);
    EXPECT_TRUE(value.Get("o")->IsAsnPresent());
    EXPECT_EQ(encoded(value), "30 03 A0 01 05");
    EXPECT_EQ(decode(value, "30 03 40 01 05"), 2U);  // but the class does
    EXPECT_FALSE(value.Get("o")->IsAsnPresent());
}

TEST(der_decoder_test, AMissingMandatoryMemberFails) {
    auto value = composite<AsnSequence>(member("a", AsnInteger()), member("b", AsnInteger(), AsnObject::ASN_OPTIONAL),
                                        member("c", AsnInteger()));
    EXPECT_THROW(decode(value, "30 03 02 01 05"), AsnDecodeExp);
    EXPECT_THROW(decode(value, "30 06 02 01 05 02 01 06"), AsnDecodeExp);  // the second one is "b"
    EXPECT_EQ(decode(value, "30 06 02 01 05 0A 01 06"), 8U);
    EXPECT_FALSE(value.Get("b")->IsAsnPresent());
}

TEST(der_decoder_test, AnOptionalAnyTakesEveryTag) {
    auto any = member("any", AsnOctetString(), AsnObject::ASN_OPTIONAL);
    any.SetAsnAnyType(true);
    auto value = composite<AsnSequence>(member("a", AsnInteger()), any);
    EXPECT_EQ(decode(value, "30 08 02 01 05 30 03 02 01 07"), 10U);
    EXPECT_TRUE(value.Get("any")->IsAsnPresent());
    EXPECT_EQ(encoded(value), "30 08 02 01 05 30 03 02 01 07");
    EXPECT_EQ(decode(value, "30 05 02 01 05 05 00"), 7U);
    EXPECT_EQ(encoded(value), "30 05 02 01 05 05 00");
    EXPECT_EQ(decode(value, "30 03 02 01 05"), 5U);
    EXPECT_FALSE(value.Get("any")->IsAsnPresent());
}

TEST(der_decoder_test, AnyGoesThroughUnchanged) {
    auto value = composite<AsnSequence>(member("any", AsnOctetString()));
    for (const char* input : {"30 04 BF 1F 01 05", "30 02 05 00", "30 05 6A 03 02 01 07", "30 04 24 02 04 00"}) {
        EXPECT_EQ(decode(value, input), support::hex(input).size());
        EXPECT_EQ(encoded(value), input);
    }
}

TEST(der_decoder_test, AnOptionalChoiceIsTakenByTheTagsOfItsAlternatives) {
    auto choice = member(
        "choice", composite<AsnChoice>(member("number", AsnInteger()), implicit(3, member("octets", AsnOctetString()))),
        AsnObject::ASN_OPTIONAL);
    auto value = composite<AsnSequence>(choice, member("last", AsnBoolean()));
    EXPECT_EQ(decode(value, "30 06 83 01 05 01 01 FF"), 8U);
    EXPECT_TRUE(value.Get("choice")->IsAsnPresent());
    EXPECT_EQ(encoded(value), "30 06 83 01 05 01 01 FF");
    EXPECT_EQ(decode(value, "30 03 01 01 FF"), 5U);
    EXPECT_FALSE(value.Get("choice")->IsAsnPresent());
    EXPECT_EQ(decode(value, "30 06 02 01 05 01 01 FF"), 8U);
    EXPECT_TRUE(value.Get("choice")->IsAsnPresent());
}

TEST(der_decoder_test, AMandatoryChoiceMustFit) {
    auto value = composite<AsnSequence>(member("choice", composite<AsnChoice>(member("number", AsnInteger()))));
    EXPECT_EQ(decode(value, "30 03 02 01 05"), 5U);
    EXPECT_THROW(decode(value, "30 03 04 01 05"), AsnDecodeExp);
}

TEST(der_decoder_test, WhatIsLeftInASequenceIsNotSkipped) {
    auto inner = member("inner", composite<AsnSequence>(member("a", AsnInteger())));
    EXPECT_EQ(decode(inner, "30 06 02 01 05 02 01 06"), 5U);
    // The outer sequence goes on inside the inner one, with 02 01 06.
    auto outer = composite<AsnSequence>(inner, member("b", AsnInteger()));
    EXPECT_EQ(decode(outer, "30 0B 30 06 02 01 05 02 01 06 02 01 07"), 10U);
    EXPECT_EQ(encoded(*outer.Get("b")), "02 01 06");
}

TEST(der_decoder_test, ABooleanOfTwoBytesStopsItsParentInTheMiddle) {
    auto value = composite<AsnSequence>(member("a", AsnBoolean()), member("b", AsnInteger()));
    // 01 02 FF | 02 01 05
    EXPECT_EQ(decode(value, "30 06 01 02 FF 02 01 05"), 8U);
    EXPECT_EQ(encoded(*value.Get("b")), "02 01 05");
}

TEST(der_decoder_test, ACursorPastTheEndEndsTheWalk) {
    auto value = composite<AsnSequence>(member("a", AsnInteger()), member("b", AsnInteger(), AsnObject::ASN_OPTIONAL));
    // The sequence says two bytes; its member has three, which the input holds.
    EXPECT_EQ(decode(value, "30 02 02 01 05"), 5U);
    EXPECT_TRUE(value.Get("a")->IsAsnPresent());
    EXPECT_FALSE(value.Get("b")->IsAsnPresent());
}

TEST(der_decoder_test, ACompositeWithoutMembersFails) {
    AsnSequence sequence;
    EXPECT_THROW(decode(sequence, "30 02 05 00"), AsnDecodeExp);
    AsnSet set;
    EXPECT_THROW(decode(set, "31 02 05 00"), AsnDecodeExp);
    AsnChoice choice;
    EXPECT_THROW(decode(choice, "05 00"), AsnDecodeExp);
    auto emptied = composite<AsnSequence>(member("a", AsnInteger()));
    emptied.ClearAllElements();
    EXPECT_THROW(decode(emptied, "30 02 05 00"), AsnDecodeExp);
}

// Composites with a hole, which no operation of the classes leaves.
template <class Composite>
class Holed : public Composite {
  public:
    Holed() {
        this->elements = new AsnList;
        this->elements->Append(nullptr);
    }

  protected:
    void SetupElements() override {}
};

TEST(der_decoder_test, AMemberThatIsNoObjectFails) {
    Holed<AsnSequence> sequence;
    EXPECT_THROW(decode(sequence, "30 02 05 00"), AsnDecodeExp);
    Holed<AsnSet> set;
    EXPECT_THROW(decode(set, "31 02 05 00"), AsnDecodeExp);
    Holed<AsnChoice> choice;
    EXPECT_THROW(decode(choice, "05 00"), AsnDecodeExp);
}

TEST(der_decoder_test, SetInAnyOrder) {
    auto value = composite<AsnSet>(member("a", AsnInteger()), implicit(0, member("b", AsnInteger())));
    EXPECT_EQ(decode(value, "31 06 80 01 07 02 01 05"), 8U);
    EXPECT_EQ(encoded(*value.Get("a")), "02 01 05");
    EXPECT_EQ(encoded(*value.Get("b")), "80 01 07");
    EXPECT_EQ(decode(value, "31 06 02 01 05 80 01 07"), 8U);
    EXPECT_TRUE(value.Get("a")->IsAsnPresent());
    EXPECT_TRUE(value.Get("b")->IsAsnPresent());
}

TEST(der_decoder_test, AMissingMemberOfASetIsNotNoticed) {
    auto value = composite<AsnSet>(member("a", AsnInteger()), implicit(0, member("b", AsnInteger())));
    EXPECT_EQ(decode(value, "31 03 80 01 07"), 5U);
    EXPECT_FALSE(value.Get("a")->IsAsnPresent());
}

TEST(der_decoder_test, ARepeatedMemberOfASetIsTakenTwice) {
    auto inner = composite<AsnSequence>(member("x", AsnInteger(), AsnObject::ASN_OPTIONAL),
                                        member("y", AsnBoolean(), AsnObject::ASN_OPTIONAL));
    auto value = composite<AsnSet>(member("a", AsnInteger()), member("s", inner));
    EXPECT_EQ(decode(value, "31 06 02 01 05 02 01 06"), 8U);
    EXPECT_EQ(encoded(*value.Get("a")), "02 01 06");
    // The later one leaves nothing of the earlier.
    EXPECT_EQ(decode(value, "31 0A 30 03 02 01 05 30 03 01 01 FF"), 12U);
    EXPECT_EQ(encoded(*value.Get("s")), "30 03 01 01 FF");
    EXPECT_EQ(decode(value, "31 07 30 03 02 01 05 30 00"), 9U);
    EXPECT_EQ(encoded(*value.Get("s")), "30 00");
}

TEST(der_decoder_test, AnUnknownMemberOfASetFails) {
    auto any = member("any", AsnOctetString(), AsnObject::ASN_OPTIONAL);
    any.SetAsnAnyType(true);  // of no effect in a set
    auto value = composite<AsnSet>(member("a", AsnInteger()), any);
    EXPECT_THROW(decode(value, "31 02 05 00"), AsnDecodeExp);
    EXPECT_THROW(decode(value, "31 06 02 01 05 01 01 FF"), AsnDecodeExp);
}

TEST(der_decoder_test, ASetMustEndWhereItsLastMemberDoes) {
    auto value = composite<AsnSet>(member("a", AsnInteger()));
    EXPECT_THROW(decode(value, "31 02 02 01 05"), AsnDecodeExp);
    EXPECT_THROW(decode(value, "31 04 02 01 05 02"), MiOutOfRangeExp);  // a tag, and no length behind it
    auto boolean = composite<AsnSet>(member("b", AsnBoolean()));
    EXPECT_THROW(decode(boolean, "31 04 01 02 FF 01"), MiOutOfRangeExp);
    EXPECT_THROW(decode(boolean, "31 04 01 02 FF 05"), AsnDecodeExp);
}

TEST(der_decoder_test, Choice) {
    auto value = composite<AsnChoice>(member("number", AsnInteger()), implicit(3, member("octets", AsnOctetString())));
    EXPECT_EQ(decode(value, "83 02 01 02"), 4U);
    EXPECT_STREQ(value.Get()->GetAsnName().GetChars(), "octets");
    EXPECT_EQ(value.GetAsnTagClass(), ASN_CONTEXT);  // the choice has the tag of the input
    EXPECT_EQ(value.GetAsnTagNumber(), 3U);
    EXPECT_EQ(value.Get()->GetAsnTagMode(), ASN_IMPLICIT);  // and the alternative its own
    EXPECT_EQ(encoded(value), "83 02 01 02");
    EXPECT_EQ(decode(value, "02 01 05"), 3U);
    EXPECT_STREQ(value.Get()->GetAsnName().GetChars(), "number");
    EXPECT_THROW(decode(value, "84 01 05"), AsnDecodeExp);
    EXPECT_THROW(decode(value, "43 01 05"), AsnDecodeExp);
    EXPECT_EQ(decode(value, "A3 02 01 02"), 4U);  // the form plays no part
    EXPECT_EQ(encoded(value), "83 02 01 02");
}

TEST(der_decoder_test, AnAlternativeOfAHighNumber) {
    auto value =
        composite<AsnChoice>(implicit(31, member("low", AsnInteger())), implicit(1000, member("high", AsnInteger())));
    EXPECT_EQ(decode(value, "9F 87 68 01 05"), 5U);
    EXPECT_STREQ(value.Get()->GetAsnName().GetChars(), "high");
    EXPECT_EQ(decode(value, "BF 1F 01 05"), 4U);
    EXPECT_STREQ(value.Get()->GetAsnName().GetChars(), "low");
}

TEST(der_decoder_test, TheContentOfAChoiceNeedsItsTag) {
    auto value = composite<AsnChoice>(member("number", AsnInteger()), implicit(3, member("octets", AsnOctetString())));
    EXPECT_THROW(value.DerDecodeContent(bytes("05"), 0, 1), AsnDecodeExp);
    value.SetAsnTag(ASN_CONTEXT, ASN_NOT_TAGGED, 3);
    EXPECT_EQ(value.DerDecodeContent(bytes("05"), 0, 1), 1U);
    EXPECT_STREQ(value.Get()->GetAsnName().GetChars(), "octets");
}

TEST(der_decoder_test, TheResultOfAnAlternativeIsNotLookedAt) {
    auto value = composite<AsnChoice>(member("flag", AsnBoolean()));
    EXPECT_EQ(decode(value, "01 03 FF FF FF"), 5U);
}

TEST(der_decoder_test, AChoiceInAChoiceNeverFits) {
    auto inner = member("inner", composite<AsnChoice>(member("number", AsnInteger())));
    auto outer = composite<AsnChoice>(inner);
    EXPECT_THROW(decode(outer, "02 01 05"), AsnDecodeExp);
}

TEST(der_decoder_test, Container) {
    AsnContainer value = explicitly(0, "version", AsnInteger());
    EXPECT_EQ(decode(value, "A0 03 02 01 05"), 5U);
    EXPECT_EQ(encoded(*value.GetData()), "02 01 05");
    EXPECT_THROW(decode(value, "A0 04 02 01 05 00"), AsnDecodeExp);
    EXPECT_THROW(decode(value, "A0 02 02 01 05"), AsnDecodeExp);
    EXPECT_THROW(decode(value, "A0 00"), MiOutOfRangeExp);        // nothing to read the inner tag from
    EXPECT_THROW(decode(value, "A0 00 02 01 05"), AsnDecodeExp);  // what is read stands outside
    AsnContainer empty;
    EXPECT_THROW(decode(empty, "A0 03 02 01 05"), AsnDataExp);
    EXPECT_THROW(decode(empty, "A0 05 02 01 05"), MiOutOfRangeExp);
}

TEST(der_decoder_test, AContainerAroundABooleanOfTwoBytesFails) {
    AsnContainer value = explicitly(0, "flag", AsnBoolean());
    EXPECT_THROW(decode(value, "A0 04 01 02 FF FF"), AsnDecodeExp);
}

TEST(der_decoder_test, Lists) {
    AsnSequenceOf<AsnInteger> list;
    EXPECT_EQ(decode(list, "30 06 02 01 05 02 01 04"), 8U);
    ASSERT_EQ(list.Size(), 2U);
    EXPECT_EQ(list.Get(1)->GetInteger(), 4);
    EXPECT_EQ(decode(list, "30 00"), 2U);
    EXPECT_EQ(list.Size(), 0U);
    EXPECT_THROW(decode(list, "30 02 02 01 05"), AsnDecodeExp);
    EXPECT_THROW(decode(list, "30 04 02 01 05 02"), MiOutOfRangeExp);
    EXPECT_EQ(list.DerDecodeContent(MiByte(), 0, 0), 0U);
}

TEST(der_decoder_test, InstanceOf) {
    AsnInstanceOf value;
    EXPECT_EQ(decode(value, "28 0B 06 03 2A 03 04 A0 04 04 02 01 02"), 13U);
    EXPECT_STREQ(value.GetType_id()->GetData().GetChars(), "1.2.3.4");
    EXPECT_EQ(toHex(value.GetValue()->GetData()), "01 02");
    EXPECT_EQ(encoded(value), "28 0B 06 03 2A 03 04 A0 04 04 02 01 02");
}

TEST(der_decoder_test, WholeBytesKeepTheElement) {
    AsnInteger value(7);
    value.OnByte();
    EXPECT_EQ(decode(value, "02 81 01 05 FF"), 4U);
    EXPECT_EQ(toHex(*value.GetAsnByte()), "02 81 01 05");
    EXPECT_EQ(value.GetInteger(), 0);
    EXPECT_EQ(encoded(value), "02 81 01 05");
    EXPECT_EQ(value.DerDecode(bytes("FF 44 01 09"), 1), 3U);
    EXPECT_EQ(toHex(*value.GetAsnByte()), "44 01 09");
    EXPECT_EQ(value.GetAsnTagNumber(), 4U);
    EXPECT_EQ(value.GetAsnTagClass(), ASN_APPLICATION);
}

TEST(der_decoder_test, WholeBytesAreNotCheckedAgainstTheInput) {
    AsnInteger value;
    value.OnByte();
    EXPECT_EQ(decode(value, "02 05 01"), 7U);
    EXPECT_EQ(toHex(*value.GetAsnByte()), "02 05 01");
    AsnSequenceOf<AsnInteger> list;
    list.OnByte();
    EXPECT_EQ(decode(list, "30 20 02"), 34U);
    EXPECT_EQ(toHex(*list.GetAsnByte()), "30 20 02");
}

TEST(der_decoder_test, ContentBytesKeepTheContent) {
    AsnInteger value(7);
    value.OnContentByte();
    EXPECT_EQ(decode(value, "02 02 00 05"), 4U);
    EXPECT_EQ(toHex(*value.GetAsnContentByte()), "00 05");
    EXPECT_EQ(value.GetInteger(), 0);
    EXPECT_EQ(encoded(value), "02 02 00 05");
    EXPECT_THROW(decode(value, "02 05 01"), MiOutOfRangeExp);
    EXPECT_THROW(decode(value, "02 00"), MiInvalidArgumentExp);  // the length is looked at first
}

// Content that no such value may have, which shows that nothing reads it.
template <class T>
void contentBytesAreNotRead(std::string_view content) {
    SCOPED_TRACE(content);
    T value;
    const std::string before = encoded(value);
    value.OnContentByte();
    EXPECT_EQ(decodeContent(value, content), support::hex(content).size());
    ASSERT_NE(value.GetAsnContentByte(), nullptr);
    EXPECT_EQ(toHex(*value.GetAsnContentByte()), content);
    value.OffContentByte();
    EXPECT_EQ(encoded(value), before) << "the value itself is untouched";
}

TEST(der_decoder_test, ContentBytesAreNotRead) {
    contentBytesAreNotRead<AsnBoolean>("00 01 02");
    contentBytesAreNotRead<AsnEnumerated>("01 02 03 04 05 06");
    contentBytesAreNotRead<AsnBitString>("FF");
    contentBytesAreNotRead<AsnOctetString>("01 02");
    contentBytesAreNotRead<AsnUTF8String>("FF FE");
    contentBytesAreNotRead<AsnPrintableString>("00 FF");
    contentBytesAreNotRead<AsnNumericString>("41");
    contentBytesAreNotRead<AsnVisibleString>("00");
    contentBytesAreNotRead<AsnTeletexString>("80");
    contentBytesAreNotRead<AsnIA5String>("FF");
    contentBytesAreNotRead<AsnBMPString>("00 41 00");
    contentBytesAreNotRead<AsnUniversalString>("00 00 41");
}

// These cannot be written while they are empty.
TEST(der_decoder_test, ContentBytesOfTimesAndOidsAreNotRead) {
    AsnUTCTime utc;
    utc.OnContentByte();
    EXPECT_EQ(decodeContent(utc, "00"), 1U);
    EXPECT_EQ(encoded(utc), "17 01 00");
    AsnGeneralizedTime time;
    time.OnContentByte();
    EXPECT_EQ(decodeContent(time, "FF FF"), 2U);
    EXPECT_EQ(encoded(time), "18 02 FF FF");
    AsnOid oid;
    oid.OnContentByte();
    EXPECT_EQ(decodeContent(oid, "FF"), 1U);
    EXPECT_EQ(encoded(oid), "06 01 FF");
}

// A role that is none of the three can only be met by an element of the member's own tag.
TEST(der_decoder_test, AMemberOfAnUnknownRoleIsNotPassedOver) {
    auto value = composite<AsnSequence>(member("a", AsnInteger()), member("b", AsnBoolean()));
    value.Find("a")->SetAsnState(static_cast<AsnObject::ASN_STATE>(3));
    EXPECT_EQ(decode(value, "30 06 02 01 05 01 01 FF"), 8U);
    EXPECT_THROW(decode(value, "30 03 01 01 FF"), AsnDecodeExp);
    value.Find("a")->SetAsnState(AsnObject::ASN_DEFAULT);
    EXPECT_EQ(decode(value, "30 03 01 01 FF"), 5U);
}

TEST(der_decoder_test, ContentBytesOfComposites) {
    auto sequence = composite<AsnSequence>(member("a", AsnInteger()));
    sequence.OnContentByte();
    EXPECT_EQ(decode(sequence, "30 03 FF FF FF"), 5U);  // nothing is parsed
    EXPECT_EQ(encoded(sequence), "30 03 FF FF FF");
    AsnSet none;
    none.OnContentByte();
    EXPECT_EQ(decode(none, "31 02 FF FF"), 4U);  // even without members
    AsnChoice choice;
    choice.OnContentByte();
    EXPECT_EQ(decode(choice, "85 02 FF FF"), 4U);
    EXPECT_EQ(toHex(*choice.GetAsnContentByte()), "FF FF");
    AsnNull null;
    null.OnContentByte();
    EXPECT_EQ(null.DerDecodeContent(bytes("FF FF"), 0, 2), 2U);
    EXPECT_EQ(toHex(*null.GetAsnContentByte()), "FF FF");
}

TEST(der_decoder_test, AContainerParsesItsContentAlways) {
    AsnContainer value = explicitly(0, "version", AsnInteger());
    value.OnContentByte();
    EXPECT_EQ(decode(value, "A0 03 02 01 05"), 5U);
    EXPECT_EQ(value.GetAsnContentByte(), nullptr);
    EXPECT_EQ(encoded(*value.GetData()), "02 01 05");
    value.OnByte();
    EXPECT_EQ(decode(value, "A0 03 FF FF FF"), 5U);
    EXPECT_EQ(toHex(*value.GetAsnByte()), "A0 03 FF FF FF");
}

TEST(der_decoder_test, ComponentModeReachesTheDirectMembersAlone) {
    auto inner = member("inner", composite<AsnSequence>(member("x", AsnInteger())));
    auto value = composite<AsnSequence>(member("a", AsnInteger()), inner);
    value.OnComponentByte();
    EXPECT_EQ(decode(value, "30 09 02 02 00 05 30 03 02 01 06"), 11U);
    EXPECT_EQ(toHex(*value.Get("a")->GetAsnByte()), "02 02 00 05");
    EXPECT_EQ(toHex(*value.Get("inner")->GetAsnByte()), "30 03 02 01 06");
    EXPECT_EQ(static_cast<const AsnSequence*>(value.Get("inner"))->Get("x")->GetAsnByteType(), AsnObject::ASN_NO_BYTE);
    EXPECT_EQ(encoded(value), "30 09 02 02 00 05 30 03 02 01 06");

    value.OnComponentContentByte();
    EXPECT_EQ(decode(value, "30 09 02 02 00 05 30 03 02 01 06"), 11U);
    EXPECT_EQ(toHex(*value.Get("a")->GetAsnContentByte()), "00 05");
    value.OffComponentByte();  // leaves the members in their mode
    EXPECT_EQ(decode(value, "30 09 02 02 00 06 30 03 02 01 06"), 11U);
    EXPECT_EQ(toHex(*value.Get("a")->GetAsnContentByte()), "00 06");
}

TEST(der_decoder_test, ComponentModeOfASetAndOfLists) {
    auto set = composite<AsnSet>(member("a", AsnInteger()));
    set.OnComponentDerByte();
    EXPECT_EQ(decode(set, "31 04 02 02 00 05"), 6U);
    EXPECT_EQ(toHex(*set.Get("a")->GetAsnByte()), "02 02 00 05");
    AsnSequenceOf<AsnInteger> list;
    list.OnComponentByte();
    EXPECT_EQ(decode(list, "30 04 02 02 00 05"), 6U);
    EXPECT_EQ(toHex(*list.Get(0)->GetAsnByte()), "02 02 00 05");
    list.OnComponentContentByte();
    EXPECT_EQ(decode(list, "30 04 02 02 00 05"), 6U);
    EXPECT_EQ(toHex(*list.Get(0)->GetAsnContentByte()), "00 05");
}

TEST(der_decoder_test, AFailedDecodeLeavesTheValueCleared) {
    AsnInteger value(7);
    EXPECT_THROW(value.DerDecode(MiByte(), 0), MiInvalidArgumentExp);
    EXPECT_EQ(value.GetInteger(), 0);
    value.SetData(7);
    EXPECT_THROW(decode(value, "02 05 01"), MiOutOfRangeExp);
    EXPECT_EQ(value.GetInteger(), 0);
    auto sequence = composite<AsnSequence>(member("a", AsnInteger(7)));
    sequence.Find("a")->SetAsnPresent(true);
    EXPECT_THROW(sequence.DerDecode(MiByte(), 0), MiInvalidArgumentExp);
    EXPECT_FALSE(sequence.Get("a")->IsAsnPresent());
    EXPECT_EQ(encoded(*sequence.Get("a")), "02 01 00");
}

TEST(der_decoder_test, ASecondDecodeLeavesNothingOfTheFirst) {
    auto inner = member("inner",
                        composite<AsnSequence>(member("x", AsnInteger(), AsnObject::ASN_OPTIONAL),
                                               implicit(0, member("y", AsnInteger(), AsnObject::ASN_OPTIONAL))),
                        AsnObject::ASN_OPTIONAL);
    auto value = composite<AsnSequence>(member("a", AsnSequenceOf<AsnInteger>()), inner);
    EXPECT_EQ(decode(value, "30 0C 30 03 02 01 05 30 05 80 03 01 02 03"), 14U);
    EXPECT_EQ(decode(value, "30 05 30 03 02 01 06"), 7U);
    EXPECT_FALSE(value.Get("inner")->IsAsnPresent());
    EXPECT_EQ(encoded(*value.Get("inner")), "30 00");
    EXPECT_EQ(encoded(value), "30 05 30 03 02 01 06");
    EXPECT_EQ(decode(value, "30 0A 30 03 02 01 06 30 03 02 01 07"), 12U);
    EXPECT_EQ(encoded(value), "30 0A 30 03 02 01 06 30 03 02 01 07");
}

TEST(der_decoder_test, ADecodedMemberDiffersFromABuiltOneByItsMode) {
    auto value = composite<AsnSequence>(implicit(0, member("o", AsnInteger(5), AsnObject::ASN_OPTIONAL)));
    value.Find("o")->SetAsnPresent(true);
    auto other = composite<AsnSequence>(implicit(0, member("o", AsnInteger(), AsnObject::ASN_OPTIONAL)));
    EXPECT_EQ(decode(other, "30 03 80 01 05"), 5U);
    EXPECT_TRUE(value.EqualsContent(&other));
    EXPECT_FALSE(value.Get("o")->Equals(other.Get("o")));
    EXPECT_EQ(other.Get("o")->GetAsnTagMode(), ASN_NOT_TAGGED);
}

TEST(der_decoder_test, TheVisitorHasNoData) {
    EXPECT_EQ(sizeof(AsnDecode), sizeof(MiObject));
    EXPECT_EQ(sizeof(AsnDerDecode), sizeof(MiObject));
    AsnDerDecode decoder;
    AsnDerDecode copy(decoder);
    EXPECT_EQ(&(copy = decoder), &copy);
}

}  // namespace

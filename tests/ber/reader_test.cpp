#include "ber/reader.h"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstddef>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "tests/ber/codec.h"
#include "tests/ber/vectors.h"
#include "tests/support/failing_heap.h"
#include "tests/support/hex.h"
#include "tests/support/noise.h"

namespace {

using codec::Output;
using codec::Reader;
using codec::readerOf;
using codec::toHex;
using support::Bytes;
using support::hex;

static_assert(offsetof(BerReader, fd) == 0);
static_assert(offsetof(BerReader, buffer) == sizeof(void*));
static_assert(offsetof(BerReader, capacity) == 2 * sizeof(void*));
static_assert(offsetof(BerReader, position) == 2 * sizeof(void*) + 4);
static_assert(offsetof(BerReader, end) == 2 * sizeof(void*) + 8);

// The result of a format without arguments.
int scan(const char* input, const char* format) {
    return BerReaderScanf(readerOf(input).get(), format);
}

TEST(reader_test, AReaderHoldsACopy) {
    Bytes bytes = hex("05 00 01");
    const Reader reader = readerOf(bytes);
    ASSERT_NE(reader, nullptr);
    bytes.assign(3, 0xEE);
    EXPECT_EQ(reader->fd, -1);
    EXPECT_EQ(reader->capacity, 3);
    EXPECT_EQ(reader->position, 0);
    EXPECT_EQ(reader->end, 3);
    EXPECT_EQ(support::toHex(reader->buffer, 3), "05 00 01");
}

TEST(reader_test, LengthZeroIsValidAndTakesOneByte) {
    const std::uint8_t byte = 0x30;
    const Reader reader(BerReaderCreate(&byte, 0));
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(reader->capacity, 1);
    EXPECT_EQ(reader->end, 0);
    EXPECT_NE(reader->buffer, nullptr);
}

TEST(reader_test, NullBytesAndNegativeLengthsMakeNoReader) {
    const std::uint8_t byte = 0x30;
    EXPECT_EQ(BerReaderCreate(nullptr, 0), nullptr);
    EXPECT_EQ(BerReaderCreate(nullptr, 1), nullptr);
    EXPECT_EQ(BerReaderCreate(&byte, -1), nullptr);
    EXPECT_EQ(BerReaderCreate(&byte, INT32_MIN), nullptr);
    BerReaderFree(nullptr);
}

TEST(reader_test, NullReaderBufferOrFormatFail) {
    EXPECT_EQ(BerReaderScanf(nullptr, "{"), -1);
    const Reader reader = readerOf("30 00");
    EXPECT_EQ(BerReaderScanf(reader.get(), nullptr), -1);
    std::uint8_t* const buffer = reader->buffer;
    reader->buffer = nullptr;
    EXPECT_EQ(BerReaderScanf(reader.get(), "{"), -1);
    EXPECT_EQ(BerReaderScanf(reader.get(), "}"), 0);
    reader->buffer = buffer;
}

TEST(reader_test, AnEmptyReaderEndsCleanly) {
    for (const char* format : {"{", "[", "(", "n", "x", "i", "e", "b", "o", "6", "a", "g", "u", "B", "I", "O", "Z"})
        EXPECT_EQ(scan("", format), -2) << format;
    std::int32_t tag = 7;
    std::uint8_t classBits = 8;
    EXPECT_EQ(BerReaderScanf(readerOf("").get(), "t", &tag, &classBits), -2);
    EXPECT_EQ(tag, 7);
    EXPECT_EQ(classBits, 8);
    Output<std::uint8_t> whole;
    EXPECT_EQ(BerReaderScanf(readerOf("").get(), "$", whole.pointer(), whole.length()), -2);
    EXPECT_EQ(whole.get(), nullptr);
}

TEST(reader_test, ClosingLettersReadNothing) {
    EXPECT_EQ(scan("", "}"), 0);
    EXPECT_EQ(scan("", "]"), 0);
    EXPECT_EQ(scan("", ")"), 0);
    EXPECT_EQ(scan("", ""), 0);
    const Reader reader = readerOf("30 00");
    EXPECT_EQ(BerReaderScanf(reader.get(), "}])"), 0);
    EXPECT_EQ(reader->position, 0);
}

TEST(reader_test, OpeningLettersReadTheHeaderAlone) {
    for (const char* format : {"{", "[", "(", "n"}) {
        for (const char* input : {"30 03 02 01 05", "31 03 02 01 05", "A0 03 02 01 05", "03 03 02 01 05"}) {
            const Reader reader = readerOf(input);  // no tag is checked
            EXPECT_EQ(BerReaderScanf(reader.get(), format), 0) << format << input;
            EXPECT_EQ(reader->position, 2);
            std::int32_t value = 0;
            EXPECT_EQ(BerReaderScanf(reader.get(), "i", &value), 0);
            EXPECT_EQ(value, 5);
        }
    }
    EXPECT_EQ(scan("30 7F", "{"), 0);  // nor whether the content is there
    EXPECT_EQ(scan("05 00 05 00", "nn"), 0);
    EXPECT_EQ(scan("05 00 05 00", "nnn"), -2);
}

TEST(reader_test, Lengths) {
    const struct {
        const char* input;
        int result;
        std::int32_t position;
    } rows[] = {
        {"30 00", 0, 2},
        {"30 7F", 0, 2},
        {"30 80", 0, 2},  // the indefinite form reads as empty
        {"30 81 05", 0, 3},
        {"30 81 80", 0, 3},
        {"30 82 00 05", 0, 4},
        {"30 83 00 00 05", 0, 5},
        {"30 84 7F FF FF FF", 0, 6},
        {"30 84 80 00 00 00", -1, 6},  // top bit set
        {"30 84 FF FF FF FF", -1, 6},
        {"30 85 00 00 00 00 01", -1, 2},
        {"30 FF 00", -1, 2},
        {"30", -1, 1},
        {"30 81", -1, 2},
        {"30 82 01", -1, 3},
        {"30 84 00 00 00", -1, 5},
    };
    for (const auto& row : rows) {
        const Reader reader = readerOf(row.input);
        EXPECT_EQ(BerReaderScanf(reader.get(), "{"), row.result) << row.input;
        EXPECT_EQ(reader->position, row.position) << row.input;
    }
}

TEST(reader_test, ALengthInMoreBytesThanNeededIsTaken) {
    for (const char* input : {"02 01 05", "02 81 01 05", "02 82 00 01 05", "02 84 00 00 00 01 05"}) {
        std::int32_t value = 0;
        EXPECT_EQ(BerReaderScanf(readerOf(input).get(), "i", &value), 0) << input;
        EXPECT_EQ(value, 5) << input;
    }
}

TEST(reader_test, AnElementOfIndefiniteLengthReadsAsEmpty) {
    const Reader reader = readerOf("04 80 01 02 00 00");
    Output<std::uint8_t> bytes;
    EXPECT_EQ(BerReaderScanf(reader.get(), "o", bytes.pointer(), bytes.length()), 0);
    EXPECT_EQ(bytes.count(), 0);
    EXPECT_EQ(reader->position, 2);
    std::int32_t value = 77;
    EXPECT_EQ(BerReaderScanf(readerOf("02 80 05").get(), "i", &value), 0);
    EXPECT_EQ(value, 0);
}

TEST(reader_test, PeekingLeavesTheInputWhereItWas) {
    const struct {
        const char* input;
        std::int32_t tag;
        int classBits;
    } rows[] = {
        {"02 01 05", 2, 0x00},
        {"30 00", 16, 0x20},
        {"A3 00", 3, 0xA0},
        {"5E 00", 30, 0x40},
        {"FE 00", 30, 0xE0},
        {"9F 1F 00", 31, 0x80},
        {"BF 7F", 127, 0xA0},
        {"5F 81 48", 200, 0x40},
        {"1F FF 7F", 16383, 0x00},
        {"1F 81 80 00", 16384, 0x00},
        {"1F 00", 0, 0x00},
        {"1F 80 80 80 80 05", 5, 0x00},
        {"1F 87 FF FF FF 7F", INT32_MAX, 0x00},
    };
    for (const auto& row : rows) {
        const Reader reader = readerOf(row.input);
        std::int32_t tag = -5;
        std::uint8_t classBits = 1;
        EXPECT_EQ(BerReaderScanf(reader.get(), "t", &tag, &classBits), 0) << row.input;
        EXPECT_EQ(tag, row.tag) << row.input;
        EXPECT_EQ(classBits, row.classBits) << row.input;
        EXPECT_EQ(reader->position, 0) << row.input;
    }
}

TEST(reader_test, IdentifiersThatFailAreLeftInTheInput) {
    for (const char* input : {
             "1F",                    // nothing behind it
             "1F 81",                 // ends inside
             "1F 81 82 83 84",        // the same
             "1F 88 80 80 80 00",     // 2^31
             "1F FF FF FF FF 7F",     // 35 bits
             "1F 80 80 80 80 80 00",  // six bytes
             "1F 80 80 80 80 80 80 80 80 00",
         }) {
        std::int32_t tag = 7;
        std::uint8_t classBits = 7;
        const Reader reader = readerOf(input);
        EXPECT_EQ(BerReaderScanf(reader.get(), "t", &tag, &classBits), -1) << input;
        EXPECT_EQ(reader->position, 0) << input;
        EXPECT_EQ(BerReaderScanf(reader.get(), "{"), -1) << input;
        EXPECT_EQ(reader->position, 0) << input;
        Output<std::uint8_t> element;
        EXPECT_EQ(BerReaderScanf(reader.get(), "$", element.pointer(), element.length()), -1) << input;
        EXPECT_EQ(element.get(), nullptr);
    }
}

TEST(reader_test, PeekingThenReadingTakesTheElement) {
    std::int32_t tag = 0;
    std::uint8_t classBits = 0;
    std::int32_t value = 0;
    EXPECT_EQ(BerReaderScanf(readerOf("30 03 82 01 7F").get(), "{ti}", &tag, &classBits, &value), 0);
    EXPECT_EQ(tag, 2);
    EXPECT_EQ(classBits, 0x80);
    EXPECT_EQ(value, 127);
}

TEST(reader_test, Integers) {
    const struct {
        const char* input;
        std::int32_t value;
    } rows[] = {
        {"02 00", 0},
        {"02 01 00", 0},
        {"02 01 7F", 127},
        {"02 01 80", -128},
        {"02 01 FF", -1},
        {"02 02 00 80", 128},
        {"02 02 FF 7F", -129},
        {"02 02 80 00", -32768},
        {"02 03 01 00 01", 65537},
        {"02 03 80 00 00", -8388608},
        {"02 04 7F FF FF FF", INT32_MAX},
        {"02 04 80 00 00 00", INT32_MIN},
        {"02 04 00 00 00 05", 5},
        {"02 04 FF FF FF FF", -1},
        {"04 01 05", 5},  // no tag is checked
    };
    for (const auto& row : rows) {
        for (const char* format : {"i", "e"}) {
            std::int32_t value = 77;
            const Reader reader = readerOf(row.input);
            EXPECT_EQ(BerReaderScanf(reader.get(), format, &value), 0) << row.input;
            EXPECT_EQ(value, row.value) << row.input;
            EXPECT_EQ(reader->position, reader->end) << row.input;
        }
    }
}

TEST(reader_test, IntegersOfMoreThanFourBytesFail) {
    for (const char* input : {"02 05 00 00 00 00 01", "02 81 80", "02 84 7F FF FF FF 01", "02 02 01", "02 01"}) {
        for (const char* format : {"i", "e"}) {
            std::int32_t value = 77;
            EXPECT_EQ(BerReaderScanf(readerOf(input).get(), format, &value), -1) << input;
            EXPECT_EQ(value, 77) << input;
        }
    }
}

TEST(reader_test, BooleansAreZeroOrFf) {
    for (int content = 0; content < 256; ++content) {
        const Bytes input = {0x01, 0x01, static_cast<std::uint8_t>(content)};
        std::uint8_t value = 7;
        const bool valid = content == 0x00 || content == 0xFF;
        EXPECT_EQ(BerReaderScanf(readerOf(input).get(), "b", &value), valid ? 0 : -1) << content;
        EXPECT_EQ(value, valid ? content : 7);
    }
}

TEST(reader_test, ABooleanReadsOneByteWhateverItsLength) {
    std::uint8_t value = 7;
    const Reader longer = readerOf("01 03 FF 01 02");
    EXPECT_EQ(BerReaderScanf(longer.get(), "b", &value), 0);
    EXPECT_EQ(value, 0xFF);
    EXPECT_EQ(longer->position, 3);  // the rest stays
    const Reader empty = readerOf("01 00 00 05");
    EXPECT_EQ(BerReaderScanf(empty.get(), "b", &value), 0);
    EXPECT_EQ(value, 0x00);
    EXPECT_EQ(empty->position, 3);
    EXPECT_EQ(BerReaderScanf(readerOf("01 00").get(), "b", &value), -1);
    EXPECT_EQ(BerReaderScanf(readerOf("01 01").get(), "b", &value), -1);
}

TEST(reader_test, OctetsAreHandedOutWithANulBehind) {
    for (const char* format : {"o", "6"}) {
        Output<std::uint8_t> bytes;
        EXPECT_EQ(BerReaderScanf(readerOf("04 03 00 C3 7F").get(), format, bytes.pointer(), bytes.length()), 0);
        EXPECT_EQ(toHex(bytes), "00 C3 7F");
        EXPECT_EQ(bytes[3], 0);
        Output<std::uint8_t> none;
        EXPECT_EQ(BerReaderScanf(readerOf("04 00").get(), format, none.pointer(), none.length()), 0);
        ASSERT_NE(none.get(), nullptr);
        EXPECT_EQ(none.count(), 0);
        EXPECT_EQ(none[0], 0);
        Output<std::uint8_t> cut;
        EXPECT_EQ(BerReaderScanf(readerOf("04 03 00 C3").get(), format, cut.pointer(), cut.length()), -1);
        EXPECT_EQ(cut.count(), -1);
    }
}

TEST(reader_test, TextIsHandedOutWithANulBehind) {
    Output<char> text;
    EXPECT_EQ(BerReaderScanf(readerOf("16 03 61 62 63").get(), "a", text.pointer()), 0);
    EXPECT_STREQ(text.get(), "abc");
    Output<char> none;
    EXPECT_EQ(BerReaderScanf(readerOf("16 00").get(), "a", none.pointer()), 0);
    EXPECT_STREQ(none.get(), "");
    Output<char> cut;
    EXPECT_EQ(BerReaderScanf(readerOf("16 03 61 62").get(), "a", cut.pointer()), -1);
    Output<char> withNul;
    EXPECT_EQ(BerReaderScanf(readerOf("16 03 61 00 63").get(), "a", withNul.pointer()), 0);
    EXPECT_EQ(std::string(withNul.get(), 4), std::string("a\0c\0", 4));
}

TEST(reader_test, TimesGoIntoTheCallersBufferExactly) {
    for (const char* format : {"g", "u"}) {
        std::vector<char> buffer(5, '#');  // four bytes and the NUL; the address sanitizer guards the end
        EXPECT_EQ(BerReaderScanf(readerOf("17 04 32 33 31 5A").get(), format, buffer.data()), 0);
        EXPECT_STREQ(buffer.data(), "231Z");
        std::array<char, 6> larger{'#', '#', '#', '#', '#', '#'};
        EXPECT_EQ(BerReaderScanf(readerOf("17 03 32 33 5A").get(), format, larger.data()), 0);
        EXPECT_EQ(std::string(larger.data(), 6), std::string("23Z\0##", 6));
        EXPECT_EQ(BerReaderScanf(readerOf("17 00").get(), format, larger.data()), 0);
        EXPECT_STREQ(larger.data(), "");
    }
}

TEST(reader_test, TimesCutShortWriteNoFurtherThanTheInput) {
    for (const char* format : {"g", "u"}) {
        std::vector<char> buffer(3, '#');
        EXPECT_EQ(BerReaderScanf(readerOf("17 7F 32 33").get(), format, buffer.data()), -1);
        EXPECT_EQ(BerReaderScanf(readerOf("17 84 7F FF FF FF 32 33").get(), format, buffer.data()), -1);
    }
}

TEST(reader_test, BitStrings) {
    const struct {
        const char* input;
        std::int32_t bits;
        const char* bytes;
    } rows[] = {
        {"03 03 04 FF FF", 12, "FF F0"}, {"03 02 00 FF", 8, "FF"}, {"03 02 01 FF", 7, "FE"}, {"03 02 07 FF", 1, "80"},
        {"03 02 08 FF", 0, "00"},  // eight unused bits are accepted
        {"03 03 08 FF FF", 8, "FF 00"},  {"03 01 00", 0, ""},      {"03 01 08", 0, ""},      {"03 00", 0, ""},
        {"02 03 00 AB CD", 16, "AB CD"},  // an INTEGER, by the same rule
        {"02 02 01 FF", 7, "FE"},
    };
    for (const auto& row : rows) {
        Output<std::uint8_t> bytes;
        const Reader reader = readerOf(row.input);
        EXPECT_EQ(BerReaderScanf(reader.get(), "B", bytes.pointer(), bytes.length()), 0) << row.input;
        EXPECT_EQ(bytes.count(), row.bits) << row.input;
        EXPECT_EQ(reader->position, reader->end) << row.input;
        ASSERT_NE(bytes.get(), nullptr);
        const auto size = static_cast<std::int32_t>(hex(row.bytes).size());
        EXPECT_EQ(toHex(bytes, size), row.bytes) << row.input;
        EXPECT_EQ(bytes[static_cast<std::size_t>(reader->end - 2)], 0) << row.input;  // the NUL at offset L
        EXPECT_EQ(bytes[static_cast<std::size_t>(size)], 0) << row.input;             // and right behind the bits
    }
}

TEST(reader_test, BitStringsWithMoreThanEightUnusedBitsFail) {
    for (int unused = 0; unused < 256; ++unused) {
        const Bytes input = {0x03, 0x02, static_cast<std::uint8_t>(unused), 0xFF};
        Output<std::uint8_t> bytes;
        EXPECT_EQ(BerReaderScanf(readerOf(input).get(), "B", bytes.pointer(), bytes.length()), unused > 8 ? -1 : 0);
        const Bytes alone = {0x03, 0x01, static_cast<std::uint8_t>(unused)};
        Output<std::uint8_t> none;
        EXPECT_EQ(BerReaderScanf(readerOf(alone).get(), "B", none.pointer(), none.length()), unused > 8 ? -1 : 0);
    }
    Output<std::uint8_t> integer;
    EXPECT_EQ(BerReaderScanf(readerOf("02 02 AB CD").get(), "B", integer.pointer(), integer.length()), -1);
    EXPECT_NE(integer.get(), nullptr);  // stored as soon as it exists, so that the caller can free it
    EXPECT_EQ(integer.count(), -1);
    Output<std::uint8_t> cut;
    EXPECT_EQ(BerReaderScanf(readerOf("03 03 00 FF").get(), "B", cut.pointer(), cut.length()), -1);
}

TEST(reader_test, HexadecimalText) {
    Output<char> text;
    EXPECT_EQ(BerReaderScanf(readerOf("02 08 01 23 45 67 89 AB CD EF").get(), "I", text.pointer(), text.length()), 0);
    EXPECT_STREQ(text.get(), "0123456789ABCDEF");
    EXPECT_EQ(text.count(), 16);
    Output<char> zeros;
    EXPECT_EQ(BerReaderScanf(readerOf("02 02 00 0A").get(), "I", zeros.pointer(), zeros.length()), 0);
    EXPECT_STREQ(zeros.get(), "000A");
    Output<char> none;
    EXPECT_EQ(BerReaderScanf(readerOf("02 00").get(), "I", none.pointer(), none.length()), 0);
    EXPECT_STREQ(none.get(), "");
    EXPECT_EQ(none.count(), 0);
    Output<char> cut;
    EXPECT_EQ(BerReaderScanf(readerOf("02 02 00").get(), "I", cut.pointer(), cut.length()), -1);
    EXPECT_EQ(cut.count(), -1);
}

// The arcs with dots between, or "failed".
std::string arcsOf(const Bytes& input) {
    Output<std::int32_t> arcs;
    if (BerReaderScanf(readerOf(input).get(), "O", arcs.pointer(), arcs.length()) != 0)
        return "failed";
    std::string text;
    for (std::int32_t i = 0; i < arcs.count(); ++i)
        text += (i == 0 ? "" : ".") + std::to_string(arcs[static_cast<std::size_t>(i)]);
    return text;
}

std::string arcsOf(const char* input) {
    return arcsOf(hex(input));
}

TEST(reader_test, ObjectIdentifiers) {
    EXPECT_EQ(arcsOf("06 09 2A 86 48 86 F7 0D 01 01 01"), "1.2.840.113549.1.1.1");
    EXPECT_EQ(arcsOf("06 03 55 04 03"), "2.5.4.3");
    EXPECT_EQ(arcsOf("06 01 00"), "0.0");
    EXPECT_EQ(arcsOf("06 01 27"), "0.39");
    EXPECT_EQ(arcsOf("06 01 28"), "1.0");
    EXPECT_EQ(arcsOf("06 01 4F"), "1.39");
    EXPECT_EQ(arcsOf("06 01 50"), "2.0");
    EXPECT_EQ(arcsOf("06 01 77"), "2.39");
    EXPECT_EQ(arcsOf("06 04 2B 7F 81 00"), "1.3.127.128");
    EXPECT_EQ(arcsOf("06 03 2B 80 01"), "1.3.1");  // a padded arc is taken
    EXPECT_EQ(arcsOf("06 06 2B 87 FF FF FF 7F"), "1.3.2147483647");
}

TEST(reader_test, ObjectIdentifiersThatFail) {
    EXPECT_EQ(arcsOf("06 00"), "failed");
    EXPECT_EQ(arcsOf("06 01"), "failed");
    EXPECT_EQ(arcsOf("06 01 78"), "failed");  // 120
    EXPECT_EQ(arcsOf("06 01 FF"), "failed");
    EXPECT_EQ(arcsOf("06 02 88 37"), "failed");  // 2.999, whose first byte is above 119
    EXPECT_EQ(arcsOf("06 02 2A 86"), "failed");  // runs out inside an arc
    EXPECT_EQ(arcsOf("06 02 2A 86 48"), "failed");
    EXPECT_EQ(arcsOf("06 03 2A 86"), "failed");
    EXPECT_EQ(arcsOf("06 06 2B 88 80 80 80 00"), "failed");  // 2^31
    EXPECT_EQ(arcsOf("06 07 2B 81 80 80 80 80 00"), "failed");
}

TEST(reader_test, FiftyArcsFitAndAFurtherByteFails) {
    Bytes input = {0x06, 49, 0x2A};
    std::string expected = "1.2";
    for (int i = 0; i < 48; ++i) {
        input.push_back(static_cast<std::uint8_t>(i));
        expected += "." + std::to_string(i);
    }
    EXPECT_EQ(arcsOf(input), expected);
    input[1] = 50;
    input.push_back(0x01);
    EXPECT_EQ(arcsOf(input), "failed");
    input.back() = 0x81;
    EXPECT_EQ(arcsOf(input), "failed");
}

TEST(reader_test, SkippingPassesTheContent) {
    const Reader reader = readerOf("30 03 01 02 03 05 00");
    EXPECT_EQ(BerReaderScanf(reader.get(), "x"), 0);
    EXPECT_EQ(reader->position, 5);
    EXPECT_EQ(BerReaderScanf(reader.get(), "x"), 0);
    EXPECT_EQ(BerReaderScanf(reader.get(), "x"), -2);
    EXPECT_EQ(scan("30 03 01 02", "x"), -1);
    EXPECT_EQ(scan("30 84 7F FF FF FF 02", "x"), -1);
}

TEST(reader_test, AWholeElementIsExactlyAsItStood) {
    for (const char* input : {"30 03 02 01 05", "05 00", "9F 1F 01 AA", "30 83 00 00 01 AA", "5F 81 48 82 00 00"}) {
        Output<std::uint8_t> element;
        const Reader reader = readerOf(input);
        EXPECT_EQ(BerReaderScanf(reader.get(), "$", element.pointer(), element.length()), 0) << input;
        EXPECT_EQ(toHex(element), input);
        EXPECT_EQ(reader->position, reader->end);
    }
}

TEST(reader_test, AWholeElementCanBeGivenToANewReader) {
    Output<std::uint8_t> element;
    const Reader outer = readerOf("30 05 30 03 02 01 05 FF");
    ASSERT_EQ(BerReaderScanf(outer.get(), "{$", element.pointer(), element.length()), 0);
    EXPECT_EQ(outer->position, 7);
    const Reader inner(BerReaderCreate(element.get(), element.count()));
    std::int32_t value = 0;
    EXPECT_EQ(BerReaderScanf(inner.get(), "{i}", &value), 0);
    EXPECT_EQ(value, 5);
}

TEST(reader_test, WholeElementsCutShortFail) {
    for (const char* input : {"30", "30 81", "30 02 05", "30 85 00 00 00 00 01", "30 84 7F FF FF FF 05"}) {
        Output<std::uint8_t> element;
        EXPECT_EQ(BerReaderScanf(readerOf(input).get(), "$", element.pointer(), element.length()), -1) << input;
        EXPECT_EQ(element.count(), -1);
    }
}

TEST(reader_test, LettersOutsideTheTableAreRefusedAfterTheirHeader) {
    for (int c = 1; c < 256; ++c) {
        if (std::strchr("{[(n}])ieb6oagutBIOx$", c) != nullptr)
            continue;
        const char format[] = {static_cast<char>(c), '\0'};
        const Reader reader = readerOf("30 01 05");
        EXPECT_EQ(BerReaderScanf(reader.get(), format), -1) << c;
        EXPECT_EQ(reader->position, 2) << c;
        EXPECT_EQ(scan("", format), -2) << c;
        EXPECT_EQ(scan("30", format), -1) << c;
    }
}

TEST(reader_test, PositionCarriesFromCallToCall) {
    const Reader reader = readerOf("30 06 02 01 05 01 01 FF 05 00");
    std::int32_t value = 0;
    std::uint8_t boolean = 0;
    EXPECT_EQ(BerReaderScanf(reader.get(), "{i", &value), 0);
    EXPECT_EQ(BerReaderScanf(reader.get(), "b}", &boolean), 0);
    EXPECT_EQ(BerReaderScanf(reader.get(), "n"), 0);
    EXPECT_EQ(BerReaderScanf(reader.get(), "n"), -2);
    EXPECT_EQ(value, 5);
    EXPECT_EQ(boolean, 0xFF);
    reader->position = 2;
    EXPECT_EQ(BerReaderScanf(reader.get(), "i", &value), 0);
}

TEST(reader_test, APublicKeyGivesItsModulusByTheBitStringRule) {
    Output<std::uint8_t> modulus;
    Output<std::uint8_t> exponent;
    const Reader reader = readerOf("30 09 02 02 00 AB 02 03 01 00 01");
    EXPECT_EQ(BerReaderScanf(reader.get(), "{BB}", modulus.pointer(), modulus.length(), exponent.pointer(),
                             exponent.length()),
              0);
    EXPECT_EQ(modulus.count(), 8);
    EXPECT_EQ(toHex(modulus, 1), "AB");
    EXPECT_EQ(exponent.count(), 15);  // the 01 counts as one unused bit
    EXPECT_EQ(toHex(exponent, 2), "00 00");
}

TEST(reader_test, TheOuterShapeOfACertificate) {
    // SEQUENCE { tbs { [0] { INTEGER 2 }, ... }, algorithm, BIT STRING }
    const Reader reader = readerOf("30 12 30 08 A0 03 02 01 02 02 01 09 30 02 05 00 03 02 00 AA");
    Output<std::uint8_t> tbs;
    Output<std::uint8_t> algorithm;
    Output<std::uint8_t> signature;
    ASSERT_EQ(BerReaderScanf(reader.get(), "{$$B}", tbs.pointer(), tbs.length(), algorithm.pointer(),
                             algorithm.length(), signature.pointer(), signature.length()),
              0);
    EXPECT_EQ(toHex(algorithm), "30 02 05 00");
    EXPECT_EQ(signature.count(), 8);
    EXPECT_EQ(toHex(signature, 1), "AA");
    const Reader inner(BerReaderCreate(tbs.get(), tbs.count()));
    std::int32_t version = -1;
    EXPECT_EQ(BerReaderScanf(inner.get(), "{(i", &version), 0);
    EXPECT_EQ(version, 2);
}

// ContentInfo with SignedData: version, digest algorithms, content, certificates, signer infos.
constexpr char kSignedData[] =
    "30 27 06 09 2A 86 48 86 F7 0D 01 07 02 A0 1A 30 18 02 01 01 31 00 30 0B 06 09 2A 86 48 86 F7 0D 01 07 01 A0 "
    "02 05 00 31 00";

TEST(reader_test, TheOuterShapeOfSignedData) {
    Output<std::int32_t> type;
    std::array<Output<std::uint8_t>, 5> parts;
    ASSERT_EQ(
        BerReaderScanf(readerOf(kSignedData).get(), "{O({$$$$$})}", type.pointer(), type.length(), parts[0].pointer(),
                       parts[0].length(), parts[1].pointer(), parts[1].length(), parts[2].pointer(), parts[2].length(),
                       parts[3].pointer(), parts[3].length(), parts[4].pointer(), parts[4].length()),
        0);
    EXPECT_EQ(type.count(), 7);
    EXPECT_EQ(type[6], 2);
    EXPECT_EQ(toHex(parts[0]), "02 01 01");
    EXPECT_EQ(toHex(parts[1]), "31 00");
    EXPECT_EQ(toHex(parts[2]), "30 0B 06 09 2A 86 48 86 F7 0D 01 07 01");
    EXPECT_EQ(toHex(parts[3]), "A0 02 05 00");
    EXPECT_EQ(toHex(parts[4]), "31 00");
}

// What "{iebnoBOaooooug([ii])no}" finds in the value that has an element of every kind.
struct EveryKind {
    std::int32_t integer = 0, enumerated = 0;
    std::uint8_t boolean = 0;
    Output<std::uint8_t> octets, bits;
    Output<std::int32_t> arcs;
    Output<char> ia5;
    Output<std::uint8_t> printable, t61, universal, bmp;
    std::array<char, 256> utc{}, generalized{};
    std::int32_t high = 0, low = 0;
    Output<std::uint8_t> tagged;

    int read(BerReader* reader) {
        return BerReaderScanf(reader, "{iebnoBOao6ooug([ii])no}", &integer, &enumerated, &boolean, octets.pointer(),
                              octets.length(), bits.pointer(), bits.length(), arcs.pointer(), arcs.length(),
                              ia5.pointer(), printable.pointer(), printable.length(), t61.pointer(), t61.length(),
                              universal.pointer(), universal.length(), bmp.pointer(), bmp.length(), utc.data(),
                              generalized.data(), &high, &low, tagged.pointer(), tagged.length());
    }
};

TEST(reader_test, EveryKindOfElementAsOpenSslWroteIt) {
    EveryKind found;
    const Reader reader = readerOf(codec::kEveryKind);
    ASSERT_EQ(found.read(reader.get()), 0);
    EXPECT_EQ(reader->position, reader->end);
    EXPECT_EQ(found.integer, -129);
    EXPECT_EQ(found.enumerated, 300);
    EXPECT_EQ(found.boolean, 0xFF);
    EXPECT_EQ(toHex(found.octets), "DE AD BE EF");
    EXPECT_EQ(found.bits.count(), 11);
    EXPECT_EQ(toHex(found.bits, 2), "C4 20");
    EXPECT_EQ(std::vector<std::int32_t>(found.arcs.get(), found.arcs.get() + found.arcs.count()),
              (std::vector<std::int32_t>{1, 2, 840, 113549, 1, 9, 1}));
    EXPECT_STREQ(found.ia5.get(), "enroll@vemtrel.test");
    EXPECT_EQ(toHex(found.printable), "56 65 6D 74 72 65 6C");
    EXPECT_EQ(toHex(found.t61), "74 65 6C 65");
    EXPECT_EQ(toHex(found.universal), "00 00 00 41 00 00 00 42");
    EXPECT_EQ(toHex(found.bmp), "00 41 00 42");
    EXPECT_STREQ(found.utc.data(), "231231235959Z");
    EXPECT_STREQ(found.generalized.data(), "20231231235959Z");
    EXPECT_EQ(found.high, INT32_MAX);
    EXPECT_EQ(found.low, INT32_MIN);
    EXPECT_EQ(toHex(found.tagged), "78");
}

TEST(reader_test, InputCutAtEveryByteFailsOrEndsCleanly) {
    // The starts of elements, as "openssl asn1parse" lists them.
    const std::set<std::size_t> starts = {0,  3,  7,  11,  14,  16,  22,  27,  38,  59, 68,
                                          74, 84, 90, 105, 122, 124, 126, 132, 138, 141};
    const Bytes whole = hex(codec::kEveryKind);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        EveryKind found;
        const Reader reader = readerOf(cut);
        EXPECT_EQ(found.read(reader.get()), starts.count(length) != 0 ? -2 : -1) << length;
        EXPECT_LE(reader->position, reader->end) << length;
    }
}

TEST(reader_test, SignedDataCutAtEveryByteFailsOrEndsCleanly) {
    const std::set<std::size_t> starts = {0, 2, 13, 15, 17, 20, 22, 35, 39};
    const Bytes whole = hex(kSignedData);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        Output<std::int32_t> type;
        std::array<Output<std::uint8_t>, 5> parts;
        EXPECT_EQ(BerReaderScanf(readerOf(cut).get(), "{O({$$$$$})}", type.pointer(), type.length(), parts[0].pointer(),
                                 parts[0].length(), parts[1].pointer(), parts[1].length(), parts[2].pointer(),
                                 parts[2].length(), parts[3].pointer(), parts[3].length(), parts[4].pointer(),
                                 parts[4].length()),
                  starts.count(length) != 0 ? -2 : -1)
            << length;
    }
}

TEST(reader_test, RandomInputIsReadWithinItsBounds) {
    constexpr std::uint32_t kSeed = 20261121;
    support::Noise noise(kSeed);
    for (int round = 0; round < 20000; ++round) {
        Bytes input = hex(codec::kEveryKind);
        for (int change = 0; change < 4; ++change)
            input[noise.below(static_cast<std::uint32_t>(input.size()))] = noise.byte();
        EveryKind found;
        const Reader reader = readerOf(input);
        const int result = found.read(reader.get());
        ASSERT_TRUE(result == 0 || result == -1 || result == -2) << "seed " << kSeed << " round " << round;
        ASSERT_GE(reader->position, 0);
        ASSERT_LE(reader->position, reader->end);
    }
}

int scanThrough(BerReader* reader, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const int result = BerReaderVscanf(reader, format, arguments);
    va_end(arguments);
    return result;
}

TEST(reader_test, AListOfArgumentsServesAsWell) {
    std::int32_t value = 0;
    EXPECT_EQ(scanThrough(readerOf("30 03 02 01 05").get(), "{i}", &value), 0);
    EXPECT_EQ(value, 5);
    EXPECT_EQ(scanThrough(nullptr, "{"), -1);
}

TEST(reader_test, CreationSurvivesExhaustedMemory) {
    const std::uint8_t byte = 0x30;
    BerReader* reader = nullptr;
    {
        const support::FailingHeap heap(1);
        reader = BerReaderCreate(&byte, 1);
    }
    EXPECT_EQ(reader, nullptr);
    BerReaderFree(reader);
}

TEST(reader_test, ReadingSurvivesExhaustedMemoryAtEachAllocation) {
    const Reader reader = readerOf(codec::kEveryKind);
    std::vector<int> results;
    results.reserve(20);
    const long failures = support::forEachExhaustion([&] {
        EveryKind found;
        reader->position = 0;
        results.push_back(found.read(reader.get()));
    });
    EXPECT_EQ(failures, 9);  // o B O a o 6 o o o
    EXPECT_EQ(results, (std::vector<int>{-1, -1, -1, -1, -1, -1, -1, -1, -1, 0}));
}

TEST(reader_test, EachAllocatingLetterFailsWithoutMemoryAndStoresNothing) {
    for (const char* format : {"o", "6", "a", "B", "I", "O", "$"}) {
        void* out = nullptr;
        std::int32_t length = 77;
        int result = 0;
        const Reader reader = readerOf("06 02 01 02");
        {
            const support::FailingHeap heap(1);
            result = BerReaderScanf(reader.get(), format, &out, &length);
        }
        EXPECT_EQ(result, -1) << format;
        EXPECT_EQ(out, nullptr) << format;
        EXPECT_EQ(length, 77) << format;
        std::free(out);
    }
}

TEST(reader_test, AClaimBeyondTheInputAllocatesNothing) {
    for (const char* format : {"o", "6", "a", "B", "I", "O", "$"}) {
        void* out = nullptr;
        std::int32_t length = 77;
        int result = 0;
        long allocations = -1;
        const Reader reader = readerOf("06 84 3F FF FF FF 02");
        {
            const support::CountingHeap heap;
            result = BerReaderScanf(reader.get(), format, &out, &length);
            allocations = heap.allocations();
        }
        EXPECT_EQ(result, -1) << format;
        EXPECT_EQ(allocations, 0) << format;
        EXPECT_EQ(out, nullptr) << format;
        EXPECT_EQ(length, 77) << format;
        EXPECT_EQ(reader->position, reader->end) << format;  // what there was is used up
        std::free(out);
    }
}

// Lengths that only an input of hundreds of megabytes can have: the reader is told that it has one, and must refuse
// before it reads there.
TEST(reader_test, CountsBeyondThirtyOneBitsFail) {
    const Reader bits = readerOf("03 84 10 00 00 02 00");  // 2^31 + 8 bits
    const std::int32_t end = bits->end;
    bits->end = INT32_MAX;
    Output<std::uint8_t> bytes;
    EXPECT_EQ(BerReaderScanf(bits.get(), "B", bytes.pointer(), bytes.length()), -1);
    EXPECT_EQ(bytes.count(), -1);
    bits->end = end;

    const Reader digits = readerOf("02 84 40 00 00 00 00");  // 2^31 digits
    digits->end = INT32_MAX;
    Output<char> text;
    EXPECT_EQ(BerReaderScanf(digits.get(), "I", text.pointer(), text.length()), -1);
    EXPECT_EQ(text.get(), nullptr);
}

}  // namespace

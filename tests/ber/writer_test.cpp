#include "ber/writer.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

#include "tests/ber/codec.h"
#include "tests/ber/vectors.h"
#include "tests/support/failing_heap.h"
#include "tests/support/hex.h"

namespace {

using codec::makeWriter;
using codec::output;
using codec::Writer;
using codec::written;
using support::Bytes;
using support::toHex;

constexpr std::int32_t kRsaEncryption[] = {1, 2, 840, 113549, 1, 1, 1};
constexpr std::int32_t kEmail[] = {1, 2, 840, 113549, 1, 9, 1};

static_assert(offsetof(BerWriter, tagPending) == 0);
static_assert(offsetof(BerWriter, pendingTag) == 4);
static_assert(offsetof(BerWriter, buffer) == 8);
static_assert(offsetof(BerWriter, used) == 8 + sizeof(void*));
static_assert(offsetof(BerWriter, capacity) == 12 + sizeof(void*));
static_assert(offsetof(BerWriter, openElements) == 16 + sizeof(void*));
static_assert(offsetof(BerOpenElement, tag) == 0);
static_assert(offsetof(BerOpenElement, classBits) == 4);
static_assert(offsetof(BerOpenElement, start) == 8);
static_assert(offsetof(BerOpenElement, cursor) == 12);
static_assert(offsetof(BerOpenElement, next) == 16);

TEST(writer_test, ANewWriterIsEmpty) {
    const Writer writer = makeWriter();
    ASSERT_NE(writer, nullptr);
    EXPECT_EQ(writer->tagPending, 0);
    EXPECT_EQ(writer->pendingTag, -1);
    EXPECT_NE(writer->buffer, nullptr);
    EXPECT_EQ(writer->used, 0);
    EXPECT_EQ(writer->capacity, 8192);
    EXPECT_EQ(writer->openElements, nullptr);
}

TEST(writer_test, FreeAcceptsNullAndWhatIsStillOpen) {
    BerWriterFree(nullptr);
    BerWriter* writer = BerWriterCreate();
    ASSERT_NE(writer, nullptr);
    EXPECT_EQ(BerWriterPrintf(writer, "{[({", 3), 0);
    BerWriterFree(writer);  // the leak checker sees the nodes
}

TEST(writer_test, IntegersTakeTheShortestForm) {
    const struct {
        std::int32_t value;
        const char* expected;
    } rows[] = {
        {0, "02 01 00"},
        {1, "02 01 01"},
        {127, "02 01 7F"},
        {128, "02 02 00 80"},
        {255, "02 02 00 FF"},
        {256, "02 02 01 00"},
        {32767, "02 02 7F FF"},
        {32768, "02 03 00 80 00"},
        {65537, "02 03 01 00 01"},
        {8388607, "02 03 7F FF FF"},
        {8388608, "02 04 00 80 00 00"},
        {INT32_MAX, "02 04 7F FF FF FF"},
        {-1, "02 01 FF"},
        {-128, "02 01 80"},
        {-129, "02 02 FF 7F"},
        {-256, "02 02 FF 00"},
        {-32768, "02 02 80 00"},
        {-32769, "02 03 FF 7F FF"},
        {-8388608, "02 03 80 00 00"},
        {-8388609, "02 04 FF 7F FF FF"},
        {INT32_MIN, "02 04 80 00 00 00"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(written("i", row.value), row.expected) << row.value;
    EXPECT_EQ(written("e", -129), "0A 02 FF 7F");
    EXPECT_EQ(written("e", 0), "0A 01 00");
}

TEST(writer_test, BooleansAreFfForAnyNonZeroValue) {
    EXPECT_EQ(written("b", 0), "01 01 00");
    EXPECT_EQ(written("b", 1), "01 01 FF");
    EXPECT_EQ(written("b", -1), "01 01 FF");
    EXPECT_EQ(written("b", 0x100), "01 01 FF");
}

TEST(writer_test, NullIsEmpty) {
    EXPECT_EQ(written("n"), "05 00");
}

TEST(writer_test, StringsCarryTheirBytesUnderTheirOwnTag) {
    const struct {
        const char* format;
        const char* expected;
    } rows[] = {
        {"o", "04 03 00 C3 7F"}, {"a", "16 03 00 C3 7F"}, {"P", "13 03 00 C3 7F"}, {"6", "14 03 00 C3 7F"},
        {"M", "14 03 00 C3 7F"}, {"U", "1C 03 00 C3 7F"}, {"m", "1E 03 00 C3 7F"},
    };
    const Bytes bytes = {0x00, 0xC3, 0x7F};
    for (const auto& row : rows)
        EXPECT_EQ(written(row.format, bytes.data(), 3), row.expected) << row.format;
}

TEST(writer_test, EmptyStringsAreALengthOfZero) {
    const Bytes bytes = {0x41};
    const char* const expected[] = {"04 00", "16 00", "13 00", "14 00", "14 00", "1C 00", "1E 00"};
    const char* const formats[] = {"o", "a", "P", "6", "M", "U", "m"};
    for (std::size_t i = 0; i < std::size(formats); ++i) {
        EXPECT_EQ(written(formats[i], bytes.data(), 0), expected[i]);
        EXPECT_EQ(written(formats[i], static_cast<const std::uint8_t*>(nullptr), 0), expected[i]);
    }
}

TEST(writer_test, TimesAreTextWithoutItsNul) {
    EXPECT_EQ(written("u", "231231235959Z"), "17 0D 32 33 31 32 33 31 32 33 35 39 35 39 5A");
    EXPECT_EQ(written("g", "20231231235959Z"), "18 0F 32 30 32 33 31 32 33 31 32 33 35 39 35 39 5A");
    EXPECT_EQ(written("u", ""), "17 00");
    EXPECT_EQ(written("g", ""), "18 00");
}

TEST(writer_test, RawBytesGetNoHeader) {
    const Bytes bytes = support::hex("30 03 02 01 05");
    EXPECT_EQ(written("A", bytes.data(), 5), "30 03 02 01 05");
    EXPECT_EQ(written("{A}", bytes.data(), 5), "30 05 30 03 02 01 05");
    EXPECT_EQ(written("A", bytes.data(), 0), "");
    EXPECT_EQ(written("A", bytes.data(), -1), "failed");
}

TEST(writer_test, LengthsAreMinimal) {
    const struct {
        std::int32_t length;
        const char* header;
    } rows[] = {
        {127, "04 7F"},       {128, "04 81 80"},      {255, "04 81 FF"},
        {256, "04 82 01 00"}, {65535, "04 82 FF FF"}, {65536, "04 83 01 00 00"},
    };
    for (const auto& row : rows) {
        const Bytes content(static_cast<std::size_t>(row.length), 0x5A);
        const Writer writer = makeWriter();
        const Bytes header = support::hex(row.header);
        const auto whole = static_cast<std::int32_t>(header.size()) + row.length;
        EXPECT_EQ(BerWriterPrintf(writer.get(), "o", content.data(), row.length), whole);
        ASSERT_EQ(writer->used, whole);
        EXPECT_EQ(toHex(writer->buffer, header.size()), row.header);
        EXPECT_EQ(std::memcmp(writer->buffer + header.size(), content.data(), content.size()), 0);
    }
}

TEST(writer_test, AContentOfSixteenMegabytesHasAFourByteLength) {
    const Bytes content(0x1000000, 0x5A);
    const Writer writer = makeWriter();
    ASSERT_EQ(BerWriterPrintf(writer.get(), "{o}", content.data(), 0x1000000), 0x1000000 + 6 + 6);
    EXPECT_EQ(toHex(writer->buffer, 12), "30 84 01 00 00 06 04 84 01 00 00 00");
    ASSERT_EQ(writer->used, 0x1000000 + 12);
    EXPECT_EQ(std::memcmp(writer->buffer + 12, content.data(), content.size()), 0);
}

TEST(writer_test, BitStringsCountUnusedBitsAndZeroThem) {
    const Bytes ones(3, 0xFF);
    const char* const expected[] = {
        "03 01 00",       "03 02 07 80",    "03 02 06 C0",    "03 02 05 E0",    "03 02 04 F0",    "03 02 03 F8",
        "03 02 02 FC",    "03 02 01 FE",    "03 02 00 FF",    "03 03 07 FF 80", "03 03 06 FF C0", "03 03 05 FF E0",
        "03 03 04 FF F0", "03 03 03 FF F8", "03 03 02 FF FC", "03 03 01 FF FE", "03 03 00 FF FF", "03 04 07 FF FF 80",
    };
    for (std::int32_t bits = 0; bits < static_cast<std::int32_t>(std::size(expected)); ++bits)
        EXPECT_EQ(written("B", ones.data(), bits), expected[bits]) << bits;
    EXPECT_EQ(written("B", static_cast<const std::uint8_t*>(nullptr), 0), "03 01 00");
    EXPECT_EQ(written("B", ones.data(), -1), "failed");
    EXPECT_EQ(written("B", ones.data(), INT32_MIN), "failed");
}

TEST(writer_test, ABitStringReadsNoFurtherThanItsBits) {
    const std::vector<std::uint8_t> one(1, 0xFF);  // the address sanitizer guards its end
    EXPECT_EQ(written("B", one.data(), 1), "03 02 07 80");
}

std::string writtenHex(const std::string& text) {
    return written("I", text.c_str(), static_cast<std::int32_t>(text.size()));
}

TEST(writer_test, HexTextIsWrittenAsItStands) {
    EXPECT_EQ(writtenHex("010001"), "02 03 01 00 01");
    EXPECT_EQ(writtenHex("00ff"), "02 02 00 FF");
    EXPECT_EQ(writtenHex("FF"), "02 01 FF");  // no sign byte
    EXPECT_EQ(writtenHex("0123456789abcdefABCDEF"), "02 0B 01 23 45 67 89 AB CD EF AB CD EF");
    EXPECT_EQ(writtenHex(""), "02 00");
}

TEST(writer_test, AnOddCountOfDigitsStartsWithALowNibble) {
    EXPECT_EQ(writtenHex("F"), "02 01 0F");
    EXPECT_EQ(writtenHex("10001"), "02 03 01 00 01");
    EXPECT_EQ(writtenHex("abc"), "02 02 0A BC");
}

TEST(writer_test, HexTextHoldsNothingButDigits) {
    for (int c = 1; c < 256; ++c) {
        const char letter = static_cast<char>(c);
        const bool digit = std::strchr("0123456789abcdefABCDEF", letter) != nullptr;
        EXPECT_EQ(writtenHex(std::string("0") + letter) == "failed", !digit) << c;
        EXPECT_EQ(writtenHex(std::string(1, letter) + "00") == "failed", !digit) << c;
    }
}

TEST(writer_test, TheHexLengthMustBeTheTextsOwn) {
    EXPECT_EQ(written("I", "010001", 5), "failed");
    EXPECT_EQ(written("I", "010001", 7), "failed");
    EXPECT_EQ(written("I", "010001", -6), "failed");
    EXPECT_EQ(written("I", "", 1), "failed");
    EXPECT_EQ(written("I",
                      "01\0"
                      "01",
                      5),
              "failed");
}

TEST(writer_test, HexTextFillsItsStagingArrayAndNoMore) {
    std::string expected = "02 81 80";
    for (int i = 0; i < 128; ++i)
        expected += " A5";
    std::string text;
    while (text.size() < 256)
        text += "A5";
    EXPECT_EQ(writtenHex(text), expected);
    EXPECT_EQ(writtenHex(text.substr(1)), "02 81 80 05" + expected.substr(11));
    EXPECT_EQ(writtenHex(text + "0"), "failed");
    EXPECT_EQ(writtenHex(text + text), "failed");
    EXPECT_EQ(writtenHex(std::string(1000000, '7')), "failed");
}

std::string writtenArcs(const std::vector<std::int32_t>& arcs) {
    return written("O", arcs.data(), static_cast<std::int32_t>(arcs.size()));
}

TEST(writer_test, ObjectIdentifiers) {
    EXPECT_EQ(written("O", kRsaEncryption, 7), "06 09 2A 86 48 86 F7 0D 01 01 01");
    EXPECT_EQ(writtenArcs({2, 5, 4, 3}), "06 03 55 04 03");
    EXPECT_EQ(writtenArcs({0, 0}), "06 01 00");
    EXPECT_EQ(writtenArcs({0, 39}), "06 01 27");
    EXPECT_EQ(writtenArcs({1, 39}), "06 01 4F");
    EXPECT_EQ(writtenArcs({2, 39}), "06 01 77");
    EXPECT_EQ(writtenArcs({1, 3, 0}), "06 02 2B 00");
    EXPECT_EQ(writtenArcs({1, 3, 127, 128}), "06 04 2B 7F 81 00");
    EXPECT_EQ(writtenArcs({1, 3, 16383, 16384}), "06 06 2B FF 7F 81 80 00");
    EXPECT_EQ(writtenArcs({1, 3, 2097151, 2097152}), "06 08 2B FF FF 7F 81 80 80 00");
    EXPECT_EQ(writtenArcs({1, 3, 268435455, 268435456}), "06 0A 2B FF FF FF 7F 81 80 80 80 00");
    EXPECT_EQ(writtenArcs({1, 3, INT32_MAX}), "06 06 2B 87 FF FF FF 7F");
}

TEST(writer_test, ObjectIdentifiersOutOfBoundsFail) {
    EXPECT_EQ(writtenArcs({3, 0}), "failed");
    EXPECT_EQ(writtenArcs({-1, 0}), "failed");
    EXPECT_EQ(writtenArcs({1, 40}), "failed");
    EXPECT_EQ(writtenArcs({2, 40}), "failed");  // allowed by X.690, but refused here
    EXPECT_EQ(writtenArcs({1, -1}), "failed");
    EXPECT_EQ(writtenArcs({1, 2, -1}), "failed");
    EXPECT_EQ(writtenArcs({1, 2, 3, INT32_MIN}), "failed");
    EXPECT_EQ(written("O", kRsaEncryption, 1), "failed");
    EXPECT_EQ(written("O", kRsaEncryption, 0), "failed");
    EXPECT_EQ(written("O", kRsaEncryption, -7), "failed");
    EXPECT_EQ(written("O", static_cast<const std::int32_t*>(nullptr), 2), "failed");
}

TEST(writer_test, FiftyArcsOfAnySizeFit) {
    std::vector<std::int32_t> arcs(50, INT32_MAX);
    arcs[0] = 2;
    arcs[1] = 39;
    std::string expected = "06 81 F1 77";  // 1 + 48 * 5 = 241
    for (int i = 0; i < 48; ++i)
        expected += " 87 FF FF FF 7F";
    EXPECT_EQ(writtenArcs(arcs), expected);
    arcs.push_back(1);
    EXPECT_EQ(writtenArcs(arcs), "failed");
}

TEST(writer_test, BracketsOpenAndCloseElements) {
    EXPECT_EQ(written("{}"), "30 00");
    EXPECT_EQ(written("[]"), "31 00");
    EXPECT_EQ(written("{]"), "30 00");  // the closing letters } and ] do the same
    EXPECT_EQ(written("[}"), "31 00");
    EXPECT_EQ(written("{)"), "B0 00");
    EXPECT_EQ(written("()", 3), "A3 00");
    EXPECT_EQ(written("(}", 3), "23 00");
    EXPECT_EQ(written("(]", 3), "23 00");
    EXPECT_EQ(written("{i{[n]b}}", 5, 1), "30 0C 02 01 05 30 07 31 02 05 00 01 01 FF");
    EXPECT_EQ(written("{}{}"), "30 00 30 00");
}

TEST(writer_test, OpenElementsAreANodeEach) {
    const Writer writer = makeWriter();
    ASSERT_EQ(BerWriterPrintf(writer.get(), "{iT(", 5, 9, 0x40, 31), 3);
    EXPECT_EQ(writer->used, 0);
    const BerOpenElement* outer = writer->openElements;
    ASSERT_NE(outer, nullptr);
    EXPECT_EQ(outer->tag, 16);
    EXPECT_EQ(outer->classBits, 0);
    EXPECT_EQ(outer->start, 7);  // an identifier of one byte, and 6
    EXPECT_EQ(outer->cursor, 10);
    const BerOpenElement* inner = outer->next;
    ASSERT_NE(inner, nullptr);
    EXPECT_EQ(inner->tag, 31);
    EXPECT_EQ(inner->classBits, 0x40);
    EXPECT_EQ(inner->start, 18);  // an identifier of two bytes, and 6
    EXPECT_EQ(inner->cursor, 18);
    EXPECT_EQ(inner->next, nullptr);
    EXPECT_EQ(BerWriterPrintf(writer.get(), "}}"), 3 + 2);
    EXPECT_EQ(output(writer), "30 06 02 01 05 7F 1F 00");
    EXPECT_EQ(writer->openElements, nullptr);
}

TEST(writer_test, TheReserveFollowsTheSizeOfTheTag) {
    const struct {
        std::int32_t tag;
        std::int32_t reserve;
        const char* closed;
    } rows[] = {
        {0, 7, "A0 00"},
        {30, 7, "BE 00"},
        {31, 8, "BF 1F 00"},
        {127, 8, "BF 7F 00"},
        {128, 9, "BF 81 00 00"},
        {16383, 9, "BF FF 7F 00"},
        {16384, 10, "BF 81 80 00 00"},
        {2097152, 11, "BF 81 80 80 00 00"},
        {268435456, 12, "BF 81 80 80 80 00 00"},
        {INT32_MAX, 12, "BF 87 FF FF FF 7F 00"},
    };
    for (const auto& row : rows) {
        const Writer writer = makeWriter();
        ASSERT_EQ(BerWriterPrintf(writer.get(), "(", row.tag), 0) << row.tag;
        EXPECT_EQ(writer->openElements->start, row.reserve) << row.tag;
        ASSERT_GE(BerWriterPrintf(writer.get(), ")"), 0) << row.tag;
        EXPECT_EQ(output(writer), row.closed) << row.tag;
    }
}

TEST(writer_test, AWaitingTagTakesThePlaceOfEveryDefault) {
    const Bytes bytes = {0xAA};
    EXPECT_EQ(written("ti", 5, 1), "05 01 01");
    EXPECT_EQ(written("te", 5, 1), "05 01 01");
    EXPECT_EQ(written("tb", 5, 1), "05 01 FF");
    EXPECT_EQ(written("tn", 4), "04 00");
    for (const char* format : {"to", "ta", "tP", "t6", "tM", "tU", "tm"})
        EXPECT_EQ(written(format, 9, bytes.data(), 1), "09 01 AA") << format;
    EXPECT_EQ(written("tB", 9, bytes.data(), 8), "09 02 00 AA");
    EXPECT_EQ(written("tI", 9, "1", 1), "09 01 01");
    EXPECT_EQ(written("tO", 9, kEmail, 2), "09 01 2A");
    EXPECT_EQ(written("tu", 9, "Z"), "09 01 5A");
    EXPECT_EQ(written("tg", 9, "Z"), "09 01 5A");
    EXPECT_EQ(written("t{}", 9), "29 00");
    EXPECT_EQ(written("t[]", 9), "29 00");
    EXPECT_EQ(written("tn", 0), "00 00");
}

TEST(writer_test, AWaitingClassReachesEveryElement) {
    const Bytes bytes = {0xAA};
    EXPECT_EQ(written("Ti", 2, 0x80, 1), "82 01 01");
    EXPECT_EQ(written("Te", 2, 0x80, 1), "82 01 01");
    EXPECT_EQ(written("Tb", 2, 0x80, 1), "82 01 FF");
    EXPECT_EQ(written("Tn", 2, 0x40), "42 00");
    for (const char* format : {"To", "Ta", "TP", "T6", "TM", "TU", "Tm"})
        EXPECT_EQ(written(format, 2, 0xC0, bytes.data(), 1), "C2 01 AA") << format;
    EXPECT_EQ(written("TB", 2, 0x80, bytes.data(), 8), "82 02 00 AA");
    EXPECT_EQ(written("TI", 2, 0x80, "1", 1), "82 01 01");
    EXPECT_EQ(written("TO", 2, 0x80, kEmail, 2), "82 01 2A");
    EXPECT_EQ(written("Tu", 2, 0x80, "Z"), "82 01 5A");
    EXPECT_EQ(written("Tg", 2, 0x80, "Z"), "82 01 5A");
    EXPECT_EQ(written("T{}", 2, 0x80), "A2 00");
    EXPECT_EQ(written("T[}", 2, 0x80), "A2 00");
    EXPECT_EQ(written("Tn", 2, 0xFF), "E2 00");   // the low five bits of the class are not the tag's
    EXPECT_EQ(written("Tn", 2, 0x1A0), "A2 00");  // a byte of it is taken
    EXPECT_EQ(written("Tn", 40, 0xFF), "FF 28 00");
}

TEST(writer_test, AWaitingClassReachesRoundBracketsButItsTagDoesNot) {
    EXPECT_EQ(written("T()", 9, 0x40, 3), "E3 00");
    EXPECT_EQ(written("T(}", 9, 0x40, 3), "63 00");
    EXPECT_EQ(written("t()", 9, 3), "A3 00");
    EXPECT_EQ(written("t(n)", 9, 3), "A3 02 05 00");  // and does not wait any longer
}

TEST(writer_test, ClassBitsAreOred) {
    EXPECT_EQ(written("T{{O", 0, 0xA0, kEmail, 7), "");  // open still
    EXPECT_EQ(written("T{{}}", 0, 0xA0), "A0 02 30 00");
    EXPECT_EQ(written("T{)", 1, 0x40), "E1 00");
    EXPECT_EQ(written("T{}", 1, 0x20), "21 00");
}

TEST(writer_test, ATagHoldsForOneElement) {
    EXPECT_EQ(written("Tii", 7, 0x80, 1, 2), "87 01 01 02 01 02");
    EXPECT_EQ(written("T{n}n", 7, 0x80), "A7 02 05 00 05 00");
    EXPECT_EQ(written("ttn", 7, 8), "08 00");
    EXPECT_EQ(written("tTn", 7, 8, 0x80), "88 00");
    EXPECT_EQ(written("Ttn", 7, 0x80, 8), "08 00");
    const Bytes bytes = {0xAA};
    EXPECT_EQ(written("TAn", 7, 0x80, bytes.data(), 1), "AA 05 00");  // used up by an element without a header
    EXPECT_EQ(written("{T}n", 7, 0x80), "30 00 05 00");               // and by a closing
}

TEST(writer_test, ATagWaitsForTheNextCallButItsClassDoesNot) {
    const Writer writer = makeWriter();
    ASSERT_EQ(BerWriterPrintf(writer.get(), "T", 7, 0x80), 0);
    EXPECT_EQ(writer->tagPending, 0);
    EXPECT_EQ(writer->pendingTag, 7);
    ASSERT_EQ(BerWriterPrintf(writer.get(), "nn"), 4);
    EXPECT_EQ(output(writer), "07 00 05 00");
    EXPECT_EQ(writer->tagPending, 0);
    EXPECT_EQ(writer->pendingTag, -1);
}

TEST(writer_test, AnEmptyFormatChangesNothing) {
    const Writer writer = makeWriter();
    ASSERT_EQ(BerWriterPrintf(writer.get(), "t", 7), 0);
    EXPECT_EQ(BerWriterPrintf(writer.get(), ""), 0);
    EXPECT_EQ(writer->pendingTag, 7);
    EXPECT_EQ(writer->used, 0);
}

TEST(writer_test, TagsFromThirtyOneUpTakeFurtherBytes) {
    EXPECT_EQ(written("Tn", 30, 0x80), "9E 00");
    EXPECT_EQ(written("Tn", 31, 0x80), "9F 1F 00");
    EXPECT_EQ(written("Tn", 127, 0x80), "9F 7F 00");
    EXPECT_EQ(written("Tn", 128, 0x80), "9F 81 00 00");
    EXPECT_EQ(written("Tn", 16383, 0x40), "5F FF 7F 00");
    EXPECT_EQ(written("Tn", 16384, 0), "1F 81 80 00 00");
    EXPECT_EQ(written("Tn", INT32_MAX, 0), "1F 87 FF FF FF 7F 00");
}

TEST(writer_test, NegativeTagsFail) {
    EXPECT_EQ(written("tn", -2), "failed");
    EXPECT_EQ(written("tn", INT32_MIN), "failed");
    EXPECT_EQ(written("ti", -2, 1), "failed");
    EXPECT_EQ(written("(", -1), "failed");
    EXPECT_EQ(written("(", -2), "failed");
    EXPECT_EQ(written("(", INT32_MIN), "failed");
    EXPECT_EQ(written("t{}", -2), "failed");  // when the identifier is written, on closing
    EXPECT_EQ(written("t{}", INT32_MIN), "failed");
    EXPECT_EQ(written("tn", -1), "05 00");  // -1 is no tag at all
}

TEST(writer_test, NegativeLengthsFail) {
    const Bytes bytes = {0xAA};
    for (const char* format : {"o", "a", "P", "6", "M", "U", "m", "A"}) {
        EXPECT_EQ(written(format, bytes.data(), -1), "failed") << format;
        EXPECT_EQ(written(format, bytes.data(), INT32_MIN), "failed") << format;
    }
}

TEST(writer_test, NullArgumentsFail) {
    EXPECT_EQ(BerWriterPrintf(nullptr, "n"), -1);
    const Writer writer = makeWriter();
    EXPECT_EQ(BerWriterPrintf(writer.get(), nullptr), -1);
    for (const char* format : {"o", "a", "P", "6", "M", "U", "m", "A", "B", "I"}) {
        EXPECT_EQ(written(format, static_cast<const std::uint8_t*>(nullptr), 3), "failed") << format;
        EXPECT_EQ(written(format, static_cast<const std::uint8_t*>(nullptr), 1), "failed") << format;
    }
    for (const char* format : {"u", "g", "I"})
        EXPECT_EQ(written(format, static_cast<const char*>(nullptr), 0), "failed") << format;
}

TEST(writer_test, LettersOutsideTheTableFail) {
    for (int c = 1; c < 256; ++c) {
        if (std::strchr("tT{[(}])ieBnobIOaP6MUmugA", c) != nullptr)
            continue;
        const char format[] = {'n', static_cast<char>(c), 'n', '\0'};
        const Writer writer = makeWriter();
        EXPECT_EQ(BerWriterPrintf(writer.get(), format), -1) << c;
        EXPECT_EQ(output(writer), "05 00") << c;
    }
}

TEST(writer_test, RawBytesOfLengthZeroWriteNothing) {
    const Bytes bytes = {0x41};
    EXPECT_EQ(written("A", bytes.data(), 0), "");
    EXPECT_EQ(written("A", static_cast<const std::uint8_t*>(nullptr), 0), "");
    EXPECT_EQ(written("nA", static_cast<const std::uint8_t*>(nullptr), 0), "05 00");
}

TEST(writer_test, ClosingWithNothingOpenFailsAndWritesNothing) {
    for (const char* format : {"}", "]", ")"}) {
        const Writer writer = makeWriter();
        EXPECT_EQ(BerWriterPrintf(writer.get(), format), -1) << format;
        EXPECT_EQ(writer->used, 0);
        ASSERT_EQ(BerWriterPrintf(writer.get(), "n"), 2);
        EXPECT_EQ(BerWriterPrintf(writer.get(), format), -1) << format;
        EXPECT_EQ(output(writer), "05 00");
    }
    EXPECT_EQ(written("{}}"), "failed");
}

TEST(writer_test, AFailureKeepsWhatWasWrittenAndOpen) {
    const Writer writer = makeWriter();
    const Bytes bytes = {0xAA};
    EXPECT_EQ(BerWriterPrintf(writer.get(), "{i{o", 1, bytes.data(), -1), -1);
    EXPECT_EQ(BerWriterPrintf(writer.get(), "O", kEmail, 1), -1);
    EXPECT_EQ(BerWriterPrintf(writer.get(), "I", "0g", 2), -1);
    EXPECT_EQ(BerWriterPrintf(writer.get(), "B", bytes.data(), -1), -1);
    EXPECT_EQ(BerWriterPrintf(writer.get(), "b}}", 1), 3 + 2 + 2);
    EXPECT_EQ(output(writer), "30 08 02 01 01 30 03 01 01 FF");
}

TEST(writer_test, ATagWhoseStepFailedStillWaits) {
    const Writer writer = makeWriter();
    EXPECT_EQ(BerWriterPrintf(writer.get(), "TO", 7, 0x80, kEmail, 1), -1);
    EXPECT_EQ(writer->pendingTag, 7);
    EXPECT_EQ(BerWriterPrintf(writer.get(), "nn"), 4);
    EXPECT_EQ(output(writer), "07 00 05 00");
}

TEST(writer_test, TheResultIsTheNumberOfBytes) {
    const Writer writer = makeWriter();
    EXPECT_EQ(BerWriterPrintf(writer.get(), "{{"), 0);
    EXPECT_EQ(BerWriterPrintf(writer.get(), "ti", 5, 300), 4);
    EXPECT_EQ(BerWriterPrintf(writer.get(), "}"), 2);
    EXPECT_EQ(BerWriterPrintf(writer.get(), "n}"), 2 + 2);
    EXPECT_EQ(writer->used, 10);
}

TEST(writer_test, ContentBeyondTheBufferGrowsIt) {
    const Bytes content(100000, 0x5A);
    const Writer writer = makeWriter();
    ASSERT_EQ(BerWriterPrintf(writer.get(), "o", content.data(), 8188), 8192);
    EXPECT_EQ(writer->capacity, 8192);  // filled to the last byte
    ASSERT_EQ(BerWriterPrintf(writer.get(), "n"), 2);
    EXPECT_EQ(writer->capacity, 16384);
    ASSERT_EQ(BerWriterPrintf(writer.get(), "o", content.data(), 100000), 100005);
    EXPECT_EQ(writer->capacity, 14 * 8192);  // the least multiple that holds 108199
    EXPECT_EQ(writer->used, 8192 + 2 + 100005);
    EXPECT_EQ(toHex(writer->buffer, 4), "04 82 1F FC");
    EXPECT_EQ(toHex(writer->buffer + 8192, 7), "05 00 04 83 01 86 A0");
    EXPECT_EQ(std::memcmp(writer->buffer + 4, content.data(), 8188), 0);
    EXPECT_EQ(std::memcmp(writer->buffer + 8199, content.data(), 100000), 0);
}

TEST(writer_test, TheBufferGrowsByTheLeastNumberOfWholeSteps) {
    const Bytes content(2 * 8192 + 1, 0x5A);
    const struct {
        std::int32_t length;
        std::int32_t capacity;
    } rows[] = {{8192, 8192}, {8193, 2 * 8192}, {2 * 8192, 2 * 8192}, {2 * 8192 + 1, 3 * 8192}};
    for (const auto& row : rows) {
        const Writer writer = makeWriter();
        ASSERT_EQ(BerWriterPrintf(writer.get(), "A", content.data(), row.length), row.length);
        EXPECT_EQ(writer->capacity, row.capacity) << row.length;
    }
}

TEST(writer_test, OpeningGrowsTheBufferForItsReserve) {
    const Bytes content(8186, 0x5A);
    const Writer writer = makeWriter();
    ASSERT_EQ(BerWriterPrintf(writer.get(), "A{", content.data(), 8185), 8185);
    EXPECT_EQ(writer->capacity, 8192);  // the reserve of 7 just fits
    ASSERT_EQ(BerWriterPrintf(writer.get(), "}"), 2);
    const Writer other = makeWriter();
    ASSERT_EQ(BerWriterPrintf(other.get(), "A{", content.data(), 8186), 8186);
    EXPECT_EQ(other->capacity, 16384);
    ASSERT_EQ(BerWriterPrintf(other.get(), "n}"), 4);
    EXPECT_EQ(toHex(other->buffer + 8186, 4), "30 02 05 00");
}

TEST(writer_test, ManyCallsAcrossTheBufferEndKeepEveryByte) {
    const Writer writer = makeWriter();
    ASSERT_EQ(BerWriterPrintf(writer.get(), "{{"), 0);
    for (std::int32_t i = 0; i < 20000; ++i)
        ASSERT_GT(BerWriterPrintf(writer.get(), "i", i % 100), 0);
    ASSERT_EQ(BerWriterPrintf(writer.get(), "}}"), 4 + 4);
    ASSERT_EQ(writer->used, 60008);
    EXPECT_EQ(toHex(writer->buffer, 8), "30 82 EA 64 30 82 EA 60");
    for (std::size_t i = 0; i < 20000; ++i) {
        const Bytes element = {2, 1, static_cast<std::uint8_t>(i % 100)};
        ASSERT_EQ(std::memcmp(writer->buffer + 8 + 3 * i, element.data(), 3), 0) << i;
    }
}

TEST(writer_test, AValueOverSeveralCallsWithEachElementFormOfARequest) {
    const Writer writer = makeWriter();
    const char email[] = "enroll@vemtrel.test";
    ASSERT_GT(BerWriterPrintf(writer.get(), "{i", 0), 0);
    ASSERT_GT(BerWriterPrintf(writer.get(), "{}"), 0);
    ASSERT_GT(BerWriterPrintf(writer.get(), "{{On}", kRsaEncryption, 7), 0);
    const Bytes key = support::hex("30 09 02 02 00 AB 02 03 01 00 01");
    ASSERT_GT(BerWriterPrintf(writer.get(), "B}", key.data(), 88), 0);
    ASSERT_GT(BerWriterPrintf(writer.get(), "T{{O", 0, 0xA0, kEmail, 7), 0);
    ASSERT_GT(BerWriterPrintf(writer.get(), "[a]}}}", email, 19), 0);
    EXPECT_EQ(writer->openElements, nullptr);
    EXPECT_EQ(output(writer),
              "30 4A 02 01 00 30 00 30 1D 30 0D 06 09 2A 86 48 86 F7 0D 01 01 01 05 00 03 0C 00 30 09 02 02 00 AB 02 "
              "03 01 00 01 A0 24 30 22 06 09 2A 86 48 86 F7 0D 01 09 01 31 15 16 13 65 6E 72 6F 6C 6C 40 76 65 6D 74 "
              "72 65 6C 2E 74 65 73 74");
}

TEST(writer_test, APublicKeyOfHexExponent) {
    const Bytes modulus = {0x00, 0xAB};
    EXPECT_EQ(written("{ToI}", 2, 0, modulus.data(), 2, "010001", 6), "30 09 02 02 00 AB 02 03 01 00 01");
}

TEST(writer_test, EveryKindOfElementIsAsOpenSslWritesIt) {
    const Bytes octets = {0xDE, 0xAD, 0xBE, 0xEF};
    const Bytes bits = {0xC4, 0x3F};
    const Bytes universal = support::hex("00000041 00000042");
    const Bytes bmp = support::hex("0041 0042");
    EXPECT_EQ(written("{iebnoBOaP6Umug([ii])TnTo}", -129, 300, 1, octets.data(), 4, bits.data(), 11, kEmail, 7,
                      "enroll@vemtrel.test", 19, "Vemtrel", 7, "tele", 4, universal.data(), 8, bmp.data(), 4,
                      "231231235959Z", "20231231235959Z", 0, INT32_MAX, INT32_MIN, 31, 0x80, 200, 0x40, "x", 1),
              codec::kEveryKind);
}

std::int32_t printThrough(BerWriter* writer, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const int result = BerWriterVprintf(writer, format, arguments);
    va_end(arguments);
    return result;
}

TEST(writer_test, AListOfArgumentsServesAsWell) {
    const Writer writer = makeWriter();
    EXPECT_EQ(printThrough(writer.get(), "{Ti}", 3, 0x80, 77), 5);
    EXPECT_EQ(output(writer), "30 03 83 01 4D");
    EXPECT_EQ(printThrough(nullptr, "n"), -1);
}

// The sizes stand in int32 fields; what goes beyond them is refused before a byte is read or an allocation asked for.
TEST(writer_test, SizesBeyondThirtyOneBitsFail) {
    const Writer writer = makeWriter();
    const Bytes bytes = {0xAA};
    EXPECT_EQ(BerWriterPrintf(writer.get(), "o", bytes.data(), INT32_MAX), -1);
    EXPECT_EQ(BerWriterPrintf(writer.get(), "A", bytes.data(), INT32_MAX), -1);  // the buffer grows by whole steps
    EXPECT_EQ(writer->used, 0);
    EXPECT_EQ(writer->capacity, 8192);

    writer->used = writer->capacity = INT32_MAX - 3;
    EXPECT_EQ(BerWriterPrintf(writer.get(), "{"), -1);
    EXPECT_EQ(BerWriterPrintf(writer.get(), "i", 70000), -1);
    EXPECT_EQ(BerWriterPrintf(writer.get(), "A", bytes.data(), 4), -1);
    EXPECT_EQ(writer->used, INT32_MAX - 3);
    EXPECT_EQ(writer->openElements, nullptr);
    writer->used = 0;
    writer->capacity = 8192;
}

TEST(writer_test, TheLargestBitCountIsRoundedWithoutOverflow) {
    const Writer writer = makeWriter();
    const Bytes bytes = {0xAA};
    int result = 0;
    {
        const support::FailingHeap heap(1);  // the growth to 2^28 bytes, before any is copied
        result = BerWriterPrintf(writer.get(), "B", bytes.data(), INT32_MAX);
    }
    EXPECT_EQ(result, -1);
    EXPECT_EQ(writer->used, 0);
}

TEST(writer_test, CreationSurvivesExhaustedMemory) {
    bool wrong = false;
    const long failures = support::forEachExhaustion([&wrong, n = 0]() mutable {
        BerWriter* writer = BerWriterCreate();
        wrong = wrong || (++n <= 2) != (writer == nullptr);
        BerWriterFree(writer);
    });
    EXPECT_EQ(failures, 2);  // the state and the buffer
    EXPECT_FALSE(wrong);
}

TEST(writer_test, WritingSurvivesExhaustedMemory) {
    const Bytes content(10000, 0x5A);
    std::vector<int> results;
    results.reserve(10);
    const long failures = support::forEachExhaustion([&] {
        const Writer writer = makeWriter();
        if (writer == nullptr)
            return;
        results.push_back(BerWriterPrintf(writer.get(), "n{i{o}}", 5, content.data(), 10000));
    });
    EXPECT_EQ(failures, 2 + 2 + 1);  // creation, two nodes, one growth
    EXPECT_EQ(results, (std::vector<int>{-1, -1, -1, 2 + 3 + 10004 + 4 + 4}));
}

TEST(writer_test, AWriterGoesOnAfterExhaustedMemory) {
    const Bytes content(10000, 0x5A);
    const Writer writer = makeWriter();
    ASSERT_EQ(BerWriterPrintf(writer.get(), "{n"), 2);
    int opened = 0;
    int grown = 0;
    {
        const support::FailingHeap heap(1);
        opened = BerWriterPrintf(writer.get(), "{");
    }
    {
        const support::FailingHeap heap(1);
        grown = BerWriterPrintf(writer.get(), "o", content.data(), 10000);
    }
    EXPECT_EQ(opened, -1);
    EXPECT_EQ(grown, -1);
    EXPECT_EQ(BerWriterPrintf(writer.get(), "n}"), 2 + 2);
    EXPECT_EQ(output(writer), "30 04 05 00 05 00");
}

TEST(writer_test, OpeningThatCannotGrowLeavesNoNode) {
    const Bytes content(8190, 0x5A);
    const Writer writer = makeWriter();
    ASSERT_EQ(BerWriterPrintf(writer.get(), "A", content.data(), 8190), 8190);
    int result = 0;
    {
        const support::FailingHeap heap(2);  // the node is had, the growth is not
        result = BerWriterPrintf(writer.get(), "{");
    }
    EXPECT_EQ(result, -1);
    EXPECT_EQ(writer->openElements, nullptr);
    EXPECT_EQ(writer->capacity, 8192);
}

}  // namespace

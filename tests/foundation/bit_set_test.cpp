#include "foundation/bit_set.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <functional>
#include <new>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

#include "foundation/exceptions.h"
#include "tests/support/failing_heap.h"
#include "tests/support/hex.h"
#include "tests/support/noise.h"
#include "tests/support/vtable.h"

namespace {

// The fields in their order behind the table of virtual operations, and nothing else.
struct Layout : MiBitSet {
    static std::ptrdiff_t distance(const Layout& object, const void* field) {
        return static_cast<const char*>(field) - reinterpret_cast<const char*>(&object);
    }
    static void check() {
        const Layout object;
        EXPECT_EQ(distance(object, &object.bytes), static_cast<std::ptrdiff_t>(sizeof(MiObject)));
        EXPECT_EQ(distance(object, &object.bits), static_cast<std::ptrdiff_t>(sizeof(MiObject) + sizeof(MiByte)));
    }
};
static_assert(std::is_base_of_v<MiObject, MiBitSet>);
static_assert(std::has_virtual_destructor_v<MiBitSet>);
static_assert(sizeof(MiBitSet) == sizeof(MiObject) + sizeof(MiByte) + sizeof(void*));

MiByte bytesOf(const char* hex) {
    const support::Bytes bytes = support::hex(hex);
    return {reinterpret_cast<const char*>(bytes.data()), static_cast<unsigned int>(bytes.size())};
}

std::string textOf(const MiBitSet& set) {
    const MiString text = set.GetBitsString();
    return text.Empty() ? "" : text.GetChars();
}

std::string hexOf(const MiBitSet& set) {
    const MiByte& bytes = set.GetByte();
    return support::toHex(reinterpret_cast<const std::uint8_t*>(bytes.GetChars()), bytes.GetLength());
}

// The set as its count of bits and its bytes, such as "3: A0".
std::string shown(const MiBitSet& set) {
    return std::to_string(set.GetBitLength()) + ": " + hexOf(set);
}

std::string bitsText(support::Noise& noise, unsigned int count) {
    std::string text;
    while (text.size() < count)
        text += noise.byte() % 2 == 0 ? '0' : '1';
    return text;
}

// Two bits and six of padding that are all on, as a decoder may meet them.
MiBitSet padded() {
    MiBitSet set;
    set.SetBitsByte("\x7F", 0, 2);
    return set;
}

TEST(bit_set_test, FieldsStandInOrder) {
    Layout::check();
    EXPECT_EQ(support::firstOwnSlot<MiBitSet>(), 1);  // the destructor is the only virtual operation
}

TEST(bit_set_test, ConstructorsSayTheirLength) {
    EXPECT_EQ(shown(MiBitSet()), "0: ");
    EXPECT_TRUE(MiBitSet().Empty());
    EXPECT_EQ(shown(MiBitSet(0U)), "0: ");
    EXPECT_EQ(shown(MiBitSet(1U)), "1: 00");
    EXPECT_EQ(shown(MiBitSet(8U)), "8: 00");
    EXPECT_EQ(shown(MiBitSet(9U)), "9: 00 00");
    EXPECT_FALSE(MiBitSet(1U).Empty());
    EXPECT_EQ(shown(MiBitSet("101")), "3: A0");
    EXPECT_EQ(shown(MiBitSet(bytesOf("FF FF"), 11)), "11: FF E0");
    EXPECT_EQ(shown(MiBitSet(bytesOf("00 12 FF"), 1, 11)), "11: 12 E0");
}

TEST(bit_set_test, BitZeroIsTheTopBitOfTheFirstByte) {
    const MiBitSet set(bytesOf("80 01"), 16);
    for (unsigned int i = 0; i < 16; ++i) {
        EXPECT_EQ(set.Get(i), i == 0 || i == 15) << i;
        EXPECT_EQ(set[i], i == 0 || i == 15) << i;
    }
}

TEST(bit_set_test, APositionPastTheEndIsOutOfRange) {
    MiBitSet set(bytesOf("FF FF"), 11);
    EXPECT_TRUE(set.Get(10));
    EXPECT_THROW((void)set.Get(11), MiOutOfRangeExp);
    EXPECT_THROW((void)set[11], MiOutOfRangeExp);
    EXPECT_THROW((void)set.Get(UINT_MAX), MiOutOfRangeExp);
    EXPECT_THROW(set.Set(11, false), MiOutOfRangeExp);
    EXPECT_THROW((void)MiBitSet().Get(0), MiOutOfRangeExp);
    EXPECT_THROW(MiBitSet().Set(0, true), MiOutOfRangeExp);
    EXPECT_EQ(shown(set), "11: FF E0");
}

TEST(bit_set_test, SetChangesOneBit) {
    MiBitSet set(11U);
    set.Set(0, true);
    EXPECT_EQ(shown(set), "11: 80 00");
    set.Set(10, true);
    EXPECT_EQ(shown(set), "11: 80 20");
    set.Set(0, true);
    EXPECT_EQ(shown(set), "11: 80 20");
    set.Set(0, false);
    EXPECT_EQ(shown(set), "11: 00 20");
}

TEST(bit_set_test, CopiesAreDeep) {
    MiBitSet original("1101");
    const MiBitSet copy(original);
    MiBitSet assigned("1");
    assigned = original;
    MiBitSet reset("1");
    reset.Reset(&original);
    original.Set(0, false);
    EXPECT_EQ(textOf(copy), "1101");
    EXPECT_EQ(textOf(assigned), "1101");
    EXPECT_EQ(textOf(reset), "1101");
    reset.Reset(&reset);
    EXPECT_EQ(textOf(reset), "1101");
    reset.Reset(nullptr);
    EXPECT_EQ(shown(reset), "0: ");
    const MiBitSet kept = padded();
    EXPECT_EQ(shown(kept), "2: 7F");
}

TEST(bit_set_test, WhatWasMovedAwayIsEmpty) {
    MiBitSet original("1101");
    const MiBitSet taken(std::move(original));
    EXPECT_EQ(textOf(taken), "1101");
    EXPECT_EQ(shown(original), "0: ");  // NOLINT(bugprone-use-after-move)
    MiBitSet other("10");
    original = std::move(other);
    EXPECT_EQ(textOf(original), "10");
    EXPECT_EQ(shown(other), "0: ");  // NOLINT(bugprone-use-after-move)
    MiBitSet& self = original;
    original = std::move(self);
    EXPECT_EQ(textOf(original), "10");
}

TEST(bit_set_test, EqualityIsOfCountAndBytes) {
    EXPECT_TRUE(MiBitSet() == MiBitSet(""));
    EXPECT_TRUE(MiBitSet("101") == MiBitSet("101"));
    EXPECT_FALSE(MiBitSet("101") != MiBitSet("101"));
    EXPECT_TRUE(MiBitSet("101") != MiBitSet("100"));
    EXPECT_TRUE(MiBitSet("101") != MiBitSet("1010"));
    EXPECT_TRUE(padded() != MiBitSet("01"));  // padding counts
}

TEST(bit_set_test, MoreBitsAreGreaterThenSignedBytes) {
    const struct {
        const char* a;
        const char* b;
        int result;
    } cases[] = {{"", "", 0},
                 {"0", "", 1},
                 {"", "0", -1},
                 {"101", "101", 0},
                 {"0000", "111", 1},
                 {"111", "0000", -1},
                 {"1", "0", -1},
                 {"0", "1", 1},
                 {"01", "00", 1},
                 {"01", "10", 1},
                 {"00000000", "10000000", 1}};
    for (const auto& c : cases)
        EXPECT_EQ(static_cast<signed char>(MiBitSet(c.a).CompareTo(MiBitSet(c.b))), c.result) << c.a << " " << c.b;
}

TEST(bit_set_test, SetBitsByteTakesTheBytesAsTheyAre) {
    MiBitSet set("111");
    set.SetBitsByte("\x12\xFF\x34", 1, 3);
    EXPECT_EQ(shown(set), "3: FF");
    set.SetBitsByte("\x12\xFF\x34", 0, 24);
    EXPECT_EQ(shown(set), "24: 12 FF 34");
    set.SetBitsByte(nullptr, 1, 3);
    EXPECT_EQ(shown(set), "0: ");
    set.SetBitsByte("\x12\xFF\x34", 1, 3);
    set.SetBitsByte("\x12", 0, 0);
    EXPECT_EQ(shown(set), "0: ");
}

TEST(bit_set_test, SetBitsMasksThePadding) {
    MiBitSet set;
    set.SetBits(bytesOf("FF FF"), 9);
    EXPECT_EQ(shown(set), "9: FF 80");
    set.SetBits(bytesOf("FF FF"), 16);
    EXPECT_EQ(shown(set), "16: FF FF");
    set.SetBits(bytesOf("01 FF FF"), 1, 9);
    EXPECT_EQ(shown(set), "9: FF 80");
    set.SetBits(bytesOf("01 FF FF"), 2, 1);
    EXPECT_EQ(shown(set), "1: 80");
    set.SetBits(set.GetByte(), 1);  // its own bytes
    EXPECT_EQ(shown(set), "1: 80");
}

TEST(bit_set_test, SetBitsOfAShortSourceIsOutOfRange) {
    MiBitSet set("101");
    EXPECT_THROW(set.SetBits(bytesOf("FF"), 9), MiOutOfRangeExp);
    EXPECT_THROW(set.SetBits(bytesOf("FF FF"), 1, 9), MiOutOfRangeExp);
    EXPECT_THROW(set.SetBits(bytesOf("FF FF"), 2, 1), MiOutOfRangeExp);
    EXPECT_THROW(set.SetBits(bytesOf("FF FF"), UINT_MAX, 9), MiOutOfRangeExp);
    EXPECT_THROW(set.SetBits(bytesOf("FF FF"), UINT_MAX), MiOutOfRangeExp);
    EXPECT_THROW(set.SetBits(MiByte(), 1), MiOutOfRangeExp);
    EXPECT_THROW(MiBitSet(bytesOf("FF"), 9), MiOutOfRangeExp);
    EXPECT_THROW(MiBitSet(bytesOf("FF"), 1, 1), MiOutOfRangeExp);
    EXPECT_EQ(shown(set), "3: A0");
    set.SetBits(bytesOf("FF"), 7, 0);  // no bits, wherever they begin
    EXPECT_EQ(shown(set), "0: ");
    set = MiBitSet("101");
    set.SetBits(MiByte(), 0);
    EXPECT_EQ(shown(set), "0: ");
}

TEST(bit_set_test, TextsOfZeroAndOne) {
    MiBitSet set;
    set.SetBitsString("110000001");
    EXPECT_EQ(shown(set), "9: C0 80");
    EXPECT_EQ(textOf(set), "110000001");
    EXPECT_TRUE(MiBitSet().GetBitsString().Empty());
    for (const char* text : {"2", "1012", "10 1", "-1", "0b1", "\xB0"}) {
        EXPECT_THROW(set.SetBitsString(text), MiInvalidArgumentExp) << text;
        EXPECT_THROW(MiBitSet{text}, MiInvalidArgumentExp) << text;
    }
    EXPECT_EQ(textOf(set), "110000001");
    set.SetBitsString("");
    EXPECT_EQ(shown(set), "0: ");
    set.SetBitsString("1");
    set.SetBitsString(nullptr);
    EXPECT_EQ(shown(set), "0: ");
}

TEST(bit_set_test, SetLengthKeepsWhatFits) {
    MiBitSet set("1111111111");
    EXPECT_EQ(shown(set.SetLength(9)), "9: FF 80");
    EXPECT_EQ(shown(set.SetLength(3)), "3: E0");
    EXPECT_EQ(shown(set.SetLength(10)), "10: E0 00");
    EXPECT_EQ(shown(set.SetLength(0)), "0: ");
    EXPECT_EQ(shown(set.SetLength(9)), "9: 00 00");
    EXPECT_EQ(shown(padded().SetLength(4)), "4: 40");  // padding does not become bits
}

TEST(bit_set_test, AndOrHaveTheShorterLength) {
    const MiBitSet a("110010101");
    const MiBitSet b("101110000111");
    EXPECT_EQ(textOf(a.And(b)), "100010000");
    EXPECT_EQ(textOf(b.And(a)), "100010000");
    EXPECT_EQ(textOf(a.Or(b)), "111110101");
    EXPECT_EQ(textOf(b.Or(a)), "111110101");
    EXPECT_TRUE(a.And(MiBitSet()).Empty());
    EXPECT_TRUE(MiBitSet().Or(a).Empty());
    EXPECT_EQ(textOf(a), "110010101");
    EXPECT_EQ(shown(padded().Or(padded())), "2: 40");
}

TEST(bit_set_test, NotLeavesThePaddingAtZero) {
    EXPECT_EQ(shown(MiBitSet("110010101").Not()), "9: 35 00");
    EXPECT_EQ(shown(MiBitSet(3U).Not()), "3: E0");
    EXPECT_TRUE(MiBitSet().Not().Empty());
}

TEST(bit_set_test, ShiftsKeepTheLength) {
    const MiBitSet set("110010101");
    EXPECT_EQ(textOf(set.ShiftLeft(0)), "110010101");
    EXPECT_EQ(textOf(set.ShiftLeft(2)), "001010100");
    EXPECT_EQ(textOf(set.ShiftLeft(8)), "100000000");
    EXPECT_EQ(textOf(set.ShiftRight(0)), "110010101");
    EXPECT_EQ(textOf(set.ShiftRight(2)), "001100101");
    EXPECT_EQ(textOf(set.ShiftRight(8)), "000000001");
    for (const unsigned int n : {9U, 10U, 1000U, UINT_MAX}) {
        EXPECT_EQ(textOf(set.ShiftLeft(n)), "000000000") << n;
        EXPECT_EQ(textOf(set.ShiftRight(n)), "000000000") << n;
    }
    EXPECT_TRUE(MiBitSet().ShiftLeft(3).Empty());
    EXPECT_EQ(textOf(padded().ShiftLeft(1)), "10");  // padding does not move in
}

TEST(bit_set_test, ExpandAddsAtEitherEnd) {
    MiBitSet set("101");
    EXPECT_EQ(&set.ExpandRight(2, true), &set);
    EXPECT_EQ(shown(set), "5: B8");
    EXPECT_EQ(&set.ExpandLeft(2, true), &set);
    EXPECT_EQ(textOf(set), "1110111");
    EXPECT_EQ(textOf(set.ExpandRight(3, false)), "1110111000");
    EXPECT_EQ(textOf(set.ExpandLeft(9, false)), "0000000001110111000");
    EXPECT_EQ(textOf(set.ExpandLeft(0, true)), "0000000001110111000");
    EXPECT_EQ(textOf(set.ExpandRight(0, true)), "0000000001110111000");
    EXPECT_EQ(textOf(MiBitSet().ExpandLeft(9, true)), "111111111");
    EXPECT_EQ(textOf(MiBitSet().ExpandRight(9, true)), "111111111");
    EXPECT_EQ(textOf(padded().ExpandRight(3, false)), "01000");
    EXPECT_EQ(textOf(padded().ExpandRight(3, true)), "01111");
    EXPECT_EQ(shown(padded().ExpandLeft(1, false)), "3: 20");
}

TEST(bit_set_test, ExpandBeyondTheCounterIsOutOfRange) {
    MiBitSet set("101");
    EXPECT_THROW(set.ExpandRight(UINT_MAX - 2, false), MiOutOfRangeExp);
    EXPECT_THROW(set.ExpandLeft(UINT_MAX, true), MiOutOfRangeExp);
    EXPECT_EQ(textOf(set), "101");
}

TEST(bit_set_test, CutDropsAtEitherEnd) {
    MiBitSet set("1100101011");
    EXPECT_EQ(&set.CutRight(1), &set);
    EXPECT_EQ(shown(set), "9: CA 80");
    EXPECT_EQ(&set.CutLeft(1), &set);
    EXPECT_EQ(shown(set), "8: 95");
    EXPECT_EQ(textOf(set.CutLeft(0)), "10010101");
    EXPECT_EQ(textOf(set.CutRight(0)), "10010101");
    EXPECT_THROW(set.CutRight(9), MiOutOfRangeExp);
    EXPECT_THROW(set.CutLeft(9), MiOutOfRangeExp);
    EXPECT_THROW(set.CutLeft(UINT_MAX), MiOutOfRangeExp);
    EXPECT_EQ(textOf(set), "10010101");
    EXPECT_EQ(shown(MiBitSet(set).CutLeft(8)), "0: ");
    EXPECT_EQ(shown(set.CutRight(8)), "0: ");
    EXPECT_EQ(shown(set.CutRight(0)), "0: ");
}

// Each operation once more on texts of '0' and '1', at lengths around whole bytes.
TEST(bit_set_test, OperationsAgreeWithTexts) {
    support::Noise noise(45);
    for (unsigned int count = 0; count <= 40; ++count) {
        const std::string text = bitsText(noise, count);
        const MiBitSet set(text.c_str());
        ASSERT_EQ(textOf(set), text);
        ASSERT_EQ(set.GetByte().GetLength(), (count + 7) / 8);
        for (unsigned int n = 0; n <= count; ++n) {
            const std::string zeros(n, '0');
            const std::string ones(n, '1');
            EXPECT_EQ(textOf(set.ShiftLeft(n)), text.substr(n) + zeros);
            EXPECT_EQ(textOf(set.ShiftRight(n)), zeros + text.substr(0, count - n));
            EXPECT_EQ(textOf(MiBitSet(set).ExpandLeft(n, false)), zeros + text);
            EXPECT_EQ(textOf(MiBitSet(set).ExpandLeft(n, true)), ones + text);
            EXPECT_EQ(textOf(MiBitSet(set).ExpandRight(n, false)), text + zeros);
            EXPECT_EQ(textOf(MiBitSet(set).ExpandRight(n, true)), text + ones);
            EXPECT_EQ(textOf(MiBitSet(set).CutLeft(n)), text.substr(n));
            EXPECT_EQ(textOf(MiBitSet(set).CutRight(n)), text.substr(0, count - n));
            EXPECT_EQ(textOf(MiBitSet(set).SetLength(n)), text.substr(0, n));
        }
    }
}

TEST(bit_set_test, TheDumpBreaksItsLines) {
    const struct {
        const char* bits;
        unsigned int level;
        const char* dump;
    } cases[] = {
        {"", 3, ""},
        {"101", 0, "101"},
        {"101", 2, "        101"},
        {"10101010", 0, "10101010 "},
        {"101010101", 0, "10101010 1"},
        {"00000000111111110000000011111111", 1, "    00000000 11111111 00000000 11111111 "},
        {"000000001111111100000000111111110", 1, "    00000000 11111111 00000000 11111111 \n    0"},
        {"0000000011111111000000001111111100000000111111110000000011111111"
         "1",
         0, "00000000 11111111 00000000 11111111 \n00000000 11111111 00000000 11111111 \n1"},
    };
    for (const auto& c : cases) {
        std::ostringstream os;
        MiBitSet(c.bits).ToOstream(os, c.level);
        EXPECT_EQ(os.str(), c.dump);
    }
}

TEST(bit_set_test, TheDumpFlushesBetweenLines) {
    struct CountingBuffer : std::stringbuf {
        int flushes = 0;
        int sync() override {
            ++flushes;
            return 0;
        }
    } buffer;
    std::ostream os(&buffer);
    MiBitSet(96U).ToOstream(os, 0);
    EXPECT_EQ(buffer.flushes, 2);
    os.width(7);
    MiBitSet(1U).ToOstream(os, 0);
    EXPECT_EQ(buffer.flushes, 2);
    EXPECT_EQ(buffer.str().substr(buffer.str().size() - 2), " 0");
}

TEST(bit_set_test, ExhaustedMemoryChangesNothing) {
    const MiByte bytes(300U, static_cast<unsigned char>(0x85));
    const MiBitSet other(bytes, 2390);
    const std::string text(2000, '1');
    const MiBitSet before("101");
    const std::function<void(MiBitSet&)> operations[] = {[&](MiBitSet& set) { set.SetBits(bytes, 2390); },
                                                         [&](MiBitSet& set) { set.SetBitsString(text.c_str()); },
                                                         [&](MiBitSet& set) { set.SetLength(2000); },
                                                         [&](MiBitSet& set) { set = other; },
                                                         [&](MiBitSet& set) { set.ExpandLeft(2000, true); },
                                                         [&](MiBitSet& set) { set.ExpandRight(2000, true); },
                                                         [&](MiBitSet& set) { set = other.And(other).Or(other); },
                                                         [&](MiBitSet& set) { set = other.ShiftLeft(3); }};
    long failures = 0;  // of all: small blocks may be had without the heap
    for (const auto& operation : operations) {
        MiBitSet set(before);
        int changed = 0;
        failures += support::forEachExhaustion([&] {
            set = before;
            try {
                operation(set);
            } catch (const std::bad_alloc&) {
                changed += set == before ? 0 : 1;
            }
        });
        EXPECT_EQ(changed, 0);
        EXPECT_NE(set, before);
    }
    EXPECT_GT(failures, 0);
}

// The text of 2^31 bits is more than a process of 32 bits can have in one piece.
TEST(bit_set_test, ATextBeyondMemoryIsAMemoryFailure) {
    if (sizeof(void*) == 4) {
        EXPECT_THROW((void)MiBitSet(0x80000000U).GetBitsString(), std::bad_alloc);
    }
}

TEST(bit_set_test, MegabytesGoThroughInLinearSteps) {
    const MiByte bytes(2000000U, static_cast<unsigned char>(0x5A));
    MiBitSet set(bytes, 15999997);
    set.ExpandLeft(3, true).ExpandRight(2, true).CutLeft(3).CutRight(2);
    EXPECT_EQ(set, MiBitSet(bytes, 15999997));
    EXPECT_EQ(set.Not().Not(), set);
    EXPECT_EQ(set.ShiftLeft(9).ShiftRight(9).Or(set), set);
}

}  // namespace

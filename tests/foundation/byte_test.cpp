#include "foundation/byte.h"

#include <gtest/gtest.h>

#include <climits>
#include <iomanip>
#include <sstream>
#include <type_traits>
#include <utility>
#include <vector>

#include "foundation/exceptions.h"
#include "tests/foundation/fields.h"
#include "tests/support/failing_heap.h"
#include "tests/support/vtable.h"

namespace {

using Peek = Fields<MiByte>;

MiByte byte(const std::string& content) {
    return {content.data(), static_cast<unsigned int>(content.size())};
}

// The content is this, and its storage is as it must be.
void expectContent(const std::string& content, const MiByte& value) {
    EXPECT_EQ(content, contentOf(value));
    EXPECT_EQ(content.size(), value.GetLength());
    EXPECT_EQ(content.empty(), value.Empty());
    EXPECT_EQ(content.empty(), value.GetChars() == nullptr);
    if (!content.empty()) {
        EXPECT_EQ(0, value.GetChars()[content.size()]);
    }
}

std::string dump(const MiByte& value, unsigned int level) {
    std::ostringstream os;
    value.ToOstream(os, level);
    return os.str();
}

TEST(byte_test, LaysOutItsFields) {
    const MiByte value;
    EXPECT_EQ(std::ptrdiff_t{sizeof(void*)}, Peek::dataOffset(value));
    EXPECT_EQ(std::ptrdiff_t{2 * sizeof(void*)}, Peek::lengthOffset(value));
    EXPECT_EQ(1, support::firstOwnSlot<MiByte>());
    EXPECT_TRUE((std::is_base_of_v<MiObject, MiByte>));
}

TEST(byte_test, Constructors) {
    expectContent("", MiByte());
    expectContent("abc", MiByte("abcdef", 3));
    expectContent("", MiByte(nullptr, 3));
    expectContent("", MiByte("abc", 0));
    expectContent("cd", MiByte("abcdef", 2, 2));
    expectContent("", MiByte(nullptr, 2, 2));
    expectContent("", MiByte("abc", 2, 0));
    expectContent(std::string(5, '\0'), MiByte(5));
    expectContent("", MiByte(0));
    expectContent(std::string(4, '\xAA'), MiByte(4, 0xAA));
    expectContent("", MiByte(0U, 0xAA));
}

TEST(byte_test, FiveBytesAreZeroAndTerminated) {
    const MiByte five(5);
    EXPECT_EQ(5U, five.GetLength());
    EXPECT_EQ(0, five.GetChars()[5]);
}

TEST(byte_test, CopiesAreDeep) {
    MiByte first("abc", 3);
    const MiByte copy(first);
    MiByte assigned("x", 1);
    assigned = first;
    first.SetCharAt(0, 'z');
    expectContent("abc", copy);
    expectContent("abc", assigned);
    expectContent("zbc", first);
    assigned = MiByte();
    expectContent("", assigned);
}

TEST(byte_test, AssignmentToItselfDoesNothing) {
    MiByte value("abc", 3);
    const char* const storage = value.GetChars();
    const MiByte& same = value;
    EXPECT_EQ(&value, &(value = same));
    EXPECT_EQ(storage, value.GetChars());
    expectContent("abc", value);
    MiByte& moved = value;
    value = std::move(moved);
    expectContent("abc", value);
}

TEST(byte_test, MovesTakeTheStorage) {
    MiByte value("abc", 3);
    const char* const storage = value.GetChars();
    MiByte taken(std::move(value));
    EXPECT_EQ(storage, taken.GetChars());
    MiByte assigned("old", 3);
    assigned = std::move(taken);
    EXPECT_EQ(storage, assigned.GetChars());
    expectContent("", taken);  // NOLINT(bugprone-use-after-move): what is left behind is empty
    expectContent("abc", assigned);
}

TEST(byte_test, SetByteFromAPointer) {
    MiByte value("xyz", 3);
    EXPECT_EQ(&value, &value.SetByte("abcdef", 4));
    expectContent("abcd", value);
    value.SetByte("abcdef", 2, 3);
    expectContent("cde", value);
    value.SetByte(nullptr, 3);
    expectContent("", value);
    value.SetByte("abc", 3).SetByte("abc", 0);
    expectContent("", value);
    value.SetByte("abc", 3).SetByte(nullptr, 1, 3);
    expectContent("", value);
    value.SetByte("abc", 3).SetByte("abc", 1, 0);
    expectContent("", value);
}

TEST(byte_test, SetByteReplacesTheStorageOnlyForAnotherLength) {
    MiByte value("abc", 3);
    const char* const storage = value.GetChars();
    value.SetByte("xyz", 3);
    EXPECT_EQ(storage, value.GetChars());
    expectContent("xyz", value);
}

TEST(byte_test, SetByteFromAByteClampsTheCount) {
    const MiByte source("abcde", 5);
    MiByte value;
    expectContent("abc", value.SetByte(source, 3));
    expectContent("abcde", value.SetByte(source, 5));
    expectContent("abcde", value.SetByte(source, UINT_MAX));
    expectContent("", value.SetByte(source, 0));
    value.SetByte("x", 1);
    expectContent("", value.SetByte(MiByte(), 3));
}

TEST(byte_test, SetByteFromAByteWithAnOffset) {
    const MiByte source("abcde", 5);
    MiByte value;
    expectContent("bcde", value.SetByte(source, 1, 100));
    expectContent("bcde", value.SetByte(source, 1, UINT_MAX));
    expectContent("bc", value.SetByte(source, 1, 2));
    expectContent("e", value.SetByte(source, 4, 1));
    EXPECT_THROW(value.SetByte(source, 5, 1), MiOutOfRangeExp);
    EXPECT_THROW(value.SetByte(source, UINT_MAX, UINT_MAX), MiOutOfRangeExp);
    expectContent("e", value);
    expectContent("", value.SetByte(source, 9, 0));
    value.SetByte("x", 1);
    expectContent("", value.SetByte(MiByte(), 9, 9));
}

TEST(byte_test, Reset) {
    const MiByte source("abc", 3);
    MiByte value("x", 1);
    expectContent("abc", value.Reset(&source));
    expectContent("abc", value.Reset(&value));
    expectContent("", value.Reset(nullptr));
}

TEST(byte_test, ConcatEndsWithAZeroByte) {
    MiByte value;
    expectContent("", value.Concat(nullptr, 3));
    expectContent("ab", value.Concat("ab", 2));
    expectContent("ab", value.Concat("xx", 0));
    expectContent("abcde", value.Concat("cde", 3));
}

TEST(byte_test, SetLengthKeepsTheBytesThatFit) {
    MiByte value("abc", 3);
    const char* const storage = value.GetChars();
    EXPECT_EQ(storage, value.SetLength(3).GetChars());
    expectContent(bytes("abc\0\0"), value.SetLength(5));
    expectContent("ab", value.SetLength(2));
    expectContent("", value.SetLength(0));
    expectContent(bytes("\0\0"), value.SetLength(2));
}

TEST(byte_test, SetLengthWithAByteSetsAllOfThem) {
    MiByte value("abc", 3);
    const char* const storage = value.GetChars();
    expectContent("\xAA\xAA\xAA", value.SetLength(3, 0xAA));
    EXPECT_EQ(storage, value.GetChars());
    expectContent("zzzzz", value.SetLength(5, 'z'));
    expectContent("y", value.SetLength(1, 'y'));
    expectContent("", value.SetLength(0, 'y'));
    expectContent("", value.SetLength(0, 'y'));
}

TEST(byte_test, PositionsAreTested) {
    MiByte value("\x80\xFF", 2);
    EXPECT_EQ(0x80, value.CharAt(0));
    EXPECT_EQ(0xFF, value[1]);
    EXPECT_THROW((void)value.CharAt(2), MiOutOfRangeExp);
    EXPECT_THROW((void)value[UINT_MAX], MiOutOfRangeExp);
    EXPECT_THROW(value.SetCharAt(2, 0), MiOutOfRangeExp);
    EXPECT_THROW((void)MiByte().CharAt(0), MiOutOfRangeExp);
    EXPECT_THROW(MiByte().SetCharAt(0, 1), MiOutOfRangeExp);
    value.SetCharAt(1, 0x7F);
    EXPECT_EQ(0x7F, value[1]);
}

TEST(byte_test, GivesItself) {
    const MiByte value("abc", 3);
    EXPECT_EQ(&value, &value.GetByte());
}

TEST(byte_test, SourcesInsideTheValueWork) {
    MiByte value("abcdef", 6);
    expectContent("def", value.SetByte(value.GetChars() + 3, 3));
    expectContent("ef", value.SetByte(value, 1, 9));
    expectContent("efef", value.Concat(value.GetChars(), 2));
    value.SetByte("abcd", 4);
    expectContent("abcd", value.SetByte(value.GetChars(), 4));
    expectContent("ab", value.SetByte(value, 2));
}

TEST(byte_test, CompareTo) {
    const MiByte value("ab", 2);
    EXPECT_EQ(0, value.CompareTo(value));
    EXPECT_EQ(0, value.CompareTo(MiByte("ab", 2)));
    EXPECT_EQ(-1, value.CompareTo(MiByte("ac", 2)));
    EXPECT_EQ(1, value.CompareTo(MiByte("aa", 2)));
    EXPECT_EQ(1, value.CompareTo(MiByte()));
    EXPECT_EQ(-1, MiByte().CompareTo(value));
    EXPECT_EQ(0, MiByte().CompareTo(MiByte()));
    EXPECT_TRUE((std::is_same_v<char, decltype(value.CompareTo(value))>));
}

TEST(byte_test, CompareToTakesTheShorterForTheSmaller) {
    EXPECT_EQ(1, byte(bytes("\0\0")).CompareTo(byte("\xFF")));
    EXPECT_EQ(-1, byte("\xFF").CompareTo(byte(bytes("\0\0"))));
}

TEST(byte_test, CompareToComparesSigned) {
    EXPECT_EQ(-1, byte("\x80").CompareTo(byte(bytes("\0"))));
    EXPECT_EQ(-1, byte("\xFF").CompareTo(byte(bytes("\0"))));
    EXPECT_EQ(1, byte("\x7F").CompareTo(byte("\x80")));
    EXPECT_EQ(1, byte("\xFF").CompareTo(byte("\x80")));
    EXPECT_EQ(1, byte("a\x01\x80").CompareTo(byte("a\xFF\x7F"))) << "the first difference decides";
}

TEST(byte_test, CompareToAPointer) {
    char text[] = "xabz";
    const MiByte value("ab", 2);
    EXPECT_EQ(0, value.CompareTo(text + 1, 2));
    EXPECT_EQ(0, value.CompareTo(text, 1, 2));
    EXPECT_EQ(-1, value.CompareTo(text, 1, 3));
    EXPECT_EQ(1, value.CompareTo(text, 1));
    EXPECT_EQ(1, value.CompareTo(text, 0)) << "data above an empty one";
    EXPECT_EQ(1, value.CompareTo(nullptr, 2));
    EXPECT_EQ(1, value.CompareTo(nullptr, 7, 2));
    EXPECT_EQ(0, MiByte().CompareTo(nullptr, 2)) << "both null are equal, whatever the length";
    EXPECT_EQ(-1, MiByte().CompareTo(text, 0)) << "a pointer is data, also of length 0";
    EXPECT_EQ(-1, MiByte().CompareTo(text, 1, 1));
}

TEST(byte_test, EqualityLooksAtLengthAndBytes) {
    const MiByte value("ab", 2);
    EXPECT_TRUE(value.Equals(MiByte("ab", 2)));
    EXPECT_FALSE(value.Equals(MiByte("abc", 3)));
    EXPECT_TRUE(value == MiByte("ab", 2));
    EXPECT_FALSE(value == MiByte("aB", 2));
    EXPECT_FALSE(value == MiByte());
    EXPECT_FALSE(MiByte() == value);
    EXPECT_TRUE(MiByte() == MiByte());
    EXPECT_TRUE(value != MiByte("abc", 3));
    EXPECT_FALSE(value != MiByte("ab", 2));
}

// Rising by the order, with nothing equal.
TEST(byte_test, OrderOperatorsAgreeOnARisingRow) {
    const std::vector<MiByte> row = {byte(""),     byte("\x80"),     byte("\xFF"),       byte(bytes("\0")),
                                     byte("\x7F"), byte("\x80\x7F"), byte(bytes("\0\0"))};
    for (std::size_t i = 0; i < row.size(); ++i) {
        for (std::size_t j = 0; j < row.size(); ++j) {
            SCOPED_TRACE(std::to_string(i) + " and " + std::to_string(j));
            EXPECT_EQ(i > j, row[i] > row[j]);
            EXPECT_EQ(i >= j, row[i] >= row[j]);
            EXPECT_EQ(i < j, row[i] < row[j]);
            EXPECT_EQ(i <= j, row[i] <= row[j]);
            EXPECT_EQ(i == j, row[i] == row[j]);
            EXPECT_EQ(static_cast<int>(i > j) - static_cast<int>(i < j), row[i].CompareTo(row[j]));
        }
    }
}

TEST(byte_test, NumbersAreTheLastFourBytes) {
    EXPECT_EQ(0, MiByte().Int32Value());
    EXPECT_EQ(0U, MiByte().UInt32Value());
    EXPECT_EQ(-1, byte("\xFF").Int32Value());
    EXPECT_EQ(255U, byte("\xFF").UInt32Value());
    EXPECT_EQ(127, byte("\x7F").Int32Value());
    EXPECT_EQ(255, byte(bytes("\0\xFF")).Int32Value());
    EXPECT_EQ(-32768, byte(bytes("\x80\0")).Int32Value());
    EXPECT_EQ(32768U, byte(bytes("\x80\0")).UInt32Value());
    EXPECT_EQ(-8388608, byte(bytes("\x80\0\0")).Int32Value());
    EXPECT_EQ(0x010203, byte("\x01\x02\x03").Int32Value());
    EXPECT_EQ(INT_MIN, byte(bytes("\x80\0\0\0")).Int32Value());
    EXPECT_EQ(0x80000000U, byte(bytes("\x80\0\0\0")).UInt32Value());
    EXPECT_EQ(INT_MAX, byte("\x7F\xFF\xFF\xFF").Int32Value());
    EXPECT_EQ(-1, byte("\x01\xFF\xFF\xFF\xFF").Int32Value());
    EXPECT_EQ(4294967295U, byte("\x01\xFF\xFF\xFF\xFF").UInt32Value());
    EXPECT_EQ(0x02030405, byte("\xFF\x02\x03\x04\x05").Int32Value());
}

TEST(byte_test, DumpOfNothingIsNothing) {
    EXPECT_EQ("", dump(MiByte(), 0));
    EXPECT_EQ("", dump(MiByte(), 3));
}

TEST(byte_test, DumpHasUpperCaseDigitsAndSeparators) {
    EXPECT_EQ("0A ", dump(byte("\x0A"), 0));
    EXPECT_EQ("        FF 00 ", dump(byte(bytes("\xFF\0")), 2));
    EXPECT_EQ("01 02 03 04 05 06 07 08  ", dump(byte("\1\2\3\4\5\6\7\10"), 0));
    EXPECT_EQ("01 02 03 04 05 06 07 08  09 ", dump(byte("\1\2\3\4\5\6\7\10\11"), 0));
}

TEST(byte_test, DumpBreaksLinesAfterSixteenBytesButNotAtTheEnd) {
    EXPECT_EQ("AA AA AA AA AA AA AA AA  AA AA AA AA AA AA AA AA  ", dump(MiByte(16, 0xAA), 0));
    EXPECT_EQ(
        "    AA AA AA AA AA AA AA AA  AA AA AA AA AA AA AA AA  \n"
        "    AA ",
        dump(MiByte(17, 0xAA), 1));
    EXPECT_EQ(
        "AA AA AA AA AA AA AA AA  AA AA AA AA AA AA AA AA  \n"
        "AA AA AA AA AA AA AA AA  AA AA AA AA AA AA AA AA  \n"
        "AA ",
        dump(MiByte(33, 0xAA), 0));
}

TEST(byte_test, DumpFlushesAtEachLineFeed) {
    struct Counting : std::stringbuf {
        int flushes = 0;
        int sync() override {
            ++flushes;
            return 0;
        }
    } buffer;
    std::ostream os(&buffer);
    MiByte(16, 1).ToOstream(os, 0);
    EXPECT_EQ(0, buffer.flushes);
    MiByte(49, 1).ToOstream(os, 0);
    EXPECT_EQ(3, buffer.flushes);
}

TEST(byte_test, DumpLeavesTheStreamsFlagsAlone) {
    std::ostringstream os;
    os << std::oct << std::setfill('*') << std::setw(7);
    MiByte value(1, 0xAB);
    os << value;
    os << std::setw(4) << 8;
    EXPECT_EQ("AB **10", os.str());
}

TEST(byte_test, StreamOperatorDumpsAtLevelZeroAndReturnsTheStream) {
    std::ostringstream os;
    MiByte value(1, 1);
    const MiByte fixed(1, 2);
    EXPECT_EQ(&os, &(os << value << fixed));
    EXPECT_EQ("01 02 ", os.str());
}

TEST(byte_test, DeltReleasesAndInitForgets) {
    Peek value;
    value.SetByte("abc", 3);
    value.Delt();
    EXPECT_EQ(nullptr, Peek::dataOf(value));
    EXPECT_EQ(0U, Peek::lengthOf(value));
    value.Delt();
    value.Init();
    expectContent("", value);
    expectContent("abc", value.SetByte("abc", 3));
}

// Sizes beyond what the pool keeps, so that each allocation is the system's.
TEST(byte_test, ExhaustedMemoryChangesNothing) {
    const std::string content(20000, 'a');
    const MiByte source(30000, 'b');
    const auto survives = [&](auto&& change) {
        MiByte value = byte(content);
        int failures = 0;
        const long runs = support::forEachExhaustion([&] {
            try {
                change(value);
            } catch (const std::bad_alloc&) {
                failures += contentOf(value) == content;
            }
        });
        EXPECT_EQ(1, runs);
        EXPECT_EQ(1, failures);
    };
    survives([&](MiByte& value) { value = source; });
    survives([&](MiByte& value) { value.SetByte(source.GetChars(), 30000); });
    survives([&](MiByte& value) { value.SetByte(source, 1, 25000); });
    survives([&](MiByte& value) { value.Concat(source.GetChars(), 30000); });
    survives([&](MiByte& value) { value.SetLength(30000); });
    survives([&](MiByte& value) { value.SetLength(30000, 'c'); });
    survives([&](MiByte& value) { value.Reset(&source); });
}

TEST(byte_test, ALengthBeyondMemoryIsAMemoryFailure) {
    MiByte value("ab", 2);
    EXPECT_THROW(value.Concat("x", UINT_MAX - 1), std::bad_alloc);
    if (sizeof(void*) == 4) {
        EXPECT_THROW(value.SetLength(UINT_MAX), std::bad_alloc);
        EXPECT_THROW(MiByte(UINT_MAX), std::bad_alloc);
    }
    expectContent("ab", value);
}

}  // namespace

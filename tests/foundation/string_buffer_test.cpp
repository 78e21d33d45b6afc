#include "foundation/string_buffer.h"

#include <gtest/gtest.h>

#include <climits>
#include <sstream>
#include <type_traits>
#include <vector>

#include "foundation/exceptions.h"
#include "tests/foundation/fields.h"
#include "tests/support/failing_heap.h"
#include "tests/support/vtable.h"

namespace {

using Peek = Fields<MiStringBuffer>;

const char* const kNull = nullptr;

unsigned int capacityOf(const MiStringBuffer& buffer) {
    return Peek::capacityOf(buffer);
}

void expectContent(const std::string& content, const MiStringBuffer& value) {
    EXPECT_EQ(content, contentOf(value));
    EXPECT_EQ(content.size(), value.GetLength());
    EXPECT_EQ(content.empty(), value.Empty());
    EXPECT_EQ(0, value.GetChars()[content.size()]) << "terminated";
}

// A buffer whose capacity, 2048, is far below its length, 5000: what a deletion of few characters leaves.
MiStringBuffer overfull() {
    MiStringBuffer value(std::string(5010, 'o').c_str());
    value.DeleteChars(5000, 5010);
    return value;
}

TEST(string_buffer_test, LaysOutItsFields) {
    const MiStringBuffer value;
    EXPECT_EQ(std::ptrdiff_t{sizeof(void*)}, Peek::dataOffset(value));
    EXPECT_EQ(std::ptrdiff_t{2 * sizeof(void*)}, Peek::lengthOffset(value));
    EXPECT_EQ(std::ptrdiff_t{2 * sizeof(void*) + 4}, Peek::capacityOffset(value));
    EXPECT_EQ(1, support::firstOwnSlot<MiStringBuffer>());
    EXPECT_TRUE((std::is_base_of_v<MiObject, MiStringBuffer>));
}

TEST(string_buffer_test, StartsWith1024ZeroBytes) {
    const MiStringBuffer value;
    expectContent("", value);
    EXPECT_EQ(1024U, value.Capacity());
    EXPECT_EQ(std::string(1025, 0), std::string(value.GetChars(), 1025));
}

TEST(string_buffer_test, Constructors) {
    const MiString text("abc");
    expectContent(bytes("\0\0\0"), MiStringBuffer(3U));
    expectContent("", MiStringBuffer(0U));
    expectContent("abc", MiStringBuffer(text));
    expectContent("", MiStringBuffer(MiString()));
    expectContent("abc", MiStringBuffer("abc"));
    expectContent("", MiStringBuffer(kNull));
    expectContent("", MiStringBuffer(""));
    expectContent("bc", MiStringBuffer("abcd", 1, 2));
    expectContent("bcd", MiStringBuffer("abcd", 1, UINT_MAX));
    expectContent("", MiStringBuffer(nullptr, 1, 2));
    expectContent("", MiStringBuffer("abc", 9, 0));
    EXPECT_THROW(MiStringBuffer("abc", 3, 1), MiOutOfRangeExp);
    EXPECT_EQ(1024U, capacityOf(MiStringBuffer(1023U)));
    EXPECT_EQ(2048U, capacityOf(MiStringBuffer(1024U)));
    EXPECT_EQ(2048U, capacityOf(MiStringBuffer(MiString(1024, 'x'))));
}

TEST(string_buffer_test, CopiesTakeTheCapacityAlong) {
    MiStringBuffer value("abc");
    value.EnsureCapacity(3000);
    const MiStringBuffer copy(value);
    MiStringBuffer assigned;
    EXPECT_EQ(&assigned, &(assigned = value));
    value.SetCharAt(0, 'z');
    expectContent("abc", copy);
    expectContent("abc", assigned);
    EXPECT_EQ(4096U, capacityOf(copy));
    EXPECT_EQ(4096U, capacityOf(assigned));
    const MiStringBuffer& same = assigned;
    assigned = same;
    expectContent("abc", assigned);
}

TEST(string_buffer_test, AssignsTexts) {
    MiStringBuffer value;
    EXPECT_EQ(&value, &(value = "abc"));
    expectContent("abc", value);
    value = MiString("text");
    expectContent("text", value);
    value = kNull;
    expectContent("", value);
}

TEST(string_buffer_test, Equality) {
    EXPECT_TRUE(MiStringBuffer("ab") == MiStringBuffer("ab"));
    EXPECT_FALSE(MiStringBuffer("ab") == MiStringBuffer("ac"));
    EXPECT_FALSE(MiStringBuffer("ab") == MiStringBuffer("abc"));
    EXPECT_TRUE(MiStringBuffer("ab") != MiStringBuffer("abc"));
    EXPECT_FALSE(MiStringBuffer() != MiStringBuffer());
    EXPECT_TRUE(MiStringBuffer("ab") == "ab");
}

TEST(string_buffer_test, Reset) {
    const MiStringBuffer source("abc");
    MiStringBuffer value(std::string(3000, 'x').c_str());
    EXPECT_EQ(&value, &value.Reset(nullptr));
    expectContent("", value);
    EXPECT_EQ(4096U, capacityOf(value)) << "null keeps the storage";
    expectContent("abc", value.Reset(&source));
    expectContent("abc", value.Reset(&value));
}

TEST(string_buffer_test, SetChars) {
    MiStringBuffer value("x");
    EXPECT_EQ(&value, &value.SetChars("abc"));
    expectContent("abc", value);
    expectContent("", value.SetChars(nullptr));
    expectContent("", value.SetChars("abc").SetChars(""));
    expectContent("bc", value.SetChars("abc", 1, 99));
    EXPECT_THROW(value.SetChars("abc", 3, 1), MiOutOfRangeExp);
    EXPECT_THROW(value.SetChars("", 0, 1), MiOutOfRangeExp);
    expectContent("bc", value);
    expectContent("", value.SetChars(nullptr, 0, 1));
    expectContent("", value.SetChars("abc").SetChars("abc", 9, 0));
    expectContent("abc", value.SetString(MiString("abc")));
    expectContent("", value.SetString(MiString()));
}

TEST(string_buffer_test, ReadsNoFurtherThanTheRange) {
    const std::vector<char> text = {'a', 'b', 'c'};  // without a zero byte
    MiStringBuffer value;
    expectContent("bc", value.SetChars(text.data(), 1, 2));
    expectContent("bcabc", value.Append(text.data(), 0, 3));
    expectContent("cbcabc", value.Insert(0, text.data(), 2, 1));
}

TEST(string_buffer_test, ToStringIsACopy) {
    MiStringBuffer value("abc");
    const MiString copy = value.ToString();
    value.SetCharAt(0, 'z');
    EXPECT_TRUE(copy == "abc");
    EXPECT_TRUE(MiStringBuffer().ToString().Empty());
    EXPECT_EQ(bytes("\0\0"), contentOf(MiStringBuffer(2U).ToString()));
}

TEST(string_buffer_test, CapacityIsTheFreeRoom) {
    MiStringBuffer value("abc");
    EXPECT_EQ(1021U, value.Capacity());
}

TEST(string_buffer_test, StaysAt1024For1023Characters) {
    MiStringBuffer value;
    for (int i = 0; i < 1023; ++i)
        value.Append('a');
    EXPECT_EQ(1024U, capacityOf(value));
    value.Append('b');
    EXPECT_EQ(2048U, capacityOf(value));
    expectContent(std::string(1023, 'a') + "b", value);
}

TEST(string_buffer_test, EnsureCapacityGrowsAtEqualToo) {
    MiStringBuffer value("abc");
    EXPECT_EQ(&value, &value.EnsureCapacity(1023));
    EXPECT_EQ(1024U, capacityOf(value));
    value.EnsureCapacity(1024);
    EXPECT_EQ(2048U, capacityOf(value));
    value.EnsureCapacity(0);
    EXPECT_EQ(2048U, capacityOf(value));
    expectContent("abc", value);
}

TEST(string_buffer_test, ReAllocateGrowsAtEqualToo) {
    struct Row {
        unsigned int before, needed, after;
    };
    const Row rows[] = {{1024, 1023, 1024}, {1024, 1024, 2048}, {1024, 2048, 4096}, {2048, 0, 2048},
                        {4096, 1023, 2048}, {4096, 1024, 4096}, {8192, 1023, 2048}, {8192, 2047, 4096},
                        {8192, 2048, 8192}, {8192, 8192, 16384}};
    for (const Row& row : rows) {
        Peek value;
        if (row.before > 1024)
            value.EnsureCapacity(row.before - 1);
        ASSERT_EQ(row.before, capacityOf(value));
        EXPECT_EQ(row.after, value.reAllocate(row.needed)) << row.before << " needs " << row.needed;
        EXPECT_EQ(row.after, capacityOf(value));
    }
}

TEST(string_buffer_test, Append) {
    MiStringBuffer value;
    EXPECT_EQ(&value, &value.Append('a'));
    expectContent("abc", value.Append("bc"));
    expectContent("abcef", value.Append("defg", 1, 2));
    expectContent("abcefg", value.Append("defg", 3, UINT_MAX));
    expectContent("abcefg4294967295", value.Append(UINT_MAX));
    expectContent("abcefg4294967295-2147483648", value.Append(INT_MIN));
    value.SetChars("");
    expectContent("0", value.Append(0));
    expectContent("00", value.Append(0U));
    expectContent("00xyz", value.Append(MiString("xyz")));
    expectContent(bytes("00xyz\0"), value.Append('\0'));
}

TEST(string_buffer_test, AppendOfNothingChangesNothing) {
    MiStringBuffer value("abc");
    value.Append(kNull);
    value.Append("");
    value.Append(nullptr, 0, 3);
    value.Append("xyz", 1, 0);
    value.Append("xyz", 3, 1);
    value.Append("xyz", UINT_MAX, UINT_MAX);
    value.Append("", 0, 1);
    value.Append(MiString());
    expectContent("abc", value);
}

TEST(string_buffer_test, AppendToALargeNearlyEmptyBufferShrinksIt) {
    MiStringBuffer value;
    value.EnsureCapacity(100000);
    value.Append('a');
    EXPECT_EQ(2048U, capacityOf(value));
    expectContent("a", value);
}

TEST(string_buffer_test, Insert) {
    MiStringBuffer value("ad");
    EXPECT_EQ(&value, &value.Insert(1, 'c'));
    expectContent("acd", value);
    expectContent("abcd", value.Insert(1, "b"));
    expectContent("abcdef", value.Insert(4, "defg", 1, 2));
    expectContent("-5abcdef", value.Insert(0, -5));
    expectContent("-57abcdef", value.Insert(2, 7U));
    expectContent("-57abcdefz", value.Insert(9, MiString("z")));
}

TEST(string_buffer_test, InsertPastTheLengthThrowsUnlessThereIsNothingToInsert) {
    MiStringBuffer value("ab");
    EXPECT_THROW(value.Insert(3, 'x'), MiOutOfRangeExp);
    EXPECT_THROW(value.Insert(3, "x"), MiOutOfRangeExp);
    EXPECT_THROW(value.Insert(3, "x", 0, 1), MiOutOfRangeExp);
    EXPECT_THROW(value.Insert(3, 1), MiOutOfRangeExp);
    EXPECT_THROW(value.Insert(3, 1U), MiOutOfRangeExp);
    EXPECT_THROW(value.Insert(UINT_MAX, MiString("x")), MiOutOfRangeExp);
    value.Insert(9, kNull);
    value.Insert(9, "");
    value.Insert(9, nullptr, 0, 1);
    value.Insert(9, "x", 1, 1);
    value.Insert(9, "x", 0, 0);
    value.Insert(9, MiString());
    expectContent("ab", value);
}

TEST(string_buffer_test, DeleteChars) {
    MiStringBuffer value("abcdef");
    EXPECT_EQ(&value, &value.DeleteChars(1, 3));
    expectContent("adef", value);
    expectContent("adef", value.DeleteChars(2, 2));
    expectContent("aef", value.DeleteCharAt(1));
    expectContent("ae", value.DeleteCharAt(2));
    expectContent("", value.DeleteChars(0, UINT_MAX));
    EXPECT_THROW(value.DeleteChars(0, 0), MiOutOfRangeExp);
    EXPECT_THROW(value.DeleteCharAt(0), MiOutOfRangeExp);
    value = "abc";
    EXPECT_THROW(value.DeleteChars(3, 3), MiOutOfRangeExp);
    EXPECT_THROW(value.DeleteChars(2, 1), MiOutOfRangeExp);
    EXPECT_THROW(value.DeleteCharAt(3), MiOutOfRangeExp);
    EXPECT_THROW(value.DeleteCharAt(UINT_MAX), MiOutOfRangeExp);
    expectContent("abc", value);
}

TEST(string_buffer_test, DeleteCharsSetsTheCapacityByWhatItRemoves) {
    const std::string content(5000, 'o');
    const MiStringBuffer value = overfull();
    EXPECT_EQ(2048U, capacityOf(value));
    EXPECT_EQ(2048U - 5000U, value.Capacity());
    expectContent(content, value);
    expectContent(content, MiStringBuffer(value));
    MiStringBuffer assigned;
    assigned = value;
    expectContent(content, assigned);
    expectContent(content + "z", overfull().Append('z'));
    expectContent("z" + content, overfull().Insert(0, 'z'));
    expectContent(content, overfull().EnsureCapacity(2048));
    EXPECT_EQ(4096U, capacityOf(overfull().EnsureCapacity(2048)));
    expectContent(content.substr(1), overfull().DeleteCharAt(0));
    expectContent("x" + content.substr(2), overfull().Replace(0, 2, "x"));
}

TEST(string_buffer_test, Replace) {
    MiStringBuffer value("abcdef");
    EXPECT_EQ(&value, &value.Replace(1, 3, "XYZ"));
    expectContent("aXYZdef", value);
    expectContent("aXYZd_", value.Replace(5, 99, MiString("_")));
    expectContent("XYZd_", value.Replace(0, 1, kNull));
    expectContent("-XYZd_", value.Replace(0, 0, "-"));
    EXPECT_THROW(value.Replace(6, 6, "x"), MiOutOfRangeExp);
    EXPECT_THROW(value.Replace(2, 1, MiString("x")), MiOutOfRangeExp);
    expectContent("-XYZd_", value);
    expectContent("+XYZd_", value.Replace('-', '+'));
    value = "\xFF\xFF";
    expectContent("aa", value.Replace('\xFF', 'a'));  // high values too, unlike the byte buffer
}

TEST(string_buffer_test, ReverseAndCases) {
    MiStringBuffer value("abC1");
    EXPECT_EQ(&value, &value.Reverse());
    expectContent("1Cba", value);
    expectContent("1cba", value.ToLowerCase());
    expectContent("1CBA", value.ToUpperCase());
    value = "ABC";
    expectContent("aBC", value.ToInitialLower());
    expectContent("ABC", value.ToInitialUpper());
    MiStringBuffer none;
    expectContent("", none.Reverse().ToLowerCase().ToUpperCase().ToInitialLower().ToInitialUpper());
}

TEST(string_buffer_test, SubString) {
    const MiStringBuffer value("abcd");
    EXPECT_TRUE(value.SubString(1U) == "bcd");
    EXPECT_TRUE(value.SubString(1U, 3U) == "bc");
    EXPECT_TRUE(value.SubString(3U, UINT_MAX) == "d");
    EXPECT_TRUE(value.SubString(2U, 2U).Empty());
    EXPECT_THROW((void)value.SubString(4U), MiOutOfRangeExp);
    EXPECT_THROW((void)value.SubString(4U, 4U), MiOutOfRangeExp);
    EXPECT_THROW((void)value.SubString(3U, 2U), MiInvalidArgumentExp);
    EXPECT_THROW((void)MiStringBuffer().SubString(0U), MiOutOfRangeExp);
}

TEST(string_buffer_test, PositionsAreTested) {
    MiStringBuffer value("ab");
    const MiStringBuffer& fixed = value;
    EXPECT_EQ('b', fixed.CharAt(1));
    EXPECT_EQ('b', fixed[1]);
    value[1] = 'c';
    value.SetCharAt(0, 0xE4);
    expectContent(
        "\xE4"
        "c",
        value);
    EXPECT_THROW((void)fixed.CharAt(2), MiOutOfRangeExp);
    EXPECT_THROW((void)fixed[2], MiOutOfRangeExp);
    EXPECT_THROW(value[2] = 'x', MiOutOfRangeExp);
    EXPECT_THROW(value.SetCharAt(UINT_MAX, 'x'), MiOutOfRangeExp);
}

TEST(string_buffer_test, SourcesInsideTheBufferWork) {
    MiStringBuffer value("abcd");
    expectContent("abcdbcd", value.Append(value.GetChars() + 1));
    expectContent("abbcdbcd", value.Insert(1, value.GetChars(), 1, 1));
    expectContent("abbcdbcdabbcdbcd", value.Append(value.GetChars()));
    expectContent("cdbcd", value.SetChars(value.GetChars() + 11));
    expectContent("dbcddbcd", value.Replace(0, 1, value.GetChars() + 1));
    expectContent("cdd", value.SetChars(value.GetChars(), 2, 3));
}

TEST(string_buffer_test, ToOstream) {
    std::ostringstream os;
    const MiStringBuffer value("abc");
    value.ToOstream(os, 1);
    EXPECT_EQ(&os, &(os << value));
    EXPECT_EQ("    abcabc", os.str());
}

TEST(string_buffer_test, DeltReleasesTheStorage) {
    Peek value;
    value.Append("abc");
    value.Delt();
    EXPECT_EQ(nullptr, Peek::dataOf(value));
    EXPECT_EQ(0U, Peek::capacityOf(value));
    value.Init();
}

TEST(string_buffer_test, ExhaustedMemoryChangesNothing) {
    const std::string content(20000, 'a');
    const std::string more(100000, 'b');
    const MiStringBuffer source(more.c_str());
    const auto survives = [&](auto&& change) {
        MiStringBuffer value(content.c_str());
        int failures = 0;
        const long runs = support::forEachExhaustion([&] {
            try {
                change(value);
            } catch (const std::bad_alloc&) {
                failures += contentOf(value) == content && capacityOf(value) == 32768;
            }
        });
        EXPECT_EQ(1, runs);
        EXPECT_EQ(1, failures);
    };
    survives([&](MiStringBuffer& value) { value = source; });
    survives([&](MiStringBuffer& value) { value = more.c_str(); });
    survives([&](MiStringBuffer& value) { value.Append(more.c_str()); });
    survives([&](MiStringBuffer& value) { value.Insert(3, more.c_str()); });
    survives([&](MiStringBuffer& value) { value.Replace(0, 19000, more.c_str()); });
    survives([&](MiStringBuffer& value) { value.EnsureCapacity(40000); });
    survives([&](MiStringBuffer& value) { (void)value.ToString(); });
}

TEST(string_buffer_test, LengthsBeyondWhatDoublingReachesAreMemoryFailures) {
    MiStringBuffer value("ab");
    EXPECT_THROW(value.EnsureCapacity(0x80000000U), std::bad_alloc);
    EXPECT_THROW(value.EnsureCapacity(UINT_MAX), std::bad_alloc);
    EXPECT_THROW(MiStringBuffer(UINT_MAX), std::bad_alloc);
    expectContent("ab", value);
}

}  // namespace

#include "foundation/byte_buffer.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <sstream>
#include <type_traits>
#include <vector>

#include "foundation/byte.h"
#include "foundation/exceptions.h"
#include "foundation/pool.h"
#include "tests/foundation/fields.h"
#include "tests/support/failing_heap.h"
#include "tests/support/vtable.h"

namespace {

using Peek = Fields<MiByteBuffer>;

unsigned int capacityOf(const MiByteBuffer& buffer) {
    return Peek::capacityOf(buffer);
}

MiByteBuffer buffer(const std::string& content) {
    return {content.data(), static_cast<unsigned int>(content.size())};
}

void expectContent(const std::string& content, const MiByteBuffer& value) {
    EXPECT_EQ(content, contentOf(value));
    EXPECT_EQ(content.size(), value.GetLength());
    EXPECT_EQ(content.empty(), value.Empty());
    EXPECT_NE(nullptr, value.GetChars());
}

// A buffer whose capacity, 2048, is far below its length, 5000: what a deletion of few bytes leaves.
MiByteBuffer overfull() {
    MiByteBuffer value(5010);
    for (unsigned int i = 0; i < 5010; ++i)
        value[i] = static_cast<unsigned char>(i % 251);
    value.DeleteByte(5000, 5010);
    return value;
}

std::string overfullContent() {
    std::string content(5000, 0);
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<char>(i % 251);
    return content;
}

TEST(byte_buffer_test, LaysOutItsFields) {
    const MiByteBuffer value;
    EXPECT_EQ(std::ptrdiff_t{sizeof(void*)}, Peek::dataOffset(value));
    EXPECT_EQ(std::ptrdiff_t{2 * sizeof(void*)}, Peek::lengthOffset(value));
    EXPECT_EQ(std::ptrdiff_t{2 * sizeof(void*) + 4}, Peek::capacityOffset(value));
    EXPECT_EQ(2 * sizeof(void*) + 8, sizeof(MiByteBuffer));
    EXPECT_EQ(1, support::firstOwnSlot<MiByteBuffer>());
    EXPECT_TRUE((std::is_base_of_v<MiObject, MiByteBuffer>));
}

TEST(byte_buffer_test, StartsWith1024ZeroBytes) {
    const MiByteBuffer value;
    expectContent("", value);
    EXPECT_EQ(1024U, value.Capacity());
    EXPECT_EQ(1024U, capacityOf(value));
    EXPECT_EQ(std::string(1025, 0), std::string(value.GetChars(), 1025));
}

TEST(byte_buffer_test, Constructors) {
    expectContent(bytes("\0\0\0"), MiByteBuffer(3));
    expectContent("", MiByteBuffer(0));
    expectContent("abc", MiByteBuffer(MiByte("abc", 3)));
    expectContent("", MiByteBuffer(MiByte()));
    expectContent("ab", MiByteBuffer("abc", 2));
    expectContent("bc", MiByteBuffer("abcd", 1, 2));
    expectContent("", MiByteBuffer("abcd", 0));
    expectContent("", MiByteBuffer(nullptr, 3));
    expectContent("", MiByteBuffer(nullptr, 1, 3));
}

TEST(byte_buffer_test, ConstructorsDoubleTheCapacityUntilItSuffices) {
    EXPECT_EQ(1024U, capacityOf(MiByteBuffer(1)));
    EXPECT_EQ(1024U, capacityOf(MiByteBuffer(1024)));
    EXPECT_EQ(2048U, capacityOf(MiByteBuffer(1025)));
    EXPECT_EQ(8192U, capacityOf(MiByteBuffer(5000)));
    EXPECT_EQ(2048U, capacityOf(MiByteBuffer(MiByte(2048))));
    EXPECT_EQ(4096U, capacityOf(MiByteBuffer(MiByte(2049))));
    EXPECT_EQ(2048U, capacityOf(buffer(std::string(1025, 'x'))));
    EXPECT_EQ(2048U, capacityOf(MiByteBuffer(std::string(1026, 'x').data(), 1, 1025)));
    EXPECT_EQ(4096U, capacityOf(MiByteBuffer(nullptr, 3000))) << "the room is made, the length is 0";
}

TEST(byte_buffer_test, CopiesTakeTheCapacityAlong) {
    MiByteBuffer value = buffer(std::string(3000, 'a'));
    value.SetLength(2);
    const MiByteBuffer copy(value);
    expectContent("aa", copy);
    EXPECT_EQ(4096U, capacityOf(copy));
    MiByteBuffer assigned;
    EXPECT_EQ(&assigned, &(assigned = value));
    expectContent("aa", assigned);
    EXPECT_EQ(4096U, capacityOf(assigned));
    value.SetCharAt(0, 'z');
    expectContent("aa", copy);
    expectContent("aa", assigned);
    assigned = MiByteBuffer();
    EXPECT_EQ(1024U, capacityOf(assigned));
}

TEST(byte_buffer_test, AssignmentToItselfDoesNothing) {
    MiByteBuffer value("abc", 3);
    const char* const storage = value.GetChars();
    const MiByteBuffer& same = value;
    value = same;
    EXPECT_EQ(storage, value.GetChars());
    expectContent("abc", value);
}

TEST(byte_buffer_test, SetByte) {
    MiByteBuffer value("xyz", 3);
    EXPECT_EQ(&value, &value.SetByte("abcdef", 4));
    expectContent("abcd", value);
    expectContent("cd", value.SetByte("abcdef", 2, 2));
    expectContent("", value.SetByte(nullptr, 4));
    expectContent("", value.SetByte("abc", 3).SetByte(nullptr, 1, 4));
    expectContent("", value.SetByte("abc", 3).SetByte("abc", 0));
    const MiByte source("abcde", 5);
    expectContent("abcde", value.SetByte(source));
    expectContent("abc", value.SetByte(source, 3));
    expectContent("abcde", value.SetByte(source, UINT_MAX));
    expectContent("bc", value.SetByte(source, 1, 2));
    expectContent("bcde", value.SetByte(source, 1, UINT_MAX));
    EXPECT_THROW(value.SetByte(source, 5, 1), MiOutOfRangeExp);
    EXPECT_THROW(value.SetByte(source, 5, 0), MiOutOfRangeExp) << "the offset is tested first";
    EXPECT_THROW(value.SetByte(MiByte(), 0, 1), MiOutOfRangeExp);
    expectContent("bcde", value);
    expectContent("", value.SetByte(source, 1, 0));
    expectContent("", value.SetByte(source).SetByte(MiByte()));
    expectContent("", value.SetByte(source).SetByte(MiByte(), 3));
}

TEST(byte_buffer_test, SetByteFollowsTheRuleForCapacities) {
    MiByteBuffer value(20000);
    EXPECT_EQ(32768U, capacityOf(value));
    value.SetByte(nullptr, 1);
    EXPECT_EQ(32768U, capacityOf(value)) << "null leaves the storage alone";
    value.SetByte("ab", 2);
    EXPECT_EQ(2048U, capacityOf(value));
    expectContent("ab", value);
    EXPECT_EQ(std::string(2047, 0), std::string(value.GetChars() + 2, 2047)) << "new storage is zeroed";
    value.SetByte("ab", 0);
    EXPECT_EQ(2048U, capacityOf(value));
}

TEST(byte_buffer_test, Reset) {
    const MiByteBuffer source("abc", 3);
    MiByteBuffer value(3000);
    EXPECT_EQ(&value, &value.Reset(nullptr));
    expectContent("", value);
    EXPECT_EQ(4096U, capacityOf(value));
    value.Reset(&source);
    expectContent("abc", value);
    EXPECT_EQ(2048U, capacityOf(value)) << "it copies by SetByte, not the capacity of the source";
    expectContent("abc", value.Reset(&value));
}

TEST(byte_buffer_test, SetLengthGrowsWithZerosAndShrinksForNothing) {
    MiByteBuffer value("abcdef", 6);
    EXPECT_EQ(&value, &value.SetLength(2));
    expectContent("ab", value);
    EXPECT_STREQ("abcdef", value.GetChars()) << "nothing is cleared";
    expectContent(bytes("ab\0\0"), value.SetLength(4));
    expectContent(bytes("ab\0\0"), value.SetLength(4));
    value.SetLength(5000);
    EXPECT_EQ(8192U, capacityOf(value));
    expectContent(std::string("ab") + std::string(4998, 0), value);
    value.SetLength(1);
    EXPECT_EQ(8192U, capacityOf(value)) << "shrinking leaves the capacity";
    value.SetLength(3);
    EXPECT_EQ(2048U, capacityOf(value)) << "growing follows the rule, which may shrink";
    expectContent(bytes("a\0\0"), value);
}

TEST(byte_buffer_test, GetByteIsACopy) {
    MiByteBuffer value("abc", 3);
    const MiByte copy = value.GetByte();
    value.SetCharAt(0, 'z');
    EXPECT_EQ("abc", contentOf(copy));
    EXPECT_TRUE(MiByteBuffer().GetByte().Empty());
}

TEST(byte_buffer_test, CapacityIsTheFreeRoom) {
    MiByteBuffer value;
    EXPECT_EQ(1024U, value.Capacity());
    value.Append(std::string(24, 'x').data(), 24);
    EXPECT_EQ(1000U, value.Capacity());
}

TEST(byte_buffer_test, EnsureCapacityDoublesAndNeverShrinks) {
    MiByteBuffer value("abc", 3);
    EXPECT_EQ(&value, &value.EnsureCapacity(1024));
    EXPECT_EQ(1024U, capacityOf(value));
    value.EnsureCapacity(1025);
    EXPECT_EQ(2048U, capacityOf(value));
    value.EnsureCapacity(70000);
    EXPECT_EQ(131072U, capacityOf(value));
    value.EnsureCapacity(0);
    EXPECT_EQ(131072U, capacityOf(value));
    expectContent("abc", value);
}

TEST(byte_buffer_test, GrowsAtThe1025thByte) {
    MiByteBuffer value;
    for (int i = 0; i < 1024; ++i)
        value.Append(static_cast<unsigned char>('a'));
    EXPECT_EQ(1024U, capacityOf(value));
    value.Append(static_cast<unsigned char>('b'));
    EXPECT_EQ(2048U, capacityOf(value));
    expectContent(std::string(1024, 'a') + "b", value);
}

TEST(byte_buffer_test, Append) {
    MiByteBuffer value;
    const MiByte source("abcde", 5);
    EXPECT_EQ(&value, &value.Append(static_cast<unsigned char>(0xFF)));
    expectContent("\xFF", value);
    value.SetLength(0);
    expectContent("ab", value.Append("abc", 2));
    expectContent("abde", value.Append("cdef", 1, 2));
    expectContent("abdeabcde", value.Append(source));
    value.SetLength(0);
    expectContent("abcde", value.Append(&source));
    expectContent("abcdeab", value.Append(source, 2));
    expectContent("abcdeababcde", value.Append(source, UINT_MAX));
    value.SetLength(0);
    expectContent("cd", value.Append(source, 2, 2));
    expectContent("cdbcde", value.Append(source, 1, UINT_MAX));
    expectContent("cdbcdexy", value.Append(MiByteBuffer("xy", 2)));
}

TEST(byte_buffer_test, AppendOfNothingChangesNothing) {
    MiByteBuffer value("abc", 3);
    const MiByte source("abcde", 5);
    const MiByte empty;
    value.Append(static_cast<const char*>(nullptr), 3);
    value.Append("x", 0);
    value.Append(nullptr, 1, 3);
    value.Append("x", 1, 0);
    value.Append(static_cast<const MiByte*>(nullptr));
    value.Append(&empty);
    value.Append(empty);
    value.Append(MiByteBuffer());
    value.Append(empty, 3);
    value.Append(source, 0);
    value.Append(empty, 0, 3);
    value.Append(source, 5, 1);
    value.Append(source, UINT_MAX, UINT_MAX);
    value.Append(source, 2, 0);
    expectContent("abc", value);
}

TEST(byte_buffer_test, AppendToALargeNearlyEmptyBufferShrinksIt) {
    MiByteBuffer value;
    value.EnsureCapacity(100000);
    EXPECT_EQ(131072U, capacityOf(value));
    value.Append(static_cast<unsigned char>('a'));
    EXPECT_EQ(2048U, capacityOf(value));
    expectContent("a", value);
    EXPECT_EQ(std::string(2048, 0), std::string(value.GetChars() + 1, 2048));
}

TEST(byte_buffer_test, ExtendGivesRoomToWriteTo) {
    MiByteBuffer value("ab", 2);
    char* const place = value.Extend(3);
    EXPECT_EQ(value.GetChars() + 2, place);
    bytes("cde").copy(place, 3);
    expectContent("abcde", value);
    std::memset(value.Extend(5000), 'x', 5000);
    expectContent("abcde" + std::string(5000, 'x'), value);
    EXPECT_EQ(8192U, capacityOf(value));
    value.SetLength(0);
    value.Extend(1)[0] = 'y';
    EXPECT_EQ(2048U, capacityOf(value));
    expectContent("y", value);
}

TEST(byte_buffer_test, Insert) {
    MiByteBuffer value("ad", 2);
    EXPECT_EQ(&value, &value.Insert(1, static_cast<unsigned char>('c')));
    expectContent("acd", value);
    expectContent("abbcd", value.Insert(1, "bbx", 2));
    expectContent("abbcdef", value.Insert(5, "xef", 1, 2));
    expectContent("zabbcdef", value.Insert(0, MiByte("z", 1)));
    expectContent("zabbcdef!", value.Insert(8, static_cast<unsigned char>('!')));
}

TEST(byte_buffer_test, InsertPastTheLengthThrowsUnlessThereIsNothingToInsert) {
    MiByteBuffer value("ab", 2);
    EXPECT_THROW(value.Insert(3, static_cast<unsigned char>('x')), MiOutOfRangeExp);
    EXPECT_THROW(value.Insert(3, "x", 1), MiOutOfRangeExp);
    EXPECT_THROW(value.Insert(UINT_MAX, "x", 0, 1), MiOutOfRangeExp);
    EXPECT_THROW(value.Insert(3, MiByte("x", 1)), MiOutOfRangeExp);
    value.Insert(9, static_cast<const char*>(nullptr), 1);
    value.Insert(9, "x", 0);
    value.Insert(9, nullptr, 0, 1);
    value.Insert(9, "x", 0, 0);
    value.Insert(9, MiByte());
    expectContent("ab", value);
}

TEST(byte_buffer_test, InsertFollowsTheRuleForCapacities) {
    MiByteBuffer value = buffer(std::string(1024, 'a'));
    value.Insert(512, static_cast<unsigned char>('b'));
    EXPECT_EQ(2048U, capacityOf(value));
    expectContent(std::string(512, 'a') + "b" + std::string(512, 'a'), value);
    value.EnsureCapacity(65536).SetLength(1);
    value.Insert(0, "z", 1);
    EXPECT_EQ(2048U, capacityOf(value));
    expectContent("za", value);
}

TEST(byte_buffer_test, DeleteByte) {
    MiByteBuffer value("abcdef", 6);
    EXPECT_EQ(&value, &value.DeleteByte(1, 3));
    expectContent("adef", value);
    expectContent("adef", value.DeleteByte(2, 2));
    expectContent("ad", value.DeleteByte(2, UINT_MAX));
    expectContent("d", value.DeleteByte(0, 1));
    expectContent("", value.DeleteByte(0, 9));
}

TEST(byte_buffer_test, DeleteByteTestsItsRange) {
    MiByteBuffer value("abc", 3);
    EXPECT_THROW(value.DeleteByte(3, 3), MiOutOfRangeExp);
    EXPECT_THROW(value.DeleteByte(4, 5), MiOutOfRangeExp);
    EXPECT_THROW(value.DeleteByte(2, 1), MiOutOfRangeExp);
    EXPECT_THROW(MiByteBuffer().DeleteByte(0, 0), MiOutOfRangeExp);
    expectContent("abc", value);
}

TEST(byte_buffer_test, DeleteByteSetsTheCapacityByWhatItRemoves) {
    const MiByteBuffer value = overfull();
    EXPECT_EQ(2048U, capacityOf(value)) << "10 bytes removed from a capacity of 8192";
    expectContent(overfullContent(), value);
    EXPECT_EQ(2048U - 5000U, value.Capacity());

    MiByteBuffer large(20000);
    large.DeleteByte(0, 5000);
    EXPECT_EQ(16384U, capacityOf(large)) << "5000 removed: the smallest power above is 8192";
    MiByteBuffer still(20000);
    still.DeleteByte(0, 9000);
    EXPECT_EQ(32768U, capacityOf(still)) << "twice 16384 is not less";
}

TEST(byte_buffer_test, DeleteByteMayGrowACapacityThatWasBelowTheLength) {
    MiByteBuffer value = overfull();
    value.DeleteByte(1000, 4000);
    EXPECT_EQ(4096U, capacityOf(value));
    expectContent(overfullContent().erase(1000, 3000), value);
}

// Whatever follows such a deletion finds room enough; the address checker would see it otherwise.
TEST(byte_buffer_test, ACapacityBelowTheLengthIsNoDanger) {
    const std::string content = overfullContent();
    const MiByteBuffer copy = overfull();
    expectContent(content, MiByteBuffer(copy));
    EXPECT_EQ(2048U, capacityOf(MiByteBuffer(copy)));
    MiByteBuffer assigned;
    assigned = copy;
    expectContent(content, assigned);
    EXPECT_EQ(2048U, capacityOf(assigned));

    expectContent(content, overfull().EnsureCapacity(2000));
    expectContent(content, overfull().EnsureCapacity(3000));
    EXPECT_EQ(4096U, capacityOf(overfull().EnsureCapacity(3000)));
    expectContent(content + "z", overfull().Append(static_cast<unsigned char>('z')));
    EXPECT_EQ(8192U, capacityOf(overfull().Append(static_cast<unsigned char>('z'))));
    expectContent(content + "xyz", overfull().Append("xyz", 3));
    expectContent("z" + content, overfull().Insert(0, static_cast<unsigned char>('z')));
    expectContent(content + std::string(100, 0), overfull().SetLength(5100));
    expectContent(content.substr(0, 4000), overfull().SetLength(4000));
    expectContent(content.substr(0, 4000) + std::string(5, 0), overfull().SetLength(4000).SetLength(4005));
    expectContent(std::string(content.rbegin(), content.rend()), overfull().Reverse());
    expectContent("ab", overfull().SetByte("ab", 2));
    expectContent("ab" + content.substr(1), overfull().Replace(0, 1, "ab", 2));
    MiByteBuffer extended = overfull();
    extended.Extend(1)[0] = 'q';
    expectContent(content + "q", extended);
}

TEST(byte_buffer_test, ReplaceOfARange) {
    MiByteBuffer value("abcdef", 6);
    EXPECT_EQ(&value, &value.Replace(1, 3, "XYZ", 3));
    expectContent("aXYZdef", value);
    expectContent("aXYZd__", value.Replace(5, 99, MiByte("__", 2)));
    expectContent("-aXYZd__", value.Replace(0, 0, "-", 1));
    expectContent("XYZd__", value.Replace(0, 2, MiByte()));
    expectContent("d__", value.Replace(0, 3, nullptr, 4));
    EXPECT_THROW(value.Replace(3, 3, "x", 1), MiOutOfRangeExp);
    EXPECT_THROW(value.Replace(2, 1, "x", 1), MiOutOfRangeExp);
    EXPECT_THROW(MiByteBuffer().Replace(0, 0, MiByte("x", 1)), MiOutOfRangeExp);
    expectContent("d__", value);
}

TEST(byte_buffer_test, ReplaceOfARangeFollowsTheRuleTwice) {
    MiByteBuffer value(5000);
    value.Replace(0, 10, "x", 1);  // 10 removed: 8192 to 2048; 4991 needed: to 8192
    EXPECT_EQ(8192U, capacityOf(value));
    EXPECT_EQ(4991U, value.GetLength());
    EXPECT_EQ('x', value[0]);
}

TEST(byte_buffer_test, ReplaceOfAByte) {
    MiByteBuffer value("ABABA", 5);
    EXPECT_EQ(&value, &value.Replace(static_cast<unsigned char>(0x41), static_cast<unsigned char>(0x42)));
    expectContent("BBBBB", value);
    value.Replace(static_cast<unsigned char>('B'), static_cast<unsigned char>(0xFF));
    expectContent("\xFF\xFF\xFF\xFF\xFF", value);
}

TEST(byte_buffer_test, ReplaceOfAByteFrom80UpMatchesNothing) {
    MiByteBuffer value(256);
    for (unsigned int i = 0; i < 256; ++i)
        value[i] = static_cast<unsigned char>(i);
    const std::string before = contentOf(value);
    for (unsigned int from = 0x80; from < 256; ++from)
        value.Replace(static_cast<unsigned char>(from), static_cast<unsigned char>(0));
    expectContent(before, value);
    value.Replace(static_cast<unsigned char>(0x7F), static_cast<unsigned char>(0));
    EXPECT_EQ(0, value[0x7F]);
}

TEST(byte_buffer_test, Reverse) {
    MiByteBuffer value("abcde", 5);
    EXPECT_EQ(&value, &value.Reverse());
    expectContent("edcba", value);
    expectContent("edabc", value.Reverse(2));
    expectContent("adebc", value.Reverse(0, 3));
    expectContent("adebc", value.Reverse(1, 1));
    expectContent("adecb", value.Reverse(3, UINT_MAX));
    expectContent("adecb", value.Reverse(4, 5));
    expectContent("", MiByteBuffer().Reverse());
    EXPECT_THROW(value.Reverse(5), MiOutOfRangeExp);
    EXPECT_THROW(value.Reverse(5, 4), MiOutOfRangeExp) << "the start is tested first";
    EXPECT_THROW(value.Reverse(3, 2), MiInvalidArgumentExp);
    EXPECT_THROW(MiByteBuffer().Reverse(0), MiOutOfRangeExp);
    EXPECT_THROW(MiByteBuffer().Reverse(0, 0), MiOutOfRangeExp);
    expectContent("adecb", value);
}

TEST(byte_buffer_test, PositionsAreTested) {
    MiByteBuffer value("\x80\xFF", 2);
    const MiByteBuffer& fixed = value;
    EXPECT_EQ(0x80, value.CharAt(0));
    EXPECT_EQ(0xFF, fixed[1]);
    value[1] = 7;
    EXPECT_EQ(7, fixed[1]);
    value.SetCharAt(0, 9);
    EXPECT_EQ(9, fixed.CharAt(0));
    EXPECT_THROW((void)value.CharAt(2), MiOutOfRangeExp);
    EXPECT_THROW((void)fixed[2], MiOutOfRangeExp);
    EXPECT_THROW(value[2] = 1, MiOutOfRangeExp);
    EXPECT_THROW(value[UINT_MAX] = 1, MiOutOfRangeExp);
    EXPECT_THROW(value.SetCharAt(2, 1), MiOutOfRangeExp);
    EXPECT_THROW((void)MiByteBuffer().CharAt(0), MiOutOfRangeExp);
}

// Rising by the order, with nothing equal: unsigned bytes, where MiByte has signed ones.
TEST(byte_buffer_test, OrderOperatorsAgreeOnARisingRow) {
    const std::vector<MiByteBuffer> row = {buffer(""),     buffer(bytes("\0")),   buffer("\x7F"),    buffer("\x80"),
                                           buffer("\xFF"), buffer(bytes("\0\0")), buffer("\x80\x7F")};
    for (std::size_t i = 0; i < row.size(); ++i) {
        for (std::size_t j = 0; j < row.size(); ++j) {
            SCOPED_TRACE(std::to_string(i) + " and " + std::to_string(j));
            EXPECT_EQ(i > j, row[i] > row[j]);
            EXPECT_EQ(i >= j, row[i] >= row[j]);
            EXPECT_EQ(i < j, row[i] < row[j]);
            EXPECT_EQ(i <= j, row[i] <= row[j]);
            EXPECT_EQ(i == j, row[i] == row[j]);
            EXPECT_EQ(i != j, row[i] != row[j]);
        }
    }
    EXPECT_TRUE(buffer("ab") == buffer("ab"));
}

TEST(byte_buffer_test, ReAllocateChangesTheCapacityFieldAlone) {
    struct Row {
        unsigned int before, needed, after;
    };
    const Row rows[] = {
        {1024, 1024, 1024}, {1024, 0, 1024},         {1024, 1025, 2048},       {1024, 5000, 8192},
        {2048, 0, 2048},    {2048, 2047, 2048},      {4096, 0, 2048},          {4096, 1023, 2048},
        {4096, 1024, 4096}, {4096, 4095, 4096},      {8192, 1023, 2048},       {8192, 1024, 4096},
        {8192, 2047, 4096}, {8192, 2048, 8192},      {8192, 8192, 8192},       {131072, 9000, 32768},
        {131072, 1, 2048},  {131072, 65536, 131072}, {131072, 131073, 262144},
    };
    for (const Row& row : rows) {
        Peek value;
        value.EnsureCapacity(row.before);
        value.Append("abc", row.before > 2048 ? 0 : 3);
        const char* const storage = value.GetChars();
        EXPECT_EQ(row.after, value.reAllocate(row.needed)) << row.before << " needs " << row.needed;
        EXPECT_EQ(row.after, capacityOf(value));
        EXPECT_EQ(storage, value.GetChars());
    }
}

TEST(byte_buffer_test, SourcesInsideTheBufferWork) {
    const std::string content = "abcdefgh";
    for (const unsigned int more : {0U, 1016U, 1020U}) {  // with room to spare, with none, and in between
        const std::string tail(more, 't');
        const std::string whole = content + tail;
        for (unsigned int from = 0; from <= 8; ++from) {
            for (unsigned int n = 0; from + n <= 8; ++n) {
                const std::string part = whole.substr(from, n);
                MiByteBuffer appended = buffer(whole);
                expectContent(whole + part, appended.Append(appended.GetChars() + from, n));
                for (unsigned int pos = 0; pos <= 8; ++pos) {
                    MiByteBuffer inserted = buffer(whole);
                    expectContent(std::string(whole).insert(pos, part),
                                  inserted.Insert(pos, inserted.GetChars() + from, n));
                    MiByteBuffer replaced = buffer(whole + "!");
                    expectContent((whole + "!").replace(pos, 2, part),
                                  replaced.Replace(pos, pos + 2, replaced.GetChars() + from, n));
                }
                MiByteBuffer set = buffer(whole);
                expectContent(part, set.SetByte(set.GetChars() + from, n));
            }
        }
    }
    MiByteBuffer doubled = buffer(std::string(1000, 'd'));
    expectContent(std::string(2000, 'd'), doubled.Append(doubled));
}

TEST(byte_buffer_test, DumpIsThatOfMiByte) {
    std::ostringstream os;
    MiByteBuffer value = buffer(std::string(17, '\xAA'));
    value.ToOstream(os, 1);
    os << '\n' << value << static_cast<const MiByteBuffer&>(MiByteBuffer("\x01", 1));
    EXPECT_EQ(
        "    AA AA AA AA AA AA AA AA  AA AA AA AA AA AA AA AA  \n"
        "    AA \n"
        "AA AA AA AA AA AA AA AA  AA AA AA AA AA AA AA AA  \n"
        "AA 01 ",
        os.str());
}

TEST(byte_buffer_test, DeltReleasesTheStorage) {
    Peek value;
    value.Append("abc", 3);
    value.Delt();
    EXPECT_EQ(nullptr, Peek::dataOf(value));
    EXPECT_EQ(0U, Peek::lengthOf(value));
    EXPECT_EQ(0U, Peek::capacityOf(value));
    value.Init();
}

TEST(byte_buffer_test, ExhaustedMemoryChangesNothing) {
    const std::string content(20000, 'a');
    const MiByteBuffer source(100000);
    const auto survives = [&](auto&& change) {
        MiByteBuffer value = buffer(content);
        foundation::PoolTrim();
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
    survives([&](MiByteBuffer& value) { value = source; });
    survives([&](MiByteBuffer& value) { value.SetByte(source.GetChars(), 100000); });
    survives([&](MiByteBuffer& value) { value.Append(source); });
    survives([&](MiByteBuffer& value) { value.Insert(3, source.GetChars(), 100000); });
    survives([&](MiByteBuffer& value) { value.Replace(0, 19000, source.GetChars(), 100000); });
    survives([&](MiByteBuffer& value) { value.EnsureCapacity(40000); });
    survives([&](MiByteBuffer& value) { value.SetLength(40000); });
    survives([&](MiByteBuffer& value) { value.Extend(40000); });
    survives([&](MiByteBuffer& value) { value.DeleteByte(0, 5000); });
}

TEST(byte_buffer_test, LengthsBeyondWhatDoublingReachesAreMemoryFailures) {
    MiByteBuffer value("ab", 2);
    const volatile unsigned int most = UINT_MAX;  // the compiler would refuse to copy as much
    EXPECT_THROW(value.Append("x", most), std::bad_alloc) << "the sum does not wrap";
    EXPECT_THROW(value.Insert(0, "x", UINT_MAX - 1), std::bad_alloc);
    EXPECT_THROW(value.SetByte("x", 0x80000001U), std::bad_alloc);
    EXPECT_THROW(value.EnsureCapacity(0x80000001U), std::bad_alloc);
    EXPECT_THROW(value.SetLength(UINT_MAX), std::bad_alloc);
    EXPECT_THROW(value.Extend(UINT_MAX), std::bad_alloc);
    EXPECT_THROW(MiByteBuffer(0x80000001U), std::bad_alloc);
    expectContent("ab", value);
    EXPECT_EQ(1024U, capacityOf(value));
}

// Random operations beside std::string, with the rule for capacities reckoned anew here.
TEST(byte_buffer_test, AgreesWithAPlainString) {
    const auto rule = [](unsigned int capacity, unsigned int needed) {
        if (needed == capacity)
            return capacity;
        if (needed > capacity) {
            while (capacity < needed)
                capacity *= 2;
            return capacity;
        }
        if (capacity <= 2048)
            return capacity;
        for (unsigned int p = 1024;; p *= 2) {
            if (needed < p)
                return 2 * p < capacity ? 2 * p : capacity;
        }
    };
    std::mt19937 random(20);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same run each time
    MiByteBuffer value;
    std::string expected;
    unsigned int capacity = 1024;
    for (int step = 0; step < 4000; ++step) {
        const auto length = static_cast<unsigned int>(expected.size());
        const std::string piece(random() % (step % 100 == 0 ? 9000 : 40) + 1, static_cast<char>(random()));
        const auto n = static_cast<unsigned int>(piece.size());
        const unsigned int pos = static_cast<unsigned int>(random()) % (length + 1);
        switch (random() % 5) {
            case 0:
                value.Append(piece.data(), n);
                expected += piece;
                capacity = rule(capacity, length + n);
                break;
            case 1:
                value.Insert(pos, piece.data(), n);
                expected.insert(pos, piece);
                capacity = rule(capacity, length + n);
                break;
            case 2:
                if (pos < length) {
                    value.DeleteByte(pos, pos + n);
                    capacity = rule(capacity, std::min(n, length - pos));
                    expected.erase(pos, n);
                }
                break;
            case 3:
                if (length > 0 && pos < length) {
                    value.SetLength(pos);
                    expected.resize(pos);
                }
                break;
            default:
                value.SetLength(length + n);
                expected.resize(length + n);
                capacity = rule(capacity, length + n);
                break;
        }
        ASSERT_EQ(expected, contentOf(value)) << "step " << step;
        ASSERT_EQ(capacity, capacityOf(value)) << "step " << step;
    }
}

}  // namespace

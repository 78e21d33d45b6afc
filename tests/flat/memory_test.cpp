#include <gmock/gmock.h>

#include <cstdint>
#include <cstring>

#include "pki/flat/flat.h"
#include "tests/flat/when_allocation_fails.h"

namespace {

TEST(memory_test, MallocGivesOneByteMoreAllZero) {
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{15}, std::size_t{4096}}) {
        auto* bytes = static_cast<std::uint8_t*>(T_malloc(size));
        ASSERT_NE(bytes, nullptr);
        for (std::size_t i = 0; i <= size; ++i)
            EXPECT_EQ(bytes[i], 0) << "byte " << i << " of " << size;
        bytes[size] = 1;  // ours to write: the address checker would object
        T_free(bytes);
    }
}

TEST(memory_test, MallocIsNullOnFailure) {
    EXPECT_EQ(whenAllocationFails(1, [] { return T_malloc(16); }), nullptr);
}

TEST(memory_test, MallocOfTheLargestSizeIsNull) {
    volatile std::size_t largest = SIZE_MAX;
    EXPECT_EQ(T_malloc(largest), nullptr);
}

TEST(memory_test, FreeAcceptsNull) {
    T_free(nullptr);
}

TEST(memory_test, ReallocKeepsTheBytes) {
    auto* text = static_cast<char*>(T_malloc(5));
    T_strcpy(text, "hello");
    text = static_cast<char*>(T_realloc(text, 1000));
    ASSERT_NE(text, nullptr);
    EXPECT_STREQ(text, "hello");
    T_free(text);
}

TEST(memory_test, FailedReallocIsNullAndKeepsTheOld) {
    auto* text = static_cast<char*>(T_malloc(5));
    T_strcpy(text, "hello");
    EXPECT_EQ(whenAllocationFails(1, [&] { return T_realloc(text, 1000); }), nullptr);
    EXPECT_STREQ(text, "hello");
    T_free(text);
}

TEST(memory_test, ReallocOfNullAllocates) {
    void* bytes = T_realloc(nullptr, 8);
    ASSERT_NE(bytes, nullptr);
    T_memset(bytes, 0xFF, 8);
    T_free(bytes);
}

TEST(memory_test, MemsetFillsAndGivesTheBuffer) {
    char buffer[5] = "abcd";
    EXPECT_EQ(T_memset(buffer + 1, 'x', 2), buffer + 1);
    EXPECT_STREQ(buffer, "axxd");
}

TEST(memory_test, MemcpyCopiesAndGivesTheTarget) {
    char buffer[5] = "abcd";
    EXPECT_EQ(T_memcpy(buffer, "xyz", 2), buffer);
    EXPECT_STREQ(buffer, "xycd");
}

TEST(memory_test, MemmoveTakesOverlaps) {
    char buffer[7] = "abcdef";
    EXPECT_EQ(T_memmove(buffer + 1, buffer, 5), buffer + 1);
    EXPECT_STREQ(buffer, "aabcde");
    T_memmove(buffer, buffer + 1, 5);
    EXPECT_STREQ(buffer, "abcdee");
}

TEST(memory_test, MemcmpOrdersUnsignedBytesPastZeros) {
    EXPECT_EQ(T_memcmp("a\0b", "a\0b", 3), 0);
    EXPECT_LT(T_memcmp("a\0b", "a\0c", 3), 0);
    EXPECT_GT(T_memcmp("\x80", "\x7F", 1), 0);
    EXPECT_EQ(T_memcmp("a", "b", 0), 0);
}

TEST(memory_test, StrlenCountsToTheZero) {
    EXPECT_EQ(T_strlen(""), 0U);
    EXPECT_EQ(T_strlen("abc\0def"), 3U);
}

TEST(memory_test, StrcpyCopiesTheZeroAndNoMore) {
    char buffer[6] = "-----";
    EXPECT_EQ(T_strcpy(buffer, "abc"), buffer);
    EXPECT_EQ(std::memcmp(buffer, "abc\0-", 6), 0);
}

TEST(memory_test, StrcmpOrdersTexts) {
    EXPECT_EQ(T_strcmp("abc", "abc"), 0);
    EXPECT_LT(T_strcmp("abc", "abd"), 0);
    EXPECT_GT(T_strcmp("abc", "ab"), 0);
}

}  // namespace

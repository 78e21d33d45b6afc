#include "crypto/md5.h"

#include <gtest/gtest.h>

#include "crypto/absorb.h"
#include "tests/crypto/digests.h"

namespace {

using digests::bytesOf;
using digests::hex;
using digests::kMd5;

// RFC 1321, appendix A.5.
TEST(md5_test, GivesThePublishedDigests) {
    const char* const known[][2] = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"},
        {"a", "0cc175b9c0f1b6a831c399e269772661"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", "d174ab98d277d9f5a5611c2c9f419d9f"},
        {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"},
    };
    for (const auto& [text, digest] : known)
        EXPECT_EQ(digestOf(kMd5, bytesOf(text)), hex(digest)) << text;
}

TEST(md5_test, NoUpdateIsTheEmptyMessage) {
    MD5_CTX context = begun(kMd5);
    EXPECT_EQ(ended(kMd5, context), hex("d41d8cd98f00b204e9800998ecf8427e"));
}

TEST(md5_test, GivesTheDigestsOfAnotherProgram) {
    expectDigestsOfOtherPrograms(kMd5);
}

TEST(md5_test, EveryCutGivesTheSameDigest) {
    expectEveryCut(kMd5);
}

TEST(md5_test, AWholeBlockLeavesTheBufferEmpty) {
    expectAWholeBlockLeavesTheBufferEmpty(kMd5);
}

TEST(md5_test, BitsAreCountedAndCarried) {
    expectBitsAreCountedAndCarried(kMd5);
}

// Half a gigabyte and more in one update, by the counter alone.
TEST(md5_test, TheHighWordTakesTheUpperBitsOfALength) {
    const struct {
        std::uint32_t length, low, high;
    } kKnown[] = {{0x1FFFFFFF, 0xFFFFFFF8, 0}, {0x20000000, 0, 1}, {0x20000001, 8, 1}, {0xFFFFFFFF, 0xFFFFFFF8, 7}};
    for (const auto& known : kKnown) {
        std::uint32_t low = 0;
        std::uint32_t high = 0;
        crypto::countBits(low, high, known.length);
        EXPECT_EQ(low, known.low);
        EXPECT_EQ(high, known.high);
        crypto::countBits(low, high, known.length);
        const std::uint64_t twice = std::uint64_t{known.length} * 16;
        EXPECT_EQ(std::uint64_t{high} << 32 | low, twice);
    }
}

TEST(md5_test, BothWordsOfTheLengthArePadded) {
    expectLongMessages(kMd5);
}

TEST(md5_test, WithoutAnOutputTheDigestCanBeContinued) {
    expectQueryLeavesTheDigest(kMd5);
}

TEST(md5_test, TheFinalWipesTheContext) {
    expectFinalWipesTheContext(kMd5);
}

}  // namespace

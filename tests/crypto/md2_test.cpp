#include "crypto/md2.h"

#include <gtest/gtest.h>

#include "tests/crypto/digests.h"

namespace {

using digests::bytesOf;
using digests::hex;
using digests::kMd2;

// RFC 1319, appendix A.5.
TEST(md2_test, GivesThePublishedDigests) {
    const char* const known[][2] = {
        {"", "8350e5a3e24c153df2275c9f80692773"},
        {"a", "32ec01ec4a6dac72c0ab96fb34c0b5d1"},
        {"abc", "da853b0d3f88d99b30283a69e6ded6bb"},
        {"message digest", "ab4f496bfb2a530b219ff33031fe06b0"},
        {"abcdefghijklmnopqrstuvwxyz", "4e8ddff3650292ab5a4108c3aa47940b"},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", "da33def2a42df13975352846c30338cd"},
        {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "d5976f79d83d3a0dc9806c3c66f3efd8"},
    };
    for (const auto& [text, digest] : known)
        EXPECT_EQ(digestOf(kMd2, bytesOf(text)), hex(digest)) << text;
}

TEST(md2_test, NoUpdateIsTheEmptyMessage) {
    MD2_CTX context = begun(kMd2);
    EXPECT_EQ(ended(kMd2, context), hex("8350e5a3e24c153df2275c9f80692773"));
}

TEST(md2_test, GivesTheDigestsOfItsDefinition) {
    expectDigestsOfOtherPrograms(kMd2);
}

TEST(md2_test, EveryCutGivesTheSameDigest) {
    expectEveryCut(kMd2);
}

TEST(md2_test, TheCountStaysBelow16) {
    MD2_CTX context = begun(kMd2);
    for (std::uint32_t i = 1; i <= 40; ++i) {
        absorb(kMd2, context, {1});
        EXPECT_EQ(context.count, i % 16);
    }
    absorb(kMd2, context, digests::Bytes(100));
    EXPECT_EQ(context.count, 140U % 16);
}

TEST(md2_test, AWholeBlockLeavesTheBufferEmpty) {
    expectAWholeBlockLeavesTheBufferEmpty(kMd2);
}

TEST(md2_test, WithoutAnOutputTheDigestCanBeContinued) {
    expectQueryLeavesTheDigest(kMd2);
}

TEST(md2_test, TheFinalWipesTheContext) {
    expectFinalWipesTheContext(kMd2);
}

}  // namespace

#include "crypto/sha1.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tests/crypto/digests.h"

namespace {

using digests::Bytes;
using digests::bytesOf;
using digests::hex;
using digests::kSha1;

// RFC 3174, section 7.3, and FIPS 180-1, appendix A.
TEST(sha1_test, GivesThePublishedDigests) {
    std::string eighty;
    for (int i = 0; i < 80; ++i)
        eighty += "01234567";
    const std::pair<std::string, const char*> known[] = {
        {"abc", "a9993e364706816aba3e25717850c26c9cd0d89d"},
        {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq", "84983e441c3bd26ebaae4aa1f95129e5e54670f1"},
        {std::string(1000000, 'a'), "34aa973cd4c4daa4f61eeb2bdbad27316534016f"},
        {eighty, "dea356a2cddd90c7a7ecedc5ebb563934f460452"},
    };
    for (const auto& [text, digest] : known)
        EXPECT_EQ(digestOf(kSha1, bytesOf(text)), hex(digest)) << text.substr(0, 80);
}

TEST(sha1_test, NoUpdateIsTheEmptyMessage) {
    SHA1_CTX context = begun(kSha1);
    EXPECT_EQ(ended(kSha1, context), hex("da39a3ee5e6b4b0d3255bfef95601890afd80709"));
}

TEST(sha1_test, GivesTheDigestsOfAnotherProgram) {
    expectDigestsOfOtherPrograms(kSha1);
}

TEST(sha1_test, EveryCutGivesTheSameDigest) {
    expectEveryCut(kSha1);
}

TEST(sha1_test, AWholeBlockLeavesTheBufferEmpty) {
    expectAWholeBlockLeavesTheBufferEmpty(kSha1);
}

TEST(sha1_test, BitsAreCountedAndCarried) {
    expectBitsAreCountedAndCarried(kSha1);
}

TEST(sha1_test, BothWordsOfTheLengthArePadded) {
    expectLongMessages(kSha1);
}

TEST(sha1_test, WithoutAnOutputTheDigestCanBeContinued) {
    expectQueryLeavesTheDigest(kSha1);
}

TEST(sha1_test, TheFinalWipesTheContext) {
    expectFinalWipesTheContext(kSha1);
}

// By hashlib of Python, from twenty zero bytes.
TEST(sha1_test, RepeatedlyGivesTheDigestOfTheDigest) {
    const std::pair<std::uint32_t, const char*> known[] = {{0, "0000000000000000000000000000000000000000"},
                                                           {1, "6768033e216468247bd031a0a2d9876d79818f8f"},
                                                           {2, "24d5d1ed739e0825bc6d9d44a7dd0d720454eafa"},
                                                           {1000, "b151153da8844acb100229ac3ef76333fc5651cd"}};
    for (const crypto::BlockKernels* form : crypto::blockKernelForms()) {
        crypto::useBlockKernels(*form);
        for (const auto& [times, expected] : known) {
            std::uint8_t digest[20] = {};
            SHA1_Repeat(digest, times);
            EXPECT_EQ(Bytes(digest, digest + 20), hex(expected)) << form->name << " " << times;
        }
    }
    crypto::useBlockKernels(crypto::fastestBlockKernels());
}

}  // namespace

#include "crypto/hash_chain_random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "crypto/entries.h"
#include "crypto/sha1.h"
#include "tests/support/failing_heap.h"
#include "tests/support/hex.h"
#include "tests/vectors/crypto_streams.h"

namespace {

using support::Bytes;
using support::hex;

struct Variant {
    const char* digest;
    RandomSeed seed;
    RandomGenerate generate;
};

constexpr Variant kVariants[] = {
    {"Md2", HashChainRandom_MD2_Seed, HashChainRandom_MD2_Generate},
    {"Md5", HashChainRandom_MD5_Seed, HashChainRandom_MD5_Generate},
    {"Sha1", HashChainRandom_SHA1_Seed, HashChainRandom_SHA1_Generate},
};
const Variant& kSha1 = kVariants[2];

Bytes generated(const Variant& variant, const Bytes& seed, std::uint32_t length) {
    HASH_CHAIN_RANDOM_CTX context{};
    EXPECT_EQ(variant.seed(&context, seed.data(), static_cast<std::uint32_t>(seed.size())), 0);
    Bytes out(length, 0xA5);
    variant.generate(&context, out.data(), length);
    return out;
}

Bytes sha1(const Bytes& data) {
    SHA1_CTX context;
    Bytes out(20);
    std::uint32_t length = 0;
    SHA1_Init(&context);
    SHA1_Update(&context, data.data(), static_cast<std::uint32_t>(data.size()));
    SHA1_Final(&context, out.data(), &length);
    return out;
}

TEST(hash_chain_random_test, GivesTheChainsOfAnotherProgram) {
    int seen = 0;
    for (const Variant& variant : kVariants) {
        for (const HashChain& chain : kHashChains) {
            if (std::string(chain.digest) != variant.digest)
                continue;
            ++seen;
            EXPECT_EQ(generated(variant, hex(chain.seed), chain.length), hex(chain.output))
                << chain.digest << ", " << chain.length;
        }
    }
    EXPECT_EQ(seen, static_cast<int>(std::size(kHashChains)));
}

// 20 bytes under SHA-1 are the digest of the filled working buffer; 21 take a second step, over the first one's digest.
TEST(hash_chain_random_test, AStepForEachDigestBegun) {
    Bytes work = hex("53 45 45 44 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10 11 12 13");
    EXPECT_EQ(generated(kSha1, hex("53 45 45 44"), 20), sha1(work));

    work.push_back(0x14);
    const Bytes first = sha1(work);
    std::copy(first.begin(), first.end(), work.begin());
    work[20] = sha1(work)[0];
    EXPECT_EQ(generated(kSha1, hex("53 45 45 44"), 21), work);
}

TEST(hash_chain_random_test, OfALongerSeedTheFirstBytesCount) {
    const Bytes seed = hex("01 02 03 04 05 06 07 08 09");
    EXPECT_EQ(generated(kSha1, seed, 8), generated(kSha1, hex("01 02 03 04 05 06 07 08"), 8));
    EXPECT_NE(generated(kSha1, seed, 9), generated(kSha1, hex("01 02 03 04 05 06 07 08"), 9));
}

// The counting sequence alone, i modulo 256.
TEST(hash_chain_random_test, AnEmptySeedIsDefined) {
    Bytes counting(20);
    for (std::size_t i = 0; i < counting.size(); ++i)
        counting[i] = static_cast<std::uint8_t>(i);
    EXPECT_EQ(generated(kSha1, {}, 20), sha1(counting));
    const std::uint8_t byte = 1;
    HASH_CHAIN_RANDOM_CTX context{};
    EXPECT_EQ(HashChainRandom_SHA1_Seed(&context, &byte, 0), 0);
    Bytes out(20);
    HashChainRandom_SHA1_Generate(&context, out.data(), 20);
    EXPECT_EQ(out, sha1(counting));
}

TEST(hash_chain_random_test, TheSameSeedAndLengthGiveTheSameBytes) {
    for (const Variant& variant : kVariants) {
        const Bytes seed = hex("C0 FF EE");
        EXPECT_EQ(generated(variant, seed, 50), generated(variant, seed, 50));
        // Another length gives other bytes from the first on.
        const Bytes longer = generated(variant, seed, 51);
        EXPECT_NE(generated(variant, seed, 50), Bytes(longer.begin(), longer.begin() + 50));
    }
}

// The seed is borrowed: what it holds at generation counts.
TEST(hash_chain_random_test, TheSeedIsNotCopied) {
    Bytes seed = hex("01 02 03");
    HASH_CHAIN_RANDOM_CTX context{};
    ASSERT_EQ(HashChainRandom_SHA1_Seed(&context, seed.data(), 3), 0);
    EXPECT_EQ(context.seed, seed.data());
    EXPECT_EQ(context.seedLength, 3U);
    seed[0] = 9;
    Bytes out(20);
    HashChainRandom_SHA1_Generate(&context, out.data(), 20);
    EXPECT_EQ(out, generated(kSha1, hex("09 02 03"), 20));
}

TEST(hash_chain_random_test, GenerationLeavesTheContext) {
    const Bytes seed = hex("01 02 03");
    HASH_CHAIN_RANDOM_CTX context{};
    ASSERT_EQ(HashChainRandom_MD5_Seed(&context, seed.data(), 3), 0);
    Bytes first(40);
    Bytes second(40);
    HashChainRandom_MD5_Generate(&context, first.data(), 40);
    HashChainRandom_MD5_Generate(&context, second.data(), 40);
    EXPECT_EQ(first, second);
}

TEST(hash_chain_random_test, MissingArgumentsWriteNothing) {
    for (const Variant& variant : kVariants) {
        const Bytes seed = hex("01 02 03");
        EXPECT_EQ(variant.seed(nullptr, seed.data(), 3), -2);
        Bytes out(20, 0xA5);
        variant.generate(nullptr, out.data(), 20);
        EXPECT_EQ(out, Bytes(20, 0xA5));
        HASH_CHAIN_RANDOM_CTX context{};
        EXPECT_EQ(variant.seed(&context, seed.data(), 3), 0);
        variant.generate(&context, nullptr, 20);
        variant.generate(&context, out.data(), 0);
        EXPECT_EQ(out, Bytes(20, 0xA5));
    }
}

TEST(hash_chain_random_test, ExhaustedMemoryWritesNothing) {
    for (const Variant& variant : kVariants) {
        HASH_CHAIN_RANDOM_CTX context{};
        std::uint8_t out[20];
        std::fill(std::begin(out), std::end(out), std::uint8_t{0xA5});
        const long failures = support::forEachExhaustion([&] {
            if (std::all_of(std::begin(out), std::end(out), [](std::uint8_t byte) { return byte == 0xA5; }))
                variant.generate(&context, out, sizeof out);
        });
        EXPECT_EQ(failures, 1);
        EXPECT_EQ(Bytes(std::begin(out), std::end(out)), generated(variant, {}, 20));
    }
}

TEST(hash_chain_random_test, MechanismsAreOfTheVendorsRange) {
    EXPECT_EQ(HASH_CHAIN_RANDOM_MD2, 0x80000100U);
    EXPECT_EQ(HASH_CHAIN_RANDOM_MD5, 0x80000200U);
    EXPECT_EQ(HASH_CHAIN_RANDOM_SHA1, 0x80000300U);
}

}  // namespace

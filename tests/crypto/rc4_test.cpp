#include "crypto/rc4.h"

#include <gtest/gtest.h>

#include <array>

#include "tests/crypto/ciphers.h"

namespace {

using ciphers::Bytes;
using ciphers::hex;

RC4_CTX keyed(const Bytes& key) {
    RC4_CTX context{};
    EXPECT_EQ(RC4_Init(&context, key.data(), static_cast<std::uint32_t>(key.size()), nullptr), 0);
    return context;
}

Bytes updated(RC4_CTX& context, const Bytes& input) {
    Bytes out(input.size());
    std::uint32_t length = 999;
    std::uint8_t nothing = 0;
    EXPECT_EQ(RC4_Update(&context, input.data(), input.empty() ? &nothing : out.data(),
                         static_cast<std::uint32_t>(input.size()), &length),
              0);
    EXPECT_EQ(length, input.size());
    return out;
}

// RFC 6229: the key stream at 0 and at 240.
TEST(rc4_test, GivesThePublishedKeyStreams) {
    struct KeyStream {
        const char* key;
        const char* atStart;
        const char* at240;
    };
    constexpr KeyStream kKnown[] = {
        {"0102030405", "b2396305f03dc027ccc3524a0a1118a8", "28cb1132c96ce286421dcaadb8b69eae"},
        {"0102030405060708090a0b0c0d0e0f10", "9ac7cc9a609d1ef7b2932899cde41b97", "065902e4b620f6cc36c8589f66432f2b"},
    };
    for (const KeyStream& known : kKnown) {
        RC4_CTX context = keyed(hex(known.key));
        const Bytes stream = updated(context, Bytes(256));
        EXPECT_EQ(Bytes(stream.begin(), stream.begin() + 16), hex(known.atStart));
        EXPECT_EQ(Bytes(stream.begin() + 240, stream.end()), hex(known.at240));
    }
}

TEST(rc4_test, GivesTheStreamsOfAnotherProgram) {
    int seen = 0;
    for (const CipherStream& stream : kCipherStreams) {
        if (std::string(stream.cipher) != "Rc4")
            continue;
        ++seen;
        RC4_CTX forward = keyed(hex(stream.key));
        EXPECT_EQ(updated(forward, hex(stream.plain)), hex(stream.enciphered));
        RC4_CTX backward = keyed(hex(stream.key));
        EXPECT_EQ(updated(backward, hex(stream.enciphered)), hex(stream.plain));
    }
    EXPECT_GT(seen, 0);
}

TEST(rc4_test, EveryCutGivesTheSameStream) {
    const Bytes key = ciphers::noiseBytes(16, 51);
    for (std::size_t length = 1; length <= 40; ++length) {
        const Bytes plain = ciphers::noiseBytes(length, 52);
        RC4_CTX whole = keyed(key);
        const Bytes expected = updated(whole, plain);
        for (std::size_t cut = 0; cut <= length; ++cut) {
            const auto middle = plain.begin() + static_cast<std::ptrdiff_t>(cut);
            RC4_CTX context = keyed(key);
            const Bytes first = updated(context, Bytes(plain.begin(), middle));
            EXPECT_EQ(ciphers::joined(first, updated(context, Bytes(middle, plain.end()))), expected);
            EXPECT_EQ(std::memcmp(&context, &whole, sizeof context), 0);
        }
    }
}

TEST(rc4_test, OutputMayBeInput) {
    const Bytes key = ciphers::noiseBytes(16, 53);
    for (const std::size_t length : {1U, 7U, 8U, 9U, 100U}) {
        const Bytes plain = ciphers::noiseBytes(length, 54);
        RC4_CTX apart = keyed(key);
        RC4_CTX inPlace = keyed(key);
        Bytes both = plain;
        std::uint32_t outLength = 0;
        ASSERT_EQ(RC4_Update(&inPlace, both.data(), both.data(), static_cast<std::uint32_t>(length), &outLength), 0);
        EXPECT_EQ(both, updated(apart, plain));
    }
}

TEST(rc4_test, AQueryReportsTheInputLengthAndChangesNothing) {
    RC4_CTX context = keyed(Bytes(5, 7));
    const RC4_CTX before = context;
    for (const std::uint32_t asked : {0U, 1U, 8U, 1000U, 0xFFFFFFFFU}) {
        std::uint32_t length = 77;
        EXPECT_EQ(RC4_Update(&context, nullptr, nullptr, asked, &length), 0);
        EXPECT_EQ(length, asked);
    }
    EXPECT_EQ(std::memcmp(&context, &before, sizeof context), 0);
}

// The length is the key object's business.
TEST(rc4_test, AnyLengthOfKeyIsTakenAndTheFirst256BytesCount) {
    const Bytes key = ciphers::noiseBytes(300, 55);
    const RC4_CTX expected = keyed(Bytes(key.begin(), key.begin() + 256));
    for (const std::ptrdiff_t length : {257, 300}) {
        const RC4_CTX context = keyed(Bytes(key.begin(), key.begin() + length));
        EXPECT_EQ(std::memcmp(&context, &expected, sizeof context), 0);
    }
    RC4_CTX none{};
    const std::uint8_t byte = 9;
    ASSERT_EQ(RC4_Init(&none, &byte, 0, nullptr), 0);
    const RC4_CTX zero = keyed(Bytes(1));
    EXPECT_EQ(std::memcmp(&none, &zero, sizeof none), 0);
}

TEST(rc4_test, TheKeyIsCycled) {
    const RC4_CTX once = keyed(hex("010203"));
    const RC4_CTX thrice = keyed(hex("010203010203010203"));
    EXPECT_EQ(std::memcmp(&once, &thrice, sizeof once), 0);
}

TEST(rc4_test, InitGivesAPermutationAndIndexesOfZero) {
    const RC4_CTX context = keyed(ciphers::noiseBytes(16, 56));
    EXPECT_EQ(context.x, 0);
    EXPECT_EQ(context.y, 0);
    std::array<int, 256> seen{};
    for (const std::int32_t value : context.s)
        ++seen.at(static_cast<std::size_t>(value));
    for (const int count : seen)
        EXPECT_EQ(count, 1);
}

TEST(rc4_test, MissingArgumentsAreTold) {
    RC4_CTX context = keyed(Bytes(5, 7));
    std::uint8_t byte = 1;
    std::uint32_t length = 7;
    EXPECT_EQ(RC4_Init(nullptr, &byte, 1, nullptr), -2);
    EXPECT_EQ(RC4_Init(&context, nullptr, 1, nullptr), -2);
    EXPECT_EQ(RC4_Update(nullptr, &byte, &byte, 1, &length), -2);
    EXPECT_EQ(RC4_Update(&context, nullptr, &byte, 1, &length), -2);
    EXPECT_EQ(RC4_Update(&context, &byte, &byte, 1, nullptr), -2);
    EXPECT_EQ(length, 7U);
    EXPECT_EQ(byte, 1);
}

}  // namespace

#include "crypto/rc2.h"

#include <gtest/gtest.h>

#include "tests/crypto/ciphers.h"

namespace {

using ciphers::Bytes;
using ciphers::hex;
using ciphers::plainBlocks;

const ciphers::BlockCipher& kRc2 = ciphers::named("Rc2");

struct OneBlock {
    const char* key;
    unsigned bits;
    const char* plain;
    const char* cipher;
};

// RFC 2268, section 5.
constexpr OneBlock kOneBlock[] = {
    {"0000000000000000", 63, "0000000000000000", "ebb773f993278eff"},
    {"ffffffffffffffff", 64, "ffffffffffffffff", "278b27e42e2f0d49"},
    {"3000000000000000", 64, "1000000000000001", "30649edf9be7d2c2"},
    {"88", 64, "0000000000000000", "61a8a244adacccf0"},
    {"88bca90e90875a", 64, "0000000000000000", "6ccf4308974c267f"},
    {"88bca90e90875a7f0f79c384627bafb2", 64, "0000000000000000", "1a807d272bbe5db1"},
    {"88bca90e90875a7f0f79c384627bafb2", 128, "0000000000000000", "2269552ab0f85ca6"},
    {"88bca90e90875a7f0f79c384627bafb216f80a6f85920584c42fceb0be255daf1e", 129, "0000000000000000", "5b78d3a43dfff1f1"},
};

TEST(rc2_test, GivesThePublishedBlocks) {
    for (const OneBlock& known : kOneBlock) {
        const Bytes key = hex(known.key);
        EXPECT_EQ(plainBlocks(kRc2, true, key, Bytes(8), known.bits, hex(known.plain)), hex(known.cipher));
        EXPECT_EQ(plainBlocks(kRc2, false, key, Bytes(8), known.bits, hex(known.cipher)), hex(known.plain));
    }
}

TEST(rc2_test, GivesTheStreamsOfAnotherProgram) {
    ciphers::expectStreams("Rc2");
}

int initResult(std::uint32_t keyLength) {
    const Bytes key = ciphers::noiseBytes(300, 31);
    const RC2_PARAMETER parameter{128, {}};
    RC2_CTX context{};
    const int encrypting = RC2_EncryptInit(&context, key.data(), keyLength, &parameter);
    EXPECT_EQ(RC2_DecryptInit(&context, key.data(), keyLength, &parameter), encrypting);
    return encrypting;
}

TEST(rc2_test, KeysHave1To128Bytes) {
    EXPECT_EQ(initResult(0), -3);
    for (std::uint32_t length = 1; length <= 128; ++length)
        EXPECT_EQ(initResult(length), 0);
    EXPECT_EQ(initResult(129), -3);
    EXPECT_EQ(initResult(256), -3);
    EXPECT_EQ(initResult(0xFFFFFFFF), -3);
}

RC2_CTX loaded(unsigned long bits) {
    const Bytes key = ciphers::noiseBytes(16, 32);
    RC2_PARAMETER parameter{bits, {1, 2, 3, 4, 5, 6, 7, 8}};
    RC2_CTX context{};
    EXPECT_EQ(RC2_EncryptInit(&context, key.data(), 16, &parameter), 0);
    return context;
}

TEST(rc2_test, EffectiveBitsOutsideTheirRangeCountAs1024) {
    const RC2_CTX most = loaded(1024);
    for (const unsigned long bits : {0UL, 1025UL, 65536UL, 0x80000000UL, ~0UL}) {
        const RC2_CTX context = loaded(bits);
        EXPECT_EQ(std::memcmp(&context, &most, sizeof context), 0) << bits;
    }
    for (const unsigned long bits : {1UL, 40UL, 1023UL})
        EXPECT_NE(std::memcmp(loaded(bits).expandedKey, most.expandedKey, sizeof most.expandedKey), 0) << bits;
}

TEST(rc2_test, InitLoadsTheContext) {
    const RC2_CTX context = loaded(128);
    const Bytes iv = hex("01 02 03 04 05 06 07 08");
    EXPECT_EQ(Bytes(std::begin(context.chain), std::end(context.chain)), iv);
    EXPECT_EQ(Bytes(std::begin(context.iv), std::end(context.iv)), iv);
    EXPECT_EQ(context.encrypting, 1);
    EXPECT_EQ(context.count, 0);
}

// The record goes to a token too: integers are CK_ULONG.
TEST(rc2_test, TheParameterRecordIsThatOfPkcs11) {
    EXPECT_EQ(offsetof(RC2_PARAMETER, iv), sizeof(unsigned long));
    EXPECT_EQ(sizeof(RC2_PARAMETER), sizeof(unsigned long) + 8);
}

TEST(rc2_test, MissingArgumentsAreTold) {
    ciphers::expectMissingArguments(kRc2);
}

}  // namespace

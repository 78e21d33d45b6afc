#include "crypto/rc5.h"

#include <gtest/gtest.h>

#include "tests/crypto/ciphers.h"

namespace {

using ciphers::Bytes;
using ciphers::hex;
using ciphers::plainBlocks;

const ciphers::BlockCipher& kRc5 = ciphers::named("Rc5");

struct OneBlock {
    unsigned rounds;
    const char* key;
    const char* iv;
    const char* plain;
    const char* cipher;
};

// RFC 2040, section 9, those of 8, 12 and 16 rounds; then R. L. Rivest, The RC5 Encryption Algorithm (1994).
constexpr OneBlock kOneBlock[] = {
    {8, "00", "0000000000000000", "0000000000000000", "dcfe098577eca5ff"},
    {8, "00000000", "0000000000000000", "0000000000000000", "dcfe098577eca5ff"},
    {8, "00", "0102030405060708", "1020304050607080", "9646fb77638f9ca8"},
    {12, "00", "0102030405060708", "1020304050607080", "b2b3209db6594da4"},
    {16, "00", "0102030405060708", "1020304050607080", "545f7f32a5fc3836"},
    {8, "01020304", "0000000000000000", "ffffffffffffffff", "8285e7c1b5bc7402"},
    {12, "01020304", "0000000000000000", "ffffffffffffffff", "fc586f92f7080934"},
    {16, "01020304", "0000000000000000", "ffffffffffffffff", "cf270ef9717ff7c4"},
    {12, "0102030405060708", "0000000000000000", "ffffffffffffffff", "e493f1c1bb4d6e8c"},
    {8, "0102030405", "0000000000000000", "ffffffffffffffff", "7875dbf6738c6478"},
    {12, "0102030405", "0000000000000000", "ffffffffffffffff", "97e0787837ed317f"},
    {12, "00000000000000000000000000000000", "0000000000000000", "0000000000000000", "21a5dbee154b8f6d"},
    {12, "915f4619be41b2516355a50110a9ce91", "0000000000000000", "21a5dbee154b8f6d", "f7c013ac5b2b8952"},
    {12, "783348e75aeb0f2fd7b169bb8dc16787", "0000000000000000", "f7c013ac5b2b8952", "2f42b3b70369fc92"},
    {12, "dc49db1375a5584f6485b413b5f12baf", "0000000000000000", "2f42b3b70369fc92", "65c178b284d197cc"},
    {12, "5269f149d41ba0152497574d7f153125", "0000000000000000", "65c178b284d197cc", "eb44e415da319824"},
};

TEST(rc5_test, GivesThePublishedBlocks) {
    for (const OneBlock& known : kOneBlock) {
        const Bytes key = hex(known.key);
        const Bytes iv = hex(known.iv);
        EXPECT_EQ(plainBlocks(kRc5, true, key, iv, known.rounds, hex(known.plain)), hex(known.cipher)) << known.cipher;
        EXPECT_EQ(plainBlocks(kRc5, false, key, iv, known.rounds, hex(known.cipher)), hex(known.plain)) << known.cipher;
    }
}

TEST(rc5_test, GivesTheStreamsOfItsDefinition) {
    ciphers::expectStreams("Rc5");
}

RC5_CTX loaded(const Bytes& key, const RC5_PARAMETER& parameter) {
    RC5_CTX context{};
    EXPECT_EQ(RC5_EncryptInit(&context, key.data(), static_cast<std::uint32_t>(key.size()), &parameter), 0);
    return context;
}

TEST(rc5_test, OtherRoundsThan8And12And16CountAs16) {
    const Bytes key = ciphers::noiseBytes(16, 41);
    const Bytes iv = ciphers::noiseBytes(8, 42);
    const RC5_CTX sixteen = loaded(key, {4, 16, iv.data(), 8});
    EXPECT_EQ(sixteen.rounds, 16);
    for (const unsigned long rounds : {0UL, 7UL, 9UL, 10UL, 11UL, 13UL, 15UL, 17UL, 255UL, 0x80000008UL, ~0UL}) {
        const RC5_CTX context = loaded(key, {4, rounds, iv.data(), 8});
        EXPECT_EQ(std::memcmp(&context, &sixteen, sizeof context), 0) << rounds;
    }
    EXPECT_EQ(loaded(key, {4, 8, iv.data(), 8}).rounds, 8);
    EXPECT_EQ(loaded(key, {4, 12, iv.data(), 8}).rounds, 12);
}

TEST(rc5_test, TheWordSizeIsIgnored) {
    const Bytes key = ciphers::noiseBytes(16, 43);
    const Bytes iv = ciphers::noiseBytes(8, 44);
    const RC5_CTX expected = loaded(key, {4, 12, iv.data(), 8});
    for (const unsigned long wordSize : {0UL, 2UL, 8UL, 64UL}) {
        const RC5_CTX context = loaded(key, {wordSize, 12, iv.data(), 8});
        EXPECT_EQ(std::memcmp(&context, &expected, sizeof context), 0);
    }
}

TEST(rc5_test, AnInitialValueIsFilledUpWithZerosOrCutTo8Bytes) {
    const Bytes key(16);
    const Bytes iv = hex("A1 A2 A3 A4 A5 A6 A7 A8 A9 AA");
    for (std::size_t length = 0; length <= iv.size(); ++length) {
        // A block of exactly so many bytes.
        const Bytes given(iv.begin(), iv.begin() + static_cast<std::ptrdiff_t>(length));
        Bytes expected(iv.begin(), iv.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(length, 8)));
        expected.resize(8);
        RC5_CTX context;
        std::memset(&context, 0x5A, sizeof context);
        const RC5_PARAMETER parameter{4, 12, given.data(), static_cast<unsigned long>(length)};
        ASSERT_EQ(RC5_DecryptInit(&context, key.data(), 16, &parameter), 0);
        EXPECT_EQ(Bytes(std::begin(context.chain), std::end(context.chain)), expected) << length;
        EXPECT_EQ(context.encrypting, 0);
        EXPECT_EQ(context.count, 0);
    }
}

TEST(rc5_test, AnInitialValueThatIsNotThereMustHaveNoBytes) {
    const Bytes key(16);
    const RC5_PARAMETER none{4, 12, nullptr, 0};
    const RC5_PARAMETER missing{4, 12, nullptr, 1};
    RC5_CTX context{};
    EXPECT_EQ(RC5_EncryptInit(&context, key.data(), 16, &none), 0);
    EXPECT_EQ(RC5_EncryptInit(&context, key.data(), 16, &missing), -2);
}

TEST(rc5_test, KeysHave0To256Bytes) {
    const Bytes key = ciphers::noiseBytes(300, 45);
    const RC5_PARAMETER parameter{4, 12, nullptr, 0};
    RC5_CTX context{};
    for (std::uint32_t length = 0; length <= 256; ++length)
        EXPECT_EQ(RC5_EncryptInit(&context, key.data(), length, &parameter), 0) << length;
    for (const std::uint32_t length : {257U, 300U, 0xFFFFFFFFU}) {
        EXPECT_EQ(RC5_EncryptInit(&context, key.data(), length, &parameter), -3);
        EXPECT_EQ(RC5_DecryptInit(&context, key.data(), length, &parameter), -3);
    }
}

TEST(rc5_test, OnlyTheSubkeysInUseAreSet) {
    const RC5_CTX context = loaded(Bytes(16), {4, 8, nullptr, 0});
    for (int i = 18; i < 34; ++i)
        EXPECT_EQ(context.subkeys[i], 0U);
    EXPECT_NE(context.subkeys[17], 0U);
}

// The record goes to a token too: integers are CK_ULONG.
TEST(rc5_test, TheParameterRecordIsThatOfPkcs11) {
    EXPECT_EQ(offsetof(RC5_PARAMETER, rounds), sizeof(unsigned long));
    EXPECT_EQ(offsetof(RC5_PARAMETER, iv), 2 * sizeof(unsigned long));
    EXPECT_EQ(offsetof(RC5_PARAMETER, ivLength), 2 * sizeof(unsigned long) + sizeof(void*));
}

TEST(rc5_test, MissingArgumentsAreTold) {
    ciphers::expectMissingArguments(kRc5);
}

}  // namespace

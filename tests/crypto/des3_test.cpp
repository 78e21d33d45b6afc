#include "crypto/des3.h"

#include <gtest/gtest.h>

#include "tests/crypto/ciphers.h"

namespace {

using ciphers::Bytes;
using ciphers::hex;
using ciphers::Message;
using ciphers::plainBlocks;

const ciphers::BlockCipher& kDes = ciphers::named("Des");
const ciphers::BlockCipher& kDes3 = ciphers::named("Des3");

// NIST Special Publication 800-67, appendix B.1: "The qufck brown fox jump", ECB, a block at a time here.
TEST(des3_test, GivesThePublishedBlocks) {
    const Bytes key = hex("0123456789ABCDEF 23456789ABCDEF01 456789ABCDEF0123");
    const char* const plain[] = {"5468652071756663", "6B2062726F776E20", "666F78206A756D70"};
    const char* const cipher[] = {"A826FD8CE53B855F", "CCE21C8112256FE6", "68D5C05DD9B6B900"};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(plainBlocks(kDes3, true, key, Bytes(8), 0, hex(plain[i])), hex(cipher[i]));
        EXPECT_EQ(plainBlocks(kDes3, false, key, Bytes(8), 0, hex(cipher[i])), hex(plain[i]));
    }
}

TEST(des3_test, GivesTheStreamsOfAnotherProgram) {
    ciphers::expectStreams("Des3");
}

TEST(des3_test, ThreeEqualKeysGiveSingleDes) {
    const Bytes key = ciphers::noiseBytes(8, 21);
    const Bytes three = ciphers::joined(ciphers::joined(key, key), key);
    const Bytes iv = ciphers::noiseBytes(8, 22);
    const Bytes plain = ciphers::noiseBytes(200, 23);
    const Bytes single = ciphers::encryptedPadded(kDes, key, iv, 0, plain);
    EXPECT_EQ(ciphers::encryptedPadded(kDes3, three, iv, 0, plain), single);
    EXPECT_EQ(ciphers::decryptedPadded(kDes3, three, iv, 0, single), plain);
}

// What each stage is loaded with, beside single DES of the same part of the key.
TEST(des3_test, StagesAreLoadedByDirection) {
    const Bytes key = ciphers::noiseBytes(24, 24);
    const Bytes iv = hex("1234567890ABCDEF");
    DES3_CTX forward{};
    DES3_CTX backward{};
    ASSERT_EQ(DES3_EncryptInit(&forward, key.data(), 24, iv.data()), 0);
    ASSERT_EQ(DES3_DecryptInit(&backward, key.data(), 24, iv.data()), 0);
    EXPECT_EQ(forward.encrypting, 1);
    EXPECT_EQ(backward.encrypting, 0);
    EXPECT_EQ(forward.chain[1], 0x90ABCDEFU);
    EXPECT_EQ(backward.iv[0], 0x12345678U);

    const auto loaded = [&](std::size_t from, CipherInit init) {
        DES_CTX single{};
        EXPECT_EQ(init(&single, key.data() + from, 8, iv.data()), 0);
        return std::vector<std::uint32_t>(std::begin(single.subkeys), std::end(single.subkeys));
    };
    const auto words = [](const std::uint32_t(&subkeys)[32]) {
        return std::vector<std::uint32_t>(std::begin(subkeys), std::end(subkeys));
    };
    EXPECT_EQ(words(forward.subkeys1), loaded(0, DES_EncryptInit));
    EXPECT_EQ(words(forward.subkeys2), loaded(8, DES_DecryptInit));
    EXPECT_EQ(words(forward.subkeys3), loaded(16, DES_EncryptInit));
    EXPECT_EQ(words(backward.subkeys1), loaded(16, DES_DecryptInit));
    EXPECT_EQ(words(backward.subkeys2), loaded(8, DES_EncryptInit));
    EXPECT_EQ(words(backward.subkeys3), loaded(0, DES_DecryptInit));
}

TEST(des3_test, TheFirst24BytesOfTheKeyAreUsedWhateverItsLength) {
    const Bytes key = ciphers::noiseBytes(25, 25);
    const Bytes iv = ciphers::noiseBytes(8, 26);
    DES3_CTX expected{};
    ASSERT_EQ(DES3_EncryptInit(&expected, key.data(), 24, iv.data()), 0);
    for (const std::uint32_t told : {0U, 16U, 25U, 0xFFFFFFFFU}) {
        DES3_CTX context{};
        ASSERT_EQ(DES3_EncryptInit(&context, key.data(), told, iv.data()), 0);
        EXPECT_EQ(std::memcmp(&context, &expected, sizeof context), 0) << told;
    }
}

// Callers ask for the size while the message is not whole yet.
TEST(des3_test, APlainFinalChecksTheCountOnlyWhenAnOutputIsGiven) {
    Message message(kDes3, true);
    message.update(Bytes(3));
    std::uint32_t length = 99;
    EXPECT_EQ(DES3_Final(message.context(), nullptr, &length), 0);
    EXPECT_EQ(length, 8U);
    const Message::Ended ended = message.endPlain();
    EXPECT_EQ(ended.result, -3);
    EXPECT_EQ(ended.length, 0U);
    EXPECT_EQ(ended.bytes, Bytes(8, 0xA5));
}

TEST(des3_test, MissingArgumentsAreTold) {
    ciphers::expectMissingArguments(kDes3);
}

}  // namespace

#include "crypto/des.h"

#include <gtest/gtest.h>

#include "tests/crypto/ciphers.h"

namespace {

using ciphers::Bytes;
using ciphers::hex;
using ciphers::Message;
using ciphers::plainBlocks;

const ciphers::BlockCipher& kDes = ciphers::named("Des");

Bytes enciphered(const Bytes& key, const Bytes& block) {
    return plainBlocks(kDes, true, key, Bytes(8), 0, block);
}

Bytes deciphered(const Bytes& key, const Bytes& block) {
    return plainBlocks(kDes, false, key, Bytes(8), 0, block);
}

struct OneBlock {
    const char* key;
    const char* plain;
    const char* cipher;
};

// NBS Special Publication 500-20, the substitution table test, and the example of FIPS 81 (first block of
// "Now is the time for all ", ECB).
constexpr OneBlock kOneBlock[] = {
    {"7CA110454A1A6E57", "01A1D6D039776742", "690F5B0D9A26939B"},
    {"0131D9619DC1376E", "5CD54CA83DEF57DA", "7A389D10354BD271"},
    {"07A1133E4A0B2686", "0248D43806F67172", "868EBB51CAB4599A"},
    {"3849674C2602319E", "51454B582DDF440A", "7178876E01F19B2A"},
    {"04B915BA43FEB5B6", "42FD443059577FA2", "AF37FB421F8C4095"},
    {"0113B970FD34F2CE", "059B5E0851CF143A", "86A560F10EC6D85B"},
    {"0170F175468FB5E6", "0756D8E0774761D2", "0CD3DA020021DC09"},
    {"43297FAD38E373FE", "762514B829BF486A", "EA676B2CB7DB2B7A"},
    {"07A7137045DA2A16", "3BDD119049372802", "DFD64A815CAF1A0F"},
    {"04689104C2FD3B2F", "26955F6835AF609A", "5C513C9C4886C088"},
    {"37D06BB516CB7546", "164D5E404F275232", "0A2AEEAE3FF4AB77"},
    {"1F08260D1AC2465E", "6B056E18759F5CCA", "EF1BF03E5DFA575A"},
    {"584023641ABA6176", "004BD6EF09176062", "88BF0DB6D70DEE56"},
    {"025816164629B007", "480D39006EE762F2", "A1F9915541020B56"},
    {"49793EBC79B3258F", "437540C8698F3CFA", "6FBF1CAFCFFD0556"},
    {"4FB05E1515AB73A7", "072D43A077075292", "2F22E49BAB7CA1AC"},
    {"49E95D6D4CA229BF", "02FE55778117F12A", "5A6B612CC26CCE4A"},
    {"018310DC409B26D6", "1D9D5C5018F728C2", "5F4C038ED12B2E41"},
    {"1C587F1C13924FEF", "305532286D6F295A", "63FAC0D034D9F793"},
    {"0123456789ABCDEF", "4E6F772069732074", "3FA40E8A984D4815"},
};

TEST(des_test, GivesThePublishedBlocks) {
    for (const OneBlock& known : kOneBlock) {
        EXPECT_EQ(enciphered(hex(known.key), hex(known.plain)), hex(known.cipher)) << known.key;
        EXPECT_EQ(deciphered(hex(known.key), hex(known.cipher)), hex(known.plain)) << known.key;
    }
}

// FIPS 81, table C1: CBC over "Now is the time for all ".
TEST(des_test, ChainsBlocksAsPublished) {
    const Bytes key = hex("0123456789ABCDEF");
    const Bytes iv = hex("1234567890ABCDEF");
    const Bytes plain = hex("4E6F772069732074 68652074696D6520 666F7220616C6C20");
    const Bytes cipher = hex("E5C7CDDE872BF27C 43E934008C389C0F 683788499A7C05F6");
    EXPECT_EQ(plainBlocks(kDes, true, key, iv, 0, plain), cipher);
    EXPECT_EQ(plainBlocks(kDes, false, key, iv, 0, cipher), plain);
}

// NBS 500-20: the basis vectors under the key of odd zeros give the blocks that, enciphered, give the basis vectors.
TEST(des_test, EveryBitOfTheBlockMatters) {
    const Bytes key(8, 1);
    for (unsigned bit = 0; bit < 64; ++bit) {
        Bytes basis(8);
        basis[bit / 8] = static_cast<std::uint8_t>(0x80 >> bit % 8);
        EXPECT_EQ(enciphered(key, deciphered(key, basis)), basis);
        EXPECT_EQ(deciphered(key, enciphered(key, basis)), basis);
    }
    // The first of that table, in both directions.
    EXPECT_EQ(enciphered(key, hex("95F8A5E5DD31D900")), hex("8000000000000000"));
    EXPECT_EQ(enciphered(key, hex("8000000000000000")), hex("95F8A5E5DD31D900"));
}

TEST(des_test, GivesTheStreamsOfAnotherProgram) {
    ciphers::expectStreams("Des");
}

TEST(des_test, ParityIsNeitherCheckedNorCorrected) {
    const Bytes block = ciphers::noiseBytes(8, 3);
    Bytes key = hex("0123456789ABCDEF");
    const Bytes expected = enciphered(key, block);
    for (std::uint8_t& byte : key) {
        byte ^= 1;
        EXPECT_EQ(enciphered(key, block), expected);
    }
}

TEST(des_test, EveryOtherBitOfTheKeyMatters) {
    const Bytes block = ciphers::noiseBytes(8, 4);
    const Bytes expected = enciphered(Bytes(8), block);
    for (unsigned bit = 0; bit < 64; ++bit) {
        Bytes key(8);
        key[bit / 8] = static_cast<std::uint8_t>(1 << bit % 8);
        EXPECT_EQ(enciphered(key, block) == expected, bit % 8 == 0) << bit;
    }
}

TEST(des_test, ComplementedKeyAndBlockGiveTheComplement) {
    const auto complement = [](Bytes bytes) {
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>(~byte);
        return bytes;
    };
    const Bytes key = ciphers::noiseBytes(8, 5);
    const Bytes block = ciphers::noiseBytes(8, 6);
    EXPECT_EQ(enciphered(complement(key), complement(block)), complement(enciphered(key, block)));
}

// The key objects hold the rule of lengths: here the first eight bytes count, whatever length is told.
TEST(des_test, TheFirstEightBytesOfTheKeyAreUsedWhateverItsLength) {
    const Bytes key = hex("0123456789ABCDEF FF");
    const Bytes iv(8);
    for (const std::uint32_t told : {0U, 7U, 8U, 9U, 0xFFFFFFFFU}) {
        DES_CTX context{};
        ASSERT_EQ(DES_EncryptInit(&context, key.data(), told, iv.data()), 0);
        const Bytes block = hex("4E6F772069732074");
        std::uint32_t length = 0;
        ASSERT_EQ(DES_Update(&context, block.data(), nullptr, 0, &length), 0);
        Bytes out(16);
        ASSERT_EQ(DES_Update(&context, block.data(), out.data(), 8, &length), 0);
        ASSERT_EQ(DES_Final(&context, out.data(), &length), 0);
        out.resize(length);
        EXPECT_EQ(out, hex("3FA40E8A984D4815")) << told;
    }
}

TEST(des_test, InitLoadsTheContext) {
    const Bytes key = hex("0123456789ABCDEF");
    const Bytes iv = hex("1234567890ABCDEF");
    DES_CTX forward{};
    DES_CTX backward{};
    ASSERT_EQ(DES_EncryptInit(&forward, key.data(), 8, iv.data()), 0);
    ASSERT_EQ(DES_DecryptInit(&backward, key.data(), 8, iv.data()), 0);
    EXPECT_EQ(forward.encrypting, 1);
    EXPECT_EQ(backward.encrypting, 0);
    for (const DES_CTX* context : {&forward, &backward}) {
        EXPECT_EQ(context->chain[0], 0x12345678U);
        EXPECT_EQ(context->chain[1], 0x90ABCDEFU);
        EXPECT_EQ(context->iv[0], 0x12345678U);
        EXPECT_EQ(context->iv[1], 0x90ABCDEFU);
        EXPECT_EQ(context->count, 0);
    }
    // One form of the rounds: what differs is the order of the subkeys.
    for (std::size_t i = 0; i < 16; ++i) {
        EXPECT_EQ(forward.subkeys[2 * i], backward.subkeys[30 - 2 * i]);
        EXPECT_EQ(forward.subkeys[2 * i + 1], backward.subkeys[31 - 2 * i]);
    }
}

TEST(des_test, TheInitialValueStaysWhileTheChainMovesOn) {
    Message message(kDes, true);
    const auto& context = message.as<DES_CTX>();
    const std::uint32_t iv[2] = {context.iv[0], context.iv[1]};
    const Bytes out = message.update(Bytes(24));
    EXPECT_EQ(context.iv[0], iv[0]);
    EXPECT_EQ(context.iv[1], iv[1]);
    // The chain is the last block written, as big-endian words.
    const std::uint32_t last = static_cast<std::uint32_t>(out[8]) << 24 | static_cast<std::uint32_t>(out[9]) << 16 |
                               static_cast<std::uint32_t>(out[10]) << 8 | out[11];
    EXPECT_EQ(context.chain[0], last);
}

TEST(des_test, MissingArgumentsAreTold) {
    ciphers::expectMissingArguments(kDes);
}

}  // namespace

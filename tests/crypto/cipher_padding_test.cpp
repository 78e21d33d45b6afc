// What is the same for all block ciphers: how a message ends, with padding and without.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/crypto/ciphers.h"

namespace {

using ciphers::BlockCipher;
using ciphers::Bytes;
using ciphers::hex;
using ciphers::Message;

class cipher_padding_test : public testing::TestWithParam<BlockCipher> {
  protected:
    static const BlockCipher& cipher() { return GetParam(); }

    // Whole blocks, enciphered as they are.
    static Bytes blocks(const Bytes& plain) {
        Message message(cipher(), true);
        const Bytes first = message.update(plain);
        return ciphers::joined(first, firstOf(message.endPlain()));
    }
    static Bytes encrypted(const Bytes& plain) {
        Message message(cipher(), true);
        const Bytes first = message.update(plain);
        return ciphers::joined(first, firstOf(message.endPadded()));
    }
    // The padded final of one block that deciphers to block.
    static Message::Ended unpadded(const Bytes& block) {
        Message message(cipher(), false);
        EXPECT_TRUE(message.update(blocks(block)).empty());
        return message.endPadded(8);
    }
};

TEST_P(cipher_padding_test, AnEmptyMessageIsEightBytesOfPadding) {
    Message message(cipher(), true);
    const Message::Ended ended = message.endPadded(8);
    EXPECT_EQ(ended.result, 0);
    EXPECT_EQ(ended.length, 8U);
    EXPECT_EQ(ended.bytes, blocks(Bytes(8, 8)));
}

TEST_P(cipher_padding_test, EightBytesBecomeSixteenAllOfThemFromTheFinal) {
    Message message(cipher(), true);
    const Bytes plain = ciphers::noiseBytes(8, 71);
    EXPECT_TRUE(message.update(plain, 0).empty());
    const Message::Ended ended = message.endPadded(16);
    EXPECT_EQ(ended.result, 0);
    EXPECT_EQ(ended.length, 16U);
    EXPECT_EQ(ended.bytes, blocks(ciphers::joined(plain, Bytes(8, 8))));
}

TEST_P(cipher_padding_test, EachLengthIsFilledWithTheNumberOfMissingBytes) {
    for (std::size_t length = 0; length <= 16; ++length) {
        const Bytes plain = ciphers::noiseBytes(length, 72);
        const std::size_t missing = 8 - length % 8;
        EXPECT_EQ(encrypted(plain), blocks(ciphers::joined(plain, Bytes(missing, static_cast<std::uint8_t>(missing)))));
    }
}

TEST_P(cipher_padding_test, AnEncryptingQueryReportsWhatWillCome) {
    for (std::size_t held = 0; held <= 8; ++held) {
        Message message(cipher(), true);
        message.update(Bytes(held));
        std::uint32_t length = 999;
        EXPECT_EQ(cipher().finalPad(message.context(), nullptr, &length), 0);
        EXPECT_EQ(length, held == 8 ? 16U : 8U);
        EXPECT_EQ(message.endPadded().length, length);
    }
}

TEST_P(cipher_padding_test, ADecryptingQueryReportsEightWhateverIsHeld) {
    for (std::size_t held = 0; held <= 8; ++held) {
        Message message(cipher(), false);
        message.update(Bytes(held));
        std::uint32_t length = 999;
        EXPECT_EQ(cipher().finalPad(message.context(), nullptr, &length), 0);
        EXPECT_EQ(length, 8U);
    }
}

TEST_P(cipher_padding_test, ADecryptingFinalNeedsAFullBlock) {
    for (std::size_t held = 0; held < 8; ++held) {
        Message message(cipher(), false);
        message.update(Bytes(held));
        const Message::Ended ended = message.endPadded(8);
        EXPECT_EQ(ended.result, -3) << held;
        EXPECT_EQ(ended.length, 999U);
        EXPECT_EQ(ended.bytes, Bytes(8, 0xA5));
    }
}

// A last byte v of 1 to 8 ends v bytes of padding where they all are v; no other value does.
TEST_P(cipher_padding_test, EveryLastByteIsJudged) {
    for (unsigned value = 0; value < 256; ++value) {
        const auto byte = static_cast<std::uint8_t>(value);
        Bytes alone(8, 0xCC);
        alone[7] = byte;
        const Message::Ended once = unpadded(alone);
        EXPECT_EQ(once.result, 0);
        EXPECT_EQ(once.length, value == 1 ? 7U : 8U) << value;
        EXPECT_EQ(once.bytes, alone);

        const bool padding = value >= 1 && value <= 8;
        Bytes run(8, 0xCC);
        std::fill(run.end() - (padding ? byte : 8), run.end(), byte);
        const Message::Ended whole = unpadded(run);
        EXPECT_EQ(whole.result, 0);
        EXPECT_EQ(whole.length, padding ? 8 - value : 8U) << value;
        EXPECT_EQ(whole.bytes, run);
    }
}

// One wrong byte in the run, and it is no padding at all.
TEST_P(cipher_padding_test, ABrokenRunIsNotPadding) {
    for (std::uint8_t value = 2; value <= 8; ++value) {
        for (std::uint8_t at = 2; at <= value; ++at) {
            Bytes block(8, 0xCC);
            std::fill(block.end() - value, block.end(), value);
            block[8U - at] = 0xCC;
            const Message::Ended ended = unpadded(block);
            EXPECT_EQ(ended.result, 0);
            EXPECT_EQ(ended.length, 8U) << int{value} << " broken at " << int{at};
            EXPECT_EQ(ended.bytes, block);
        }
    }
}

TEST_P(cipher_padding_test, TheFewestBytesThatCanBePaddingAre) {
    EXPECT_EQ(unpadded(hex("CC CC CC CC CC CC 01 01")).length, 7U);
    EXPECT_EQ(unpadded(Bytes(8, 1)).length, 7U);
    EXPECT_EQ(unpadded(Bytes(8, 2)).length, 6U);
    EXPECT_EQ(unpadded(hex("CC CC CC CC 02 02 02 02")).length, 6U);
    EXPECT_EQ(unpadded(Bytes(8, 8)).length, 0U);
    EXPECT_EQ(unpadded(hex("CC CC CC CC CC CC CC 09")).length, 8U);
}

TEST_P(cipher_padding_test, APlainFinalWritesTheBlockHeldBack) {
    for (std::size_t count = 1; count <= 3; ++count) {
        const Bytes plain = ciphers::noiseBytes(8 * count, 73);
        Message message(cipher(), true);
        const Bytes first = message.update(plain);
        EXPECT_EQ(first.size(), 8 * (count - 1));
        std::uint32_t length = 999;
        EXPECT_EQ(cipher().final(message.context(), nullptr, &length), 0);
        EXPECT_EQ(length, 8U);
        const Message::Ended ended = message.endPlain();
        EXPECT_EQ(ended.result, 0);
        EXPECT_EQ(ended.length, 8U);
        const Bytes enciphered = ciphers::joined(first, ended.bytes);

        Message back(cipher(), false);
        const Bytes begun = back.update(enciphered);
        EXPECT_EQ(ciphers::joined(begun, back.endPlain().bytes), plain);
    }
}

// A message of no bytes takes the same path: the empty buffer, which is zero, comes out as a block.
TEST_P(cipher_padding_test, APlainFinalOfNothingWritesABlock) {
    for (const bool encrypting : {true, false}) {
        Message nothing(cipher(), encrypting);
        std::uint32_t length = 999;
        EXPECT_EQ(cipher().final(nothing.context(), nullptr, &length), 0);
        EXPECT_EQ(length, 8U);
        const Message::Ended ended = nothing.endPlain();
        EXPECT_EQ(ended.result, 0);
        EXPECT_EQ(ended.length, 8U);
        Message zeros(cipher(), encrypting);
        zeros.update(Bytes(8));
        EXPECT_EQ(ended.bytes, zeros.endPlain().bytes);
    }
}

TEST_P(cipher_padding_test, APlainFinalNeedsWholeBlocks) {
    const bool queryFails = GetParam().final != DES3_Final;  // which checks the count only when an output is given
    for (std::size_t held = 1; held < 8; ++held) {
        Message message(cipher(), true);
        message.update(Bytes(16 + held));
        std::uint32_t length = 999;
        EXPECT_EQ(cipher().final(message.context(), nullptr, &length), queryFails ? -3 : 0) << held;
        EXPECT_EQ(length, queryFails ? 999U : 8U);
        const Message::Ended ended = message.endPlain();
        EXPECT_EQ(ended.result, -3);
        EXPECT_EQ(ended.length, queryFails ? 999U : 0U);
        EXPECT_EQ(ended.bytes, Bytes(8, 0xA5));
    }
}

// A failure changes nothing: the message can be completed.
TEST_P(cipher_padding_test, AfterAFailedFinalTheMessageGoesOn) {
    Message message(cipher(), false);
    const Bytes plain = ciphers::noiseBytes(13, 74);
    const Bytes whole = encrypted(plain);
    const Bytes first = message.update(Bytes(whole.begin(), whole.begin() + 11));
    EXPECT_EQ(message.endPadded(8).result, -3);
    EXPECT_EQ(message.endPlain().result, -3);
    const Bytes second = message.update(Bytes(whole.begin() + 11, whole.end()));
    EXPECT_EQ(ciphers::joined(ciphers::joined(first, second), firstOf(message.endPadded(8))), plain);
}

INSTANTIATE_TEST_SUITE_P(Ciphers, cipher_padding_test, testing::ValuesIn(ciphers::kBlockCiphers),
                         [](const testing::TestParamInfo<BlockCipher>& cipher) { return cipher.param.name; });

}  // namespace

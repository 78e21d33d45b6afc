// What is the same for all block ciphers: how a message comes in pieces.
#include <gtest/gtest.h>

#include <string>

#include "tests/crypto/ciphers.h"

namespace {

using ciphers::BlockCipher;
using ciphers::Bytes;
using ciphers::Message;

class cipher_streaming_test : public testing::TestWithParam<BlockCipher> {
  protected:
    static const BlockCipher& cipher() { return GetParam(); }

    static Bytes encrypted(const Bytes& plain) {
        Message message(cipher(), true);
        const Bytes first = message.update(plain);
        return ciphers::joined(first, firstOf(message.endPadded()));
    }
};

// held is the state that shows through a query: with no input it reports a full block or nothing.
std::uint32_t asked(Message& message, const BlockCipher& cipher, std::uint32_t inputLength) {
    std::uint32_t length = 999;
    EXPECT_EQ(cipher.update(message.context(), nullptr, nullptr, inputLength, &length), 0);
    return length;
}

Bytes slice(const Bytes& bytes, std::size_t from, std::size_t to) {
    return {bytes.begin() + static_cast<std::ptrdiff_t>(from), bytes.begin() + static_cast<std::ptrdiff_t>(to)};
}

// Of count + L bytes all stay when they are at most 8; else all blocks are written but the last, also when it is full.
std::size_t written(std::size_t held, std::size_t length) {
    return held + length <= 8 ? 0 : (held + length - 1) / 8 * 8;
}

TEST_P(cipher_streaming_test, EveryCutInTwoGivesTheSameMessageInBothDirections) {
    for (std::size_t length = 1; length <= 40; ++length) {
        const Bytes plain = ciphers::noiseBytes(length, 61);
        const Bytes whole = encrypted(plain);
        ASSERT_EQ(whole.size(), length / 8 * 8 + 8);
        for (std::size_t cut = 0; cut <= length; ++cut) {
            Message message(cipher(), true);
            // Room for exactly what is due.
            const Bytes first = message.update(slice(plain, 0, cut), written(0, cut));
            ASSERT_EQ(first.size(), written(0, cut)) << length << " cut at " << cut;
            const std::size_t held = cut - first.size();
            const Bytes second = message.update(slice(plain, cut, length), written(held, length - cut));
            ASSERT_EQ(second.size(), written(held, length - cut)) << length << " cut at " << cut;
            const Bytes last = firstOf(message.endPadded(length % 8 == 0 ? 16 : 8));
            ASSERT_EQ(ciphers::joined(ciphers::joined(first, second), last), whole) << length << " cut at " << cut;
        }
        for (std::size_t cut = 0; cut <= whole.size(); ++cut) {
            Message message(cipher(), false);
            const Bytes first = message.update(slice(whole, 0, cut), written(0, cut));
            const std::size_t held = cut - first.size();
            const Bytes second = message.update(slice(whole, cut, whole.size()), written(held, whole.size() - cut));
            const Bytes last = firstOf(message.endPadded(8));
            ASSERT_EQ(ciphers::joined(ciphers::joined(first, second), last), plain) << length << " cut at " << cut;
        }
    }
}

TEST_P(cipher_streaming_test, ByteByByteGivesTheSameMessage) {
    const Bytes plain = ciphers::noiseBytes(100, 62);
    const Bytes whole = encrypted(plain);
    for (const bool encrypting : {true, false}) {
        Message message(cipher(), encrypting);
        Bytes out;
        for (const std::uint8_t byte : encrypting ? plain : whole)
            out = ciphers::joined(out, message.update(Bytes{byte}));
        out = ciphers::joined(out, firstOf(message.endPadded(encrypting ? 16 : 8)));
        EXPECT_EQ(out, encrypting ? whole : plain);
    }
}

// Long enough for every loop of several blocks, and whatever is left over after it.
TEST_P(cipher_streaming_test, EveryNumberOfBlocksDecryptsInEveryForm) {
    for (const crypto::BlockKernels* form : crypto::blockKernelForms()) {
        crypto::useBlockKernels(*form);
        for (std::size_t length = 0; length <= 560; length += 8) {
            const Bytes plain = ciphers::noiseBytes(length + 5, 63);
            const Bytes whole = encrypted(plain);
            Message message(cipher(), false);
            const Bytes first = message.update(whole);
            ASSERT_EQ(ciphers::joined(first, firstOf(message.endPadded(8))), plain) << form->name << ", " << length;
        }
    }
    crypto::useBlockKernels(crypto::fastestBlockKernels());
}

TEST_P(cipher_streaming_test, TheLastFullBlockIsHeldBack) {
    Message nine(cipher(), true);
    EXPECT_EQ(nine.update(Bytes(9)).size(), 8U);
    EXPECT_EQ(asked(nine, cipher(), 6), 0U);
    EXPECT_EQ(asked(nine, cipher(), 7), 8U);  // so one byte is held

    Message sixteen(cipher(), true);
    EXPECT_EQ(sixteen.update(Bytes(16)).size(), 8U);
    EXPECT_EQ(asked(sixteen, cipher(), 0), 8U);  // so eight bytes are held
    EXPECT_EQ(sixteen.update(Bytes(1)).size(), 8U);

    Message eight(cipher(), false);
    EXPECT_EQ(eight.update(Bytes(8)).size(), 0U);
    EXPECT_EQ(eight.update(Bytes(8)).size(), 8U);
}

TEST_P(cipher_streaming_test, AQueryReportsAllFullBlocksAndChangesNothing) {
    for (std::size_t held = 0; held <= 8; ++held) {
        Message message(cipher(), true);
        message.update(Bytes(held));
        for (std::uint32_t length = 0; length <= 40; ++length)
            EXPECT_EQ(asked(message, cipher(), length), (held + length) / 8 * 8);
        const Bytes first = message.update(Bytes(20));
        EXPECT_EQ(ciphers::joined(first, firstOf(message.endPadded())), encrypted(Bytes(held + 20)));
    }
}

TEST_P(cipher_streaming_test, LengthsWhoseSumDoesNotFitAreRefused) {
    Message message(cipher(), true);
    EXPECT_EQ(asked(message, cipher(), 0xFFFFFFFF), 0xFFFFFFF8U);
    message.update(Bytes(8));
    std::uint32_t length = 77;
    EXPECT_EQ(cipher().update(message.context(), nullptr, nullptr, 0xFFFFFFF8, &length), -3);
    EXPECT_EQ(length, 77U);
    EXPECT_EQ(asked(message, cipher(), 0xFFFFFFF7), 0xFFFFFFF8U);
}

TEST_P(cipher_streaming_test, AnUpdateWithNothingChangesNothing) {
    Message message(cipher(), true);
    message.update(Bytes(5));
    std::uint8_t out[8];
    std::uint32_t length = 999;
    EXPECT_EQ(cipher().update(message.context(), nullptr, out, 0, &length), 0);
    EXPECT_EQ(length, 0U);
    EXPECT_EQ(firstOf(message.endPadded()), encrypted(Bytes(5)));
}

TEST_P(cipher_streaming_test, TheOutputOfTheFirstUpdateMayBeItsInput) {
    for (const std::size_t length : {8U, 9U, 16U, 100U, 1000U}) {
        const Bytes plain = ciphers::noiseBytes(length, 64);
        for (const bool encrypting : {true, false}) {
            Message apart(cipher(), encrypting);
            const Bytes expected = apart.update(plain);
            Message inPlace(cipher(), encrypting);
            Bytes both = plain;
            std::uint32_t outLength = 0;
            ASSERT_EQ(cipher().update(inPlace.context(), both.data(), both.data(), static_cast<std::uint32_t>(length),
                                      &outLength),
                      0);
            both.resize(outLength);
            EXPECT_EQ(both, expected);
            EXPECT_EQ(inPlace.endPadded().bytes, apart.endPadded().bytes);
        }
    }
}

TEST_P(cipher_streaming_test, AnInitBeginsAnotherMessage) {
    Message message(cipher(), true);
    message.update(ciphers::noiseBytes(21, 65));
    const Bytes key = ciphers::noiseBytes(cipher().keyLength, 11);
    const auto parameter = ciphers::parameterFor(cipher(), ciphers::noiseBytes(8, 12), cipher().number);
    ASSERT_EQ(
        cipher().encryptInit(message.context(), key.data(), static_cast<std::uint32_t>(key.size()), parameter->record),
        0);
    const Bytes plain = ciphers::noiseBytes(30, 66);
    const Bytes first = message.update(plain);
    EXPECT_EQ(ciphers::joined(first, firstOf(message.endPadded())), encrypted(plain));
}

INSTANTIATE_TEST_SUITE_P(Ciphers, cipher_streaming_test, testing::ValuesIn(ciphers::kBlockCiphers),
                         [](const testing::TestParamInfo<BlockCipher>& cipher) { return cipher.param.name; });

// Forms of the loops.
TEST(cipher_streaming_test_forms, TheFastestAreInUseAtFirst) {
    EXPECT_EQ(&crypto::blockKernels(), &crypto::fastestBlockKernels());
    EXPECT_EQ(crypto::blockKernelForms().front(), &crypto::plainBlockKernels());
}

TEST(cipher_streaming_test_forms, WhatIsFastestIsWhatTheFormsOffer) {
    const crypto::BlockKernels& plain = crypto::plainBlockKernels();
    const crypto::BlockKernels& fastest = crypto::fastestBlockKernels();
    for (const crypto::BlockKernels* form : crypto::blockKernelForms()) {
        EXPECT_TRUE(form->des.encrypt == plain.des.encrypt || form->des.encrypt == fastest.des.encrypt);
        EXPECT_TRUE(form->des3.decrypt == plain.des3.decrypt || form->des3.decrypt == fastest.des3.decrypt);
        EXPECT_TRUE(form->rc2.decrypt == plain.rc2.decrypt || form->rc2.decrypt == fastest.rc2.decrypt);
        EXPECT_TRUE(form->rc5.decrypt == plain.rc5.decrypt || form->rc5.decrypt == fastest.rc5.decrypt);
        EXPECT_TRUE(form->sha1 == plain.sha1 || form->sha1 == fastest.sha1);
    }
}

}  // namespace

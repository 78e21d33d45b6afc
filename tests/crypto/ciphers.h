// The engine's block ciphers as the tests go through them: a row of entries for each, a message in one call, and the
// streams of other programs.
#ifndef VT_TESTS_CRYPTO_CIPHERS_H
#define VT_TESTS_CRYPTO_CIPHERS_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "crypto/block_kernels.h"
#include "crypto/crypto.h"
#include "tests/support/hex.h"
#include "tests/support/noise.h"
#include "tests/vectors/crypto_streams.h"

namespace ciphers {

using support::Bytes;
using support::hex;

// A parameter record, made for one cipher and kept with what it points to.
struct Parameter {
    Bytes iv;
    RC2_PARAMETER rc2{};
    RC5_PARAMETER rc5{};
    const void* record = nullptr;
};

struct BlockCipher {
    const char* name;
    std::size_t contextSize;
    CipherInit encryptInit;
    CipherInit decryptInit;
    CipherUpdate update;
    CipherFinal final;
    CipherFinal finalPad;
    std::size_t keyLength;  // of the keys that tests make up
    unsigned number;        // effective bits or rounds that they use
};

inline constexpr BlockCipher kBlockCiphers[] = {
    {"Des", sizeof(DES_CTX), DES_EncryptInit, DES_DecryptInit, DES_Update, DES_Final, DES_FinalPad, 8, 0},
    {"Des3", sizeof(DES3_CTX), DES3_EncryptInit, DES3_DecryptInit, DES3_Update, DES3_Final, DES3_FinalPad, 24, 0},
    {"Rc2", sizeof(RC2_CTX), RC2_EncryptInit, RC2_DecryptInit, RC2_Update, RC2_Final, RC2_FinalPad, 16, 128},
    {"Rc5", sizeof(RC5_CTX), RC5_EncryptInit, RC5_DecryptInit, RC5_Update, RC5_Final, RC5_FinalPad, 16, 12},
};

inline const BlockCipher& named(const std::string& name) {
    return *std::find_if(std::begin(kBlockCiphers), std::end(kBlockCiphers),
                         [&](const BlockCipher& cipher) { return name == cipher.name; });
}

inline std::unique_ptr<Parameter> parameterFor(const BlockCipher& cipher, const Bytes& iv, unsigned number) {
    auto parameter = std::make_unique<Parameter>();
    parameter->iv = iv;
    parameter->record = parameter->iv.data();
    if (std::strcmp(cipher.name, "Rc2") == 0) {
        parameter->rc2.effectiveBits = number;
        std::copy_n(iv.begin(), 8, parameter->rc2.iv);
        parameter->record = &parameter->rc2;
    } else if (std::strcmp(cipher.name, "Rc5") == 0) {
        parameter->rc5 = {4, number, parameter->iv.data(), static_cast<unsigned long>(iv.size())};
        parameter->record = &parameter->rc5;
    }
    return parameter;
}

inline Bytes noiseBytes(std::size_t length, std::uint32_t seed) {
    support::Noise noise(seed);
    Bytes bytes(length);
    std::generate(bytes.begin(), bytes.end(), [&] { return noise.byte(); });
    return bytes;
}

// One message in one direction. Every output goes into a block of exactly the size that is due, so that the address
// sanitizer sees a byte too many.
class Message {
  public:
    Message(const BlockCipher& cipher, bool encrypting, const Bytes& key, const Bytes& iv, unsigned number)
        : cipher_(cipher), context_(cipher.contextSize) {
        const auto parameter = parameterFor(cipher, iv, number);
        const CipherInit init = encrypting ? cipher.encryptInit : cipher.decryptInit;
        // A copy of exactly the key, but never a null pointer.
        const std::unique_ptr<std::uint8_t[]> copy(new std::uint8_t[key.size()]);
        std::copy(key.begin(), key.end(), copy.get());
        EXPECT_EQ(init(context(), copy.get(), static_cast<std::uint32_t>(key.size()), parameter->record), 0);
    }
    // With the key and initial value that all tests of streaming share.
    Message(const BlockCipher& cipher, bool encrypting)
        : Message(cipher, encrypting, noiseBytes(cipher.keyLength, 11), noiseBytes(8, 12), cipher.number) {}

    void* context() { return context_.data(); }

    template <class Context>
    const Context& as() const {
        return *reinterpret_cast<const Context*>(context_.data());
    }

    // update gives what was written; room is how much may be.
    Bytes update(const Bytes& input, std::size_t room) {
        Bytes out(room);
        std::uint32_t length = 999;
        std::uint8_t nothing = 0;
        EXPECT_EQ(cipher_.update(context(), input.data(), room == 0 ? &nothing : out.data(),
                                 static_cast<std::uint32_t>(input.size()), &length),
                  0);
        EXPECT_LE(length, room);
        out.resize(length);
        return out;
    }
    Bytes update(const Bytes& input) { return update(input, input.size() + 8); }

    struct Ended {
        int result;
        std::uint32_t length;
        Bytes bytes;  // all that there was room for
    };
    Ended end(CipherFinal final, std::size_t room) {
        Ended ended{0, 999, Bytes(room, 0xA5)};
        ended.result = final(context(), ended.bytes.data(), &ended.length);
        return ended;
    }
    Ended endPadded(std::size_t room = 16) { return end(cipher_.finalPad, room); }
    Ended endPlain() { return end(cipher_.final, 8); }

  private:
    const BlockCipher& cipher_;
    // Words, so that a context lies as its allocator would put it.
    struct Words : std::vector<std::uint64_t> {
        explicit Words(std::size_t bytes) : std::vector<std::uint64_t>((bytes + 7) / 8) {}
    } context_;
};

inline Bytes joined(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

inline Bytes firstOf(const Message::Ended& ended) {
    return {ended.bytes.begin(), ended.bytes.begin() + static_cast<std::ptrdiff_t>(ended.length)};
}

inline Bytes encryptedPadded(const BlockCipher& cipher, const Bytes& key, const Bytes& iv, unsigned number,
                             const Bytes& plain) {
    Message message(cipher, true, key, iv, number);
    const Bytes first = message.update(plain);
    return joined(first, firstOf(message.endPadded()));
}

inline Bytes decryptedPadded(const BlockCipher& cipher, const Bytes& key, const Bytes& iv, unsigned number,
                             const Bytes& enciphered) {
    Message message(cipher, false, key, iv, number);
    const Bytes first = message.update(enciphered);
    return joined(first, firstOf(message.endPadded(8)));
}

// plainBlocks: whole blocks without padding.
inline Bytes plainBlocks(const BlockCipher& cipher, bool encrypting, const Bytes& key, const Bytes& iv, unsigned number,
                         const Bytes& blocks) {
    Message message(cipher, encrypting, key, iv, number);
    const Bytes first = message.update(blocks);
    return joined(first, firstOf(message.endPlain()));
}

// expectStreams holds a cipher against the streams of another program, in both directions, for every form of the loops.
inline void expectStreams(const char* name) {
    int seen = 0;
    for (const crypto::BlockKernels* form : crypto::blockKernelForms()) {
        crypto::useBlockKernels(*form);
        for (const CipherStream& stream : kCipherStreams) {
            if (std::strcmp(stream.cipher, name) != 0)
                continue;
            ++seen;
            const Bytes key = hex(stream.key);
            const Bytes iv = hex(stream.iv);
            const std::string where = std::string(form->name) + ", " + std::to_string(key.size()) + " bytes of key, " +
                                      std::to_string(stream.number);
            EXPECT_EQ(encryptedPadded(named(name), key, iv, stream.number, hex(stream.plain)), hex(stream.enciphered))
                << where;
            EXPECT_EQ(decryptedPadded(named(name), key, iv, stream.number, hex(stream.enciphered)), hex(stream.plain))
                << where;
        }
    }
    crypto::useBlockKernels(crypto::fastestBlockKernels());
    EXPECT_GT(seen, 0);
}

// expectMissingArguments: a missing context, key, parameter record, output length or input is told by -2, in every
// entry.
inline void expectMissingArguments(const BlockCipher& cipher) {
    const Bytes key = noiseBytes(cipher.keyLength, 1);
    const auto length = static_cast<std::uint32_t>(key.size());
    const auto parameter = parameterFor(cipher, noiseBytes(8, 2), cipher.number);
    Message message(cipher, true);
    for (const CipherInit init : {cipher.encryptInit, cipher.decryptInit}) {
        EXPECT_EQ(init(nullptr, key.data(), length, parameter->record), -2);
        EXPECT_EQ(init(message.context(), nullptr, length, parameter->record), -2);
        EXPECT_EQ(init(message.context(), key.data(), length, nullptr), -2);
    }
    std::uint8_t out[16];
    std::uint32_t outLength = 7;
    EXPECT_EQ(cipher.update(nullptr, key.data(), out, 8, &outLength), -2);
    EXPECT_EQ(cipher.update(message.context(), nullptr, out, 8, &outLength), -2);
    EXPECT_EQ(cipher.update(message.context(), key.data(), out, 8, nullptr), -2);
    for (const CipherFinal final : {cipher.final, cipher.finalPad}) {
        EXPECT_EQ(final(nullptr, out, &outLength), -2);
        EXPECT_EQ(final(message.context(), out, nullptr), -2);
    }
    EXPECT_EQ(outLength, 7U);
}

}  // namespace ciphers

#endif

// The block ciphers: what is enciphered in pieces and deciphered in other pieces is the message; and what a decrypting
// final makes of any bytes is what its header tells.
#include <cstring>
#include <memory>

#include "crypto/block_kernels.h"
#include "crypto/crypto.h"
#include "fuzz/target.h"

namespace {

using fuzz::Bytes;

struct Parameters {
    std::uint8_t iv[8] = {};
    RC2_PARAMETER rc2{};
    RC5_PARAMETER rc5{};
};

struct Cipher {
    std::size_t contextSize;
    CipherInit encryptInit, decryptInit;
    CipherUpdate update;
    CipherFinal final, finalPad;
    std::uint32_t leastKey, mostKey;
    const void* (*parameter)(const Parameters& given);
};

const void* iv(const Parameters& given) {
    return given.iv;
}

const void* rc2(const Parameters& given) {
    return &given.rc2;
}

const void* rc5(const Parameters& given) {
    return &given.rc5;
}

constexpr Cipher kCiphers[] = {
    {sizeof(DES_CTX), DES_EncryptInit, DES_DecryptInit, DES_Update, DES_Final, DES_FinalPad, 8, 8, iv},
    {sizeof(DES3_CTX), DES3_EncryptInit, DES3_DecryptInit, DES3_Update, DES3_Final, DES3_FinalPad, 24, 24, iv},
    {sizeof(RC2_CTX), RC2_EncryptInit, RC2_DecryptInit, RC2_Update, RC2_Final, RC2_FinalPad, 1, 128, rc2},
    {sizeof(RC5_CTX), RC5_EncryptInit, RC5_DecryptInit, RC5_Update, RC5_Final, RC5_FinalPad, 0, 256, rc5},
};

// Everything that a message is made from.
struct Case {
    const Cipher& cipher;
    std::unique_ptr<std::uint8_t[]> key;  // a block of exactly the key
    std::uint32_t keyLength;
    Parameters parameters;
};

Case readCase(fuzz::Source& source) {
    const Cipher& cipher = kCiphers[source.byte() % 4];
    const std::uint32_t length = cipher.leastKey + source.byte() % (cipher.mostKey - cipher.leastKey + 1);
    Case made{cipher, std::make_unique<std::uint8_t[]>(length), length, {}};
    for (std::uint32_t i = 0; i < length; ++i)
        made.key[i] = source.byte();
    for (std::uint8_t& byte : made.parameters.iv)
        byte = source.byte();
    std::memcpy(made.parameters.rc2.iv, made.parameters.iv, 8);
    made.parameters.rc2.effectiveBits = source.byte() * 5UL;
    made.parameters.rc5 = {source.byte(), source.byte() % 20UL, made.parameters.iv, source.byte() % 9UL};
    return made;
}

// A message under way. Its output goes into blocks of exactly the size that is due.
class Message {
  public:
    Message(const Case& given, bool encrypting) : cipher_(given.cipher), context_(cipher_.contextSize / 8 + 1) {
        const CipherInit init = encrypting ? cipher_.encryptInit : cipher_.decryptInit;
        FUZZ_ASSERT(init(context_.data(), given.key.get(), given.keyLength, cipher_.parameter(given.parameters)) == 0);
    }

    void update(const Bytes& piece) {
        const std::size_t held = taken_ - out_.size();
        const std::size_t due = held + piece.size() <= 8 ? 0 : (held + piece.size() - 1) / 8 * 8;
        const auto pieceLength = static_cast<std::uint32_t>(piece.size());
        const auto block = std::make_unique<std::uint8_t[]>(due);
        std::uint32_t length = 0;
        FUZZ_ASSERT(cipher_.update(context_.data(), nullptr, nullptr, pieceLength, &length) == 0);
        FUZZ_ASSERT(length == (held + piece.size()) / 8 * 8);
        FUZZ_ASSERT(cipher_.update(context_.data(), piece.data(), block.get(), pieceLength, &length) == 0);
        FUZZ_ASSERT(length == due);
        out_.insert(out_.end(), block.get(), block.get() + due);
        taken_ += piece.size();
    }

    // updateInPieces takes the sizes of the pieces from the source.
    void updateInPieces(const Bytes& message, fuzz::Source& sizes) {
        for (std::size_t at = 0; at < message.size();) {
            const std::size_t size = sizes.empty() ? message.size() : sizes.byte() % 40U;
            const std::size_t end = std::min(message.size(), at + size);
            update(Bytes(message.begin() + static_cast<std::ptrdiff_t>(at),
                         message.begin() + static_cast<std::ptrdiff_t>(end)));
            at = end;
        }
    }

    int end(CipherFinal final, std::uint32_t room) {
        const auto block = std::make_unique<std::uint8_t[]>(room);
        std::uint32_t length = 0;
        const int result = final(context_.data(), block.get(), &length);
        FUZZ_ASSERT(length <= room);
        out_.insert(out_.end(), block.get(), block.get() + length);
        return result;
    }

    [[nodiscard]] std::size_t held() const { return taken_ - out_.size(); }
    [[nodiscard]] const Bytes& out() const { return out_; }

  private:
    const Cipher& cipher_;
    std::vector<std::uint64_t> context_;
    std::size_t taken_ = 0;
    Bytes out_;
};

void checkRoundTrip(const Case& given, const Bytes& plain, fuzz::Source& sizes) {
    Message forward(given, true);
    forward.updateInPieces(plain, sizes);
    FUZZ_ASSERT(forward.end(given.cipher.finalPad, forward.held() == 8 ? 16 : 8) == 0);
    FUZZ_ASSERT(forward.out().size() == plain.size() / 8 * 8 + 8);

    Message backward(given, false);
    backward.updateInPieces(forward.out(), sizes);
    FUZZ_ASSERT(backward.end(given.cipher.finalPad, 8) == 0);
    FUZZ_ASSERT(backward.out() == plain);
}

// Any bytes as ciphertext: -3 unless they are whole blocks, and then the last block less its padding, if that is one.
void checkAnyCiphertext(const Case& given, const Bytes& bytes, fuzz::Source& sizes) {
    Message padded(given, false);
    padded.updateInPieces(bytes, sizes);
    const bool whole = bytes.size() % 8 == 0;
    const int result = padded.end(given.cipher.finalPad, 8);
    FUZZ_ASSERT(result == (whole && !bytes.empty() ? 0 : -3));
    if (!whole || bytes.empty())
        return;
    Message plain(given, false);
    plain.update(bytes);
    FUZZ_ASSERT(plain.end(given.cipher.final, 8) == 0 && plain.out().size() == bytes.size());
    const std::size_t gone = bytes.size() - padded.out().size();
    FUZZ_ASSERT(gone <= 8 && std::equal(padded.out().begin(), padded.out().end(), plain.out().begin()));
    const auto padding = static_cast<std::ptrdiff_t>(gone);
    FUZZ_ASSERT(std::all_of(plain.out().end() - padding, plain.out().end(), [&](int byte) { return byte == padding; }));
    FUZZ_ASSERT(gone != 0 || plain.out().back() != 1);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Source source(data, size);
    const auto& forms = crypto::blockKernelForms();
    crypto::useBlockKernels(*forms[source.byte() % forms.size()]);
    const Case given = readCase(source);
    const std::uint8_t* const sizesAt = data + (size == 0 ? 0 : size / 2);
    const Bytes message = source.rest();
    fuzz::Source sizes(sizesAt, size - static_cast<std::size_t>(sizesAt - data));
    checkRoundTrip(given, message, sizes);
    checkAnyCiphertext(given, message, sizes);
    return 0;
}

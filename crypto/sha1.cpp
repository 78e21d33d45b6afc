#include "crypto/sha1.h"

#include <cstring>
#include <utility>

#include "crypto/absorb.h"
#include "crypto/block_kernels.h"
#include "crypto/codes.h"
#include "crypto/words.h"

namespace crypto {
namespace {

constexpr std::size_t kBlock = 64;
constexpr std::uint32_t kDigest = 20;
constexpr std::uint32_t kInitialState[5] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};

// scheduled: the message word of a step, of which the last sixteen are kept.
template <std::size_t Step>
inline std::uint32_t scheduled(std::uint32_t (&w)[16]) {
    if constexpr (Step >= 16)
        w[Step % 16] = rotateLeft(w[(Step + 13) % 16] ^ w[(Step + 8) % 16] ^ w[(Step + 2) % 16] ^ w[Step % 16], 1);
    return w[Step % 16];
}

// mixed: the function and constant of a step, with the message word.
template <std::size_t Step>
inline std::uint32_t mixed(std::uint32_t b, std::uint32_t c, std::uint32_t d, std::uint32_t word) {
    if constexpr (Step < 20)
        return (d ^ (b & (c ^ d))) + word + 0x5A827999;
    if constexpr (Step < 40)
        return (b ^ c ^ d) + word + 0x6ED9EBA1;
    if constexpr (Step < 60)
        return (b & c) + (d & (b ^ c)) + word + 0x8F1BBCDC;
    return (b ^ c ^ d) + word + 0xCA62C1D6;
}

template <std::size_t Step>
inline void step(std::uint32_t a, std::uint32_t& b, std::uint32_t c, std::uint32_t d, std::uint32_t& e,
                 std::uint32_t (&w)[16]) {
    e += rotateLeft(a, 5) + mixed<Step>(b, c, d, scheduled<Step>(w));
    b = rotateLeft(b, 30);
}

template <std::size_t Step>
inline void fiveSteps(std::uint32_t (&h)[5], std::uint32_t (&w)[16]) {
    step<Step>(h[0], h[1], h[2], h[3], h[4], w);
    step<Step + 1>(h[4], h[0], h[1], h[2], h[3], w);
    step<Step + 2>(h[3], h[4], h[0], h[1], h[2], w);
    step<Step + 3>(h[2], h[3], h[4], h[0], h[1], w);
    step<Step + 4>(h[1], h[2], h[3], h[4], h[0], w);
}

template <std::size_t... Fives>
void compressBlock(std::uint32_t (&state)[5], const std::uint8_t* block, std::index_sequence<Fives...> /*steps*/) {
    std::uint32_t w[16];
    for (std::size_t i = 0; i < 16; ++i)
        w[i] = loadBigEndian(block + 4 * i);
    std::uint32_t h[5];
    std::memcpy(h, state, sizeof h);
    (fiveSteps<5 * Fives>(h, w), ...);
    for (std::size_t i = 0; i < 5; ++i)
        state[i] += h[i];
}

}  // namespace

void plainSha1(std::uint32_t (&state)[5], const std::uint8_t* data, std::size_t blocks) {
    for (; blocks != 0; --blocks, data += kBlock)
        compressBlock(state, data, std::make_index_sequence<16>());
}

void plainSha1Repeat(std::uint32_t (&digest)[5], std::uint32_t times) {
    std::uint8_t block[kBlock] = {};
    block[kDigest] = 0x80;
    block[kBlock - 1] = kDigest * 8;
    for (; times != 0; --times) {
        for (std::size_t i = 0; i < 5; ++i)
            storeBigEndian(digest[i], block + 4 * i);
        std::memcpy(digest, kInitialState, sizeof kInitialState);
        plainSha1(digest, block, 1);
    }
}

}  // namespace crypto

namespace {

void compress(SHA1_CTX& sha1, const std::uint8_t* data, std::size_t blocks) {
    crypto::blockKernels().sha1(sha1.state, data, blocks);
}

std::size_t heldBytes(const SHA1_CTX& sha1) {
    return sha1.bitsLow / 8 % crypto::kBlock;
}

}  // namespace

int SHA1_Init(void* context) {
    auto& sha1 = *static_cast<SHA1_CTX*>(context);
    std::memcpy(sha1.state, crypto::kInitialState, sizeof sha1.state);
    sha1.bitsLow = sha1.bitsHigh = 0;
    return crypto::kSuccess;
}

int SHA1_Update(void* context, const std::uint8_t* data, std::uint32_t length) {
    auto& sha1 = *static_cast<SHA1_CTX*>(context);
    const std::size_t held = heldBytes(sha1);
    crypto::countBits(sha1.bitsLow, sha1.bitsHigh, length);
    crypto::absorb(sha1.buffer, held, data, length,
                   [&sha1](const std::uint8_t* whole, std::size_t blocks) { compress(sha1, whole, blocks); });
    return crypto::kSuccess;
}

int SHA1_Final(void* context, std::uint8_t* output, std::uint32_t* outputLength) {
    *outputLength = crypto::kDigest;
    if (output == nullptr)
        return crypto::kSuccess;
    auto& sha1 = *static_cast<SHA1_CTX*>(context);
    crypto::pad(
        sha1.buffer, heldBytes(sha1),
        [&sha1](std::uint8_t* place) {
            crypto::storeBigEndian(sha1.bitsHigh, place);
            crypto::storeBigEndian(sha1.bitsLow, place + 4);
        },
        [&sha1](const std::uint8_t* blocks, std::size_t count) { compress(sha1, blocks, count); });
    for (std::size_t i = 0; i < 5; ++i)
        crypto::storeBigEndian(sha1.state[i], output + 4 * i);
    std::memset(&sha1, 0, sizeof sha1);
    return crypto::kSuccess;
}

void SHA1_Repeat(std::uint8_t (&digest)[20], std::uint32_t times) {
    std::uint32_t words[5];
    for (std::size_t i = 0; i < 5; ++i)
        words[i] = crypto::loadBigEndian(digest + 4 * i);
    crypto::blockKernels().sha1Repeat(words, times);
    for (std::size_t i = 0; i < 5; ++i)
        crypto::storeBigEndian(words[i], digest + 4 * i);
}

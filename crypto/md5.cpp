#include "crypto/md5.h"

#include <cstring>

#include "crypto/absorb.h"
#include "crypto/codes.h"
#include "crypto/words.h"

namespace {

constexpr std::size_t kBlock = 64;
constexpr std::uint32_t kDigest = 16;

// The four kinds of step. b is the word that was just made and comes last in each sum.
template <unsigned Count>
inline void stepF(std::uint32_t& a, std::uint32_t b, std::uint32_t c, std::uint32_t d, std::uint32_t added) {
    a = crypto::rotateLeft(a + added + (d ^ (b & (c ^ d))), Count) + b;
}

// G's two terms have no bit in common, so that they are added one by one: only one of them waits for b.
template <unsigned Count>
inline void stepG(std::uint32_t& a, std::uint32_t b, std::uint32_t c, std::uint32_t d, std::uint32_t added) {
    a = crypto::rotateLeft(a + added + (c & ~d) + (b & d), Count) + b;
}

template <unsigned Count>
inline void stepH(std::uint32_t& a, std::uint32_t b, std::uint32_t c, std::uint32_t d, std::uint32_t added) {
    a = crypto::rotateLeft(a + added + ((c ^ d) ^ b), Count) + b;
}

template <unsigned Count>
inline void stepI(std::uint32_t& a, std::uint32_t b, std::uint32_t c, std::uint32_t d, std::uint32_t added) {
    a = crypto::rotateLeft(a + added + (c ^ (b | ~d)), Count) + b;
}

void compressBlock(std::uint32_t (&state)[4], const std::uint8_t* block) {
    std::uint32_t w[16];
    for (std::size_t i = 0; i < 16; ++i)
        w[i] = crypto::loadLittleEndian(block + 4 * i);
    std::uint32_t a = state[0];
    std::uint32_t b = state[1];
    std::uint32_t c = state[2];
    std::uint32_t d = state[3];

    stepF<7>(a, b, c, d, w[0] + 0xD76AA478U);
    stepF<12>(d, a, b, c, w[1] + 0xE8C7B756U);
    stepF<17>(c, d, a, b, w[2] + 0x242070DBU);
    stepF<22>(b, c, d, a, w[3] + 0xC1BDCEEEU);
    stepF<7>(a, b, c, d, w[4] + 0xF57C0FAFU);
    stepF<12>(d, a, b, c, w[5] + 0x4787C62AU);
    stepF<17>(c, d, a, b, w[6] + 0xA8304613U);
    stepF<22>(b, c, d, a, w[7] + 0xFD469501U);
    stepF<7>(a, b, c, d, w[8] + 0x698098D8U);
    stepF<12>(d, a, b, c, w[9] + 0x8B44F7AFU);
    stepF<17>(c, d, a, b, w[10] + 0xFFFF5BB1U);
    stepF<22>(b, c, d, a, w[11] + 0x895CD7BEU);
    stepF<7>(a, b, c, d, w[12] + 0x6B901122U);
    stepF<12>(d, a, b, c, w[13] + 0xFD987193U);
    stepF<17>(c, d, a, b, w[14] + 0xA679438EU);
    stepF<22>(b, c, d, a, w[15] + 0x49B40821U);

    stepG<5>(a, b, c, d, w[1] + 0xF61E2562U);
    stepG<9>(d, a, b, c, w[6] + 0xC040B340U);
    stepG<14>(c, d, a, b, w[11] + 0x265E5A51U);
    stepG<20>(b, c, d, a, w[0] + 0xE9B6C7AAU);
    stepG<5>(a, b, c, d, w[5] + 0xD62F105DU);
    stepG<9>(d, a, b, c, w[10] + 0x02441453U);
    stepG<14>(c, d, a, b, w[15] + 0xD8A1E681U);
    stepG<20>(b, c, d, a, w[4] + 0xE7D3FBC8U);
    stepG<5>(a, b, c, d, w[9] + 0x21E1CDE6U);
    stepG<9>(d, a, b, c, w[14] + 0xC33707D6U);
    stepG<14>(c, d, a, b, w[3] + 0xF4D50D87U);
    stepG<20>(b, c, d, a, w[8] + 0x455A14EDU);
    stepG<5>(a, b, c, d, w[13] + 0xA9E3E905U);
    stepG<9>(d, a, b, c, w[2] + 0xFCEFA3F8U);
    stepG<14>(c, d, a, b, w[7] + 0x676F02D9U);
    stepG<20>(b, c, d, a, w[12] + 0x8D2A4C8AU);

    stepH<4>(a, b, c, d, w[5] + 0xFFFA3942U);
    stepH<11>(d, a, b, c, w[8] + 0x8771F681U);
    stepH<16>(c, d, a, b, w[11] + 0x6D9D6122U);
    stepH<23>(b, c, d, a, w[14] + 0xFDE5380CU);
    stepH<4>(a, b, c, d, w[1] + 0xA4BEEA44U);
    stepH<11>(d, a, b, c, w[4] + 0x4BDECFA9U);
    stepH<16>(c, d, a, b, w[7] + 0xF6BB4B60U);
    stepH<23>(b, c, d, a, w[10] + 0xBEBFBC70U);
    stepH<4>(a, b, c, d, w[13] + 0x289B7EC6U);
    stepH<11>(d, a, b, c, w[0] + 0xEAA127FAU);
    stepH<16>(c, d, a, b, w[3] + 0xD4EF3085U);
    stepH<23>(b, c, d, a, w[6] + 0x04881D05U);
    stepH<4>(a, b, c, d, w[9] + 0xD9D4D039U);
    stepH<11>(d, a, b, c, w[12] + 0xE6DB99E5U);
    stepH<16>(c, d, a, b, w[15] + 0x1FA27CF8U);
    stepH<23>(b, c, d, a, w[2] + 0xC4AC5665U);

    stepI<6>(a, b, c, d, w[0] + 0xF4292244U);
    stepI<10>(d, a, b, c, w[7] + 0x432AFF97U);
    stepI<15>(c, d, a, b, w[14] + 0xAB9423A7U);
    stepI<21>(b, c, d, a, w[5] + 0xFC93A039U);
    stepI<6>(a, b, c, d, w[12] + 0x655B59C3U);
    stepI<10>(d, a, b, c, w[3] + 0x8F0CCC92U);
    stepI<15>(c, d, a, b, w[10] + 0xFFEFF47DU);
    stepI<21>(b, c, d, a, w[1] + 0x85845DD1U);
    stepI<6>(a, b, c, d, w[8] + 0x6FA87E4FU);
    stepI<10>(d, a, b, c, w[15] + 0xFE2CE6E0U);
    stepI<15>(c, d, a, b, w[6] + 0xA3014314U);
    stepI<21>(b, c, d, a, w[13] + 0x4E0811A1U);
    stepI<6>(a, b, c, d, w[4] + 0xF7537E82U);
    stepI<10>(d, a, b, c, w[11] + 0xBD3AF235U);
    stepI<15>(c, d, a, b, w[2] + 0x2AD7D2BBU);
    stepI<21>(b, c, d, a, w[9] + 0xEB86D391U);

    state[0] += a;
    state[1] += b;
    state[2] += c;
    state[3] += d;
}

void compress(MD5_CTX& md5, const std::uint8_t* data, std::size_t blocks) {
    for (; blocks != 0; --blocks, data += kBlock)
        compressBlock(md5.state, data);
}

std::size_t heldBytes(const MD5_CTX& md5) {
    return md5.bitsLow / 8 % kBlock;
}

}  // namespace

int MD5_Init(void* context) {
    auto& md5 = *static_cast<MD5_CTX*>(context);
    md5.state[0] = 0x67452301;
    md5.state[1] = 0xEFCDAB89;
    md5.state[2] = 0x98BADCFE;
    md5.state[3] = 0x10325476;
    md5.bitsLow = md5.bitsHigh = 0;
    return crypto::kSuccess;
}

int MD5_Update(void* context, const std::uint8_t* data, std::uint32_t length) {
    auto& md5 = *static_cast<MD5_CTX*>(context);
    const std::size_t held = heldBytes(md5);
    crypto::countBits(md5.bitsLow, md5.bitsHigh, length);
    crypto::absorb(md5.buffer, held, data, length,
                   [&md5](const std::uint8_t* whole, std::size_t blocks) { compress(md5, whole, blocks); });
    return crypto::kSuccess;
}

int MD5_Final(void* context, std::uint8_t* output, std::uint32_t* outputLength) {
    *outputLength = kDigest;
    if (output == nullptr)
        return crypto::kSuccess;
    auto& md5 = *static_cast<MD5_CTX*>(context);
    crypto::pad(
        md5.buffer, heldBytes(md5),
        [&md5](std::uint8_t* place) {
            crypto::storeLittleEndian(md5.bitsLow, place);
            crypto::storeLittleEndian(md5.bitsHigh, place + 4);
        },
        [&md5](const std::uint8_t* blocks, std::size_t count) { compress(md5, blocks, count); });
    for (std::size_t i = 0; i < 4; ++i)
        crypto::storeLittleEndian(md5.state[i], output + 4 * i);
    std::memset(&md5, 0, sizeof md5);
    return crypto::kSuccess;
}

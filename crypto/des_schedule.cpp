// The key schedule of DES.
#include <cstddef>

#include "crypto/des_rounds.h"

namespace crypto {
namespace {

// The second permuted choice (the n-th bit of the result is the bit of that number), and by how much the halves of the
// key are rotated before each round.
constexpr std::uint8_t kPermutedChoice2[48] = {14, 17, 11, 24, 1,  5,  3,  28, 15, 6,  21, 10, 23, 19, 12, 4,
                                               26, 8,  16, 7,  27, 20, 13, 2,  41, 52, 31, 37, 47, 55, 30, 40,
                                               51, 45, 33, 48, 44, 49, 39, 56, 34, 53, 46, 42, 50, 36, 29, 32};
constexpr std::uint8_t kKeyShifts[16] = {1, 1, 2, 2, 2, 2, 2, 2, 1, 2, 2, 2, 2, 2, 2, 1};

// The second permuted choice by pieces of seven bits, four of C and then four of D, most significant first: what each
// piece gives to a subkey, as both words of the pair.
struct ChoicePieces {
    std::uint64_t rows[8][128];
};

constexpr ChoicePieces makeChoicePieces() {
    ChoicePieces pieces{};
    for (unsigned bit = 0; bit < 48; ++bit) {
        const unsigned from = kPermutedChoice2[bit] - 1U;
        const unsigned to = 8 * byteOfBox(bit / 6 + 1) + 5 - bit % 6;
        for (unsigned value = 0; value < 128; ++value)
            pieces.rows[from / 7][value] |= static_cast<std::uint64_t>(value >> (6 - from % 7) & 1) << to;
    }
    return pieces;
}
constexpr ChoicePieces kChoicePieces = makeChoicePieces();

// transposed turns the 8 by 8 bits about their main diagonal (H. S. Warren, Hacker's Delight, 7-3).
constexpr std::uint64_t transposed(std::uint64_t bits) {
    std::uint64_t moved = (bits ^ bits >> 7) & 0x00AA00AA00AA00AA;
    bits ^= moved ^ moved << 7;
    moved = (bits ^ bits >> 14) & 0x0000CCCC0000CCCC;
    bits ^= moved ^ moved << 14;
    moved = (bits ^ bits >> 28) & 0x00000000F0F0F0F0;
    return bits ^ moved ^ moved << 28;
}

// rotateKeyHalf: 28 bits to the left.
constexpr std::uint32_t rotateKeyHalf(std::uint32_t half, unsigned count) {
    return (half << count | half >> (28 - count)) & 0x0FFFFFFF;
}

std::uint64_t choice2(std::uint32_t c, std::uint32_t d) {
    const auto& rows = kChoicePieces.rows;
    return rows[0][c >> 21] ^ rows[1][c >> 14 & 127] ^ rows[2][c >> 7 & 127] ^ rows[3][c & 127] ^  //
           rows[4][d >> 21] ^ rows[5][d >> 14 & 127] ^ rows[6][d >> 7 & 127] ^ rows[7][d & 127];
}

}  // namespace

void desSchedule(const std::uint8_t* key, bool encrypting, std::uint32_t (&subkeys)[32]) {
    // The first permuted choice reads the key by columns, its last byte first: C is the columns 1, 2, 3 and half of 4,
    // D is 7, 6, 5 and the other half. Column 8, the parity, is left out.
    std::uint64_t bits = 0;
    for (unsigned i = 8; i-- > 0;)
        bits = bits << 8 | key[i];
    const std::uint64_t columns = transposed(bits);
    auto c = static_cast<std::uint32_t>(columns >> 36);
    auto d = static_cast<std::uint32_t>((columns >> 8 & 0xFF) << 20 | (columns >> 16 & 0xFF) << 12 |
                                        (columns >> 24 & 0xFF) << 4 | (columns >> 32 & 0x0F));
    for (std::size_t round = 0; round < 16; ++round) {
        c = rotateKeyHalf(c, kKeyShifts[round]);
        d = rotateKeyHalf(d, kKeyShifts[round]);
        const std::uint64_t subkey = choice2(c, d);
        std::uint32_t* const pair = subkeys + 2 * (encrypting ? round : 15 - round);
        pair[0] = static_cast<std::uint32_t>(subkey);
        pair[1] = static_cast<std::uint32_t>(subkey >> 32);
    }
}

}  // namespace crypto

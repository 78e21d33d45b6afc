// Words of 32 bits to and from bytes, in either order, and rotated.
#ifndef VT_CRYPTO_WORDS_H
#define VT_CRYPTO_WORDS_H

#include <cstdint>

namespace crypto {

inline std::uint32_t loadBigEndian(const std::uint8_t* bytes) {
    return static_cast<std::uint32_t>(bytes[0]) << 24 | static_cast<std::uint32_t>(bytes[1]) << 16 |
           static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3];
}

inline void storeBigEndian(std::uint32_t word, std::uint8_t* bytes) {
    bytes[0] = static_cast<std::uint8_t>(word >> 24);
    bytes[1] = static_cast<std::uint8_t>(word >> 16);
    bytes[2] = static_cast<std::uint8_t>(word >> 8);
    bytes[3] = static_cast<std::uint8_t>(word);
}

inline std::uint32_t loadLittleEndian(const std::uint8_t* bytes) {
    return static_cast<std::uint32_t>(bytes[3]) << 24 | static_cast<std::uint32_t>(bytes[2]) << 16 |
           static_cast<std::uint32_t>(bytes[1]) << 8 | bytes[0];
}

inline void storeLittleEndian(std::uint32_t word, std::uint8_t* bytes) {
    bytes[0] = static_cast<std::uint8_t>(word);
    bytes[1] = static_cast<std::uint8_t>(word >> 8);
    bytes[2] = static_cast<std::uint8_t>(word >> 16);
    bytes[3] = static_cast<std::uint8_t>(word >> 24);
}

// rotateLeft and rotateRight: count modulo 32.
constexpr std::uint32_t rotateLeft(std::uint32_t word, std::uint32_t count) {
    return word << (count & 31) | word >> (-count & 31);
}

constexpr std::uint32_t rotateRight(std::uint32_t word, std::uint32_t count) {
    return word >> (count & 31) | word << (-count & 31);
}

// together hides a sum from the compiler, which would otherwise add the terms of a longer sum in an order of its own,
// and those that come late not last.
template <class Word>
inline Word together(Word sum) {
#ifdef __GNUC__
    __asm__("" : "+r"(sum));
#endif
    return sum;
}

}  // namespace crypto

#endif

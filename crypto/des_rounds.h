// The rounds of DES (FIPS 46), which DES and triple DES share.
//
// A half is 32 bits, r1 (its most significant) to r32. The expansion E makes eight groups of six bits of it, the group
// for box Si being r(4i-4) to r(4i+1), which is the low six bits of the half rotated left by 4i + 1. So in X, the half
// rotated left by 1, and in X rotated right by 4, the groups lie in the bytes:
//
//                          byte 3  byte 2  byte 1  byte 0
//     X                      S2      S4      S6      S8
//     X rotated right by 4   S1      S3      S5      S7
//
// A subkey is a pair of words of the same form, with zeros between the groups.
//
//   Plain rounds keep each half as X, and look a group up in the tables of 8 by 64 words that hold S and P combined.
//   Wide rounds, where registers have 64 bits, keep each half expanded (the first row below the second), and look up
//   what S, P and the next E make together: nothing is rotated or masked between rounds. Every step is an exclusive or,
//   through which E passes.
//
// The initial permutation IP passes through it too, so that a CBC chain stays permuted: the ciphertext block, permuted,
// is what the last round left.
#ifndef VT_CRYPTO_DES_ROUNDS_H
#define VT_CRYPTO_DES_ROUNDS_H

#include <cstdint>

namespace crypto {

// byteOfBox: the byte in which the group of a box (1 to 8) lies, 0 to 3 in X and 4 to 7 in X rotated right by 4.
constexpr unsigned byteOfBox(unsigned box) {
    return box % 2 == 0 ? (8 - box) / 2 : 4 + (7 - box) / 2;
}

// desSchedule writes the sixteen subkeys of the first 8 bytes of key, in reverse order when not encrypting.
void desSchedule(const std::uint8_t* key, bool encrypting, std::uint32_t (&subkeys)[32]);

}  // namespace crypto

#endif

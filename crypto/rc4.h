// The RC4 stream cipher. Encrypting and decrypting are the same; nothing is held back, so that a message has no final
// of its own (a table's final slot holds RSA_Final, which reports no bytes).
#ifndef VT_CRYPTO_RC4_H
#define VT_CRYPTO_RC4_H

#include <cstddef>
#include <cstdint>

// What RC4 keeps from one call to the next. It owns no memory.
struct RC4_CTX {
    std::int32_t x;       // first index
    std::int32_t y;       // second index
    std::int32_t s[256];  // the permutation, one value per word
};
static_assert(sizeof(RC4_CTX) == 1032 && offsetof(RC4_CTX, y) == 4 && offsetof(RC4_CTX, s) == 8,
              "the layout of RC4_CTX is a contract");

// RC4_Init sets the permutation up from the key, which is cycled; of more than 256 bytes the first 256 count. The
// length is not checked: no bytes give the permutation of a zero key. parameter is not looked at. 0, or -2.
int RC4_Init(void* context, const std::uint8_t* key, std::uint32_t keyLength, const void* parameter);

// RC4_Update enciphers or deciphers inputLength bytes and reports as many. output may be input. 0, or -2.
int RC4_Update(void* context, const std::uint8_t* input, std::uint8_t* output, std::uint32_t inputLength,
               std::uint32_t* outputLength);

#endif

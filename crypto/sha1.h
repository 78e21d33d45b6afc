// The SHA-1 digest (FIPS 180-1, RFC 3174).
#ifndef VT_CRYPTO_SHA1_H
#define VT_CRYPTO_SHA1_H

#include <cstddef>
#include <cstdint>

// What SHA-1 keeps from one call to the next. It owns no memory.
struct SHA1_CTX {
    std::uint32_t state[5];   // chaining value
    std::uint32_t bitsHigh;   // message length in bits, high word: the standard stores it first
    std::uint32_t bitsLow;    // low word
    std::uint8_t buffer[64];  // partial block
};
static_assert(sizeof(SHA1_CTX) == 92 && offsetof(SHA1_CTX, bitsHigh) == 20 && offsetof(SHA1_CTX, bitsLow) == 24 &&
                  offsetof(SHA1_CTX, buffer) == 28,
              "the layout of SHA1_CTX is a contract");

// SHA1_Init sets the initial state. Always 0; the context is not checked in any of the three.
int SHA1_Init(void* context);

// SHA1_Update absorbs length bytes, also none. Always 0.
int SHA1_Update(void* context, const std::uint8_t* data, std::uint32_t length);

// SHA1_Final stores the length, 20, writes the digest and wipes the context. Without an output it stores the length
// alone, and the digest can be continued. Always 0.
int SHA1_Final(void* context, std::uint8_t* output, std::uint32_t* outputLength);

// SHA1_Repeat replaces a digest by its own digest, so many times.
void SHA1_Repeat(std::uint8_t (&digest)[20], std::uint32_t times);

#endif

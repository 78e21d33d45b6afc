// The MD5 digest (RFC 1321).
#ifndef VT_CRYPTO_MD5_H
#define VT_CRYPTO_MD5_H

#include <cstddef>
#include <cstdint>

// What MD5 keeps from one call to the next. It owns no memory.
struct MD5_CTX {
    std::uint32_t state[4];   // chaining value
    std::uint32_t bitsLow;    // message length in bits, low word: the standard stores it first
    std::uint32_t bitsHigh;   // high word
    std::uint8_t buffer[64];  // partial block
};
static_assert(sizeof(MD5_CTX) == 88 && offsetof(MD5_CTX, bitsLow) == 16 && offsetof(MD5_CTX, bitsHigh) == 20 &&
                  offsetof(MD5_CTX, buffer) == 24,
              "the layout of MD5_CTX is a contract");

// MD5_Init sets the initial state. Always 0; the context is not checked in any of the three.
int MD5_Init(void* context);

// MD5_Update absorbs length bytes, also none. Always 0.
int MD5_Update(void* context, const std::uint8_t* data, std::uint32_t length);

// MD5_Final stores the length, 16, writes the digest and wipes the context. Without an output it stores the length
// alone, and the digest can be continued. Always 0.
int MD5_Final(void* context, std::uint8_t* output, std::uint32_t* outputLength);

#endif

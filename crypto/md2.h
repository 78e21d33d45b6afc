// The MD2 digest (RFC 1319).
#ifndef VT_CRYPTO_MD2_H
#define VT_CRYPTO_MD2_H

#include <cstddef>
#include <cstdint>

// What MD2 keeps from one call to the next. It owns no memory.
struct MD2_CTX {
    std::uint8_t state[16];     // digest state
    std::uint8_t checksum[16];  // running checksum
    std::uint32_t count;        // bytes held in buffer, below 16
    std::uint8_t buffer[16];    // partial block
};
static_assert(sizeof(MD2_CTX) == 52 && offsetof(MD2_CTX, checksum) == 16 && offsetof(MD2_CTX, count) == 32 &&
                  offsetof(MD2_CTX, buffer) == 36,
              "the layout of MD2_CTX is a contract");

// MD2_Init sets the initial state. Always 0; the context is not checked in any of the three.
int MD2_Init(void* context);

// MD2_Update absorbs length bytes, also none. Always 0.
int MD2_Update(void* context, const std::uint8_t* data, std::uint32_t length);

// MD2_Final stores the length, 16, writes the digest and wipes the context. Without an output it stores the length
// alone, and the digest can be continued. Always 0.
int MD2_Final(void* context, std::uint8_t* output, std::uint32_t* outputLength);

#endif

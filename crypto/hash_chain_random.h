// HashChainRandom: a generator that has no entropy but its seed. The same seed and length always give the same bytes.
//
// For n bytes out of seed s, with a digest of h bytes:
//
//     W = 00 01 02 ... (n bytes, i mod 256), its first min(n, |s|) bytes replaced by the seed's
//     for b = 0 up to below n / h, rounded up:  W[b h ... b h + h - 1] = digest of the n bytes of W
//     the first n bytes of W are the output
//
// So each block depends on those before it, and another length gives other bytes from the first on.
#ifndef VT_CRYPTO_HASH_CHAIN_RANDOM_H
#define VT_CRYPTO_HASH_CHAIN_RANDOM_H

#include <cstdint>

// Mechanisms of the three variants, in the vendor's range.
constexpr std::uint32_t HASH_CHAIN_RANDOM_MD2 = 0x80000100;
constexpr std::uint32_t HASH_CHAIN_RANDOM_MD5 = 0x80000200;
constexpr std::uint32_t HASH_CHAIN_RANDOM_SHA1 = 0x80000300;

// What the generator keeps from the seed to the output. It owns no memory.
struct HASH_CHAIN_RANDOM_CTX {
    const std::uint8_t* seed;  // borrowed: it must outlive the generation
    std::uint32_t seedLength;  // in bytes
};

// HashChainRandom_..._Seed stores seed and length, without copying. An empty seed may be null. 0, or -2 for a missing
// context.
int HashChainRandom_MD2_Seed(void* context, const std::uint8_t* seed, std::uint32_t length);
int HashChainRandom_MD5_Seed(void* context, const std::uint8_t* seed, std::uint32_t length);
int HashChainRandom_SHA1_Seed(void* context, const std::uint8_t* seed, std::uint32_t length);

// HashChainRandom_..._Generate writes length bytes. Nothing is written for a missing context or output, or when memory
// for W is exhausted.
void HashChainRandom_MD2_Generate(void* context, std::uint8_t* output, std::uint32_t length);
void HashChainRandom_MD5_Generate(void* context, std::uint8_t* output, std::uint32_t length);
void HashChainRandom_SHA1_Generate(void* context, std::uint8_t* output, std::uint32_t length);

#endif

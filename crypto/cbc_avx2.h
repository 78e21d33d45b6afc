// What the vector forms of CBC decryption share: vectors of four blocks, and the chain through them. Only for sources
// that are about AVX2.
#ifndef VT_CRYPTO_CBC_AVX2_H
#define VT_CRYPTO_CBC_AVX2_H

#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#define VT_AVX2 __attribute__((target("avx2")))
// A caller on 32-bit Windows may leave the stack at any word.
#ifdef __i386__
#define VT_ALIGN_STACK __attribute__((force_align_arg_pointer))
#else
#define VT_ALIGN_STACK
#endif

namespace crypto {

// loadFour and storeFour: the vector at blocks 4 n to 4 n + 3.
VT_AVX2 inline __m256i loadFour(const std::uint8_t* bytes, std::size_t n) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes + 32 * n));
}

VT_AVX2 inline void storeFour(std::uint8_t* bytes, std::size_t n, __m256i blocks) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(bytes + 32 * n), blocks);
}

// A chaining value lies in the lowest block of a vector.
VT_AVX2 inline __m256i loadChain(const std::uint8_t (&chain)[8]) {
    return _mm256_castsi128_si256(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(chain)));
}

VT_AVX2 inline void storeChain(std::uint8_t (&chain)[8], __m256i value) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(chain), _mm256_castsi256_si128(value));
}

// before gives, for each of four ciphertext blocks, the one before it, and moves the chain on to the last of them.
VT_AVX2 inline __m256i before(__m256i blocks, __m256i& chain) {
    const __m256i turned = _mm256_permute4x64_epi64(blocks, _MM_SHUFFLE(2, 1, 0, 3));
    const __m256i previous = _mm256_blend_epi32(turned, chain, 0x03);
    chain = turned;
    return previous;
}

}  // namespace crypto

#endif

#endif

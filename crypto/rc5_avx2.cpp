// RC5 decryption of sixteen blocks side by side.
#include "crypto/block_kernels.h"
#include "crypto/cbc_avx2.h"

#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))

namespace crypto {
namespace {

constexpr std::size_t kGroups = 2;             // of eight blocks, side by side
constexpr std::size_t kBlocks = 8 * kGroups;   // of a step
constexpr std::size_t kVectors = 2 * kGroups;  // of four blocks

// The first and second words of eight blocks.
struct Words {
    __m256i a;
    __m256i b;
};

VT_AVX2 inline __m256i rotatedRight(__m256i words, __m256i counts) {
    const __m256i count = _mm256_and_si256(counts, _mm256_set1_epi32(31));
    return _mm256_or_si256(_mm256_srlv_epi32(words, count),
                           _mm256_sllv_epi32(words, _mm256_sub_epi32(_mm256_set1_epi32(32), count)));
}

VT_AVX2 inline __m256i subtracted(__m256i words, std::uint32_t key) {
    return _mm256_sub_epi32(words, _mm256_set1_epi32(static_cast<int>(key)));
}

VT_AVX2 inline Words gathered(__m256i low, __m256i high) {
    const __m256 x = _mm256_castsi256_ps(low);
    const __m256 y = _mm256_castsi256_ps(high);
    return {_mm256_castps_si256(_mm256_shuffle_ps(x, y, _MM_SHUFFLE(2, 0, 2, 0))),
            _mm256_castps_si256(_mm256_shuffle_ps(x, y, _MM_SHUFFLE(3, 1, 3, 1)))};
}

VT_AVX2 inline void decipher(Words (&groups)[kGroups], const RC5_CTX& context) {
    for (std::int32_t i = 2 * context.rounds; i != 0; i -= 2) {
        for (Words& group : groups) {
            group.b = _mm256_xor_si256(rotatedRight(subtracted(group.b, context.subkeys[i + 1]), group.a), group.a);
            group.a = _mm256_xor_si256(rotatedRight(subtracted(group.a, context.subkeys[i]), group.b), group.b);
        }
    }
    for (Words& group : groups) {
        group.b = subtracted(group.b, context.subkeys[1]);
        group.a = subtracted(group.a, context.subkeys[0]);
    }
}

VT_AVX2 inline void step(const RC5_CTX& context, __m256i& chain, const std::uint8_t* input, std::uint8_t* output) {
    __m256i given[kVectors];
    for (std::size_t i = 0; i < kVectors; ++i)
        given[i] = loadFour(input, i);
    Words groups[kGroups];
    for (std::size_t i = 0; i < kGroups; ++i)
        groups[i] = gathered(given[2 * i], given[2 * i + 1]);
    decipher(groups, context);
    for (std::size_t i = 0; i < kGroups; ++i) {
        const __m256i low = _mm256_unpacklo_epi32(groups[i].a, groups[i].b);
        const __m256i high = _mm256_unpackhi_epi32(groups[i].a, groups[i].b);
        storeFour(output, 2 * i, _mm256_xor_si256(low, before(given[2 * i], chain)));
        storeFour(output, 2 * i + 1, _mm256_xor_si256(high, before(given[2 * i + 1], chain)));
    }
}

VT_ALIGN_STACK VT_AVX2 void decrypt(RC5_CTX& context, const std::uint8_t* input, std::uint8_t* output,
                                    std::size_t blocks) {
    __m256i chain = loadChain(context.chain);
    for (; blocks >= kBlocks; blocks -= kBlocks, input += 8 * kBlocks, output += 8 * kBlocks)
        step(context, chain, input, output);
    storeChain(context.chain, chain);
    kPlainRc5.decrypt(context, input, output, blocks);
}

}  // namespace

CbcLoop<RC5_CTX> avx2Rc5Decrypt() {
    return __builtin_cpu_supports("avx2") != 0 ? decrypt : nullptr;
}

}  // namespace crypto

#else

namespace crypto {

CbcLoop<RC5_CTX> avx2Rc5Decrypt() {
    return nullptr;
}

}  // namespace crypto

#endif

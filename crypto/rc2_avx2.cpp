// RC2 decryption of sixteen blocks side by side: a vector for each of the four words.
#include "crypto/block_kernels.h"
#include "crypto/cbc_avx2.h"

#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))

namespace crypto {
namespace {

constexpr std::size_t kBlocks = 16;  // of a step

// The 64 words of the key as 16-byte tables, all low bytes and then all high bytes.
struct KeyBytes {
    __m256i low[4];
    __m256i high[4];
};

VT_AVX2 inline KeyBytes keyBytes(const std::uint16_t (&words)[64]) {
    KeyBytes bytes;
    for (std::size_t i = 0; i < 4; ++i) {
        alignas(16) std::uint8_t low[16];
        alignas(16) std::uint8_t high[16];
        for (std::size_t j = 0; j < 16; ++j) {
            low[j] = static_cast<std::uint8_t>(words[16 * i + j]);
            high[j] = static_cast<std::uint8_t>(words[16 * i + j] >> 8);
        }
        bytes.low[i] = _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(low)));
        bytes.high[i] = _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(high)));
    }
    return bytes;
}

// lookedUp: a byte of one of the four tables for each index below 64; zero for each index above 127. An index outside
// the table at hand gets its top bit set, which the shuffle takes as zero.
VT_AVX2 inline __m256i lookedUp(const __m256i (&tables)[4], __m256i indices) {
    __m256i found = _mm256_setzero_si256();
    for (int i = 0; i < 4; ++i) {
        const __m256i here = _mm256_xor_si256(indices, _mm256_set1_epi8(static_cast<char>(16 * i)));
        const __m256i at = _mm256_adds_epu8(here, _mm256_set1_epi8(0x70));
        found = _mm256_or_si256(found, _mm256_shuffle_epi8(tables[i], at));
    }
    return found;
}

VT_AVX2 inline __m256i keyWords(const KeyBytes& key, __m256i words) {
    const __m256i index = _mm256_and_si256(words, _mm256_set1_epi16(63));
    const __m256i none = _mm256_set1_epi16(0x80);
    const __m256i low = lookedUp(key.low, _mm256_or_si256(index, _mm256_slli_epi16(none, 8)));
    const __m256i high = lookedUp(key.high, _mm256_or_si256(_mm256_slli_epi16(index, 8), none));
    return _mm256_or_si256(low, high);
}

template <int Word, int Rotation>
VT_AVX2 inline void unmixWord(__m256i (&r)[4], std::uint16_t key) {
    const __m256i rotated = _mm256_or_si256(_mm256_srli_epi16(r[Word], Rotation),  //
                                            _mm256_slli_epi16(r[Word], 16 - Rotation));
    const __m256i newest = r[(Word + 3) % 4];
    const __m256i without = _mm256_sub_epi16(rotated, _mm256_set1_epi16(static_cast<short>(key)));
    const __m256i chosen = _mm256_or_si256(_mm256_and_si256(newest, r[(Word + 2) % 4]),  //
                                           _mm256_andnot_si256(newest, r[(Word + 1) % 4]));
    r[Word] = _mm256_sub_epi16(without, chosen);
}

VT_AVX2 inline void unmix(__m256i (&r)[4], const std::uint16_t* keys) {
    unmixWord<3, 5>(r, keys[3]);
    unmixWord<2, 3>(r, keys[2]);
    unmixWord<1, 2>(r, keys[1]);
    unmixWord<0, 1>(r, keys[0]);
}

VT_AVX2 inline void unmash(__m256i (&r)[4], const KeyBytes& key) {
    for (std::size_t i = 4; i-- > 0;)
        r[i] = _mm256_sub_epi16(r[i], keyWords(key, r[(i + 3) % 4]));
}

VT_AVX2 inline void decipher(__m256i (&r)[4], const std::uint16_t (&words)[64], const KeyBytes& key) {
    for (std::size_t round = 16; round-- > 0;) {
        if (round == 4 || round == 10)
            unmash(r, key);
        unmix(r, words + 4 * round);
    }
}

// exchanged turns four vectors of 32-bit units about their diagonal, in each half of the vectors.
VT_AVX2 inline void exchanged(__m256i (&v)[4]) {
    const __m256i a = _mm256_unpacklo_epi32(v[0], v[1]);
    const __m256i b = _mm256_unpacklo_epi32(v[2], v[3]);
    const __m256i c = _mm256_unpackhi_epi32(v[0], v[1]);
    const __m256i d = _mm256_unpackhi_epi32(v[2], v[3]);
    v[0] = _mm256_unpacklo_epi64(a, b);
    v[1] = _mm256_unpackhi_epi64(a, b);
    v[2] = _mm256_unpacklo_epi64(c, d);
    v[3] = _mm256_unpackhi_epi64(c, d);
}

// pairsJoined puts the same words of two neighbours side by side, pairsParted puts them back.
VT_AVX2 inline __m256i pairsJoined(__m256i blocks) {
    return _mm256_shuffle_epi8(
        blocks, _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15)));
}

VT_AVX2 inline __m256i pairsParted(__m256i words) {
    return _mm256_shuffle_epi8(
        words, _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 4, 5, 8, 9, 12, 13, 2, 3, 6, 7, 10, 11, 14, 15)));
}

VT_AVX2 inline void step(const RC2_CTX& context, const KeyBytes& key, __m256i& chain, const std::uint8_t* input,
                         std::uint8_t* output) {
    __m256i given[4];
    __m256i r[4];
    for (std::size_t i = 0; i < 4; ++i) {
        given[i] = loadFour(input, i);
        r[i] = pairsJoined(given[i]);
    }
    exchanged(r);
    decipher(r, context.expandedKey, key);
    exchanged(r);
    for (std::size_t i = 0; i < 4; ++i)
        storeFour(output, i, _mm256_xor_si256(pairsParted(r[i]), before(given[i], chain)));
}

VT_ALIGN_STACK VT_AVX2 void decrypt(RC2_CTX& context, const std::uint8_t* input, std::uint8_t* output,
                                    std::size_t blocks) {
    if (blocks >= kBlocks) {
        const KeyBytes key = keyBytes(context.expandedKey);
        __m256i chain = loadChain(context.chain);
        for (; blocks >= kBlocks; blocks -= kBlocks, input += 8 * kBlocks, output += 8 * kBlocks)
            step(context, key, chain, input, output);
        storeChain(context.chain, chain);
    }
    kPlainRc2.decrypt(context, input, output, blocks);
}

}  // namespace

CbcLoop<RC2_CTX> avx2Rc2Decrypt() {
    return __builtin_cpu_supports("avx2") != 0 ? decrypt : nullptr;
}

}  // namespace crypto

#else

namespace crypto {

CbcLoop<RC2_CTX> avx2Rc2Decrypt() {
    return nullptr;
}

}  // namespace crypto

#endif

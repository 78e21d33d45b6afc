// SHA-1 by the processor's own instructions: four steps each, of which twenty in a row make a block.
#include "crypto/block_kernels.h"

#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))

#include <cpuid.h>
#include <immintrin.h>

#include <utility>

// A caller on 32-bit Windows may leave the stack at any word.
#ifdef __i386__
#define VT_ALIGN_STACK __attribute__((force_align_arg_pointer))
#else
#define VT_ALIGN_STACK
#endif
#define VT_SHA __attribute__((target("sha,ssse3,sse4.1")))

namespace crypto {
namespace {

constexpr std::size_t kBlock = 64;

struct Working {
    __m128i abcd;
    __m128i e;
    __m128i message[4];  // the last sixteen message words
};

// fourSteps: a group of four steps, with the message words that it takes.
template <std::size_t Group>
VT_SHA inline void fourSteps(Working& at) {
    __m128i& words = at.message[Group % 4];
    if constexpr (Group >= 4) {
        const __m128i begun = _mm_sha1msg1_epu32(words, at.message[(Group + 1) % 4]);
        words = _mm_sha1msg2_epu32(_mm_xor_si128(begun, at.message[(Group + 2) % 4]), at.message[(Group + 3) % 4]);
    }
    __m128i sum;
    if constexpr (Group == 0)
        sum = _mm_add_epi32(at.e, words);
    else
        sum = _mm_sha1nexte_epu32(at.e, words);
    at.e = at.abcd;
    at.abcd = _mm_sha1rnds4_epu32(at.abcd, sum, Group / 5);
}

template <std::size_t... Groups>
VT_SHA inline void compressBlock(__m128i& abcd, __m128i& e, const std::uint8_t* block,
                                 std::index_sequence<Groups...> /*groups*/) {
    const __m128i reversed = _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    Working at;
    at.abcd = abcd;
    at.e = e;
    for (std::size_t i = 0; i < 4; ++i)
        at.message[i] = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(block + 16 * i)), reversed);
    (fourSteps<Groups>(at), ...);
    abcd = _mm_add_epi32(abcd, at.abcd);
    e = _mm_sha1nexte_epu32(at.e, e);
}

// digestDigest: the digest of a digest. Its words lie in the registers as message words do, the first one on top.
template <std::size_t... Groups>
VT_SHA inline void digestDigest(__m128i& abcd, __m128i& e, std::index_sequence<Groups...> /*groups*/) {
    const __m128i initialAbcd =
        _mm_set_epi32(0x67452301, static_cast<int>(0xEFCDAB89), static_cast<int>(0x98BADCFE), 0x10325476);
    const __m128i initialE = _mm_set_epi32(static_cast<int>(0xC3D2E1F0), 0, 0, 0);
    Working at;
    at.abcd = initialAbcd;
    at.e = initialE;
    at.message[0] = abcd;
    at.message[1] = _mm_or_si128(e, _mm_set_epi32(0, static_cast<int>(0x80000000), 0, 0));
    at.message[2] = _mm_setzero_si128();
    at.message[3] = _mm_set_epi32(0, 0, 0, 160);  // bits of the message
    (fourSteps<Groups>(at), ...);
    abcd = _mm_add_epi32(initialAbcd, at.abcd);
    e = _mm_sha1nexte_epu32(at.e, initialE);
}

VT_ALIGN_STACK VT_SHA void compress(std::uint32_t (&state)[5], const std::uint8_t* data, std::size_t blocks) {
    __m128i abcd = _mm_shuffle_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(state)), 0x1B);
    __m128i e = _mm_set_epi32(static_cast<int>(state[4]), 0, 0, 0);
    for (; blocks != 0; --blocks, data += kBlock)
        compressBlock(abcd, e, data, std::make_index_sequence<20>());
    _mm_storeu_si128(reinterpret_cast<__m128i*>(state), _mm_shuffle_epi32(abcd, 0x1B));
    state[4] = static_cast<std::uint32_t>(_mm_extract_epi32(e, 3));
}

VT_ALIGN_STACK VT_SHA void repeat(std::uint32_t (&digest)[5], std::uint32_t times) {
    __m128i abcd = _mm_shuffle_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(digest)), 0x1B);
    __m128i e = _mm_set_epi32(static_cast<int>(digest[4]), 0, 0, 0);
    for (; times != 0; --times)
        digestDigest(abcd, e, std::make_index_sequence<20>());
    _mm_storeu_si128(reinterpret_cast<__m128i*>(digest), _mm_shuffle_epi32(abcd, 0x1B));
    digest[4] = static_cast<std::uint32_t>(_mm_extract_epi32(e, 3));
}

// The compiler's own test does not know of these instructions: leaf 7, EBX bit 29.
bool processorHasSha() {
    unsigned eax = 0;
    unsigned ebx = 0;
    unsigned ecx = 0;
    unsigned edx = 0;
    return __get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) != 0 && (ebx >> 29 & 1) != 0 &&
           __builtin_cpu_supports("ssse3") != 0 && __builtin_cpu_supports("sse4.1") != 0;
}

}  // namespace

Sha1Loop shaNiSha1() {
    return processorHasSha() ? compress : nullptr;
}

Sha1RepeatLoop shaNiSha1Repeat() {
    return processorHasSha() ? repeat : nullptr;
}

}  // namespace crypto

#else

namespace crypto {

Sha1Loop shaNiSha1() {
    return nullptr;
}

Sha1RepeatLoop shaNiSha1Repeat() {
    return nullptr;
}

}  // namespace crypto

#endif

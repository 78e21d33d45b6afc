// Base64 by 32-byte vectors, after W. Mula and D. Lemire, "Faster Base64 Encoding and Decoding Using AVX2
// Instructions" (ACM Transactions on the Web, 2018).
#include "pki/base64_kernel.h"

#if defined(__GNUC__) && (defined(__x86_64__) || defined(__i386__))

#include <immintrin.h>

#define VT_AVX2 __attribute__((target("avx2")))

namespace pki {
namespace {

constexpr std::size_t kBytes = 24;  // of a step
constexpr std::size_t kChars = 32;

VT_AVX2 __m128i load16(const std::uint8_t* data) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(data));
}

// spread puts each three bytes b0 b1 b2 into a 32-bit lane as b1 b0 b2 b1. The two halves of the vector start at bytes
// 0 and 8, so that exactly 24 bytes are read; the upper one therefore looks four bytes further on.
VT_AVX2 __m256i spread(const std::uint8_t* data) {
    const __m256i both = _mm256_set_m128i(load16(data + 8), load16(data));
    return _mm256_shuffle_epi8(both, _mm256_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10,  //
                                                      5, 4, 6, 5, 8, 7, 9, 8, 11, 10, 12, 11, 14, 13, 15, 14));
}

// split gives the four 6-bit values of each lane, a byte each: two of them move down and two up, by multiplications.
VT_AVX2 __m256i split(__m256i lanes) {
    const __m256i down =
        _mm256_mulhi_epu16(_mm256_and_si256(lanes, _mm256_set1_epi32(0x0FC0FC00)), _mm256_set1_epi32(0x04000040));
    const __m256i up =
        _mm256_mullo_epi16(_mm256_and_si256(lanes, _mm256_set1_epi32(0x003F03F0)), _mm256_set1_epi32(0x01000010));
    return _mm256_or_si256(down, up);
}

// toChars adds to each value the distance to its character. The distance is looked up by range: 13 for A to Z, 0 for a
// to z, 1 to 10 for the digits, 11 and 12 for "+" and "/".
VT_AVX2 __m256i toChars(__m256i values) {
    const __m256i distances = _mm256_broadcastsi128_si256(
        _mm_setr_epi8('a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                      '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0));
    const __m256i upper = _mm256_and_si256(_mm256_cmpgt_epi8(_mm256_set1_epi8(26), values), _mm256_set1_epi8(13));
    const __m256i range = _mm256_or_si256(_mm256_subs_epu8(values, _mm256_set1_epi8(51)), upper);
    return _mm256_add_epi8(values, _mm256_shuffle_epi8(distances, range));
}

VT_AVX2 char* encode(const std::uint8_t* data, std::size_t length, char* out) {
    for (; length >= kBytes; data += kBytes, length -= kBytes, out += kChars)
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), toChars(split(spread(data))));
    return plainBase64().encode(data, length, out);
}

// toValues gives the value of each character; false when one of them is not among the 64. A character is told by its
// two nibbles: each nibble has a set of faults that it could be part of, and the sets of a good character do not meet.
VT_AVX2 bool toValues(__m256i chars, __m256i& values) {
    const __m256i faultsOfLow = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A));
    const __m256i faultsOfHigh = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10));
    const __m256i distances =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0));
    const __m256i slash = _mm256_set1_epi8('/');  // 2F, and the mask of a nibble as well
    const __m256i high = _mm256_and_si256(_mm256_srli_epi32(chars, 4), slash);
    const __m256i low = _mm256_and_si256(chars, slash);
    if (_mm256_testz_si256(_mm256_shuffle_epi8(faultsOfLow, low), _mm256_shuffle_epi8(faultsOfHigh, high)) == 0)
        return false;
    // "/" alone has another distance than its high nibble says.
    const __m256i range = _mm256_add_epi8(_mm256_cmpeq_epi8(chars, slash), high);
    values = _mm256_add_epi8(chars, _mm256_shuffle_epi8(distances, range));
    return true;
}

// putBytes joins the values and writes 24 bytes.
VT_AVX2 void putBytes(__m256i values, std::uint8_t* out) {
    const __m256i twelve = _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
    const __m256i whole = _mm256_madd_epi16(twelve, _mm256_set1_epi32(0x00011000));
    const __m256i packed = _mm256_shuffle_epi8(
        whole, _mm256_broadcastsi128_si256(_mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1)));
    const __m256i joined = _mm256_permutevar8x32_epi32(packed, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm256_castsi256_si128(joined));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 16), _mm256_extracti128_si256(joined, 1));
}

VT_AVX2 bool decodeStep(const std::uint8_t* next, std::uint8_t* out) {
    __m256i values;
    if (!toValues(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(next)), values))
        return false;
    putBytes(values, out);
    return true;
}

// A step that meets a foreign character leaves its groups to the plain form. A line break is looked for after each
// line of 64 characters only, where requests and most certificate texts have it.
VT_AVX2 Base64Progress decode(const std::uint8_t* next, const std::uint8_t* end, std::uint8_t* out) {
    constexpr auto kStep = static_cast<std::ptrdiff_t>(kChars);
    while (end - next >= 2 * kStep && decodeStep(next, out)) {
        next += kChars;
        out += kBytes;
        if (!decodeStep(next, out))
            break;
        next += kChars;
        out += kBytes;
        if (next != end && *next == '\r')
            ++next;
        if (next != end && *next == '\n')
            ++next;
    }
    return plainBase64().decode(next, end, out);
}

constexpr Base64Kernel kAvx2 = {encode, decode};

}  // namespace

const Base64Kernel* avx2Base64() {
    return __builtin_cpu_supports("avx2") ? &kAvx2 : nullptr;
}

}  // namespace pki

#else

namespace pki {

const Base64Kernel* avx2Base64() {
    return nullptr;
}

}  // namespace pki

#endif

#include "crypto/rc4.h"

#include <algorithm>
#include <utility>

#include "crypto/codes.h"

namespace {

constexpr std::uint32_t kSize = 256;  // of the permutation
constexpr std::uint32_t kStep = 8;    // bytes a loop

// next gives one byte of the key stream.
inline std::uint8_t next(std::uint32_t& x, std::uint32_t& y, std::int32_t* s) {
    x = (x + 1) % kSize;
    const std::int32_t atX = s[x];
    y = (y + static_cast<std::uint32_t>(atX)) % kSize;
    const std::int32_t atY = s[y];
    s[x] = atY;
    s[y] = atX;
    return static_cast<std::uint8_t>(s[static_cast<std::uint32_t>(atX + atY) % kSize]);
}

inline std::uint8_t crypted(std::uint8_t byte, std::uint32_t& x, std::uint32_t& y, std::int32_t* s) {
    return static_cast<std::uint8_t>(byte ^ next(x, y, s));
}

template <std::size_t... Bytes>
inline void cryptStep(const std::uint8_t* input, std::uint8_t* output, std::uint32_t& x, std::uint32_t& y,
                      std::int32_t* s, std::index_sequence<Bytes...> /*bytes*/) {
    ((output[Bytes] = crypted(input[Bytes], x, y, s)), ...);
}

// crypt: output may be input.
void crypt(RC4_CTX& rc4, const std::uint8_t* input, std::uint8_t* output, std::uint32_t length) {
    auto x = static_cast<std::uint32_t>(rc4.x);
    auto y = static_cast<std::uint32_t>(rc4.y);
    for (; length >= kStep; length -= kStep, input += kStep, output += kStep)
        cryptStep(input, output, x, y, rc4.s, std::make_index_sequence<kStep>());
    for (; length != 0; --length)
        *output++ = crypted(*input++, x, y, rc4.s);
    rc4.x = static_cast<std::int32_t>(x);
    rc4.y = static_cast<std::int32_t>(y);
}

// mix exchanges count places of the permutation from the one at, with count bytes of the key; value is what stands at
// that one. The next value is read before the exchange rather than behind it, where it would wait for a store to an
// address not known yet, and put right when the exchange was with its own place.
void mix(std::int32_t (&s)[kSize], std::uint32_t at, const std::uint8_t* key, std::uint32_t count, std::uint32_t& y,
         std::int32_t& value) {
    for (const std::uint32_t end = at + count; at != end; ++at, ++key) {
        y = (y + (static_cast<std::uint32_t>(value) + *key)) % kSize;
        const std::int32_t other = s[y];
        const std::int32_t behind = s[(at + 1) % kSize];
        s[y] = value;
        s[at] = other;
        value = y == at + 1 ? value : behind;
    }
}

}  // namespace

int RC4_Init(void* context, const std::uint8_t* key, std::uint32_t keyLength, const void* /*parameter*/) {
    auto* const rc4 = static_cast<RC4_CTX*>(context);
    if (rc4 == nullptr || key == nullptr)
        return crypto::kArgumentAbsent;
    // No bytes of key add nothing, as a byte of zero does.
    constexpr std::uint8_t kNothing = 0;
    const std::uint8_t* const bytes = keyLength == 0 ? &kNothing : key;
    const std::uint32_t length = std::max(1U, keyLength);
    rc4->x = rc4->y = 0;
    for (std::uint32_t i = 0; i < kSize; ++i)
        rc4->s[i] = static_cast<std::int32_t>(i);
    std::uint32_t y = 0;
    std::int32_t value = 0;
    for (std::uint32_t at = 0; at < kSize; at += std::min(length, kSize - at))
        mix(rc4->s, at, bytes, std::min(length, kSize - at), y, value);
    return crypto::kSuccess;
}

int RC4_Update(void* context, const std::uint8_t* input, std::uint8_t* output, std::uint32_t inputLength,
               std::uint32_t* outputLength) {
    auto* const rc4 = static_cast<RC4_CTX*>(context);
    if (rc4 == nullptr || outputLength == nullptr)
        return crypto::kArgumentAbsent;
    if (input == nullptr && output != nullptr && inputLength != 0)
        return crypto::kArgumentAbsent;
    if (output != nullptr)
        crypt(*rc4, input, output, inputLength);
    *outputLength = inputLength;
    return crypto::kSuccess;
}

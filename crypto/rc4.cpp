#include "crypto/rc4.h"

#include "crypto/codes.h"

namespace {

// next gives one byte of the key stream.
inline std::uint8_t next(std::uint32_t& x, std::uint32_t& y, std::int32_t* s) {
    x = (x + 1) & 255;
    const std::int32_t atX = s[x];
    y = (y + static_cast<std::uint32_t>(atX)) & 255;
    const std::int32_t atY = s[y];
    s[x] = atY;
    s[y] = atX;
    return static_cast<std::uint8_t>(s[(atX + atY) & 255]);
}

}  // namespace

int RC4_Init(void* context, const std::uint8_t* key, std::uint32_t keyLength, const void* /*parameter*/) {
    auto* const rc4 = static_cast<RC4_CTX*>(context);
    if (rc4 == nullptr || key == nullptr)
        return crypto::kArgumentAbsent;
    rc4->x = rc4->y = 0;
    for (int i = 0; i < 256; ++i)
        rc4->s[i] = i;
    std::uint32_t at = 0;
    std::uint32_t y = 0;
    for (std::int32_t& value : rc4->s) {
        const std::uint32_t added = keyLength == 0 ? 0U : key[at];
        y = (y + static_cast<std::uint32_t>(value) + added) & 255;
        const std::int32_t other = rc4->s[y];
        rc4->s[y] = value;
        value = other;
        at = at + 1 >= keyLength ? 0 : at + 1;
    }
    return 0;
}

int RC4_Update(void* context, const std::uint8_t* input, std::uint8_t* output, std::uint32_t inputLength,
               std::uint32_t* outputLength) {
    auto* const rc4 = static_cast<RC4_CTX*>(context);
    if (rc4 == nullptr || outputLength == nullptr)
        return crypto::kArgumentAbsent;
    if (output == nullptr) {
        *outputLength = inputLength;
        return 0;
    }
    if (input == nullptr && inputLength != 0)
        return crypto::kArgumentAbsent;
    auto x = static_cast<std::uint32_t>(rc4->x);
    auto y = static_cast<std::uint32_t>(rc4->y);
    std::uint32_t left = inputLength;
    for (; left >= 8; left -= 8, input += 8, output += 8) {
        std::uint64_t stream = 0;
        for (unsigned i = 0; i < 8; ++i)
            stream |= static_cast<std::uint64_t>(next(x, y, rc4->s)) << (8 * i);
        for (unsigned i = 0; i < 8; ++i)
            output[i] = static_cast<std::uint8_t>(input[i] ^ stream >> (8 * i));
    }
    for (; left != 0; --left)
        *output++ = static_cast<std::uint8_t>(*input++ ^ next(x, y, rc4->s));
    rc4->x = static_cast<std::int32_t>(x);
    rc4->y = static_cast<std::int32_t>(y);
    *outputLength = inputLength;
    return 0;
}

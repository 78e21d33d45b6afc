// The inner loops of base64: runs of whole groups, four characters for three bytes, without padding. There is a plain
// form everywhere, and a vector form that is chosen once at run time where the processor has it.
#ifndef VT_PKI_BASE64_KERNEL_H
#define VT_PKI_BASE64_KERNEL_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace pki {

// The 64 characters of RFC 4648.
inline constexpr char kBase64Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The value of each character: 0 to 63, kBase64Pad for "=", kBase64Foreign for all others.
inline constexpr std::uint8_t kBase64Pad = 64;
inline constexpr std::uint8_t kBase64Foreign = 0xFF;

constexpr std::array<std::uint8_t, 256> makeBase64Values() {
    std::array<std::uint8_t, 256> values{};
    for (std::uint8_t& value : values)
        value = kBase64Foreign;
    for (std::uint8_t i = 0; i < 64; ++i)
        values[static_cast<std::uint8_t>(kBase64Alphabet[i])] = i;
    values['='] = kBase64Pad;
    return values;
}
inline constexpr std::array<std::uint8_t, 256> kBase64Values = makeBase64Values();

// How far a decoding has come.
struct Base64Progress {
    const std::uint8_t* next;  // the first character not read
    std::uint8_t* out;         // the first byte not written
};

struct Base64Kernel {
    // encode writes the groups of length bytes, a multiple of three, and gives the place behind them.
    char* (*encode)(const std::uint8_t* data, std::size_t length, char* out);

    // decode reads groups from next as long as they are made of the 64 characters alone, and may pass over line breaks
    // between groups. What is left has fewer than four characters or starts with a group or line break for somebody
    // else to read. Nothing is written behind the bytes of the groups that were read, and out may be where next is.
    Base64Progress (*decode)(const std::uint8_t* next, const std::uint8_t* end, std::uint8_t* out);
};

// plainBase64: table look-ups.
const Base64Kernel& plainBase64();

// avx2Base64: 32 characters a step. Null where the build or the processor does not have it.
const Base64Kernel* avx2Base64();

// base64Kernel: the fastest of them on this processor.
const Base64Kernel& base64Kernel();

}  // namespace pki

#endif

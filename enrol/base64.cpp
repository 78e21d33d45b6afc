#include "enrol/base64.h"

#include <algorithm>
#include <exception>
#include <limits>

#include "pki/flat/base64_kernel.h"

namespace enrol {
namespace {

using pki::base64Kernel;
using pki::Base64Kernel;
using pki::Base64Progress;
using pki::kBase64Alphabet;
using pki::kBase64Foreign;
using pki::kBase64Pad;
using pki::kBase64Values;

constexpr std::size_t kLineChars = 64;
constexpr std::size_t kLineBytes = 48;

// encodeTail writes the group of the last one or two bytes with its padding.
char* encodeTail(const std::uint8_t* data, std::size_t length, char* out) {
    if (length == 0)
        return out;
    const auto bits = static_cast<std::uint32_t>(data[0] << 16 | (length == 2 ? data[1] << 8 : 0));
    *out++ = kBase64Alphabet[bits >> 18];
    *out++ = kBase64Alphabet[bits >> 12 & 63];
    *out++ = length == 2 ? kBase64Alphabet[bits >> 6 & 63] : '=';
    *out++ = '=';
    return out;
}

char* breakLine(char* out) {
    *out++ = '\r';
    *out++ = '\n';
    return out;
}

// paddedBytes: the bytes that a group with "=" carries; 0 when "=" stands where it must not.
std::size_t paddedBytes(const std::uint8_t (&group)[4]) {
    if (group[0] == kBase64Pad || group[1] == kBase64Pad)
        return 0;
    if (group[2] == kBase64Pad)
        return group[3] == kBase64Pad ? 1 : 0;
    return 2;
}

bool hasPad(const std::uint8_t (&group)[4]) {
    return std::find(group, group + 4, kBase64Pad) != group + 4;
}

void putBytes(const std::uint8_t (&group)[4], std::uint8_t* out) {
    std::uint32_t bits = 0;
    for (const std::uint8_t value : group)
        bits = bits << 6 | (value & 63U);
    out[0] = static_cast<std::uint8_t>(bits >> 16);
    out[1] = static_cast<std::uint8_t>(bits >> 8);
    out[2] = static_cast<std::uint8_t>(bits);
}

// decode reads the whole text. out has room for three bytes a group, complete or not, and size receives how many of
// them count.
std::int32_t decode(Base64Progress at, const std::uint8_t* end, std::size_t& size) {
    const Base64Kernel& kernel = base64Kernel();
    const std::uint8_t* const out = at.out;
    std::uint8_t group[4];
    std::size_t filled = 0;
    size = 0;
    while (at.next != end) {
        if (filled == 0) {
            at = kernel.decode(at.next, end, at.out);
            if (at.next == end)
                break;
        }
        const std::uint8_t value = kBase64Values[*at.next++];
        if (value == kBase64Foreign)
            continue;
        group[filled++] = value;
        if (filled < 4)
            continue;
        filled = 0;
        putBytes(group, at.out);
        if (hasPad(group)) {
            const std::size_t carried = paddedBytes(group);
            // A "=" at a wrong place takes back all that came before it.
            size = carried == 0 ? 0 : static_cast<std::size_t>(at.out - out) + carried;
            return 0;
        }
        at.out += 3;
    }
    if (filled != 0)
        return kBase64PartialGroup;
    size = static_cast<std::size_t>(at.out - out);
    return 0;
}

}  // namespace

std::int32_t EncodeBase64Text(const std::uint8_t* data, std::size_t length, char* out, std::size_t& outLength) {
    if (length > std::numeric_limits<std::size_t>::max() / 2)
        return kBase64NoMemory;
    const std::size_t chars = (length + 2) / 3 * 4;
    outLength = chars + 2 + (chars == 0 ? 0 : 2 * ((chars - 1) / kLineChars));
    if (out == nullptr)
        return 0;
    const Base64Kernel& kernel = base64Kernel();
    char* const end = out + outLength;
    for (; length >= kLineBytes; data += kLineBytes, length -= kLineBytes)
        out = breakLine(kernel.encode(data, kLineBytes, out));
    const std::size_t whole = length / 3 * 3;
    out = encodeTail(data + whole, length - whole, kernel.encode(data, whole, out));
    // 46 and 47 bytes fill a line with the help of their padding.
    if (length > kLineBytes - 3)
        out = breakLine(out);
    std::fill(out, end, '\0');
    return 0;
}

std::int32_t DecodeBase64Text(const char* text, std::size_t length, std::vector<std::uint8_t>& bytes) {
    bytes.clear();
    try {
        bytes.resize((length / 4 + 1) * 3);
    } catch (const std::exception&) {
        return kBase64NoMemory;
    }
    const auto* const start = reinterpret_cast<const std::uint8_t*>(text);
    std::size_t size = 0;
    const std::int32_t result = decode({start, bytes.data()}, start + length, size);
    bytes.resize(size);
    return result;
}

}  // namespace enrol

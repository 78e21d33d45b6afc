#include "enrol/base64.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <new>

namespace enrol {
namespace {

constexpr std::int32_t kNoMemory = -10000;
constexpr std::int32_t kPartialGroup = -10002;

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t kLineChars = 64;
constexpr std::size_t kLineBytes = 48;

struct Pair {
    char first;
    char second;
};

// Twelve bits to two characters.
constexpr std::array<Pair, 4096> makePairs() {
    std::array<Pair, 4096> pairs{};
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        pairs[i].first = kAlphabet[i >> 6];
        pairs[i].second = kAlphabet[i & 63];
    }
    return pairs;
}
constexpr std::array<Pair, 4096> kPairs = makePairs();

// encodeGroups writes four characters for each three bytes; length is a multiple of three.
char* encodeGroups(const std::uint8_t* data, std::size_t length, char* out) {
    for (const std::uint8_t* const end = data + length; data != end; data += 3, out += 4) {
        const auto bits = static_cast<std::uint32_t>(data[0] << 16 | data[1] << 8 | data[2]);
        std::memcpy(out, &kPairs[bits >> 12], 2);
        std::memcpy(out + 2, &kPairs[bits & 0xFFF], 2);
    }
    return out;
}

// encodeTail writes the group of the last one or two bytes with its padding.
char* encodeTail(const std::uint8_t* data, std::size_t length, char* out) {
    if (length == 0)
        return out;
    const auto bits = static_cast<std::uint32_t>(data[0] << 16 | (length == 2 ? data[1] << 8 : 0));
    *out++ = kAlphabet[bits >> 18];
    *out++ = kAlphabet[bits >> 12 & 63];
    *out++ = length == 2 ? kAlphabet[bits >> 6 & 63] : '=';
    *out++ = '=';
    return out;
}

char* breakLine(char* out) {
    *out++ = '\r';
    *out++ = '\n';
    return out;
}

constexpr std::uint8_t kSkipped = 0xFF;
constexpr std::uint8_t kPad = 64;

constexpr std::array<std::uint8_t, 256> makeValues() {
    std::array<std::uint8_t, 256> values{};
    for (std::uint8_t& value : values)
        value = kSkipped;
    for (std::uint8_t i = 0; i < 64; ++i)
        values[static_cast<std::uint8_t>(kAlphabet[i])] = i;
    values['='] = kPad;
    return values;
}
constexpr std::array<std::uint8_t, 256> kValues = makeValues();

// The same values shifted to their place in a group, one table a place, so that a group is four look-ups; kForeign in
// any of them marks a group that has something else in it than the 64 characters.
constexpr std::uint32_t kForeign = 1U << 31;

constexpr std::array<std::uint32_t, 256> makePlace(unsigned shift) {
    std::array<std::uint32_t, 256> place{};
    for (std::size_t i = 0; i < place.size(); ++i)
        place[i] = kValues[i] < 64 ? static_cast<std::uint32_t>(kValues[i]) << shift : kForeign;
    return place;
}
constexpr std::array<std::uint32_t, 256> kPlaces[4] = {makePlace(18), makePlace(12), makePlace(6), makePlace(0)};

std::uint8_t* putBytes(std::uint8_t* out, std::uint32_t bits) {
    out[0] = static_cast<std::uint8_t>(bits >> 16);
    out[1] = static_cast<std::uint8_t>(bits >> 8);
    out[2] = static_cast<std::uint8_t>(bits);
    return out + 3;
}

struct Progress {
    const std::uint8_t* next;  // the first character not read
    std::uint8_t* out;         // the first byte not written
};

// decodeClean reads groups as long as they are made of the 64 characters alone.
Progress decodeClean(const std::uint8_t* next, const std::uint8_t* end, std::uint8_t* out) {
    for (; end - next >= 4; next += 4) {
        const std::uint32_t bits =
            kPlaces[0][next[0]] | kPlaces[1][next[1]] | kPlaces[2][next[2]] | kPlaces[3][next[3]];
        if ((bits & kForeign) != 0)
            break;
        out = putBytes(out, bits);
    }
    return {next, out};
}

// paddedBytes: the bytes that a group with "=" carries; 0 when "=" stands where it must not.
std::size_t paddedBytes(const std::uint8_t (&group)[4]) {
    if (group[0] == kPad || group[1] == kPad)
        return 0;
    if (group[2] == kPad)
        return group[3] == kPad ? 1 : 0;
    return 2;
}

bool hasPad(const std::uint8_t (&group)[4]) {
    return std::find(group, group + 4, kPad) != group + 4;
}

std::uint32_t bitsOf(const std::uint8_t (&group)[4]) {
    std::uint32_t bits = 0;
    for (const std::uint8_t value : group)
        bits = bits << 6 | (value & 63U);
    return bits;
}

// decode reads the whole text into out, which has room for three bytes a started group, and stores their number.
std::int32_t decode(const std::uint8_t* next, const std::uint8_t* end, std::uint8_t* const out, std::size_t& size) {
    Progress at = {next, out};
    std::uint8_t group[4];
    std::size_t filled = 0;
    size = 0;
    while (at.next != end) {
        if (filled == 0) {
            at = decodeClean(at.next, end, at.out);
            if (at.next == end)
                break;
        }
        const std::uint8_t value = kValues[*at.next++];
        if (value == kSkipped)
            continue;
        group[filled++] = value;
        if (filled < 4)
            continue;
        filled = 0;
        std::uint8_t* const groupStart = at.out;
        at.out = putBytes(groupStart, bitsOf(group));
        if (!hasPad(group))
            continue;
        const std::size_t carried = paddedBytes(group);
        // A "=" at a wrong place takes back all that came before it.
        size = carried == 0 ? 0 : static_cast<std::size_t>(groupStart - out) + carried;
        return 0;
    }
    if (filled != 0)
        return kPartialGroup;
    size = static_cast<std::size_t>(at.out - out);
    return 0;
}

}  // namespace

std::int32_t EncodeBase64Text(const std::uint8_t* data, std::size_t length, char* out, std::size_t& outLength) {
    if (length > std::numeric_limits<std::size_t>::max() / 2)
        return kNoMemory;
    const std::size_t chars = (length + 2) / 3 * 4;
    outLength = chars + 2 + (chars == 0 ? 0 : 2 * ((chars - 1) / kLineChars));
    if (out == nullptr)
        return 0;
    char* const end = out + outLength;
    for (; length >= kLineBytes; data += kLineBytes, length -= kLineBytes)
        out = breakLine(encodeGroups(data, kLineBytes, out));
    const std::size_t whole = length / 3 * 3;
    out = encodeTail(data + whole, length - whole, encodeGroups(data, whole, out));
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
        return kNoMemory;
    }
    const auto* const start = reinterpret_cast<const std::uint8_t*>(text);
    std::size_t size = 0;
    const std::int32_t result = decode(start, start + length, bytes.data(), size);
    bytes.resize(size);
    return result;
}

}  // namespace enrol

#include "pki/base64_kernel.h"

#include <cstring>

namespace pki {
namespace {

struct Pair {
    char first;
    char second;
};

// Twelve bits to two characters.
constexpr std::array<Pair, 4096> makePairs() {
    std::array<Pair, 4096> pairs{};
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        pairs[i].first = kBase64Alphabet[i >> 6];
        pairs[i].second = kBase64Alphabet[i & 63];
    }
    return pairs;
}
constexpr std::array<Pair, 4096> kPairs = makePairs();

char* encode(const std::uint8_t* data, std::size_t length, char* out) {
    for (const std::uint8_t* const end = data + length; data != end; data += 3, out += 4) {
        const auto bits = static_cast<std::uint32_t>(data[0] << 16 | data[1] << 8 | data[2]);
        std::memcpy(out, &kPairs[bits >> 12], 2);
        std::memcpy(out + 2, &kPairs[bits & 0xFFF], 2);
    }
    return out;
}

// The values shifted to their place in a group, one table a place, so that a group is four look-ups. kStop in any of
// them marks a group that has something else in it than the 64 characters.
constexpr std::uint32_t kStop = 1;

constexpr std::array<std::uint32_t, 256> makePlace(unsigned shift) {
    std::array<std::uint32_t, 256> place{};
    for (std::size_t i = 0; i < place.size(); ++i)
        place[i] = kBase64Values[i] < 64 ? static_cast<std::uint32_t>(kBase64Values[i]) << shift : kStop;
    return place;
}
constexpr std::array<std::uint32_t, 256> kPlaces[4] = {makePlace(26), makePlace(20), makePlace(14), makePlace(8)};

Base64Progress decode(const std::uint8_t* next, const std::uint8_t* end, std::uint8_t* out) {
    for (; end - next >= 4; next += 4, out += 3) {
        const std::uint32_t bits =
            kPlaces[0][next[0]] | kPlaces[1][next[1]] | kPlaces[2][next[2]] | kPlaces[3][next[3]];
        if ((bits & kStop) != 0)
            break;
        out[0] = static_cast<std::uint8_t>(bits >> 24);
        out[1] = static_cast<std::uint8_t>(bits >> 16);
        out[2] = static_cast<std::uint8_t>(bits >> 8);
    }
    return {next, out};
}

constexpr Base64Kernel kPlain = {encode, decode};

}  // namespace

const Base64Kernel& plainBase64() {
    return kPlain;
}

const Base64Kernel& base64Kernel() {
    static const Base64Kernel& chosen = avx2Base64() != nullptr ? *avx2Base64() : kPlain;
    return chosen;
}

}  // namespace pki

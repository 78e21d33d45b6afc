// DecodeBase64Text beside a plain reckoner of the same rules, and both directions in turn.
#include "enrol/base64.h"

#include <string_view>

#include "fuzz/target.h"

namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";

// Group by group, as the header says: -10002 for a partial last group, no bytes for a pad at a wrong place.
std::int32_t decodePlainly(std::string_view text, fuzz::Bytes& bytes) {
    bytes.clear();
    std::vector<std::size_t> group;
    for (const char c : text) {
        const std::size_t value = kAlphabet.find(c);
        if (value == std::string_view::npos)
            continue;
        group.push_back(value);
        if (group.size() < 4)
            continue;
        const std::size_t pads = static_cast<std::size_t>(std::count(group.begin(), group.end(), std::size_t{64}));
        const bool inPlace = pads == 0 || (group[3] == 64 && (pads == 1 || (pads == 2 && group[2] == 64)));
        if (!inPlace) {
            bytes.clear();
            return 0;
        }
        const std::size_t bits = group[0] << 18 | group[1] << 12 | (group[2] & 63) << 6 | (group[3] & 63);
        for (std::size_t i = 0; i < 3 - pads; ++i)
            bytes.push_back(static_cast<std::uint8_t>(bits >> (16 - 8 * i)));
        if (pads != 0)
            return 0;
        group.clear();
    }
    return group.empty() ? 0 : -10002;
}

std::string encode(const fuzz::Bytes& bytes) {
    std::size_t length = 0;
    FUZZ_ASSERT(enrol::EncodeBase64Text(bytes.data(), bytes.size(), nullptr, length) == 0);
    const std::size_t chars = (bytes.size() + 2) / 3 * 4;
    FUZZ_ASSERT(length == chars + 2 + (chars == 0 ? 0 : 2 * ((chars - 1) / 64)));
    std::vector<char> text(length, '#');  // exactly so long, so that the address sanitizer guards its end
    FUZZ_ASSERT(enrol::EncodeBase64Text(bytes.data(), bytes.size(), text.data(), length) == 0);
    const auto end = std::find(text.begin(), text.end(), '\0');
    FUZZ_ASSERT(std::all_of(end, text.end(), [](char c) { return c == '\0'; }));
    return {text.begin(), end};
}

void checkLines(std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::size_t column = i % 66;
        const bool inLine = column < 64 && kAlphabet.find(text[i]) != std::string_view::npos;
        FUZZ_ASSERT(inLine || text[i] == (column == 64 ? '\r' : '\n'));
    }
    FUZZ_ASSERT(text.size() % 66 != 64 && text.size() % 66 != 65);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    fuzz::Bytes decoded;
    fuzz::Bytes expected;
    const std::int32_t result = enrol::DecodeBase64Text(text.data(), text.size(), decoded);
    FUZZ_ASSERT(result == decodePlainly(text, expected));
    FUZZ_ASSERT(result != 0 || decoded == expected);

    const fuzz::Bytes bytes(data, data + size);
    const std::string encoded = encode(bytes);
    checkLines(encoded);
    FUZZ_ASSERT(enrol::DecodeBase64Text(encoded.data(), encoded.size(), decoded) == 0 && decoded == bytes);
    return 0;
}

// Any text through the toolkit's base64 decoder, beside a plain reckoner of its rules; and any bytes through its
// encoder and back.
#include "fuzz/target.h"
#include "pki/base64.h"

namespace {

using fuzz::Bytes;

// 0 to 63, 64 for "=", -1 for what is skipped.
int valueOf(std::uint8_t c) {
    static const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";
    const std::size_t at = alphabet.find(static_cast<char>(c));
    return at == std::string::npos ? -1 : static_cast<int>(at);
}

Bytes plainlyDecoded(const Bytes& text) {
    std::vector<unsigned> values;
    for (const std::uint8_t c : text) {
        if (valueOf(c) >= 0)
            values.push_back(static_cast<unsigned>(valueOf(c)));
    }
    Bytes bytes;
    if (values.size() % 4 != 0)
        return bytes;
    for (std::size_t at = 0; at < values.size(); at += 4) {
        const unsigned* group = &values[at];
        if (group[0] == 64 || group[1] == 64 || (group[2] == 64 && group[3] != 64))
            continue;
        const unsigned bits = group[0] << 18 | group[1] << 12 | (group[2] & 63) << 6 | (group[3] & 63);
        const int count = group[2] == 64 ? 1 : (group[3] == 64 ? 2 : 3);
        for (int i = 0; i < count; ++i)
            bytes.push_back(static_cast<std::uint8_t>(bits >> (16 - 8 * i)));
    }
    return bytes;
}

Bytes decoded(const Bytes& text) {
    Bytes out(text.size() + 1);
    int length = -1;
    FUZZ_ASSERT(VT_Base64::Decode(reinterpret_cast<const char*>(text.data()), static_cast<int>(text.size()),
                                  reinterpret_cast<char*>(out.data()), &length) == 0);
    FUZZ_ASSERT(length >= 0 && static_cast<std::size_t>(length) <= text.size());
    out.resize(static_cast<std::size_t>(length));
    return out;
}

Bytes encoded(const Bytes& data, bool wrap) {
    int told = -1;
    const auto length = static_cast<int>(data.size());
    const char* const in = reinterpret_cast<const char*>(data.data());
    FUZZ_ASSERT(VT_Base64::Encode(in, length, nullptr, &told, wrap) == 0);
    const int chars = (length + 2) / 3 * 4;
    Bytes out(static_cast<std::size_t>(told) + (wrap && chars != 0 && chars % 64 == 0 ? 1 : 0));
    FUZZ_ASSERT(VT_Base64::Encode(in, length, reinterpret_cast<char*>(out.data()), &told, wrap) == 0);
    return out;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 65536)
        return 0;
    const Bytes input(data, data + size);
    FUZZ_ASSERT(decoded(input) == plainlyDecoded(input));
    for (const bool wrap : {false, true})
        FUZZ_ASSERT(decoded(encoded(input, wrap)) == input);
    return 0;
}

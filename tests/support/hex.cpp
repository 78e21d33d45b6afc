#include "tests/support/hex.h"

#include <cctype>
#include <stdexcept>

namespace support {
namespace {

int digit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    const int lower = std::tolower(static_cast<unsigned char>(c));
    if (lower >= 'a' && lower <= 'f')
        return lower - 'a' + 10;
    throw std::invalid_argument("not a hex digit");
}

}  // namespace

Bytes hex(std::string_view text) {
    Bytes bytes;
    int high = -1;
    for (const char c : text) {
        if (std::isspace(static_cast<unsigned char>(c)) != 0)
            continue;
        if (high < 0) {
            high = digit(c);
            continue;
        }
        bytes.push_back(static_cast<std::uint8_t>(high * 16 + digit(c)));
        high = -1;
    }
    if (high >= 0)
        throw std::invalid_argument("odd number of hex digits");
    return bytes;
}

std::string toHex(const std::uint8_t* data, std::size_t length) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (std::size_t i = 0; i < length; ++i) {
        if (i != 0)
            text += ' ';
        text += kDigits[data[i] >> 4];
        text += kDigits[data[i] & 15];
    }
    return text;
}

std::string toHex(const Bytes& bytes) {
    return toHex(bytes.data(), bytes.size());
}

}  // namespace support

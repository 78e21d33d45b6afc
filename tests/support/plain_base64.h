// Base64 worked out bit by bit, unlike the code under test.
#ifndef VT_TESTS_SUPPORT_PLAIN_BASE64_H
#define VT_TESTS_SUPPORT_PLAIN_BASE64_H

#include <string>

#include "tests/support/hex.h"

namespace support {

// The text of some bytes (RFC 4648), padded, without line breaks.
inline std::string plainBase64(const Bytes& data) {
    constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    unsigned bits = 0;
    int count = 0;
    for (const std::uint8_t byte : data) {
        for (int bit = 7; bit >= 0; --bit) {
            bits = bits * 2 + (byte >> bit & 1U);
            if (++count % 6 == 0) {
                text += kAlphabet[bits];
                bits = 0;
            }
        }
    }
    if (count % 6 != 0)
        text += kAlphabet[bits << (6 - count % 6)];
    while (text.size() % 4 != 0)
        text += '=';
    return text;
}

}  // namespace support

#endif

// Hex literals for tests: hex("30 03 02 01 00") gives the five bytes; blanks and line breaks are for the eye.
#ifndef VT_TESTS_SUPPORT_HEX_H
#define VT_TESTS_SUPPORT_HEX_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace support {

using Bytes = std::vector<std::uint8_t>;

// hex throws std::invalid_argument for anything but digit pairs and white space.
Bytes hex(std::string_view text);

// toHex gives "30 03 02", so that a failing comparison reads like the literal.
std::string toHex(const std::uint8_t* data, std::size_t length);
std::string toHex(const Bytes& bytes);

}  // namespace support

#endif

// Base64 of requests (with line breaks) and of certificate texts (forgiving).
#ifndef VT_ENROL_BASE64_H
#define VT_ENROL_BASE64_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace enrol {

// What both give besides 0.
inline constexpr std::int32_t kBase64NoMemory = -10000;
inline constexpr std::int32_t kBase64PartialGroup = -10002;

// EncodeBase64Text writes the base64 of data with "\r\n" after each 64th character, also after the last. outLength
// receives n + 2 + 2 x ((n - 1) / 64) for n encoded characters, which can exceed the text; out must have that size and
// is zeroed behind the text. With a null out only the size is given. 0 or kBase64NoMemory.
std::int32_t EncodeBase64Text(const std::uint8_t* data, std::size_t length, char* out, std::size_t& outLength);

// DecodeBase64Text reads certificate text. Characters outside the alphabet are skipped; a group with "=" ends the text.
// 0, kBase64NoMemory, or kBase64PartialGroup where the last group is no whole one. A group with "=" at a wrong place
// gives 0 with no bytes at all.
std::int32_t DecodeBase64Text(const char* text, std::size_t length, std::vector<std::uint8_t>& bytes);

}  // namespace enrol

#endif

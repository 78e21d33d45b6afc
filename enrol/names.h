// Matching of distinguished names as text, and serial numbers as pages write them.
//
// Names are the platform's text of a certificate's name: components such as "CN=a" in the encoded order, separated by
// ", ". Case is ignored for ASCII letters alone, so that the answer does not hang on the locale of the host program.
#ifndef VT_ENROL_NAMES_H
#define VT_ENROL_NAMES_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace enrol {

// Room for the digits of a serial number's text.
inline constexpr std::size_t kSerialDigits = 1024;

// normaliseName gives the query with one blank inserted after every "," that no blank follows.
std::wstring normaliseName(std::wstring_view query);

// splitName gives the tokens between ", ". Nothing after the last separator is no token, so an empty name has none.
// The tokens point into name.
std::vector<std::wstring_view> splitName(std::wstring_view name);

// equalTokens compares a component of a certificate's name with one of the query: key and value where both have a key
// of the same length; the value alone where only one has a key. Two null tokens are equal, one null is not.
bool equalTokens(const std::wstring_view* certificate, const std::wstring_view* query);

// matchesName: every token of the certificate's name equals some token of the query. What else the query holds does not
// count, so that a certificate without a name matches any query.
bool matchesName(std::wstring_view query, std::wstring_view certificateName);

// parseSerial turns hexadecimal text, most significant byte first, into an integer blob, least significant byte first.
// Blanks count for nothing. False for no digits, an odd number of them, more than kSerialDigits, or another character.
bool parseSerial(std::wstring_view text, std::vector<std::uint8_t>& blob);

}  // namespace enrol

#endif

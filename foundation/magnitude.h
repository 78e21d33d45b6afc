// Whole numbers of any size without a sign, for the parts of MiBigInteger where the two's complement form is in the
// way: products, quotients and decimal texts.
//
// A number is a row of 32-bit digits, the least significant first, with none that is zero at the top; the empty row is
// zero. Used inside the room only.
#ifndef VT_FOUNDATION_MAGNITUDE_H
#define VT_FOUNDATION_MAGNITUDE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace magnitude {

using Digits = std::vector<std::uint32_t>;

// From and to n big-endian bytes. toBytes has a leading 00 where the top bit would otherwise be set; none for zero.
Digits fromBytes(const unsigned char* bytes, std::size_t n);
std::vector<char> toBytes(const Digits& number);

// Karatsuba's method on long rows, the schoolbook's on short ones.
Digits multiply(const Digits& a, const Digits& b);

struct QuotientAndRemainder {
    Digits quotient;
    Digits remainder;
};

// The schoolbook's long division; the divisor is not zero.
QuotientAndRemainder divide(const Digits& dividend, const Digits& divisor);

// From and to decimal digits without sign or leading zeros. Zero is the empty text here. fromDecimal takes nothing but
// digits.
Digits fromDecimal(const char* text, std::size_t n);
std::string toDecimal(const Digits& number);

}  // namespace magnitude

#endif

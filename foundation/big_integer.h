// MiBigInteger: a signed integer of any size, as the ASN.1 INTEGER carries it: serial numbers, and the parts of RSA
// keys on their way through DER. It is not the arithmetic of the crypto engine, and nothing here runs in constant time.
//
//     value            sign
//     (empty)           0     zero
//     00 80             1     128: the 00 is needed, or the top bit would make it negative
//     80               -1     -128
//     FF 7F            -1     -129
//
// The value is big-endian two's complement in its shortest form, which is the content of a DER INTEGER except that zero
// is empty here and one byte 00 there. Every operation that stores a value leaves this form, and sign is 0 exactly when
// value is empty.
//
// Results are exact and as wide as they need to be. Sums, comparisons, shifts and And, Or, Negate cost time linear in
// the operands; products and decimal texts somewhat more (about n^1.6); quotients the product of the lengths of divisor
// and quotient. A result that would need 2^32 bytes or more is a memory failure.
//
// Setters return the object itself. An operation that throws leaves it as it was. Operands may be the object itself.
#ifndef VT_FOUNDATION_BIG_INTEGER_H
#define VT_FOUNDATION_BIG_INTEGER_H

#include <iosfwd>

#include "foundation/byte.h"
#include "foundation/export.h"
#include "foundation/object.h"
#include "foundation/string.h"

class VT_API MiBigInteger : public MiObject {
  public:
    MiBigInteger() = default;                             // zero
    MiBigInteger(unsigned int number);                    // that number
    MiBigInteger(int number);                             // that number
    MiBigInteger(const MiByte& bytes);                    // as SetData(bytes)
    MiBigInteger(char newSign, const MiByte& magnitude);  // as SetData(sign, bytes)
    MiBigInteger(const MiBigInteger& other) = default;
    MiBigInteger(MiBigInteger&& other) noexcept;
    ~MiBigInteger() override = default;

    MiBigInteger& operator=(const MiBigInteger& other) = default;
    MiBigInteger& operator=(MiBigInteger&& other) noexcept;
    MiBigInteger& operator=(int number);           // as SetData(number)
    MiBigInteger& operator=(unsigned int number);  // as SetData(number)

    // The value becomes the number.
    MiBigInteger& SetData(unsigned int number);
    MiBigInteger& SetData(int number);

    // The bytes are two's complement, as in DER; leading bytes that only repeat the sign are dropped. A null p, n = 0
    // and bytes of 00 alone give zero. The n bytes at p + offset are not checked.
    MiBigInteger& SetData(const MiByte& bytes);
    MiBigInteger& SetData(const char* p, unsigned int offset, unsigned int n);

    // The bytes are two's complement of the given sign (below, at or above 0): where the top bit of the first byte
    // disagrees with it, a byte 00 or FF is put in front. Sign 0 or no bytes give zero. So (1, FF) is 255, (-1, FF) is
    // -1 and (-1, 01) is -255.
    MiBigInteger& SetData(char newSign, const MiByte& bytes);

    // Decimal digits after at most one '+' or '-'. A null or empty text and a lone 0 give zero. A 0 with digits behind
    // it, a sign alone and anything else that is no digit throw MiInvalidArgumentExp.
    MiBigInteger& SetStringBase10(const char* text);
    [[nodiscard]] MiString GetStringBase10() const;  // "0", "1000", "-1"

    // The low 32 bits of the magnitude with the sign applied, wrapped to int; a wider value is cut without a word.
    [[nodiscard]] int GetInt32() const;

    [[nodiscard]] signed char GetSign() const { return sign; }     // -1, 0 or 1
    [[nodiscard]] const MiByte& GetByte() const { return value; }  // valid as long as the object is and does not change
    [[nodiscard]] unsigned int GetBitLength() const;  // eight for each byte of the value, leading sign bits too

    // The exact sum, difference and product.
    [[nodiscard]] MiBigInteger Add(const MiBigInteger& other) const;
    [[nodiscard]] MiBigInteger Add(unsigned int other) const;
    [[nodiscard]] MiBigInteger Add(int other) const;
    [[nodiscard]] MiBigInteger Subtract(const MiBigInteger& other) const;
    [[nodiscard]] MiBigInteger Subtract(unsigned int other) const;
    [[nodiscard]] MiBigInteger Subtract(int other) const;
    [[nodiscard]] MiBigInteger Multiply(const MiBigInteger& other) const;
    [[nodiscard]] MiBigInteger Multiply(unsigned int other) const;
    [[nodiscard]] MiBigInteger Multiply(int other) const;

    // The quotient is cut towards zero and the remainder has the sign of the dividend, as with int. A divisor of zero
    // throws MiDomainExp, also for a dividend of zero.
    [[nodiscard]] MiBigInteger Divide(const MiBigInteger& other) const;
    [[nodiscard]] MiBigInteger Divide(unsigned int other) const;
    [[nodiscard]] MiBigInteger Divide(int other) const;
    [[nodiscard]] MiBigInteger Mod(const MiBigInteger& other) const;
    [[nodiscard]] MiBigInteger Mod(unsigned int other) const;
    [[nodiscard]] MiBigInteger Mod(int other) const;

    // On the two's complement forms, the shorter one extended by its sign.
    [[nodiscard]] MiBigInteger And(const MiBigInteger& other) const;
    [[nodiscard]] MiBigInteger Or(const MiBigInteger& other) const;

    // By n bits, the sign kept: to the left a product with 2^n, to the right a quotient rounded down, so that a
    // negative number ends at -1 and any other at zero.
    [[nodiscard]] MiBigInteger ShiftLeft(unsigned int n) const;
    [[nodiscard]] MiBigInteger ShiftRight(unsigned int n) const;

    // The number with the other sign, and without one.
    static MiBigInteger Negate(const MiBigInteger& number);
    static MiBigInteger Abs(const MiBigInteger& number);

    // The decimal sum of two texts of digits, as wide as the longer one and a carry: "007" and "5" give "012". A null
    // text gives the empty string; a character that is no digit, signs too, throws MiInvalidArgumentExp.
    static MiString AddChars(const char* a, const char* b);

    // Add, Subtract, Multiply, Divide and Mod.
    MiBigInteger operator+(const MiBigInteger& other) const { return Add(other); }
    MiBigInteger operator+(unsigned int other) const { return Add(other); }
    MiBigInteger operator+(int other) const { return Add(other); }
    MiBigInteger operator-(const MiBigInteger& other) const { return Subtract(other); }
    MiBigInteger operator-(unsigned int other) const { return Subtract(other); }
    MiBigInteger operator-(int other) const { return Subtract(other); }
    MiBigInteger operator*(const MiBigInteger& other) const { return Multiply(other); }
    MiBigInteger operator*(unsigned int other) const { return Multiply(other); }
    MiBigInteger operator*(int other) const { return Multiply(other); }
    MiBigInteger operator/(const MiBigInteger& other) const { return Divide(other); }
    MiBigInteger operator/(unsigned int other) const { return Divide(other); }
    MiBigInteger operator/(int other) const { return Divide(other); }
    MiBigInteger operator%(const MiBigInteger& other) const { return Mod(other); }
    MiBigInteger operator%(unsigned int other) const { return Mod(other); }
    MiBigInteger operator%(int other) const { return Mod(other); }

    // Add and Subtract in place.
    MiBigInteger& operator+=(const MiBigInteger& other) { return *this = Add(other); }
    MiBigInteger& operator+=(unsigned int other) { return *this = Add(other); }
    MiBigInteger& operator+=(int other) { return *this = Add(other); }
    MiBigInteger& operator-=(const MiBigInteger& other) { return *this = Subtract(other); }
    MiBigInteger& operator-=(unsigned int other) { return *this = Subtract(other); }
    MiBigInteger& operator-=(int other) { return *this = Subtract(other); }

    // And, Or, ShiftLeft, ShiftRight, Negate; one more or less, as with int.
    MiBigInteger operator&(const MiBigInteger& other) const { return And(other); }
    MiBigInteger operator|(const MiBigInteger& other) const { return Or(other); }
    MiBigInteger operator<<(unsigned int n) const { return ShiftLeft(n); }
    MiBigInteger operator>>(unsigned int n) const { return ShiftRight(n); }
    MiBigInteger operator-() const { return Negate(*this); }
    MiBigInteger& operator++() { return *this += 1; }
    MiBigInteger operator++(int);  // NOLINT(cert-dcl21-cpp)
    MiBigInteger& operator--() { return *this -= 1; }
    MiBigInteger operator--(int);  // NOLINT(cert-dcl21-cpp)

    // Equality is of sign and value. The order is a total one but not that of the numbers: the larger sign is greater,
    // then among positive numbers the longer value, among negative ones the shorter; values of one length go by
    // MiByte::operator>, whose bytes are signed, so that 0x0100 is greater than 0x0180.
    [[nodiscard]] bool Equals(const MiBigInteger& other) const { return *this == other; }
    bool operator==(const MiBigInteger& other) const;
    bool operator!=(const MiBigInteger& other) const { return !(*this == other); }
    bool operator<(const MiBigInteger& other) const { return !(*this >= other); }
    bool operator<=(const MiBigInteger& other) const { return !(*this > other); }
    bool operator>(const MiBigInteger& other) const;
    bool operator>=(const MiBigInteger& other) const { return *this > other || *this == other; }

    // level times four blanks, then the decimal text.
    void ToOstream(std::basic_ostream<char>& os, unsigned int level) const;

  protected:
    MiByte value;          // two's complement, most significant byte first, in the shortest form; empty for zero
    signed char sign = 0;  // -1, 0 or 1
};

// ToOstream(os, 0).
VT_API std::basic_ostream<char>& operator<<(std::basic_ostream<char>& os, const MiBigInteger& number);

#endif

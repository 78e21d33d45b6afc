#include "foundation/big_integer.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "foundation/exceptions.h"
#include "foundation/indent.h"
#include "foundation/magnitude.h"

namespace {

using Bytes = std::vector<char>;

constexpr signed char kZero = 0;
constexpr std::size_t kMostBytes = std::numeric_limits<unsigned int>::max();

unsigned int checkedLength(std::uint64_t n) {
    if (n >= kMostBytes)
        MiMemoryFailure();
    return static_cast<unsigned int>(n);
}

MiBigInteger fromTwosComplement(const Bytes& bytes) {
    MiBigInteger out;
    out.SetData(bytes.data(), 0, checkedLength(bytes.size()));
    return out;
}

// The value's bytes as an endless number: positions count from the last byte, and past the first one the sign goes on.
class SignExtended {
  public:
    explicit SignExtended(const MiBigInteger& number)
        : bytes(reinterpret_cast<const unsigned char*>(number.GetByte().GetChars())),
          length(number.GetByte().GetLength()),
          fill(number.GetSign() < 0 ? 0xFFU : 0U) {}

    std::size_t size() const { return length; }
    unsigned operator[](std::size_t position) const { return position < length ? bytes[length - 1 - position] : fill; }

  private:
    const unsigned char* bytes;
    std::size_t length;
    unsigned fill;
};

// width bytes of which each is made from the two operands' bytes at its position, from the last one up.
template <class Combine>
MiBigInteger combine(const MiBigInteger& a, const MiBigInteger& b, std::size_t more, Combine each) {
    const SignExtended left(a);
    const SignExtended right(b);
    Bytes out(std::max(left.size(), right.size()) + more);
    for (std::size_t i = 0; i < out.size(); ++i)
        out[out.size() - 1 - i] = static_cast<char>(each(left[i], right[i]));
    return fromTwosComplement(out);
}

magnitude::Digits magnitudeOf(const MiBigInteger& number) {
    const MiBigInteger positive = MiBigInteger::Abs(number);
    const MiByte& bytes = positive.GetByte();
    return magnitude::fromBytes(reinterpret_cast<const unsigned char*>(bytes.GetChars()), bytes.GetLength());
}

MiBigInteger fromMagnitude(const magnitude::Digits& digits, bool negative) {
    const MiBigInteger number = fromTwosComplement(magnitude::toBytes(digits));
    return negative ? MiBigInteger::Negate(number) : number;
}

magnitude::QuotientAndRemainder divideMagnitudes(const MiBigInteger& dividend, const MiBigInteger& divisor) {
    if (divisor.GetSign() == 0)
        throw MiDomainExp();
    return magnitude::divide(magnitudeOf(dividend), magnitudeOf(divisor));
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

void requireDigits(const char* text, std::size_t n) {
    if (!std::all_of(text, text + n, isDigit))
        throw MiInvalidArgumentExp();
}

// How many leading bytes only repeat the sign; all of them for zero.
unsigned int countRedundant(const unsigned char* bytes, unsigned int n) {
    const unsigned char fill = n != 0 && bytes[0] >= 0x80 ? 0xFF : 0x00;
    unsigned int same = 0;
    while (same < n && bytes[same] == fill)
        ++same;
    if (same == n)
        return fill == 0 ? n : n - 1;
    const bool signNeeded = ((bytes[same] ^ fill) & 0x80) != 0;
    return signNeeded && same != 0 ? same - 1 : same;
}

}  // namespace

MiBigInteger::MiBigInteger(unsigned int number) {
    SetData(number);
}

MiBigInteger::MiBigInteger(int number) {
    SetData(number);
}

MiBigInteger::MiBigInteger(const MiByte& bytes) {
    SetData(bytes);
}

MiBigInteger::MiBigInteger(char newSign, const MiByte& magnitude) {
    SetData(newSign, magnitude);
}

MiBigInteger::MiBigInteger(MiBigInteger&& other) noexcept
    : MiObject(other), value(std::move(other.value)), sign(std::exchange(other.sign, kZero)) {}

MiBigInteger& MiBigInteger::operator=(MiBigInteger&& other) noexcept {
    if (this != &other) {
        value = std::move(other.value);
        sign = std::exchange(other.sign, kZero);
    }
    return *this;
}

MiBigInteger& MiBigInteger::operator=(int number) {
    SetData(number);
    return *this;
}

MiBigInteger& MiBigInteger::operator=(unsigned int number) {
    SetData(number);
    return *this;
}

MiBigInteger& MiBigInteger::SetData(unsigned int number) {
    const char bytes[] = {0, static_cast<char>(number >> 24), static_cast<char>(number >> 16),
                          static_cast<char>(number >> 8), static_cast<char>(number)};
    return SetData(bytes, 0, sizeof bytes);
}

MiBigInteger& MiBigInteger::SetData(int number) {
    const auto bits = static_cast<unsigned int>(number);
    const char bytes[] = {static_cast<char>(bits >> 24), static_cast<char>(bits >> 16), static_cast<char>(bits >> 8),
                          static_cast<char>(bits)};
    return SetData(bytes, 0, sizeof bytes);
}

MiBigInteger& MiBigInteger::SetData(const MiByte& bytes) {
    return SetData(bytes.GetChars(), 0, bytes.GetLength());
}

MiBigInteger& MiBigInteger::SetData(const char* p, unsigned int offset, unsigned int n) {
    const char* bytes = p == nullptr ? nullptr : p + offset;
    const unsigned int skip = p == nullptr ? n : countRedundant(reinterpret_cast<const unsigned char*>(bytes), n);
    if (skip == n) {
        value.Reset(nullptr);
        sign = 0;
        return *this;
    }
    const signed char newSign = static_cast<signed char>(bytes[skip]) < 0 ? -1 : 1;  // the bytes may be the value's own
    value.SetByte(bytes + skip, n - skip);
    sign = newSign;
    return *this;
}

MiBigInteger& MiBigInteger::SetData(char newSign, const MiByte& bytes) {
    const bool negative = static_cast<signed char>(newSign) < 0;
    if (newSign == 0 || bytes.Empty())
        return SetData(nullptr, 0, 0);
    if ((bytes.CharAt(0) >= 0x80) == negative)
        return SetData(bytes);
    MiByte wider(1U, static_cast<unsigned char>(negative ? 0xFF : 0x00));
    wider.Concat(bytes.GetChars(), bytes.GetLength());
    return SetData(wider);
}

MiBigInteger& MiBigInteger::SetStringBase10(const char* text) {
    std::size_t n = text == nullptr ? 0 : std::strlen(text);
    if (n == 0)
        return SetData(nullptr, 0, 0);
    const bool negative = *text == '-';
    if (negative || *text == '+') {
        ++text;
        --n;
    }
    requireDigits(text, n);
    if (n == 0 || (*text == '0' && n > 1))
        throw MiInvalidArgumentExp();
    return *this = fromMagnitude(magnitude::fromDecimal(text, n), negative);
}

MiString MiBigInteger::GetStringBase10() const {
    if (sign == 0)
        return "0";
    const std::string digits = magnitude::toDecimal(magnitudeOf(*this));
    return ((sign < 0 ? "-" : "") + digits).c_str();
}

int MiBigInteger::GetInt32() const {
    // Negating and cutting may change places: the low bits of the two's complement form are what is asked for.
    const SignExtended bytes(*this);
    return static_cast<int>(bytes[3] << 24 | bytes[2] << 16 | bytes[1] << 8 | bytes[0]);
}

unsigned int MiBigInteger::GetBitLength() const {
    return value.GetLength() * 8;
}

MiBigInteger MiBigInteger::Add(const MiBigInteger& other) const {
    if (sign == 0)
        return other;
    if (other.sign == 0)
        return *this;
    unsigned carry = 0;
    return combine(*this, other, 1, [&carry](unsigned a, unsigned b) {
        const unsigned sum = a + b + carry;
        carry = sum >> 8;
        return sum;
    });
}

MiBigInteger MiBigInteger::Add(unsigned int other) const {
    return Add(MiBigInteger(other));
}

MiBigInteger MiBigInteger::Add(int other) const {
    return Add(MiBigInteger(other));
}

MiBigInteger MiBigInteger::Subtract(const MiBigInteger& other) const {
    return Add(Negate(other));
}

MiBigInteger MiBigInteger::Subtract(unsigned int other) const {
    return Subtract(MiBigInteger(other));
}

MiBigInteger MiBigInteger::Subtract(int other) const {
    return Subtract(MiBigInteger(other));
}

MiBigInteger MiBigInteger::Multiply(const MiBigInteger& other) const {
    if (sign == 0 || other.sign == 0)
        return {};
    return fromMagnitude(magnitude::multiply(magnitudeOf(*this), magnitudeOf(other)), sign != other.sign);
}

MiBigInteger MiBigInteger::Multiply(unsigned int other) const {
    return Multiply(MiBigInteger(other));
}

MiBigInteger MiBigInteger::Multiply(int other) const {
    return Multiply(MiBigInteger(other));
}

MiBigInteger MiBigInteger::Divide(const MiBigInteger& other) const {
    return fromMagnitude(divideMagnitudes(*this, other).quotient, sign != other.sign);
}

MiBigInteger MiBigInteger::Divide(unsigned int other) const {
    return Divide(MiBigInteger(other));
}

MiBigInteger MiBigInteger::Divide(int other) const {
    return Divide(MiBigInteger(other));
}

MiBigInteger MiBigInteger::Mod(const MiBigInteger& other) const {
    return fromMagnitude(divideMagnitudes(*this, other).remainder, sign < 0);
}

MiBigInteger MiBigInteger::Mod(unsigned int other) const {
    return Mod(MiBigInteger(other));
}

MiBigInteger MiBigInteger::Mod(int other) const {
    return Mod(MiBigInteger(other));
}

MiBigInteger MiBigInteger::And(const MiBigInteger& other) const {
    return combine(*this, other, 0, [](unsigned a, unsigned b) { return a & b; });
}

MiBigInteger MiBigInteger::Or(const MiBigInteger& other) const {
    return combine(*this, other, 0, [](unsigned a, unsigned b) { return a | b; });
}

MiBigInteger MiBigInteger::ShiftLeft(unsigned int n) const {
    if (n == 0 || sign == 0)
        return *this;
    const SignExtended from(*this);
    const std::size_t low = n / 8;
    const unsigned rest = n % 8;
    Bytes out(checkedLength(std::uint64_t{from.size()} + low + 1));
    for (std::size_t i = low; i < out.size(); ++i) {
        const unsigned below = i > low ? from[i - low - 1] : 0;
        out[out.size() - 1 - i] = static_cast<char>((from[i - low] << 8 | below) << rest >> 8);
    }
    return fromTwosComplement(out);
}

MiBigInteger MiBigInteger::ShiftRight(unsigned int n) const {
    if (n == 0 || sign == 0)
        return *this;
    const SignExtended from(*this);
    const std::size_t low = n / 8;
    const unsigned rest = n % 8;
    Bytes out(from.size() > low ? from.size() - low : 1);
    for (std::size_t i = 0; i < out.size(); ++i)
        out[out.size() - 1 - i] = static_cast<char>((from[low + i + 1] << 8 | from[low + i]) >> rest);
    return fromTwosComplement(out);
}

MiBigInteger MiBigInteger::Negate(const MiBigInteger& number) {
    unsigned carry = 1;
    return combine(number, MiBigInteger(), 1, [&carry](unsigned a, unsigned) {
        const unsigned sum = (a ^ 0xFFU) + carry;
        carry = sum >> 8;
        return sum;
    });
}

MiBigInteger MiBigInteger::Abs(const MiBigInteger& number) {
    return number.sign < 0 ? Negate(number) : number;
}

MiString MiBigInteger::AddChars(const char* a, const char* b) {
    if (a == nullptr || b == nullptr)
        return {};
    std::size_t left = std::strlen(a);
    std::size_t right = std::strlen(b);
    requireDigits(a, left);
    requireDigits(b, right);
    std::string out(std::max(left, right) + 1, '0');
    int carry = 0;
    for (auto digit = out.rbegin(); digit != out.rend(); ++digit) {
        const int sum = (left != 0 ? a[--left] - '0' : 0) + (right != 0 ? b[--right] - '0' : 0) + carry;
        *digit = static_cast<char>('0' + sum % 10);
        carry = sum / 10;
    }
    return out.c_str() + (out[0] == '0' ? 1 : 0);
}

// The results of the postfix forms are not const, as those of the language's own numbers are not.
MiBigInteger MiBigInteger::operator++(int) {  // NOLINT(cert-dcl21-cpp)
    MiBigInteger before = *this;
    ++*this;
    return before;
}

MiBigInteger MiBigInteger::operator--(int) {  // NOLINT(cert-dcl21-cpp)
    MiBigInteger before = *this;
    --*this;
    return before;
}

bool MiBigInteger::operator==(const MiBigInteger& other) const {
    return sign == other.sign && value == other.value;
}

bool MiBigInteger::operator>(const MiBigInteger& other) const {
    if (sign != other.sign)
        return sign > other.sign;
    if (sign < 0 && value.GetLength() != other.value.GetLength())
        return value.GetLength() < other.value.GetLength();
    return value > other.value;
}

void MiBigInteger::ToOstream(std::basic_ostream<char>& os, unsigned int level) const {
    foundation::WriteMargin(os, level);
    const MiString text = GetStringBase10();
    os.write(text.GetChars(), static_cast<std::streamsize>(text.GetLength()));
}

std::basic_ostream<char>& operator<<(std::basic_ostream<char>& os, const MiBigInteger& number) {
    number.ToOstream(os, 0);
    return os;
}

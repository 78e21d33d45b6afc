#include "foundation/magnitude.h"

#include <algorithm>

namespace magnitude {

namespace {

constexpr std::size_t kBitsPerDigit = 32;
constexpr std::size_t kBytesPerDigit = 4;
constexpr std::size_t kDecimalsPerDigit = 9;

// Below this many digits the schoolbook's method beats what Karatsuba's spends on its sums.
constexpr std::size_t kShortRow = 40;

// Rows of digits are multiplied and added in two bases: 2^32, and 10^9 for decimal texts.
struct Binary {
    static constexpr std::uint64_t kBase = std::uint64_t{1} << kBitsPerDigit;

    // Row by row: a product, a digit and a carry together just fit 64 bits.
    static void multiplyShort(const std::uint32_t* a, std::size_t n, const std::uint32_t* b, std::size_t m,
                              std::uint32_t* out) {
        for (std::size_t i = 0; i < n; ++i) {
            std::uint64_t carry = 0;
            for (std::size_t j = 0; j < m; ++j) {
                const std::uint64_t sum = std::uint64_t{a[i]} * b[j] + out[i + j] + carry;
                out[i + j] = static_cast<std::uint32_t>(sum);
                carry = sum >> kBitsPerDigit;
            }
            out[i + m] = static_cast<std::uint32_t>(carry);
        }
    }
};

struct Decimal {
    static constexpr std::uint64_t kBase = 1000000000;

    // Column by column, since a division by the base is dear where the machine has 32 bits: one for each column.
    static void multiplyShort(const std::uint32_t* a, std::size_t n, const std::uint32_t* b, std::size_t m,
                              std::uint32_t* out) {
        constexpr std::uint64_t kRoom = 8 * kBase;  // carried early, in units of the next column
        std::uint64_t sum = 0;
        for (std::size_t column = 0; column < n + m; ++column) {
            std::uint64_t early = 0;
            const std::size_t first = column < m ? 0 : column - m + 1;
            for (std::size_t i = first; i < n && i <= column; ++i) {
                sum += std::uint64_t{a[i]} * b[column - i];
                if (sum >= kRoom * kBase) {
                    sum -= kRoom * kBase;
                    early += kRoom;
                }
            }
            const std::uint64_t carry = sum / kBase;
            out[column] = static_cast<std::uint32_t>(sum - carry * kBase);
            sum = carry + early;
        }
    }
};

void trim(Digits& number) {
    while (!number.empty() && number.back() == 0)
        number.pop_back();
}

// out += row, with a carry beyond the row as far as it goes.
template <class Base>
void addTo(std::uint32_t* out, const std::uint32_t* row, std::size_t n) {
    std::uint64_t carry = 0;
    for (std::size_t i = 0; i < n || carry != 0; ++i) {
        std::uint64_t sum = carry + out[i] + (i < n ? row[i] : 0);
        carry = sum >= Base::kBase ? 1 : 0;
        out[i] = static_cast<std::uint32_t>(sum - carry * Base::kBase);
    }
}

// out -= row, which is not above it.
template <class Base>
void subtractFrom(std::uint32_t* out, const std::uint32_t* row, std::size_t n) {
    std::uint64_t borrow = 0;
    for (std::size_t i = 0; i < n || borrow != 0; ++i) {
        const std::uint64_t take = borrow + (i < n ? row[i] : 0);
        borrow = out[i] < take ? 1 : 0;
        out[i] = static_cast<std::uint32_t>(out[i] + borrow * Base::kBase - take);
    }
}

// The sum of the two parts of a row that is split at half, one digit longer than the upper part.
template <class Base>
Digits sumOfParts(const std::uint32_t* row, std::size_t n, std::size_t half) {
    Digits sum(row + half, row + n);
    sum.push_back(0);
    addTo<Base>(sum.data(), row, half);
    return sum;
}

template <class Base>
Digits multiplyRows(const std::uint32_t* a, std::size_t n, const std::uint32_t* b, std::size_t m);

// (a1 B + a0) (b1 B + b0) with the middle term a1 b0 + a0 b1 = (a1 + a0) (b1 + b0) - a1 b1 - a0 b0.
template <class Base>
void multiplyHalves(const std::uint32_t* a, const std::uint32_t* b, std::size_t n, std::uint32_t* out) {
    const std::size_t half = n / 2;
    const Digits low = multiplyRows<Base>(a, half, b, half);
    const Digits high = multiplyRows<Base>(a + half, n - half, b + half, n - half);
    const Digits sumA = sumOfParts<Base>(a, n, half);
    const Digits sumB = sumOfParts<Base>(b, n, half);
    Digits middle = multiplyRows<Base>(sumA.data(), sumA.size(), sumB.data(), sumB.size());
    subtractFrom<Base>(middle.data(), low.data(), low.size());
    subtractFrom<Base>(middle.data(), high.data(), high.size());
    trim(middle);

    std::copy(low.begin(), low.end(), out);
    std::copy(high.begin(), high.end(), out + low.size());
    addTo<Base>(out + half, middle.data(), middle.size());
}

// The product of n and m digits, in n + m digits.
template <class Base>
Digits multiplyRows(const std::uint32_t* a, std::size_t n, const std::uint32_t* b, std::size_t m) {
    if (n < m)
        return multiplyRows<Base>(b, m, a, n);
    Digits out(n + m);
    if (m < kShortRow) {
        Base::multiplyShort(a, n, b, m, out.data());
    } else if (n == m) {
        multiplyHalves<Base>(a, b, n, out.data());
    } else {
        for (std::size_t at = 0; at < n; at += m) {  // pieces as long as the shorter row
            const Digits piece = multiplyRows<Base>(a + at, std::min(m, n - at), b, m);
            addTo<Base>(out.data() + at, piece.data(), piece.size());
        }
    }
    return out;
}

template <class Base>
Digits product(const Digits& a, const Digits& b) {
    Digits out = multiplyRows<Base>(a.data(), a.size(), b.data(), b.size());
    trim(out);
    return out;
}

// Changes the base of a row. A long one is split at a power of its base, and its parts are changed on their own:
// high * power + low. The powers are those of kShortRow, twice and four times as many digits and so on.
template <class From, class To>
class BaseChange {
  public:
    static Digits of(const Digits& number) {
        BaseChange change;
        for (std::size_t size = kShortRow; size < number.size(); size *= 2)
            change.addPower();
        return change.row(number.data(), number.size());
    }

  private:
    void addPower() {
        if (!powers.empty()) {
            powers.push_back(product<To>(powers.back(), powers.back()));
            return;
        }
        Digits one(kShortRow + 1);
        one.back() = 1;
        powers.push_back(shortRow(one.data(), one.size()));
    }

    static Digits shortRow(const std::uint32_t* digits, std::size_t n) {
        Digits out;
        while (n-- > 0) {
            std::uint64_t carry = digits[n];
            for (std::uint32_t& digit : out) {
                const std::uint64_t sum = digit * From::kBase + carry;
                carry = sum / To::kBase;
                digit = static_cast<std::uint32_t>(sum - carry * To::kBase);
            }
            for (; carry != 0; carry /= To::kBase)
                out.push_back(static_cast<std::uint32_t>(carry % To::kBase));
        }
        return out;
    }

    Digits row(const std::uint32_t* digits, std::size_t n) const {
        if (n <= kShortRow)
            return shortRow(digits, n);
        std::size_t power = 0;
        std::size_t split = kShortRow;
        for (; split * 2 < n; split *= 2)
            ++power;
        const Digits low = row(digits, split);
        Digits out = product<To>(row(digits + split, n - split), powers[power]);
        out.resize(std::max(out.size(), low.size()) + 1);
        addTo<To>(out.data(), low.data(), low.size());
        trim(out);
        return out;
    }

    std::vector<Digits> powers;
};

// The digits of a row moved up by fewer than 32 bits, one digit longer.
Digits shiftUp(const Digits& number, unsigned shift) {
    Digits out;
    out.reserve(number.size() + 1);
    std::uint64_t carry = 0;
    for (const std::uint32_t digit : number) {
        carry |= std::uint64_t{digit} << shift;
        out.push_back(static_cast<std::uint32_t>(carry));
        carry >>= kBitsPerDigit;
    }
    out.push_back(static_cast<std::uint32_t>(carry));
    return out;
}

void shiftDown(Digits& number, unsigned shift) {
    std::uint64_t window = 0;
    for (std::size_t i = number.size(); i-- > 0;) {
        window = window << kBitsPerDigit | number[i];
        number[i] = static_cast<std::uint32_t>(window >> shift);
    }
}

unsigned leadingZeros(std::uint32_t digit) {
    unsigned zeros = 0;
    for (; (digit & 0x80000000U) == 0; digit <<= 1)
        ++zeros;
    return zeros;
}

QuotientAndRemainder divideByDigit(const Digits& dividend, std::uint32_t divisor) {
    QuotientAndRemainder out{Digits(dividend.size()), Digits(1)};
    std::uint64_t rest = 0;
    for (std::size_t i = dividend.size(); i-- > 0;) {
        rest = rest << kBitsPerDigit | dividend[i];
        out.quotient[i] = static_cast<std::uint32_t>(rest / divisor);
        rest %= divisor;
    }
    out.remainder[0] = static_cast<std::uint32_t>(rest);
    return out;
}

// One digit of the quotient from the top digits of rest and divisor; at most one too large.
std::uint32_t estimate(const std::uint32_t* rest, const Digits& divisor) {
    const std::size_t n = divisor.size();
    const std::uint64_t top = std::uint64_t{rest[n]} << kBitsPerDigit | rest[n - 1];
    std::uint64_t digit = std::min(top / divisor[n - 1], Binary::kBase - 1);
    std::uint64_t over = top - digit * divisor[n - 1];
    while (over < Binary::kBase && digit * divisor[n - 2] > (over << kBitsPerDigit | rest[n - 2])) {
        --digit;
        over += divisor[n - 1];
    }
    return static_cast<std::uint32_t>(digit);
}

// rest -= digit * divisor, over n + 1 digits; true if that was too much, and rest is short by 2^32 to the n + 1.
bool subtractProduct(std::uint32_t* rest, const Digits& divisor, std::uint32_t digit) {
    std::uint64_t take = 0;
    for (std::size_t i = 0; i < divisor.size(); ++i) {
        take += std::uint64_t{divisor[i]} * digit;
        const auto low = static_cast<std::uint32_t>(take);
        take = (take >> kBitsPerDigit) + (rest[i] < low ? 1 : 0);
        rest[i] -= low;
    }
    const bool tooMuch = rest[divisor.size()] < take;
    rest[divisor.size()] -= static_cast<std::uint32_t>(take);
    return tooMuch;
}

void addBack(std::uint32_t* rest, const Digits& divisor) {
    std::uint64_t carry = 0;
    for (std::size_t i = 0; i < divisor.size(); ++i) {
        carry += std::uint64_t{rest[i]} + divisor[i];
        rest[i] = static_cast<std::uint32_t>(carry);
        carry >>= kBitsPerDigit;
    }
    rest[divisor.size()] += static_cast<std::uint32_t>(carry);
}

// Knuth, The Art of Computer Programming 4.3.1, algorithm D: the divisor is moved up until its top bit is set, so that
// an estimate from the top digits is almost always right.
QuotientAndRemainder divideLong(const Digits& dividend, const Digits& divisor) {
    const unsigned shift = leadingZeros(divisor.back());
    Digits by = shiftUp(divisor, shift);
    by.pop_back();
    QuotientAndRemainder out{Digits(dividend.size() - divisor.size() + 1), shiftUp(dividend, shift)};
    for (std::size_t i = out.quotient.size(); i-- > 0;) {
        std::uint32_t* rest = out.remainder.data() + i;
        std::uint32_t digit = estimate(rest, by);
        if (subtractProduct(rest, by, digit)) {
            addBack(rest, by);
            --digit;
        }
        out.quotient[i] = digit;
    }
    shiftDown(out.remainder, shift);
    return out;
}

}  // namespace

Digits fromBytes(const unsigned char* bytes, std::size_t n) {
    Digits out((n + kBytesPerDigit - 1) / kBytesPerDigit);
    for (std::size_t i = 0; i < n; ++i)
        out[i / kBytesPerDigit] |= std::uint32_t{bytes[n - 1 - i]} << (8 * (i % kBytesPerDigit));
    trim(out);
    return out;
}

std::vector<char> toBytes(const Digits& number) {
    if (number.empty())
        return {};
    const std::size_t bits = number.size() * kBitsPerDigit - leadingZeros(number.back());
    std::vector<char> out(bits / 8 + 1);
    for (std::size_t i = 0; i < out.size() && i / kBytesPerDigit < number.size(); ++i)
        out[out.size() - 1 - i] = static_cast<char>(number[i / kBytesPerDigit] >> (8 * (i % kBytesPerDigit)));
    return out;
}

Digits multiply(const Digits& a, const Digits& b) {
    return product<Binary>(a, b);
}

QuotientAndRemainder divide(const Digits& dividend, const Digits& divisor) {
    if (dividend.size() < divisor.size())
        return {{}, dividend};
    QuotientAndRemainder out =
        divisor.size() == 1 ? divideByDigit(dividend, divisor[0]) : divideLong(dividend, divisor);
    trim(out.quotient);
    trim(out.remainder);
    return out;
}

Digits fromDecimal(const char* text, std::size_t n) {
    Digits groups((n + kDecimalsPerDigit - 1) / kDecimalsPerDigit);
    for (std::size_t i = 0; i < n; ++i) {
        std::uint32_t& group = groups[(n - 1 - i) / kDecimalsPerDigit];
        group = group * 10 + static_cast<std::uint32_t>(text[i] - '0');
    }
    return BaseChange<Decimal, Binary>::of(groups);
}

std::string toDecimal(const Digits& number) {
    const Digits groups = BaseChange<Binary, Decimal>::of(number);
    std::string out(groups.size() * kDecimalsPerDigit, '0');
    for (std::size_t i = 0; i < groups.size(); ++i) {
        auto digit = out.rbegin() + static_cast<std::ptrdiff_t>(i * kDecimalsPerDigit);
        for (std::uint32_t group = groups[i]; group != 0; group /= 10)
            *digit++ = static_cast<char>('0' + group % 10);
    }
    out.erase(0, out.find_first_not_of('0'));
    return out;
}

}  // namespace magnitude

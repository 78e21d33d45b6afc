// mpi.h: the two exponentiations.
#include "crypto/mpi.h"
#include "crypto/mpi_limbs.h"
#include "crypto/mpi_montgomery.h"

using mpi::isOdd;
using mpi::isZero;
using mpi::kLimbBits;
using mpi::limbsOf;
using mpi::Montgomery;
using mpi::Residue;
using mpi::setLimbs;
using mpi::setWord;

namespace {

// plainPower: r = x^e mod n for an n without a Montgomery form, bit by bit.
void plainPower(std::uint32_t* r, const std::uint32_t* x, const std::uint32_t* e, const std::uint32_t* n) {
    if (isZero(n)) {
        setLimbs(r, 0);
        return;
    }
    std::uint32_t base[MPI_FULL_WORDS];
    std::uint32_t power[2][MPI_DOUBLE_WORDS];
    MPI_Copy(base, x);
    MPI_Mod(base, n);
    MPI_Copy(power[0], base);
    int at = 0;
    for (int i = MPI_BitLength(e) - 2; i >= 0; --i) {
        MPI_Square(power[1 - at], power[at]);
        MPI_Mod(power[1 - at], n);
        at = 1 - at;
        if ((e[1 + i / kLimbBits] >> (i % kLimbBits) & 1) == 0)
            continue;
        MPI_Mul(power[1 - at], power[at], base);
        MPI_Mod(power[1 - at], n);
        at = 1 - at;
    }
    MPI_Copy(r, power[at]);
}

// windowPower: r = x^e mod n for an odd n and an e that is not zero.
void windowPower(std::uint32_t* r, const std::uint32_t* x, const std::uint32_t* e, const std::uint32_t* n) {
    const Montgomery field(n);
    Residue table[4];  // by digit; digit 0 is not used
    field.enter(table[1], x);
    field.square(table[2], table[1]);
    field.multiply(table[3], table[2], table[1]);

    int bit = (MPI_BitLength(e) - 1) / 2 * 2;
    const auto digit = [e](int at) { return e[1 + at / kLimbBits] >> (at % kLimbBits) & 3; };
    Residue power;
    field.copy(power, table[digit(bit)]);
    for (bit -= 2; bit >= 0; bit -= 2) {
        field.square(power, power);
        field.square(power, power);
        if (digit(bit) != 0)
            field.multiply(power, power, table[digit(bit)]);
    }
    field.leave(r, power);
}

// The digits of an exponent in non-adjacent form, the lowest first: of two neighbours at least one is zero.
class SignedDigits {
  public:
    explicit SignedDigits(const std::uint32_t* e);

    // top: the position of the highest digit that is not zero.
    [[nodiscard]] int top() const { return top_; }
    [[nodiscard]] int at(int i) const { return digits_[i]; }
    [[nodiscard]] bool startsPair(int i) const { return i >= 2 && digits_[i - 2] != 0; }
    // value: the digit at i alone, or 4 times it and the digit two below.
    [[nodiscard]] int pairValue(int i) const { return 4 * digits_[i] + digits_[i - 2]; }

  private:
    static constexpr int kMost = 8204;
    signed char digits_[kMost];
    int top_ = 0;
};

// The automaton's state is 0 or 4, the carry; the two next bits of the exponent select the digit and the next state.
// The last limb gives one digit more than it has bits, which takes the last carry.
SignedDigits::SignedDigits(const std::uint32_t* e) {
    static constexpr signed char kDigit[8] = {0, 1, 0, -1, 1, 0, -1, 0};
    static constexpr unsigned char kNext[8] = {0, 0, 0, 4, 0, 4, 4, 4};
    unsigned state = 0;
    int count = 0;
    for (int i = 1; i <= limbsOf(e); ++i) {
        const bool isLast = i == limbsOf(e);
        std::uint64_t bits = e[i];
        if (!isLast)
            bits |= static_cast<std::uint64_t>(e[i + 1]) << kLimbBits;
        for (int left = isLast ? kLimbBits + 1 : kLimbBits; left > 0; --left) {
            const unsigned index = state + static_cast<unsigned>(bits & 3);
            if (kDigit[index] != 0)
                top_ = count;
            digits_[count++] = kDigit[index];
            state = kNext[index];
            bits >>= 1;
        }
    }
}

// g to the powers that single digits and pairs of them ask for.
struct SignedTable {
    Residue single[2];  // -1, 1
    Residue pair[4];    // -5, -3, 3, 5

    [[nodiscard]] const std::uint32_t* ofSingle(int digit) const { return single[(digit + 1) / 2]; }
    [[nodiscard]] const std::uint32_t* ofPair(int value) const {
        return pair[value < 0 ? (value + 5) / 2 : (value + 1) / 2];
    }
};

// fill: the table for x, or false if x has no inverse.
bool fill(SignedTable& table, const Montgomery& field, const std::uint32_t* x, const std::uint32_t* n) {
    std::uint32_t inverse[MPI_FULL_WORDS];
    if (MPI_MontInverse(n, x, inverse, kLimbBits * field.limbs()) == 0)
        return false;
    mpi::padded(table.single[0], inverse, field.limbs());
    field.enter(table.single[1], x);
    Residue fourth;
    std::size_t next = 0;
    for (const Residue& single : table.single) {
        field.square(fourth, single);
        field.square(fourth, fourth);
        for (const Residue& other : table.single)
            field.multiply(table.pair[next++], fourth, other);
    }
    return true;
}

void signedPower(std::uint32_t* power, const Montgomery& field, const SignedTable& table, const SignedDigits& digits) {
    int i = digits.top();
    if (digits.startsPair(i)) {
        field.copy(power, table.ofPair(digits.pairValue(i)));
        i -= 3;
    } else {
        field.copy(power, table.ofSingle(digits.at(i)));
        i -= 1;
    }
    while (i >= 0) {
        field.square(power, power);
        if (digits.at(i) == 0) {
            i -= 1;
        } else if (digits.startsPair(i)) {
            field.square(power, power);
            field.square(power, power);
            field.multiply(power, power, table.ofPair(digits.pairValue(i)));
            i -= 3;
        } else {
            field.multiply(power, power, table.ofSingle(digits.at(i)));
            i -= 1;
        }
    }
}

}  // namespace

void MPI_ModExpSmallWindow(std::uint32_t* r, const std::uint32_t* x, const std::uint32_t* e, const std::uint32_t* n) {
    if (isZero(e))
        setWord(r, 1);
    else if (isZero(x))
        setLimbs(r, 0);
    else if (isOdd(n))
        windowPower(r, x, e, n);
    else
        plainPower(r, x, e, n);
}

void MPI_ModExpNAF(std::uint32_t* r, const std::uint32_t* x, const std::uint32_t* e, const std::uint32_t* n) {
    if (isZero(x)) {
        setLimbs(r, 0);
        return;
    }
    if (isZero(e) || !isOdd(n)) {
        MPI_ModExpSmallWindow(r, x, e, n);
        return;
    }
    const Montgomery field(n);
    SignedTable table;
    if (!fill(table, field, x, n)) {
        MPI_ModExpSmallWindow(r, x, e, n);
        return;
    }
    Residue power;
    signedPower(power, field, table, SignedDigits(e));
    field.leave(r, power);
}

// The plain x as last factor leaves Montgomery form by itself.
void mpi::powerOf65537(std::uint32_t* r, const std::uint32_t* x, const std::uint32_t* n) {
    const Montgomery field(n);
    std::uint32_t base[MPI_FULL_WORDS];
    MPI_Copy(base, x);
    MPI_Mod(base, n);
    Residue power;
    Residue factor;
    field.enter(power, base);
    padded(factor, base, field.limbs());
    for (int i = 0; i < 16; ++i)
        field.square(power, power);
    field.multiply(power, power, factor);
    field.store(r, power);
}

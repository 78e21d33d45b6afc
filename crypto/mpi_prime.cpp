// mpi.h: the test for primes, the search for them, and the random numbers that it starts from.
#include <array>

#include "crypto/mpi.h"
#include "crypto/mpi_limbs.h"
#include "crypto/mpi_montgomery.h"
#include "crypto/mpi_words.h"
#include "crypto/runtime_rand.h"

using mpi::isOdd;
using mpi::isWord;
using mpi::kLimbBits;
using mpi::limbsOf;
using mpi::Montgomery;
using mpi::Residue;
using mpi::setLimbs;

namespace {

constexpr std::size_t kPrimes = 1200;
constexpr std::uint32_t kLastPrime = 9739;
using PrimeTable = std::array<std::uint16_t, kPrimes>;

constexpr bool isSmallPrime(std::uint32_t odd) {
    for (std::uint32_t divisor = 3; divisor * divisor <= odd; divisor += 2) {
        if (odd % divisor == 0)
            return false;
    }
    return true;
}

// The odd primes in order.
constexpr PrimeTable makePrimes() {
    PrimeTable primes = {};
    std::size_t count = 0;
    for (std::uint32_t odd = 3; count < primes.size(); odd += 2) {
        if (isSmallPrime(odd))
            primes[count++] = static_cast<std::uint16_t>(odd);
    }
    return primes;
}

constexpr PrimeTable kPrimeTable = makePrimes();
static_assert(kPrimeTable.front() == 3 && kPrimeTable.back() == kLastPrime);

#ifdef VT_MPI_HAS_WORDS
using mpi::DoubleWord;
using mpi::Word;
#else
using Word = std::uint32_t;
using DoubleWord = std::uint64_t;
#endif
constexpr int kWordBits = static_cast<int>(8 * sizeof(Word));

// Some primes in a row whose product fits a word, and the inverse of the product modulo 2^kWordBits.
struct PrimeGroup {
    Word product;
    Word inverse;
    std::size_t first;
    std::size_t end;
};

// groupEnd: behind the last prime of the group that begins with `first`.
constexpr std::size_t groupEnd(std::size_t first) {
    constexpr Word kMost = static_cast<Word>(-1);
    Word product = 1;
    while (first < kPrimeTable.size() && product <= kMost / kPrimeTable[first])
        product *= kPrimeTable[first++];
    return first;
}

constexpr std::size_t countGroups() {
    std::size_t groups = 0;
    for (std::size_t first = 0; first < kPrimeTable.size(); first = groupEnd(first))
        ++groups;
    return groups;
}

using GroupTable = std::array<PrimeGroup, countGroups()>;

// The primes are gathered in groups, so that a number is gone through once for several of them.
constexpr GroupTable makeGroups() {
    GroupTable groups = {};
    std::size_t first = 0;
    for (PrimeGroup& group : groups) {
        group = {1, 1, first, groupEnd(first)};
        for (; first < group.end; ++first)
            group.product *= kPrimeTable[first];
        for (int bits = 1; bits < kWordBits; bits *= 2)
            group.inverse *= 2 - group.product * group.inverse;
    }
    return groups;
}

constexpr GroupTable kGroups = makeGroups();

// exactRest divides n by an odd d from the lowest word up, as if it came out even: what is left over has the same
// divisors in common with d as n has. No step waits for a division.
Word exactRest(const std::uint32_t* limbs, int words, const PrimeGroup& group) {
    Word carry = 0;
    for (int i = 0; i < words; ++i) {
        Word word = 0;
        std::memcpy(&word, limbs, sizeof word);
        limbs += sizeof word / sizeof *limbs;
        const Word quotient = (word - carry) * group.inverse;
        const Word borrow = word < carry ? 1 : 0;
        carry = static_cast<Word>(static_cast<DoubleWord>(quotient) * group.product >> kWordBits) + borrow;
    }
    return carry;
}

bool hasSmallDivisor(const std::uint32_t* n) {
    std::uint32_t limbs[mpi::kFullLimbs];
    const int even = (limbsOf(n) + 1) / 2 * 2;
    mpi::padded(limbs, n, even);
    const int words = even * kLimbBits / kWordBits;
    for (const PrimeGroup& group : kGroups) {
        const Word rest = exactRest(limbs, words, group);
        for (std::size_t i = group.first; i < group.end; ++i) {
            if (rest % kPrimeTable[i] == 0)
                return true;
        }
    }
    return false;
}

// Miller-Rabin for an n that is odd and above every base: n - 1 = d 2^s.
class MillerRabin {
  public:
    explicit MillerRabin(const std::uint32_t* n);

    // passes: whether n looks prime to this base.
    [[nodiscard]] bool passes(std::uint32_t base) const;

  private:
    // power: base^d. The base is a word, and so are its first powers: a digit of the exponent, of as many bits as that
    // allows, costs a row instead of a product.
    void power(std::uint32_t* r, std::uint32_t base) const;

    Montgomery field_;
    std::uint32_t d_[MPI_FULL_WORDS];
    int s_ = 0;
    Residue one_;
    Residue minusOne_;
};

MillerRabin::MillerRabin(const std::uint32_t* n) : field_(n) {
    MPI_Decrement(d_, n);
    while ((d_[1 + s_ / kLimbBits] >> (s_ % kLimbBits) & 1) == 0)
        ++s_;
    MPI_ShiftRight(d_, s_);
    const std::uint32_t one[] = {1, 1};
    field_.enter(one_, one);
    field_.negate(minusOne_, one_);
}

// The powers of a base, as far as they are words, by digits of `width` bits.
struct WordPowers {
    static constexpr int kMostDigits = 32;

    explicit WordPowers(std::uint32_t base) : power{1, base} {
        for (bool fits = true; fits; width += fits ? 1 : 0) {
            std::uint64_t next = power[(1 << width) - 1];
            for (int digit = 1 << width; fits && digit < 2 << width; ++digit) {
                next *= base;
                fits = next <= UINT32_MAX && digit < kMostDigits;
                if (fits)
                    power[digit] = static_cast<std::uint32_t>(next);
            }
        }
    }

    std::uint32_t power[kMostDigits];
    int width = 1;
};

void MillerRabin::power(std::uint32_t* r, std::uint32_t base) const {
    const WordPowers words(base);
    const int bits = MPI_BitLength(d_);
    const auto bit = [this](int at) { return d_[1 + at / kLimbBits] >> (at % kLimbBits) & 1; };
    field_.copy(r, one_);
    for (int left = bits; left > 0;) {
        const int width = left % words.width == 0 ? words.width : left % words.width;
        std::uint32_t digit = 0;
        for (int i = 0; i < width; ++i) {
            if (left != bits)
                field_.square(r, r);
            digit = digit << 1 | bit(left - 1 - i);
        }
        if (digit != 0)
            field_.multiplyWord(r, words.power[digit]);
        left -= width;
    }
}

bool MillerRabin::passes(std::uint32_t base) const {
    Residue y;
    power(y, base);
    if (field_.equal(y, one_) || field_.equal(y, minusOne_))
        return true;
    for (int i = 1; i < s_; ++i) {
        field_.square(y, y);
        if (field_.equal(y, minusOne_))
            return true;
        if (field_.equal(y, one_))
            return false;
    }
    return false;
}

// The last base is the 30th prime.
constexpr std::uint32_t kLastBase = 113;

bool passesMillerRabin(const std::uint32_t* n) {
    const MillerRabin test(n);
    if (!test.passes(2))
        return false;
    for (const std::uint16_t base : kPrimeTable) {
        if (base > kLastBase)
            break;
        if (!test.passes(base))
            return false;
    }
    return true;
}

// The range of numbers of exactly `bits` bits.
class Range {
  public:
    explicit Range(int bits) : limbs_((bits + kLimbBits - 1) / kLimbBits), top_((bits - 1) % kLimbBits) {}

    // fit sets the top bit of x, clears what is above, and writes the limbs that x has not.
    void fit(std::uint32_t* x) const {
        if (limbsOf(x) < limbs_)
            mpi::clearLimbs(x + 1 + limbsOf(x), limbs_ - limbsOf(x));
        setLimbs(x, limbs_);
        x[limbs_] = (x[limbs_] & ((2U << top_) - 1)) | 1U << top_;
    }
    // holds: whether the top bit of x is still set.
    [[nodiscard]] bool holds(const std::uint32_t* x) const { return (x[limbs_] >> top_ & 1) != 0; }
    // raise adds w to x within its limbs.
    void raise(std::uint32_t* x, std::uint32_t w) const {
        for (int i = 1; w != 0 && i <= limbs_; ++i) {
            x[i] += w;
            w = x[i] < w ? 1 : 0;
        }
    }

  private:
    int limbs_;
    int top_;
};

// The residues of the candidate modulo the small primes. A step of the search raises the candidate by 64 and these by 2
// only, so after a first step they no longer are its residues: the sieve passes some composites, which the test for
// primes finds, and skips some primes. Which prime a search finds depends on it, and so do keys.
//
// A residue r for the prime p is zero at every step k with r + 2 k = 0 mod p. So only those steps are kept, and marked
// for a block of steps at once.
class Sieve {
  public:
    // restart takes the primes by twos, whose product is a word.
    void restart(const std::uint32_t* x) {
        for (std::size_t i = 0; i < zeros_.size(); i += 2) {
            const std::uint32_t rest = MPI_ModWord(x, static_cast<std::uint32_t>(kPrimeTable[i]) * kPrimeTable[i + 1]);
            zeros_[i] = firstZero(rest % kPrimeTable[i], kPrimeTable[i]);
            zeros_[i + 1] = firstZero(rest % kPrimeTable[i + 1], kPrimeTable[i + 1]);
        }
        markBlock();
    }
    void step() {
        if (++at_ == isMarked_.size())
            markBlock();
    }
    [[nodiscard]] bool passes() const { return !isMarked_[at_]; }

  private:
    static std::uint32_t firstZero(std::uint32_t residue, std::uint32_t prime) {
        const std::uint32_t missing = residue == 0 ? 0 : prime - residue;
        return (missing % 2 == 0 ? missing : missing + prime) / 2;
    }
    void markBlock() {
        isMarked_.fill(false);
        at_ = 0;
        for (std::size_t i = 0; i < zeros_.size(); ++i) {
            std::size_t k = zeros_[i];
            for (; k < isMarked_.size(); k += kPrimeTable[i])
                isMarked_[k] = true;
            zeros_[i] = static_cast<std::uint32_t>(k - isMarked_.size());
        }
    }

    std::array<std::uint32_t, kPrimes> zeros_;  // by prime, the next step with a zero, counted from the block's start
    std::array<bool, 2048> isMarked_;
    std::size_t at_;
};

bool isTabled(const std::uint32_t* x) {
    return limbsOf(x) == 1 && x[1] <= kLastPrime;
}

// findSmallPrime raises x by 2 until it is in the table, from the range's start again at its end.
void findSmallPrime(std::uint32_t* x, const Range& range, int bits) {
    for (;;) {
        for (const std::uint16_t prime : kPrimeTable) {
            if (prime == x[1])
                return;
        }
        x[1] += 2;
        if (!range.holds(x))
            x[1] = (1U << (bits - 1)) + 1;
    }
}

}  // namespace

int MPI_IsProbablePrime(const std::uint32_t* n) {
    if (isWord(n, 2))
        return 1;
    if (!isOdd(n) || isWord(n, 1) || hasSmallDivisor(n))
        return 0;
    return passesMillerRabin(n) ? 1 : 0;
}

void MPI_FindPrime(std::uint32_t* x, int bits) {
    constexpr std::uint32_t kStep = 64;
    if (bits < 1) {
        setLimbs(x, 0);
        return;
    }
    const Range range(bits);
    range.fit(x);
    x[1] |= 1;
    if (isTabled(x)) {
        findSmallPrime(x, range, bits);
        return;
    }
    Sieve sieve;
    sieve.restart(x);
    while (!sieve.passes() || MPI_IsProbablePrime(x) == 0) {
        range.raise(x, kStep);
        if (range.holds(x)) {
            sieve.step();
            continue;
        }
        range.fit(x);
        if (isTabled(x)) {  // of 14 bits: from here the sieve would skip every prime, for ever
            findSmallPrime(x, range, bits);
            return;
        }
        sieve.restart(x);
    }
}

void MPI_FillRandom(std::uint32_t* x, int limbs) {
    const auto draw = [] {
        std::uint32_t limb = 0;
        for (int i = 0; i < 4; ++i)
            limb = limb << 8 | (static_cast<std::uint32_t>(RuntimeRand()) & 0xff);
        return limb;
    };
    for (int i = 1; i <= limbs; ++i)
        x[i] = draw();
    while (limbs > 0 && x[limbs] == 0)
        x[limbs] = draw();
    setLimbs(x, limbs);
}

// mpi.h: the test for primes, the search for them, and the random numbers that it starts from.
#include <algorithm>
#include <array>

#include "crypto/mpi.h"
#include "crypto/mpi_limbs.h"
#include "crypto/mpi_montgomery.h"
#include "crypto/runtime_rand.h"

using mpi::isOdd;
using mpi::isWord;
using mpi::kLimbBits;
using mpi::limbsOf;
using mpi::Montgomery;
using mpi::Residue;
using mpi::setLimbs;

namespace {

constexpr int kPrimes = 1200;
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

// Runs of the table whose product stays in a word: one remainder of a long number serves for all of a run.
struct Run {
    std::uint32_t product;
    std::uint16_t end;  // of the run in the table
};

constexpr std::size_t countRuns() {
    std::size_t count = 0;
    for (std::size_t i = 0; i < kPrimes; ++count) {
        for (std::uint64_t product = kPrimeTable[i]; product <= UINT32_MAX;)
            product = ++i < kPrimes ? product * kPrimeTable[i] : std::uint64_t{1} << kLimbBits;
    }
    return count;
}

using RunTable = std::array<Run, countRuns()>;

constexpr RunTable makeRuns() {
    RunTable runs = {};
    std::size_t i = 0;
    for (Run& run : runs) {
        run.product = kPrimeTable[i++];
        while (i < kPrimes && std::uint64_t{run.product} * kPrimeTable[i] <= UINT32_MAX)
            run.product *= kPrimeTable[i++];
        run.end = static_cast<std::uint16_t>(i);
    }
    return runs;
}

constexpr RunTable kRuns = makeRuns();
static_assert(kRuns.back().end == kPrimes);

bool hasSmallDivisor(const std::uint32_t* n) {
    std::size_t i = 0;
    for (const Run& run : kRuns) {
        const std::uint32_t rest = MPI_ModWord(n, run.product);
        for (; i < run.end; ++i) {
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
class Sieve {
  public:
    void restart(const std::uint32_t* x) {
        std::size_t i = 0;
        for (const Run& run : kRuns) {
            const std::uint32_t rest = MPI_ModWord(x, run.product);
            for (; i < run.end; ++i)
                residues_[i] = static_cast<std::uint16_t>(rest % kPrimeTable[i]);
        }
        zeros_ = std::count(residues_.begin(), residues_.end(), 0) == 0 ? 0 : kZero;
    }
    // One pass that compilers put into vectors: the smaller of a sum and the sum less the prime, which wraps if it is
    // too much.
    void step() {
        std::uint16_t zeros = 0;
        for (std::size_t i = 0; i < residues_.size(); ++i) {
            const auto raised = static_cast<std::uint16_t>(residues_[i] + 2);
            const auto reduced = static_cast<std::uint16_t>(raised - kPrimeTable[i]);
            const std::uint16_t residue = std::min(raised, reduced);
            residues_[i] = residue;
            zeros = static_cast<std::uint16_t>(zeros | (residue == 0 ? kZero : 0));
        }
        zeros_ = zeros;
    }
    [[nodiscard]] bool passes() const { return zeros_ == 0; }

  private:
    static constexpr std::uint16_t kZero = 0xffff;  // among the residues
    PrimeTable residues_;
    std::uint16_t zeros_;
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

// mpi.h: the inverse that carries a power of two.
//
// It is found by Lehmer's method: many steps of Euclid's algorithm are done on the top 64 bits of the two numbers, and
// the numbers themselves follow in one pass, about 32 bits shorter (D. H. Lehmer, 1938; the stop by G. E. Collins,
// 1980; D. E. Knuth, The Art of Computer Programming, volume 2, 4.5.2 L).
#include "crypto/mpi.h"
#include "crypto/mpi_limbs.h"

using mpi::high;
using mpi::isZero;
using mpi::kLimbBits;
using mpi::limbsOf;
using mpi::low;

namespace {

// Some steps of Euclid's algorithm at once, as a matrix without its signs, which alternate. For an even count of steps
// the pair (a, b) becomes (aa a - ab b, bb b - ba a), else (ab b - aa a, ba a - bb b).
struct Steps {
    std::uint32_t aa = 1;
    std::uint32_t ab = 0;
    std::uint32_t ba = 0;
    std::uint32_t bb = 1;
    int count = 0;
};

// exactSteps: steps for two words a >= b until b is zero or the matrix would outgrow its words.
Steps exactSteps(std::uint64_t a, std::uint64_t b) {
    Steps steps;
    while (b != 0) {
        const std::uint64_t quotient = a / b;
        if (high(quotient) != 0)
            break;
        const std::uint64_t ba = steps.aa + quotient * steps.ba;
        const std::uint64_t bb = steps.ab + quotient * steps.bb;
        if (high(ba) != 0 || high(bb) != 0)
            break;
        const std::uint64_t rest = a - quotient * b;
        a = b;
        b = rest;
        steps = {steps.ba, steps.bb, low(ba), low(bb), steps.count + 1};
    }
    return steps;
}

// sureSteps: steps for the top words of two longer numbers, as far as they are the same whatever bits follow. The last
// one taken is never sure, so it stays out of the matrix.
Steps sureSteps(std::uint64_t a, std::uint64_t b) {
    std::uint64_t aa = 1;
    std::uint64_t ab = 0;
    std::uint64_t ba = 0;
    std::uint64_t bb = 1;
    int count = 0;
    Steps sure;
    while (b >= bb && a - b >= ab + bb) {
        sure = {low(aa), low(ab), low(ba), low(bb), count++};
        const std::uint64_t quotient = a / b;
        const std::uint64_t rest = a - quotient * b;
        const std::uint64_t nextA = aa + quotient * ba;
        const std::uint64_t nextB = ab + quotient * bb;
        a = b;
        b = rest;
        aa = ba;
        ab = bb;
        ba = nextA;
        bb = nextB;
    }
    return sure;
}

// topWord: 64 bits of x from the top of a number of `limbs` limbs, at least 3, whose top limb has `shift` leading
// zeros.
std::uint64_t topWord(const std::uint32_t* x, int limbs, int shift) {
    const auto limb = [x](int i) -> std::uint64_t { return i <= limbsOf(x) ? x[i] : 0; };
    const std::uint64_t top = limb(limbs) << kLimbBits | limb(limbs - 1);
    return shift == 0 ? top : top << shift | limb(limbs - 2) >> (kLimbBits - shift);
}

Steps stepsFor(const std::uint32_t* a, const std::uint32_t* b) {
    const int limbs = limbsOf(a);
    if (limbs > 2) {
        const int shift = mpi::leadingZeros(a[limbs]);
        return sureSteps(topWord(a, limbs, shift), topWord(b, limbs, shift));
    }
    std::uint32_t words[2][2];
    mpi::padded(words[0], a, 2);
    mpi::padded(words[1], b, 2);
    return exactSteps(static_cast<std::uint64_t>(words[0][1]) << kLimbBits | words[0][0],
                      static_cast<std::uint64_t>(words[1][1]) << kLimbBits | words[1][0]);
}

void extend(std::uint32_t* x, int limbs) {
    mpi::clearLimbs(x + 1 + limbsOf(x), limbs - limbsOf(x));
}

// A sum or difference p a - q b, limb by limb from the lowest.
struct Difference {
    std::uint64_t plus = 0;
    std::uint64_t minus = 0;
    std::uint64_t borrow = 0;
    std::uint32_t next(std::uint32_t p, std::uint32_t a, std::uint32_t q, std::uint32_t b) {
        plus += static_cast<std::uint64_t>(p) * a;
        minus += static_cast<std::uint64_t>(q) * b;
        const std::uint64_t result = static_cast<std::uint64_t>(low(plus)) - low(minus) - borrow;
        plus = high(plus);
        minus = high(minus);
        borrow = result >> 63;
        return low(result);
    }
};
struct Sum {
    std::uint64_t first = 0;
    std::uint64_t second = 0;
    std::uint32_t next(std::uint32_t p, std::uint32_t a, std::uint32_t q, std::uint32_t b) {
        first += static_cast<std::uint64_t>(p) * a;
        second += static_cast<std::uint64_t>(q) * b;
        const std::uint64_t result = static_cast<std::uint64_t>(low(first)) + low(second);
        first = high(first) + high(result);
        second = high(second);
        return low(result);
    }
};

// applyToRests: the steps on a pair of remainders.
void applyToRests(const Steps& steps, std::uint32_t* a, std::uint32_t* b) {
    const int limbs = limbsOf(a);
    extend(b, limbs);
    Difference nextA;
    Difference nextB;
    const bool isEven = steps.count % 2 == 0;
    for (int i = 1; i <= limbs; ++i) {
        const std::uint32_t x = a[i];
        const std::uint32_t y = b[i];
        a[i] = isEven ? nextA.next(steps.aa, x, steps.ab, y) : nextA.next(steps.ab, y, steps.aa, x);
        b[i] = isEven ? nextB.next(steps.bb, y, steps.ba, x) : nextB.next(steps.ba, x, steps.bb, y);
    }
    mpi::trim(a, limbs);
    mpi::trim(b, limbs);
}

// applyToCofactors: the steps on a pair of cofactors, whose signs alternate so that the amounts add up. Two products of
// a limb more are together up to two limbs longer.
void applyToCofactors(const Steps& steps, std::uint32_t* a, std::uint32_t* b) {
    const int limbs = 2 + (limbsOf(a) > limbsOf(b) ? limbsOf(a) : limbsOf(b));
    extend(a, limbs);
    extend(b, limbs);
    Sum nextA;
    Sum nextB;
    for (int i = 1; i <= limbs; ++i) {
        const std::uint32_t x = a[i];
        const std::uint32_t y = b[i];
        a[i] = nextA.next(steps.aa, x, steps.ab, y);
        b[i] = nextB.next(steps.ba, x, steps.bb, y);
    }
    mpi::trim(a, limbs);
    mpi::trim(b, limbs);
}

// Euclid's algorithm on m and x, with the cofactors of x, which are m at most.
class Euclid {
  public:
    Euclid(const std::uint32_t* m, const std::uint32_t* x) {
        MPI_Copy(a_, m);
        MPI_Copy(b_, x);
        MPI_Mod(b_, m);
        mpi::setWord(cofactorA_, 0);
        mpi::setWord(cofactorB_, 1);
        while (!isZero(b_))
            shorten();
    }
    [[nodiscard]] bool isCoprime() const { return mpi::isWord(a_, 1); }

    // inverse: r = the inverse of x modulo m, for coprime ones.
    void inverse(std::uint32_t* r, const std::uint32_t* m) const {
        if (isOdd_ || isZero(cofactorA_))
            MPI_Copy(r, cofactorA_);
        else
            MPI_Sub(r, m, cofactorA_);
    }

  private:
    void shorten() {
        const Steps steps = stepsFor(a_, b_);
        if (steps.count == 0) {
            divide();
            return;
        }
        applyToRests(steps, a_, b_);
        applyToCofactors(steps, cofactorA_, cofactorB_);
        if (steps.count % 2 != 0)
            isOdd_ = !isOdd_;
    }

    // divide: one step on the numbers themselves, where their top words decide nothing.
    void divide() {
        std::uint32_t quotient[MPI_DOUBLE_WORDS];
        std::uint32_t product[MPI_DOUBLE_WORDS + 1];
        MPI_DivMod(a_, b_, quotient);
        MPI_Mul(product, quotient, cofactorB_);
        MPI_AddTo(product, cofactorA_);
        MPI_Copy(cofactorA_, cofactorB_);
        MPI_Copy(cofactorB_, product);
        MPI_Copy(product, a_);
        MPI_Copy(a_, b_);
        MPI_Copy(b_, product);
        isOdd_ = !isOdd_;
    }

    std::uint32_t a_[MPI_DOUBLE_WORDS];
    std::uint32_t b_[MPI_DOUBLE_WORDS];
    std::uint32_t cofactorA_[MPI_FULL_WORDS + 2];
    std::uint32_t cofactorB_[MPI_FULL_WORDS + 2];
    bool isOdd_ = false;
};

}  // namespace

int MPI_MontInverse(const std::uint32_t* m, const std::uint32_t* x, std::uint32_t* r, int k) {
    if (isZero(m))
        return 0;
    const Euclid euclid(m, x);
    if (!euclid.isCoprime())
        return 0;
    std::uint32_t inverse[MPI_DOUBLE_WORDS];
    euclid.inverse(inverse, m);
    // In pieces, so that the array is long enough for any k.
    const int piece = kLimbBits * (MPI_FULL_WORDS - 1);
    for (int left = k; left > 0; left -= piece) {
        MPI_ShiftLeft(inverse, left < piece ? left : piece);
        MPI_Mod(inverse, m);
    }
    MPI_Copy(r, inverse);
    return 1;
}

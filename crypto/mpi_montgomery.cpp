#include "crypto/mpi_montgomery.h"

#include "crypto/mpi.h"
#include "crypto/mpi_limbs.h"

namespace mpi {
namespace {

// Newton's step doubles the bits of -1/n that are right.
std::uint64_t widened(std::uint32_t nPrime, const std::uint32_t* modulus) {
    const std::uint64_t n =
        limbsOf(modulus) > 1 ? static_cast<std::uint64_t>(modulus[2]) << kLimbBits | modulus[1] : modulus[1];
    return nPrime * (2 + n * nPrime);
}

}  // namespace

Montgomery::Montgomery(const std::uint32_t* modulus)
    : kernels_(kernels()),
      modulus_(modulus),
      limbs_((limbsOf(modulus) + 1) / 2 * 2),
      nPrime_(widened(MPI_MontConstant(modulus), modulus)) {
    padded(n_, modulus, limbs_);
}

void Montgomery::enter(std::uint32_t* r, const std::uint32_t* x) const {
    std::uint32_t t[kDoubleLimbs];
    const int count = limbs_ + limbsOf(x);
    clearLimbs(t, limbs_);
    copyLimbs(t + limbs_, x + 1, limbsOf(x));
    kernels_.divide(nullptr, t, count, n_, limbsOf(modulus_));
    copyLimbs(r, t, limbs_);
}

void Montgomery::leave(std::uint32_t* r, const std::uint32_t* x) const {
    std::uint32_t t[2 * kFullLimbs + 2];
    copyLimbs(t, x, limbs_);
    clearLimbs(t + limbs_, limbs_ + 2);
    kernels_.reduce(t, n_, limbs_, low(nPrime_));
    if (compareLimbs(t + limbs_, n_, limbs_) >= 0)
        subLimbs(t + limbs_, t + limbs_, n_, limbs_);
    store(r, t + limbs_);
}

void Montgomery::store(std::uint32_t* r, const std::uint32_t* x) const {
    const int count = significant(x, limbs_);
    copyLimbs(r + 1, x, count);
    setLimbs(r, count);
}

void Montgomery::multiplyWord(std::uint32_t* r, std::uint32_t w) const {
    std::uint64_t carry = 0;
    for (int i = 0; i < limbs_; ++i) {
        carry += static_cast<std::uint64_t>(r[i]) * w;
        r[i] = low(carry);
        carry = high(carry);
    }
    // The quotient by n's top limb, which can only be too small, and less than half of what is left then stays.
    std::uint32_t top = low(carry);
    const int last = limbsOf(modulus_) - 1;
    while (top != 0 || compareLimbs(r, n_, limbs_) >= 0) {
        const std::uint32_t above = last + 1 < limbs_ ? r[last + 1] : top;
        const std::uint64_t window = static_cast<std::uint64_t>(above) << kLimbBits | r[last];
        const std::uint64_t quotient = window / (static_cast<std::uint64_t>(n_[last]) + 1);
        top -= subtractRow(r, n_, limbs_, quotient == 0 ? 1 : low(quotient));
    }
}

void Montgomery::copy(std::uint32_t* to, const std::uint32_t* from) const {
    copyLimbs(to, from, limbs_);
}

bool Montgomery::equal(const std::uint32_t* a, const std::uint32_t* b) const {
    return compareLimbs(a, b, limbs_) == 0;
}

void Montgomery::negate(std::uint32_t* r, const std::uint32_t* x) const {
    subLimbs(r, n_, x, limbs_);
}

}  // namespace mpi

std::uint32_t MPI_MontConstant(const std::uint32_t* n) {
    const std::uint32_t limb = mpi::isZero(n) ? 0 : n[1];
    std::uint32_t y = 1;
    for (int i = 1; i <= 31; ++i) {
        const std::uint32_t mask = 0xffffffffU >> (31 - i);
        if ((y * limb & mask) > 1U << i)
            y += 1U << i;
    }
    return 0U - y;
}

// The faster forms take n' for granted; with any other number the plain rows are right by definition.
void MPI_MontReduce(std::uint32_t* r, const std::uint32_t* t, const std::uint32_t* n, std::uint32_t nPrime) {
    const int limbs = mpi::limbsOf(n);
    if (limbs == 0) {
        mpi::setLimbs(r, 0);
        return;
    }
    std::uint32_t sum[2 * mpi::kFullLimbs + 2];
    const int given = mpi::limbsOf(t) < 2 * limbs ? mpi::limbsOf(t) : 2 * limbs;
    mpi::copyLimbs(sum, t + 1, given);
    mpi::clearLimbs(sum + given, 2 * limbs + 2 - given);
    const bool isConstant = n[1] * nPrime == 0xffffffffU;
    (isConstant ? mpi::kernels() : mpi::plainKernels()).reduce(sum, n + 1, limbs, nPrime);
    mpi::subtractOnce(r + 1, sum + limbs, n + 1, limbs);
    mpi::trim(r, limbs);
}

void MPI_ToMontgomery(std::uint32_t* r, const std::uint32_t* x, const std::uint32_t* n) {
    MPI_Copy(r, x);
    MPI_ShiftLeft(r, mpi::kLimbBits * mpi::limbsOf(n));
    MPI_Mod(r, n);
}

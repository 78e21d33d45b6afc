// Arithmetic modulo an odd number in Montgomery form, as the exponentiations of mpi.h use it inside.
//
// A residue is an array of `limbs` limbs below n, without a count, that holds x R mod n with R = 2^(32 limbs). The
// count is that of n, made even: the wider kernels read two limbs as one word, and every kernel computes the same
// numbers.
#ifndef VT_CRYPTO_MPI_MONTGOMERY_H
#define VT_CRYPTO_MPI_MONTGOMERY_H

#include <cstdint>

#include "crypto/mpi_kernels.h"

namespace mpi {

using Residue = std::uint32_t[kFullLimbs];

class Montgomery {
  public:
    // modulus is an odd MPI of at most kFullLimbs limbs, borrowed.
    explicit Montgomery(const std::uint32_t* modulus);

    [[nodiscard]] int limbs() const { return limbs_; }

    // enter: r = x R mod n for an MPI x of at most kFullLimbs limbs, which may be above n.
    void enter(std::uint32_t* r, const std::uint32_t* x) const;

    // leave: the MPI r = x / R mod n.
    void leave(std::uint32_t* r, const std::uint32_t* x) const;

    // store: the MPI r of the residue's own value, x R mod n.
    void store(std::uint32_t* r, const std::uint32_t* x) const;

    // r may be an operand.
    void multiply(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* b) const {
        kernels_.montMultiply(r, a, b, n_, limbs_, nPrime_);
    }
    void square(std::uint32_t* r, const std::uint32_t* a) const { kernels_.montSquare(r, a, n_, limbs_, nPrime_); }

    // multiplyWord: r = r w mod n, for a w that is small: it costs w's share of a product.
    void multiplyWord(std::uint32_t* r, std::uint32_t w) const;

    void copy(std::uint32_t* to, const std::uint32_t* from) const;
    [[nodiscard]] bool equal(const std::uint32_t* a, const std::uint32_t* b) const;
    // negate: r = n - x, for an x that is not zero.
    void negate(std::uint32_t* r, const std::uint32_t* x) const;

  private:
    const Kernels& kernels_;
    const std::uint32_t* modulus_;
    int limbs_;
    std::uint64_t nPrime_;
    Residue n_;
};

// powerOf65537: r = x^65537 mod n for an odd n, by 16 squarings and one product. x may be above n; r may be x or n.
void powerOf65537(std::uint32_t* r, const std::uint32_t* x, const std::uint32_t* n);

}  // namespace mpi

#endif

// What the forms with 32-bit limbs have in common: everything but the inner rows (mpi_words.h has the same for words).
#ifndef VT_CRYPTO_MPI_LIMB_FORM_H
#define VT_CRYPTO_MPI_LIMB_FORM_H

#include "crypto/mpi_kernels.h"
#include "crypto/mpi_limbs.h"

namespace mpi {

// LimbForm makes the rest of a form out of its products and addRow: r += a w, which returns the limb above.
template <decltype(Kernels::multiply) multiply, decltype(Kernels::square) square,
          std::uint32_t (*addRow)(std::uint32_t* r, const std::uint32_t* a, int limbs, std::uint32_t w)>
struct LimbForm {
    static void reduce(std::uint32_t* t, const std::uint32_t* n, int limbs, std::uint32_t nPrime) {
        std::uint32_t* const upper = t + limbs;
        std::uint32_t overflow = 0;
        for (int i = 0; i < limbs; ++i) {
            const std::uint64_t sum =
                static_cast<std::uint64_t>(upper[i]) + addRow(t + i, n, limbs, t[i] * nPrime) + overflow;
            upper[i] = low(sum);
            overflow = high(sum);
        }
        upper[limbs] = overflow;
    }

    static void montMultiply(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* b, const std::uint32_t* n,
                             int limbs, std::uint64_t nPrime) {
        std::uint32_t t[2 * kFullLimbs + 2];
        multiply(t, a, limbs, b, limbs);
        reduce(t, n, limbs, low(nPrime));
        subtractOnce(r, t + limbs, n, limbs);
    }

    static void montSquare(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* n, int limbs,
                           std::uint64_t nPrime) {
        std::uint32_t t[2 * kFullLimbs + 2];
        square(t, a, limbs);
        reduce(t, n, limbs, low(nPrime));
        subtractOnce(r, t + limbs, n, limbs);
    }
};

}  // namespace mpi

#endif

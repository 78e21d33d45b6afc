// mpi.h: division, and the inverse by it.
#include "crypto/mpi.h"
#include "crypto/mpi_kernels.h"
#include "crypto/mpi_limbs.h"

using mpi::isZero;
using mpi::limbsOf;
using mpi::setLimbs;
using mpi::trim;

namespace {

// divide: MPI_DivMod, with the quotient if q is not null.
int divide(std::uint32_t* a, const std::uint32_t* d, std::uint32_t* q) {
    if (isZero(d))
        return 1;
    const int order = MPI_Compare(a, d);
    if (order <= 0) {
        if (order == 0)
            setLimbs(a, 0);
        if (q != nullptr)
            mpi::setWord(q, order == 0 ? 1 : 0);
        return 0;
    }
    const int aLimbs = limbsOf(a);
    const int dLimbs = limbsOf(d);
    mpi::kernels().divide(q != nullptr ? q + 1 : nullptr, a + 1, aLimbs, d + 1, dLimbs);
    trim(a, dLimbs);
    if (q != nullptr)
        trim(q, aLimbs - dLimbs + 1);
    return 0;
}

}  // namespace

int MPI_DivMod(std::uint32_t* a, const std::uint32_t* d, std::uint32_t* q) {
    return divide(a, d, q);
}

int MPI_Mod(std::uint32_t* a, const std::uint32_t* d) {
    return divide(a, d, nullptr);
}

std::uint32_t MPI_ModWord(const std::uint32_t* x, std::uint32_t w) {
    if (w == 0)
        return 0xffffffff;
    std::uint64_t rest = 0;
    for (int i = limbsOf(x); i > 0; --i)
        rest = (rest << mpi::kLimbBits | x[i]) % w;
    return mpi::low(rest);
}

// Extended Euclid on two remainders and two cofactors, selected by `at`, without signs: the cofactors of x alternate in
// sign, so the parity of the rounds tells it.
int MPI_ModInverse(const std::uint32_t* x, const std::uint32_t* m, std::uint32_t* r) {
    std::uint32_t rest[2][MPI_DOUBLE_WORDS];
    std::uint32_t cofactor[2][MPI_DOUBLE_WORDS];
    std::uint32_t quotient[MPI_DOUBLE_WORDS];
    std::uint32_t product[MPI_DOUBLE_WORDS];
    MPI_Copy(rest[0], m);
    MPI_Copy(rest[1], x);
    MPI_Mod(rest[1], m);
    mpi::setWord(cofactor[0], 0);
    mpi::setWord(cofactor[1], 1);
    int at = 0;
    while (!isZero(rest[1 - at])) {
        MPI_DivMod(rest[at], rest[1 - at], quotient);
        MPI_Mul(product, quotient, cofactor[1 - at]);
        MPI_AddTo(cofactor[at], product);
        at = 1 - at;
    }
    if (!mpi::isWord(rest[at], 1))
        return 0;
    if (r == nullptr)
        return 1;
    if (at == 0 && !isZero(cofactor[0])) {
        MPI_Sub(product, m, cofactor[0]);
        MPI_Copy(r, product);
    } else {
        MPI_Copy(r, cofactor[at]);
    }
    return 1;
}

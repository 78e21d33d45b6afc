// mpi.h: the inverse that carries a power of two.
#include "crypto/mpi.h"
#include "crypto/mpi_limbs.h"

int MPI_MontInverse(const std::uint32_t* m, const std::uint32_t* x, std::uint32_t* r, int k) {
    std::uint32_t inverse[MPI_DOUBLE_WORDS];
    if (mpi::isZero(m) || MPI_ModInverse(x, m, inverse) == 0)
        return 0;
    const int step = mpi::kLimbBits * (MPI_FULL_WORDS - 1);
    for (int left = k; left > 0; left -= step) {
        MPI_ShiftLeft(inverse, left < step ? left : step);
        MPI_Mod(inverse, m);
    }
    MPI_Copy(r, inverse);
    return 1;
}

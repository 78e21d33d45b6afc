// MPI_ModInverse and MPI_MontInverse: x times the inverse is 1 modulo m (or 2^k), and both agree on when there is none.
#include "fuzz/mpi.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Source source(data, size);
    fuzz::Mpi m;
    fuzz::Mpi x;
    fuzz::Mpi inverse;
    fuzz::Mpi other;
    fuzz::Mpi product;
    fuzz::Mpi expected;
    const int k = source.byte() * 33;
    fuzz::readMpi(source, m, 512);
    fuzz::readMpi(source, x, 512);
    if (m[0] == 0)
        return 0;
    const int exists = MPI_ModInverse(x, m, inverse);
    FUZZ_ASSERT(MPI_ModInverse(x, m, nullptr) == exists);
    FUZZ_ASSERT(MPI_MontInverse(m, x, other, k) == exists);
    if (exists == 0)
        return 0;

    FUZZ_ASSERT(fuzz::isCanonical(inverse) && MPI_Compare(inverse, m) < 0);
    MPI_Mul(product, inverse, x);
    MPI_Mod(product, m);
    const std::uint32_t one[] = {1, 1};
    MPI_Copy(expected, one);
    MPI_Mod(expected, m);
    FUZZ_ASSERT(MPI_Compare(product, expected) == 0);

    FUZZ_ASSERT(fuzz::isCanonical(other) && MPI_Compare(other, m) < 0);
    MPI_Mul(product, other, x);
    MPI_Mod(product, m);
    MPI_SetPowerOfTwo(expected, k);
    MPI_Mod(expected, m);
    FUZZ_ASSERT(MPI_Compare(product, expected) == 0);
    return 0;
}

// The two exponentiations against each other, in every form of the kernels, and x^(a + b) against x^a x^b.
#include "crypto/mpi_kernels.h"
#include "fuzz/mpi.h"

namespace {

void power(std::uint32_t* r, const std::uint32_t* x, const std::uint32_t* e, const std::uint32_t* n) {
    MPI_ModExpSmallWindow(r, x, e, n);
    FUZZ_ASSERT(fuzz::isCanonical(r));
    FUZZ_ASSERT(e[0] == 0 || n[0] == 0 || MPI_Compare(r, n) < 0);
    fuzz::Mpi byDigits;
    MPI_ModExpNAF(byDigits, x, e, n);
    if (x[0] == 0)
        FUZZ_ASSERT(byDigits[0] == 0);
    else
        FUZZ_ASSERT(MPI_Compare(byDigits, r) == 0);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr int kBytes = 136;  // larger ones cost time and take the same ways
    constexpr int kExponentBytes = 24;
    fuzz::Source source(data, size);
    fuzz::Mpi x;
    fuzz::Mpi n;
    fuzz::Mpi exponents[3];
    fuzz::Mpi powers[3];
    fuzz::Mpi product;
    fuzz::readMpi(source, x, kBytes);
    fuzz::readMpi(source, n, kBytes);
    fuzz::readMpi(source, exponents[0], kExponentBytes);
    fuzz::readMpi(source, exponents[1], kExponentBytes);
    if (n[0] == 0)
        return 0;
    MPI_Add(exponents[2], exponents[0], exponents[1]);
    for (const mpi::Kernels* const* form = mpi::kernelForms(); *form != nullptr; ++form) {
        mpi::useKernels(*form);
        for (int i = 0; i < 3; ++i)
            power(powers[i], x, exponents[i], n);
        MPI_Mul(product, powers[0], powers[1]);
        MPI_Mod(product, n);
        MPI_Mod(powers[2], n);  // x^0 is 1, also modulo 1
        FUZZ_ASSERT(MPI_Compare(product, powers[2]) == 0);
    }
    return 0;
}

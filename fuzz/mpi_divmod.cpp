// MPI_DivMod: a = q d + r with r below d, in every form of the kernels.
#include "crypto/mpi_kernels.h"
#include "fuzz/mpi.h"

namespace {

// check divides x, and the product of the two numbers, by d.
void check(const std::uint32_t* x, const std::uint32_t* d) {
    fuzz::Mpi rest;
    fuzz::Mpi quotient;
    fuzz::Mpi product;
    MPI_Copy(rest, x);
    if (MPI_DivMod(rest, d, quotient) == 1) {
        FUZZ_ASSERT(d[0] == 0 && MPI_Compare(rest, x) == 0);
        return;
    }
    FUZZ_ASSERT(fuzz::isCanonical(rest) && fuzz::isCanonical(quotient) && MPI_Compare(rest, d) < 0);
    MPI_Mul(product, quotient, d);
    MPI_AddTo(product, rest);
    FUZZ_ASSERT(MPI_Compare(product, x) == 0);
    MPI_Copy(rest, x);
    MPI_Mod(rest, d);
    MPI_SubFrom(product, rest);
    MPI_Mod(product, d);
    FUZZ_ASSERT(product[0] == 0);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Source source(data, size);
    fuzz::Mpi a;
    fuzz::Mpi d;
    fuzz::Mpi product;
    fuzz::readMpi(source, a);
    fuzz::readMpi(source, d);
    for (const mpi::Kernels* const* form = mpi::kernelForms(); *form != nullptr; ++form) {
        mpi::useKernels(*form);
        check(a, d);
        MPI_Mul(product, a, d);
        check(product, d);
        check(product, a);
    }
    return 0;
}

#include "crypto/mpi_kernels.h"
const mpi::Kernels* mpi::adxKernels() {
    return nullptr;
}

// The inner loops under mpi.h, in several forms that give the same results bit for bit.
//
// A form is a table of functions. The best one that the processor can run is chosen once, at the first use; tests and
// benchmarks put each of the others in its place. All work on arrays of 32-bit limbs, least significant first, at any
// address that is a multiple of four: a form with wider words reads two limbs as one word.
//
//     plain    32-bit limbs, 64-bit sums; everywhere
//     wide     64-bit words by unsigned __int128; little-endian 64-bit machines
//     adx      64-bit words by mulx with two carry chains; x86-64 processors with BMI2 and ADX
//     adx32    the same with 32-bit limbs; 32-bit x86 on such processors
#ifndef VT_CRYPTO_MPI_KERNELS_H
#define VT_CRYPTO_MPI_KERNELS_H

#include <cstdint>

namespace mpi {

// What the kernels take at most: the limbs of a full and of a double MPI.
constexpr int kFullLimbs = 256;
constexpr int kDoubleLimbs = 512;

struct Kernels {
    const char* name;

    // usable: whether this processor can run the form.
    bool (*usable)();

    // multiply: r = a b, of exactly aLimbs + bLimbs limbs (kDoubleLimbs at most), each at least 1. r is neither a nor
    // b.
    void (*multiply)(std::uint32_t* r, const std::uint32_t* a, int aLimbs, const std::uint32_t* b, int bLimbs);

    // square: r = a a, of exactly twice the limbs of a. r is not a.
    void (*square)(std::uint32_t* r, const std::uint32_t* a, int limbs);

    // reduce: limbs rows of Montgomery's reduction on t, which has 2 limbs + 2 limbs, the last two being zero; limbs is
    // 1 to kFullLimbs. The sum stands in t from limb `limbs` on, with its overflow (0 or 1) in t[2 limbs]; what stands
    // below is undefined. Only `plain` takes an nPrime that is not -1/n mod 2^32.
    void (*reduce)(std::uint32_t* t, const std::uint32_t* n, int limbs, std::uint32_t nPrime);

    // divide: a of aLimbs limbs becomes a mod d, in its lower dLimbs limbs, the others being zero; q, unless it is
    // null, gets the aLimbs - dLimbs + 1 limbs of the quotient. The top limb of d is not zero; 1 <= dLimbs <= aLimbs <=
    // kDoubleLimbs.
    void (*divide)(std::uint32_t* q, std::uint32_t* a, int aLimbs, const std::uint32_t* d, int dLimbs);

    // montMultiply, montSquare: r = a b / R mod n and a a / R mod n with R = 2^(32 limbs), for an even count of limbs
    // up to kFullLimbs, nPrime = -1/n mod 2^64, and a and b below n. r is below n and may be a or b.
    void (*montMultiply)(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* b, const std::uint32_t* n,
                         int limbs, std::uint64_t nPrime);
    void (*montSquare)(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* n, int limbs,
                       std::uint64_t nPrime);
};

// kernels: the form in use.
const Kernels& kernels();

// plainKernels: the form that every other one is measured and tested against.
const Kernels& plainKernels();

// kernelForms: the usable forms of this build, the plainest first; a null pointer ends the list.
const Kernels* const* kernelForms();

// useKernels puts a form in use for the whole process; null means the best one. For tests and benchmarks: no other
// thread may compute meanwhile.
void useKernels(const Kernels* form);

// The forms beside `plain`: null if they are not for the machine this build is for.
const Kernels* wideKernels();
const Kernels* adxKernels();
const Kernels* adx32Kernels();

}  // namespace mpi

#endif

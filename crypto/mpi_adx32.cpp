// The form `adx32`: 32-bit limbs for 32-bit x86, by mulx with two carry chains, adcx on CF and adox on OF.
//
// There are too few registers for a window of sums, so the rows are those of `plain`: a factor times the limbs of a
// number, added to memory.
#include "crypto/mpi_kernels.h"
#include "crypto/mpi_limbs.h"

// A row takes every register there is; an unoptimised build keeps one for its frames.
#if defined __i386__ && defined __OPTIMIZE__

#include <cpuid.h>

namespace mpi {
namespace {

// addLimb: *r += a w + carry; it returns the limb above.
std::uint32_t addLimb(std::uint32_t* r, std::uint32_t a, std::uint32_t w, std::uint32_t carry) {
    const std::uint64_t sum = static_cast<std::uint64_t>(a) * w + *r + carry;
    *r = low(sum);
    return high(sum);
}

// Both carries live from one turn to the next: only lea and jecxz may count.
#define VT_LIMB(at, below, above)        \
    "mulx " at "(%[a]), %[lo], %[" above \
    "]\n\t"                              \
    "adcx %[" below                      \
    "], %[lo]\n\t"                       \
    "adox " at                           \
    "(%[r]), %[lo]\n\t"                  \
    "mov %[lo], " at "(%[r])\n\t"

// addRow: r += a w; it returns the limb above.
std::uint32_t addRow(std::uint32_t* r, const std::uint32_t* a, int limbs, std::uint32_t w) {
    std::uint32_t carry = 0;
    for (; limbs % 4 != 0; --limbs)
        carry = addLimb(r++, *a++, w, carry);
    if (limbs == 0)
        return carry;
    int fours = limbs / 4;
    std::uint32_t lo;
    std::uint32_t hi;
    __asm__ volatile(
        "xor %[lo], %[lo]\n"
        "1:\n\t" VT_LIMB("0", "carry", "hi") VT_LIMB("4", "hi", "carry") VT_LIMB("8", "carry", "hi")
            VT_LIMB("12", "hi", "carry")
        "lea 16(%[a]), %[a]\n\t"
        "lea 16(%[r]), %[r]\n\t"
        "lea -1(%%ecx), %%ecx\n\t"
        "jecxz 2f\n\t"
        "jmp 1b\n"
        "2:\n\t"
        "mov $0, %[lo]\n\t"
        "adcx %[lo], %[carry]\n\t"
        "adox %[lo], %[carry]"
        : [r] "+&r"(r), [a] "+&r"(a), "+&c"(fours), [carry] "+&r"(carry), [lo] "=&r"(lo), [hi] "=&r"(hi)
        : "d"(w)
        : "cc", "memory");
    return carry;
}

void multiply(std::uint32_t* r, const std::uint32_t* a, int aLimbs, const std::uint32_t* b, int bLimbs) {
    clearLimbs(r, aLimbs);
    for (int i = 0; i < bLimbs; ++i)
        r[i + aLimbs] = addRow(r + i, a, aLimbs, b[i]);
}

// The products of different limbs first; they are doubled where the squares of the limbs are added.
void square(std::uint32_t* r, const std::uint32_t* a, int limbs) {
    clearLimbs(r, 2 * limbs);
    std::uint32_t* t = r;
    for (int i = 0; i + 1 < limbs; ++i)
        r[i + limbs] = addRow(r + i + i + 1, a + i + 1, limbs - i - 1, a[i]);
    std::uint64_t carry = 0;
    std::uint32_t pushed = 0;
    for (int i = 0; i < limbs; ++i, t += 2) {
        const std::uint64_t square = static_cast<std::uint64_t>(a[i]) * a[i];
        carry += static_cast<std::uint64_t>(t[0] << 1 | pushed) + low(square);
        pushed = t[0] >> 31;
        t[0] = low(carry);
        carry = static_cast<std::uint64_t>(t[1] << 1 | pushed) + high(square) + high(carry);
        pushed = t[1] >> 31;
        t[1] = low(carry);
        carry = high(carry);
    }
}

void reduce(std::uint32_t* t, const std::uint32_t* n, int limbs, std::uint32_t nPrime) {
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

void montMultiply(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* b, const std::uint32_t* n, int limbs,
                  std::uint64_t nPrime) {
    std::uint32_t t[2 * kFullLimbs + 2];
    multiply(t, a, limbs, b, limbs);
    reduce(t, n, limbs, low(nPrime));
    subtractOnce(r, t + limbs, n, limbs);
}

void montSquare(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* n, int limbs, std::uint64_t nPrime) {
    std::uint32_t t[2 * kFullLimbs + 2];
    square(t, a, limbs);
    reduce(t, n, limbs, low(nPrime));
    subtractOnce(r, t + limbs, n, limbs);
}

bool usable() {
    unsigned eax = 0;
    unsigned ebx = 0;
    unsigned ecx = 0;
    unsigned edx = 0;
    return __get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) != 0 && (ebx & bit_BMI2) != 0 && (ebx & bit_ADX) != 0;
}

}  // namespace

const Kernels* adx32Kernels() {
    static const Kernels form = {"adx32",      usable,    multiply, square, reduce, plainKernels().divide,
                                 montMultiply, montSquare};
    return &form;
}

}  // namespace mpi

#else

const mpi::Kernels* mpi::adx32Kernels() {
    return nullptr;
}

#endif

// The form `plain`: 32-bit limbs with 64-bit sums, as a textbook has it.
#include "crypto/mpi_kernels.h"
#include "crypto/mpi_limbs.h"

namespace mpi {
namespace {

// row: r = a w + carry, limb by limb; it returns the limb above.
std::uint32_t row(std::uint32_t* r, const std::uint32_t* a, int limbs, std::uint32_t w) {
    std::uint64_t carry = 0;
    for (int i = 0; i < limbs; ++i) {
        carry += static_cast<std::uint64_t>(a[i]) * w;
        r[i] = low(carry);
        carry = high(carry);
    }
    return low(carry);
}

// addRow: r += a w; it returns the limb above.
std::uint32_t addRow(std::uint32_t* r, const std::uint32_t* a, int limbs, std::uint32_t w) {
    std::uint64_t carry = 0;
    for (int i = 0; i < limbs; ++i) {
        carry += static_cast<std::uint64_t>(a[i]) * w + r[i];
        r[i] = low(carry);
        carry = high(carry);
    }
    return low(carry);
}

// squareRow: r += w w + 2 a w 2^32, for the limb w and the limbs of a above it, doubled in the same pass on a carry of
// up to two limbs; the carry goes to the two limbs above. The upper of these is not there in the last row, of no limbs.
void squareRow(std::uint32_t* r, std::uint32_t w, const std::uint32_t* a, int limbs) {
    std::uint64_t carry = static_cast<std::uint64_t>(w) * w + r[0];
    r[0] = low(carry);
    carry = high(carry);
    for (int i = 0; i < limbs; ++i) {
        const std::uint64_t product = static_cast<std::uint64_t>(a[i]) * w;
        const std::uint64_t sum = 2 * static_cast<std::uint64_t>(low(product)) + r[1 + i] + low(carry);
        r[1 + i] = low(sum);
        carry = 2 * static_cast<std::uint64_t>(high(product)) + high(sum) + high(carry);
    }
    carry += r[1 + limbs];
    r[1 + limbs] = low(carry);
    if (limbs > 0)
        r[2 + limbs] = high(carry);
}

bool usable() {
    return true;
}

void multiply(std::uint32_t* r, const std::uint32_t* a, int aLimbs, const std::uint32_t* b, int bLimbs) {
    r[aLimbs] = row(r, a, aLimbs, b[0]);
    for (int i = 1; i < bLimbs; ++i)
        r[i + aLimbs] = addRow(r + i, a, aLimbs, b[i]);
}

void square(std::uint32_t* r, const std::uint32_t* a, int limbs) {
    clearLimbs(r, 2 * limbs);
    for (int i = 0; i < limbs; ++i, r += 2)
        squareRow(r, a[i], a + i + 1, limbs - i - 1);
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

// shiftUp: r = a 2^bits, bits below 32; it returns what is pushed out.
std::uint32_t shiftUp(std::uint32_t* r, const std::uint32_t* a, int limbs, int bits) {
    std::uint64_t carry = 0;
    for (int i = 0; i < limbs; ++i) {
        carry |= static_cast<std::uint64_t>(a[i]) << bits;
        r[i] = low(carry);
        carry = high(carry);
    }
    return low(carry);
}

void shiftDown(std::uint32_t* a, int limbs, int bits) {
    std::uint64_t window = 0;
    for (int i = limbs - 1; i >= 0; --i) {
        window = window << kLimbBits | a[i];
        a[i] = low(window >> bits);
    }
}

// quotientDigit divides the window (h, limbs of a) by d, whose top bit is set; h is below the top limb of d or equal to
// it. The first estimate can only be too small.
std::uint32_t quotientDigit(std::uint32_t h, std::uint32_t* a, const std::uint32_t* d, int limbs) {
    const std::uint32_t top = d[limbs - 1];
    std::uint32_t digit = h;
    if (top != 0xffffffff)
        digit = low((static_cast<std::uint64_t>(h) << kLimbBits | a[limbs - 1]) / (top + 1));
    h -= subtractRow(a, d, limbs, digit);
    while (h != 0 || compareLimbs(a, d, limbs) >= 0) {
        h -= subLimbs(a, a, d, limbs);
        ++digit;
    }
    return digit;
}

void divide(std::uint32_t* q, std::uint32_t* a, int aLimbs, const std::uint32_t* d, int dLimbs) {
    const int shift = leadingZeros(d[dLimbs - 1]);
    std::uint32_t divisor[kDoubleLimbs];
    shiftUp(divisor, d, dLimbs, shift);
    std::uint32_t h = shiftUp(a, a, aLimbs, shift);
    for (int i = aLimbs - dLimbs; i >= 0; --i) {
        const std::uint32_t digit = quotientDigit(h, a + i, divisor, dLimbs);
        if (q != nullptr)
            q[i] = digit;
        h = a[i + dLimbs - 1];
        a[i + dLimbs - 1] = 0;
    }
    a[dLimbs - 1] = h;
    shiftDown(a, dLimbs, shift);
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

constexpr Kernels kPlain = {"plain", usable, multiply, square, reduce, divide, montMultiply, montSquare};

}  // namespace

const Kernels& plainKernels() {
    return kPlain;
}

}  // namespace mpi

// mpi.h: bytes, sizes, sums, differences, shifts and products.
#include "crypto/mpi.h"

#include "crypto/mpi_kernels.h"
#include "crypto/mpi_limbs.h"

using mpi::clearLimbs;
using mpi::copyLimbs;
using mpi::isZero;
using mpi::kLimbBits;
using mpi::limbsOf;
using mpi::low;
using mpi::setLimbs;
using mpi::trim;

int MPI_FromBytes(const unsigned char* bytes, int length, std::uint32_t* out) {
    if (length > MPI_MAX_BYTES)
        return -10;
    while (length > 0 && *bytes == 0) {
        ++bytes;
        --length;
    }
    const int limbs = length > 0 ? (length + 3) / 4 : 0;
    setLimbs(out, limbs);
    std::uint32_t limb = 0;
    for (int left = length; left > 0; --left) {
        limb = limb << 8 | *bytes++;
        if (left % 4 == 1)
            out[1 + left / 4] = limb;
    }
    return limbs;
}

int MPI_ToBytes(unsigned char* bytes, int length, const std::uint32_t* x) {
    for (int i = 0; i < length; ++i) {
        const std::uint32_t limb = i / 4 < limbsOf(x) ? x[1 + i / 4] : 0;
        bytes[length - 1 - i] = static_cast<unsigned char>(limb >> (8 * (i % 4)));
    }
    return (length + 3) / 4;
}

void MPI_Copy(std::uint32_t* to, const std::uint32_t* from) {
    copyLimbs(to, from, limbsOf(from) + 1);
}

int MPI_Compare(const std::uint32_t* a, const std::uint32_t* b) {
    if (a[0] != b[0])
        return limbsOf(a) - limbsOf(b);
    return mpi::compareLimbs(a + 1, b + 1, limbsOf(a));
}

int MPI_ByteLength(const std::uint32_t* x) {
    return (MPI_BitLength(x) + 7) / 8;
}

int MPI_BitLength(const std::uint32_t* x) {
    const int limbs = limbsOf(x);
    return limbs == 0 ? 0 : kLimbBits * limbs - mpi::leadingZeros(x[limbs]);
}

void MPI_SetPowerOfTwo(std::uint32_t* r, int k) {
    const int top = k / kLimbBits;
    clearLimbs(r + 1, top);
    r[1 + top] = 1U << (k % kLimbBits);
    setLimbs(r, top + 1);
}

void MPI_AddTo(std::uint32_t* a, const std::uint32_t* b) {
    MPI_Add(a, a, b);
}

void MPI_Add(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* b) {
    if (a[0] < b[0]) {
        MPI_Add(r, b, a);
        return;
    }
    const int longer = limbsOf(a);
    const int common = limbsOf(b);
    std::uint32_t carry = mpi::addLimbs(r + 1, a + 1, b + 1, common);
    int i = common + 1;
    for (; carry != 0 && i <= longer; ++i) {
        r[i] = a[i] + 1;
        carry = r[i] == 0 ? 1 : 0;
    }
    copyLimbs(r + i, a + i, longer + 1 - i);
    setLimbs(r, longer);
    if (carry != 0) {
        r[longer + 1] = 1;
        setLimbs(r, longer + 1);
    }
}

std::uint32_t MPI_AddWord(std::uint32_t* x, std::uint32_t w) {
    const int limbs = limbsOf(x);
    if (limbs == 0) {
        mpi::setWord(x, w);
        return 0;
    }
    x[1] += w;
    std::uint32_t carry = x[1] < w ? 1 : 0;
    for (int i = 2; carry != 0 && i <= limbs; ++i) {
        ++x[i];
        carry = x[i] == 0 ? 1 : 0;
    }
    if (carry != 0) {
        x[limbs + 1] = 1;
        setLimbs(x, limbs + 1);
    }
    return carry;
}

void MPI_SubFrom(std::uint32_t* a, const std::uint32_t* b) {
    MPI_Sub(a, a, b);
}

// Limbs that one of the two lacks are zeros: those past the end of a become the two's complement of b.
std::uint32_t MPI_Sub(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* b) {
    const int aLimbs = limbsOf(a);
    const int bLimbs = limbsOf(b);
    const int common = aLimbs < bLimbs ? aLimbs : bLimbs;
    std::uint32_t borrow = mpi::subLimbs(r + 1, a + 1, b + 1, common);
    int i = common + 1;
    for (; i <= bLimbs; ++i) {
        const std::uint32_t limb = b[i];
        r[i] = 0U - limb - borrow;
        borrow = (limb | borrow) != 0 ? 1 : 0;
    }
    for (; borrow != 0 && i <= aLimbs; ++i) {
        borrow = a[i] == 0 ? 1 : 0;
        r[i] = a[i] - 1;
    }
    if (i <= aLimbs)
        copyLimbs(r + i, a + i, aLimbs + 1 - i);
    trim(r, aLimbs < bLimbs ? bLimbs : aLimbs);
    return borrow;
}

std::uint32_t MPI_SubWord(std::uint32_t* x, std::uint32_t w) {
    const int limbs = limbsOf(x);
    if (limbs == 0) {
        mpi::setWord(x, 0U - w);
        return w != 0 ? 1 : 0;
    }
    std::uint32_t borrow = x[1] < w ? 1 : 0;
    x[1] -= w;
    for (int i = 2; borrow != 0 && i <= limbs; ++i) {
        borrow = x[i] == 0 ? 1 : 0;
        --x[i];
    }
    trim(x, limbs);
    return borrow;
}

std::uint32_t MPI_Decrement(std::uint32_t* r, const std::uint32_t* x) {
    MPI_Copy(r, x);
    return MPI_SubWord(r, 1);
}

// Schoolbook at every size: below 16384 bits a method of fewer products costs more than it saves.
void MPI_Mul(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* b) {
    if (isZero(a) || isZero(b)) {
        setLimbs(r, 0);
        return;
    }
    const int limbs = limbsOf(a) + limbsOf(b);
    mpi::kernels().multiply(r + 1, a + 1, limbsOf(a), b + 1, limbsOf(b));
    setLimbs(r, r[limbs] != 0 ? limbs : limbs - 1);
}

void MPI_Square(std::uint32_t* r, const std::uint32_t* a) {
    if (isZero(a)) {
        setLimbs(r, 0);
        return;
    }
    const int limbs = 2 * limbsOf(a);
    mpi::kernels().square(r + 1, a + 1, limbsOf(a));
    setLimbs(r, r[limbs] != 0 ? limbs : limbs - 1);
}

void MPI_ShiftLeft(std::uint32_t* x, int bits) {
    const int limbs = limbsOf(x);
    if (limbs == 0)
        return;
    const int whole = bits / kLimbBits;
    const int rest = bits % kLimbBits;
    if (whole > 0) {
        copyLimbs(x + 1 + whole, x + 1, limbs);
        clearLimbs(x + 1, whole);
    }
    setLimbs(x, limbs + whole);
    if (rest == 0)
        return;
    std::uint64_t carry = 0;
    for (int i = 1 + whole; i <= limbs + whole; ++i) {
        carry |= static_cast<std::uint64_t>(x[i]) << rest;
        x[i] = low(carry);
        carry >>= kLimbBits;
    }
    if (carry != 0) {
        x[limbs + whole + 1] = low(carry);
        setLimbs(x, limbs + whole + 1);
    }
}

std::uint32_t MPI_ShiftRight(std::uint32_t* x, int bits) {
    const int whole = bits / kLimbBits;
    const int rest = bits % kLimbBits;
    const int limbs = limbsOf(x) - whole;
    if (limbs <= 0) {
        setLimbs(x, 0);
        return 0;
    }
    if (whole > 0)
        copyLimbs(x + 1, x + 1 + whole, limbs);
    setLimbs(x, limbs);
    if (rest == 0)
        return 0;
    const std::uint32_t lost = x[1] & ((1U << rest) - 1);
    for (int i = 1; i < limbs; ++i)
        x[i] = x[i] >> rest | x[i + 1] << (kLimbBits - rest);
    x[limbs] >>= rest;
    trim(x, limbs);
    return lost;
}

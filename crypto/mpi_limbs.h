// Small steps over arrays of limbs that the sources of mpi.h share. Counts are limbs.
#ifndef VT_CRYPTO_MPI_LIMBS_H
#define VT_CRYPTO_MPI_LIMBS_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "crypto/mpi.h"

namespace mpi {

constexpr int kLimbBits = 32;

inline std::uint32_t low(std::uint64_t value) {
    return static_cast<std::uint32_t>(value);
}
inline std::uint32_t high(std::uint64_t value) {
    return static_cast<std::uint32_t>(value >> kLimbBits);
}

// The limb count of a number, its limbs, and setting the count.
inline int limbsOf(const std::uint32_t* x) {
    return static_cast<int>(x[0]);
}
inline void setLimbs(std::uint32_t* x, int count) {
    x[0] = static_cast<std::uint32_t>(count);
}
inline bool isZero(const std::uint32_t* x) {
    return x[0] == 0;
}
inline bool isOdd(const std::uint32_t* x) {
    return x[0] != 0 && (x[1] & 1) != 0;
}
inline bool isWord(const std::uint32_t* x, std::uint32_t w) {
    return x[0] == 1 && x[1] == w;
}
inline void setWord(std::uint32_t* x, std::uint32_t w) {
    x[0] = w != 0 ? 1 : 0;
    x[1] = w;
}

inline void copyLimbs(std::uint32_t* to, const std::uint32_t* from, int count) {
    std::memmove(to, from, static_cast<std::size_t>(count) * sizeof *to);
}
inline void clearLimbs(std::uint32_t* to, int count) {
    std::memset(to, 0, static_cast<std::size_t>(count) * sizeof *to);
}

// significant: count without the zero limbs at the top.
inline int significant(const std::uint32_t* limbs, int count) {
    while (count > 0 && limbs[count - 1] == 0)
        --count;
    return count;
}
// trim sets the count of x, whose limbs are in place, to what is left without zero limbs at the top.
inline void trim(std::uint32_t* x, int count) {
    setLimbs(x, significant(x + 1, count));
}
// padded: the limbs of x in count limbs, with zeros above.
inline void padded(std::uint32_t* to, const std::uint32_t* x, int count) {
    copyLimbs(to, x + 1, limbsOf(x));
    clearLimbs(to + limbsOf(x), count - limbsOf(x));
}

// compareLimbs: -1, 0 or 1 for a below, equal to or above b.
inline int compareLimbs(const std::uint32_t* a, const std::uint32_t* b, int count) {
    for (int i = count - 1; i >= 0; --i) {
        if (a[i] != b[i])
            return a[i] < b[i] ? -1 : 1;
    }
    return 0;
}

// addLimbs: r = a + b; it returns the carry. r may be a or b.
inline std::uint32_t addLimbs(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* b, int count) {
    std::uint64_t sum = 0;
    for (int i = 0; i < count; ++i) {
        sum += static_cast<std::uint64_t>(a[i]) + b[i];
        r[i] = low(sum);
        sum >>= kLimbBits;
    }
    return low(sum);
}
// subLimbs: r = a - b; it returns the borrow. r may be a or b.
inline std::uint32_t subLimbs(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* b, int count) {
    std::uint64_t borrow = 0;
    for (int i = 0; i < count; ++i) {
        const std::uint64_t difference = static_cast<std::uint64_t>(a[i]) - b[i] - borrow;
        r[i] = low(difference);
        borrow = difference >> 63;
    }
    return low(borrow);
}

// subtractRow: r -= a w; it returns what is to be taken from the limb above.
inline std::uint32_t subtractRow(std::uint32_t* r, const std::uint32_t* a, int count, std::uint32_t w) {
    std::uint64_t carry = 0;
    for (int i = 0; i < count; ++i) {
        carry += static_cast<std::uint64_t>(a[i]) * w;
        const std::uint32_t taken = low(carry);
        carry = high(carry) + (r[i] < taken ? 1U : 0U);
        r[i] -= taken;
    }
    return low(carry);
}

// subtractOnce: r = a, of count limbs and an overflow of 0 or 1 above them, less n if it is not below n.
inline void subtractOnce(std::uint32_t* r, const std::uint32_t* a, const std::uint32_t* n, int count) {
    if (a[count] != 0 || compareLimbs(a, n, count) >= 0)
        subLimbs(r, a, n, count);
    else
        copyLimbs(r, a, count);
}

// leadingZeros of a word that is not zero; trailingZeros of one that is not zero.
inline int leadingZeros(std::uint32_t w) {
    return __builtin_clz(w);
}
inline int trailingZeros(std::uint32_t w) {
    return __builtin_ctz(w);
}

}  // namespace mpi

#endif

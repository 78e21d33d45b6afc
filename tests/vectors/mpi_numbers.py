#!/usr/bin/env python3
"""Writes mpi_numbers.h: what python's integers make of the operands that tests/crypto/mpi_operands.h makes too.

    python3 tests/vectors/mpi_numbers.py > tests/vectors/mpi_numbers.h

Operands are noise with many limbs 0 and ffffffff, made again in the tests from the number of the case; results are kept
as digests. So every limb count has its case and the file stays small.
"""
import math
import random

MASK = 0xFFFFFFFF
TABLES = ["products", "squares", "sums", "shifts", "divisions", "words", "reductions", "foreign_reductions", "forms",
          "inverses", "mont_inverses", "powers"]


class Noise:
    """tests/support/noise.h"""

    def __init__(self, seed):
        self.state = seed

    def next(self):
        state = self.state
        state ^= state << 13 & MASK
        state ^= state >> 17
        state ^= state << 5 & MASK
        self.state = state
        return state


def operand(table, case, which, limbs):
    noise = Noise((4 * (1000 * TABLES.index(table) + case) + which + 1) * 2654435761 & MASK)
    value = 0
    for i in range(limbs):
        kind = noise.next() % 8
        limb = 0 if kind == 0 else MASK if kind == 1 else noise.next()
        if i == limbs - 1 and limb == 0:
            limb = 1
        value |= limb << 32 * i
    return value


def limbs_of(value):
    return (value.bit_length() + 31) // 32


def digest(*values):
    """FNV-1a over the words of the numbers, counts first."""
    state = 0xCBF29CE484222325
    for value in values:
        count = limbs_of(value)
        for word in [count] + [value >> 32 * i & MASK for i in range(count)]:
            state = (state ^ word) * 0x100000001B3 & (1 << 64) - 1
    return state


def montgomery(t, n, n_prime, m):
    """Row by row, whatever n' is."""
    for i in range(m):
        u = (t >> 32 * i & MASK) * n_prime & MASK
        t += u * n << 32 * i
    t >>= 32 * m
    return t - n if t >= n else t


def constant(n):
    return -pow(n, -1, 1 << 32) & MASK


def products():
    for a in range(257):
        b = (7 * a + 3) % 257
        yield a, b, 0, digest(operand("products", a, 0, a) * operand("products", a, 1, b))


def squares():
    for a in range(257):
        yield a, 0, 0, digest(operand("squares", a, 0, a) ** 2)


def sums():
    """The sum, the difference (wrapped where it is negative) and the borrow."""
    for case in range(512):
        a, b = case, (case * 5 + 1) % 512 if case % 3 else case
        x, y = operand("sums", case, 0, a), operand("sums", case, 1, b)
        yield a, b, 0, digest(x + y, (x - y) % (1 << 32 * max(a, b)), int(x < y))


def shifts():
    """Up, down, and the bits that a shift down loses from the low limb."""
    for case in range(500):
        bits = [1, 31, 32, 33, 0, 64, 95, 7][case % 8] + 32 * (case % 5)
        x = operand("shifts", case, 0, case)
        lost = x >> bits // 32 * 32 & (1 << bits % 32) - 1
        yield case, bits, 0, digest(x << bits, x >> bits, lost)


def divisions():
    for case in range(513):
        a, d = case, case * 5 % (case + 1) + 1
        x, y = operand("divisions", case, 0, a), operand("divisions", case, 1, d)
        yield a, d, 0, digest(x // y, x % y)


def words():
    for case in range(513):
        w = operand("words", case, 1, 1)
        x = operand("words", case, 0, case)
        yield case, 0, 0, digest(x % w, x + w, (x - w) % (1 << 32 * max(case, 1)), int(x < w))


def reductions():
    """A t of any size up to 2 m limbs: what is not below n R comes out not below n."""
    for m in range(1, 257):
        t = 2 * m - m % 3
        n = operand("reductions", m, 1, m) | 1
        yield t, m, 0, digest(montgomery(operand("reductions", m, 0, t), n, constant(n), m))


def foreign_reductions():
    """A modulus of any kind and an n' that is not its constant."""
    for m in range(1, 20):
        n = operand("foreign_reductions", m, 1, m)
        n_prime = operand("foreign_reductions", m, 2, 1)
        yield 2 * m, m, 0, digest(montgomery(operand("foreign_reductions", m, 0, 2 * m), n, n_prime, m))


def forms():
    for m in range(1, 257):
        x = m * 3 % 257
        n = operand("forms", m, 1, m)
        yield x, m, 0, digest((operand("forms", m, 0, x) << 32 * m) % n)


def inverses():
    """Digest 0: there is none."""
    for case in range(1, 120):
        m = case if case < 100 else 8 * (case - 92)
        x = m * 7 % (m + 2)
        xv, mv = operand("inverses", case, 0, x), operand("inverses", case, 1, m)
        if case % 3:
            mv |= 1
        yield x, m, case % 3, digest(pow(xv, -1, mv)) if math.gcd(xv, mv) == 1 else 0


def mont_inverses():
    for case in range(1, 120):
        m = case if case < 100 else 8 * (case - 92)
        x = m * 7 % (m + 2)
        k = [32 * m, 0, 1, 64 * m, 33, 32 * m - 5, 20000][case % 7]
        xv, mv = operand("mont_inverses", case, 0, x), operand("mont_inverses", case, 1, m) | 1
        yield x, m, k, digest((pow(xv, -1, mv) << k) % mv) if math.gcd(xv, mv) == 1 else 0


def powers():
    for case in range(1, 41):
        n, e = (case, case * 7 % (case + 2)) if case <= 36 else ([48, 64, 65, 129][case - 37], 2)
        x = n + case % 3 - 1
        xv, ev, nv = operand("powers", case, 0, x), operand("powers", case, 2, e), operand("powers", case, 1, n)
        if case % 8:
            nv |= 1
        yield x, n, e, digest(pow(xv, ev, nv) if ev else 1)


# Searches for primes, as the step of 64 over residues that step by 2 makes them.
PRIMES = [p for p in range(3, 9740, 2) if all(p % d for d in range(3, math.isqrt(p) + 1, 2))]


def is_prime(n):
    if n < 2 or any(n % p == 0 for p in [2] + PRIMES):
        return n == 2
    d, s = n - 1, 0
    while d % 2 == 0:
        d, s = d // 2, s + 1
    return all(passes(n, d, s, random.randrange(2, n - 1)) for _ in range(12))


def passes(n, d, s, base):
    y = pow(base, d, n)
    if y in (1, n - 1):
        return True
    for _ in range(s - 1):
        y = y * y % n
        if y == n - 1:
            return True
    return False


def find_small_prime(x, top):
    while x not in PRIMES:
        x += 2
        if not x & top:
            x = top + 1
    return x


def find_prime(x, bits):
    top = 1 << bits - 1
    x = (x | 1 | top) % (2 * top)
    if bits <= 32 and x <= PRIMES[-1]:
        return find_small_prime(x, top)
    residues = [x % p for p in PRIMES]
    while not (all(residues) and is_prime(x)):
        x += 64
        if x & top:
            residues = [(r + 2) % p for r, p in zip(residues, PRIMES)]
            continue
        x = (x | top) % (2 * top)
        if x <= PRIMES[-1]:  # 14 bits: no prime would ever pass the residues
            return find_small_prime(x, top)
        residues = [x % p for p in PRIMES]
    return x


def searches():
    noise = random.Random(2014)
    for bits in range(2, 15):
        for start in {0, 1, (1 << bits) - 1, noise.getrandbits(bits), noise.getrandbits(bits)}:
            yield bits, start
    for bits in (15, 16, 17, 24, 31, 32, 33, 48, 63, 64, 65, 96, 128, 160):
        for start in (0, (1 << bits) - 1, (1 << bits) - 61, noise.getrandbits(bits), noise.getrandbits(bits + 40)):
            yield bits, start
    for bits in (256, 257, 384, 512):
        yield bits, noise.getrandbits(bits)
    yield 14, 9740
    yield 14, 9739
    yield 256, 12345


def hex_of(value):
    return value.to_bytes(max(1, (value.bit_length() + 7) // 8), "big").hex()


def main():
    random.seed(1)
    print("// Made by mpi_numbers.py with python's integers:\n"
          "//     python3 tests/vectors/mpi_numbers.py > tests/vectors/mpi_numbers.h\n"
          "// A case is its place in the table; its operands come from tests/crypto/mpi_operands.h.\n"
          "#ifndef VT_TESTS_VECTORS_MPI_NUMBERS_H\n#define VT_TESTS_VECTORS_MPI_NUMBERS_H\n\n#include <cstdint>\n\n// clang-format off\n"
          "namespace mpi_numbers {\n\n"
          "// The limb counts of the operands (or a count of bits, or k), and the digest of the results.\n"
          "struct Case {\n    int number;\n    int a;\n    int b;\n    int c;\n    std::uint64_t digest;\n};\n\n"
          "enum Table : unsigned {")
    for name in TABLES:
        print(f"    {name},")
    print("};")
    first = {"reductions": 1, "foreign_reductions": 1, "forms": 1, "inverses": 1, "mont_inverses": 1, "powers": 1}
    for name in TABLES:
        print(f"\n// {name}\ninline constexpr Case k_{name}[] = {{")
        for number, (a, b, c, value) in enumerate(globals()[name](), first.get(name, 0)):
            print(f"    {{{number}, {a}, {b}, {c}, 0x{value:016x}}},")
        print("};")
    print("\nstruct Search {\n    int bits;\n    const char* start;\n    const char* prime;\n};\n"
          "inline constexpr Search kSearches[] = {")
    for bits, start in searches():
        prime = find_prime(start, bits)
        print(f"    {{{bits}, \"{hex_of(start)}\",\n"
              f"     \"{hex_of(prime)}\"}},")
    print("};\n\n}  // namespace mpi_numbers\n// clang-format on\n\n#endif")


if __name__ == "__main__":
    main()

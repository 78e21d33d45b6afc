#!/usr/bin/env python3
"""Makes tests/vectors/big_integers.h: python3 tests/vectors/big_integers.py > tests/vectors/big_integers.h

Python's integers do the reckoning. Numbers are the hex digits of their shortest two's complement form, '.' for zero.
"""

import random
import sys


def text(number):
    if number == 0:
        return "."
    size = 1
    while not -(1 << (8 * size - 1)) <= number < 1 << (8 * size - 1):
        size += 1
    return number.to_bytes(size, "big", signed=True).hex()


def quotient(a, b):
    cut = abs(a) // abs(b)
    return cut if (a < 0) == (b < 0) else -cut


def fnv(data):
    """FNV-1a, 64 bits."""
    value = 0xCBF29CE484222325
    for byte in data:
        value = (value ^ byte) * 0x100000001B3 % 2**64
    return value


def table(name, fields, rows):
    print(f"// {fields}")
    print(f"constexpr const char* {name}[] = {{")
    for row in rows:
        print(f'    "{row}",')
    print("};\n")


def pattern(size, factor):
    return int.from_bytes(bytes((i * factor + 13) % 256 for i in range(size)), "big", signed=True)


if hasattr(sys, "set_int_max_str_digits"):
    sys.set_int_max_str_digits(0)

edges = [0, 1, -1, 127, 128, -128, -129, 255, -256, 2**31 - 1, -2**31, 2**32, -2**63, 2**64, -2**128 + 1]
draw = random.Random(20200704)
drawn = [draw.getrandbits(8 * size) * draw.choice((1, -1)) for size in range(1, 34)] + [draw.getrandbits(8 * 97)]
pairs = [(a, b) for a in edges for b in edges] + [(a, b) for a in drawn for b in draw.sample(drawn, 4)]

# Dividends that lead an estimate of the schoolbook's long division in 32-bit digits astray (Knuth 4.3.1, exercise 22).
rare = [(0x7FFFFFFF_80000000_00000000_00000000, 0x80000000_00000000_00000001),
        (0x80000000_FFFFFFFE_00000000, 0x80000000_FFFFFFFF),
        (0x80000000_00000000_00000003, 0x20000000_00000000_00000001),
        (0x80000000_00000000_FFFFFFFE_00000000, 0x80000000_00000000_FFFFFFFF),
        (0x80000000_00000000_00000000_00000000, 0x80000000_00000000_00000001)]

print("// Big integers, reckoned by python3 (tests/vectors/big_integers.py says how).")
print("// clang-format off")
print("#ifndef VT_TESTS_VECTORS_BIG_INTEGERS_H")
print("#define VT_TESTS_VECTORS_BIG_INTEGERS_H\n")
print("#include <cstdint>\n")
print("namespace vectors {\n")
table("kPairs", "a, b, a + b, a - b, a * b, a & b, a | b",
      (" ".join(map(text, (a, b, a + b, a - b, a * b, a & b, a | b))) for a, b in pairs))
table("kQuotients", "a, b, a / b, a % b, cut towards zero",
      (" ".join(map(text, (a, b, quotient(a, b), a - b * quotient(a, b)))) for a, b in pairs + rare if b))
table("kShifts", "a, count, a << count, a >> count",
      (f"{text(a)} {n} {text(a << n)} {text(a >> n)}" for a in edges + drawn[::4] for n in (0, 1, 7, 8, 9, 31, 33, 200)))
table("kDecimals", "a, its decimal text", (f"{text(a)} {a}" for a in edges + drawn + [10**9, 10**18 - 1, 10**40]))
print("""// Numbers of a size whose bytes are i * factor + 13: the FNV-1a hash of the decimal text, and of the bytes of the product
// with, the quotient by and the remainder by a second number.
struct Large {
    unsigned size;
    unsigned factor;
    unsigned size2;
    unsigned factor2;
    std::uint64_t decimal;
    std::uint64_t product;
    std::uint64_t quotient;
    std::uint64_t remainder;
};
constexpr Large kLarge[] = {""")
for size, factor, size2, factor2 in ((159, 7, 40, 3), (160, 9, 160, 11), (161, 5, 163, 7), (1000, 7, 501, 29), (999, 31, 320, 5),
                                     (5003, 23, 171, 3), (4096, 3, 4095, 3), (20011, 129, 9001, 77)):
    a, b = pattern(size, factor), pattern(size2, factor2)
    q = quotient(a, b)
    hashes = [fnv(str(a).encode())] + [fnv(bytes.fromhex(text(n).replace(".", ""))) for n in (a * b, q, a - b * q)]
    print(f"    {{{size}, {factor}, {size2}, {factor2}, " + ", ".join(f"0x{h:016X}" for h in hashes) + "},")
print("};\n")
print("}  // namespace vectors\n")
print("#endif")

#!/usr/bin/env python3
"""Writes rsa_generated_keys.h: the keys that a fresh thread makes first, worked out with Python's integers.

    python3 rsa_generated_keys.py

The generator has no secrets: its random numbers are those of a linear congruential generator that starts at 1, and q
follows from p. So a key depends on its size alone, and on how often the generator was drawn before.
"""
import pathlib

HEADER = pathlib.Path(__file__).resolve().with_suffix(".h")
BASES = [p for p in range(2, 114) if all(p % d for d in range(2, p))]
TABLE = [p for p in range(3, 9740, 2) if all(p % d for d in range(3, int(p ** 0.5) + 1, 2))]
assert len(BASES) == 30 and len(TABLE) == 1200 and TABLE[-1] == 9739


class Rand:
    """The runtime's rand, as every thread starts it."""

    def __init__(self):
        self.state = 1

    def next(self):
        self.state = (self.state * 214013 + 2531011) % 2 ** 32
        return self.state >> 16 & 0x7FFF

    def limb(self):
        value = 0
        for _ in range(4):
            value = value << 8 | self.next() & 0xFF
        return value

    def number(self, limbs):
        value = sum(self.limb() << 32 * i for i in range(limbs - 1))
        top = 0
        while top == 0:
            top = self.limb()
        return value | top << 32 * (limbs - 1)


def is_probable_prime(n):
    if n == 2:
        return True
    if n < 2 or n % 2 == 0 or any(n % p == 0 for p in TABLE):
        return False
    s = (n - 1 & 1 - n).bit_length() - 1
    d = n - 1 >> s
    for base in BASES:
        y = pow(base, d, n)
        if y in (1, n - 1):
            continue
        for _ in range(s - 1):
            y = y * y % n
            if y == n - 1:
                break
        else:
            return False
    return True


def find_prime(x, bits):
    top = 1 << bits - 1
    x = x % (2 * top) | top | 1
    if bits <= 32:
        while x <= TABLE[-1]:
            if x in TABLE:
                return x
            x += 2
            if not x & top:
                x = top + 1
    residues = [x % p for p in TABLE]
    while True:
        if 0 not in residues and is_probable_prime(x):
            return x
        x += 64
        if x & top:
            residues = [(r + 2) % p for r, p in zip(residues, TABLE)]
        else:
            x = x % top | top
            residues = [x % p for p in TABLE]


def generate(rand, bits):
    """The eight numbers, or None."""
    p_bits = (bits + 1) // 2
    q_bits = bits - p_bits
    for _ in range(10):
        p = find_prime(rand.number((p_bits + 31) // 32), p_bits)
        rand.number((q_bits + 31) // 32)
        q = find_prime(2 ** (bits - 1) // p + 1, q_bits)
        if p == q or not p * q >> bits - 1 & 1:
            continue
        coefficient = pow(q, -1, p)
        phi = (p - 1) * (q - 1)
        e = 65537
        while True:
            e += 2
            try:
                d = pow(e, -1, phi)
                break
            except ValueError:
                pass
        return [p * q, e, d, p, q, d % (p - 1), d % (q - 1), coefficient]
    return None


def literal(number):
    """As the key items are written: whole limbs."""
    limbs = (number.bit_length() + 31) // 32
    text = f"{number:0{8 * limbs}x}"
    return "\n".join(f'     "{text[i:i + 110]}"' for i in range(0, len(text), 110))


def main():
    rows = []
    for bits, number in [(5, 1), (16, 1), (28, 1), (64, 1), (96, 1), (97, 1), (512, 1), (512, 2), (513, 1), (1024, 1),
                         (1024, 2), (1056, 1)]:
        rand = Rand()
        for _ in range(number):
            key = generate(rand, bits)
        assert key and key[0].bit_length() == bits
        rows.append(f"    {{{bits}, {number},\n    {{\n" + ",\n".join(map(literal, key)) + "\n    }},\n")
    none = [bits for bits in range(2, 24) if generate(Rand(), bits) is None]
    HEADER.write_text(f"""// Made by rsa_generated_keys.py with Python's integers.
#ifndef VT_TESTS_VECTORS_RSA_GENERATED_KEYS_H
#define VT_TESTS_VECTORS_RSA_GENERATED_KEYS_H

// What a fresh thread makes: the number-th key of so many bits, in the order of RSA_KEY_ITEMS, in whole limbs.
struct RsaGeneratedKey {{
    int bits;
    int number;
    const char* items[8];
}};

inline constexpr RsaGeneratedKey kRsaGeneratedKeys[] = {{
{"".join(rows)}}};

// Sizes below 24 bits for which ten attempts of a fresh thread make no key.
inline constexpr int kRsaSizesWithoutKey[] = {{{", ".join(map(str, none))}}};

#endif
""", encoding="ascii")


main()

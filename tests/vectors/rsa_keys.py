#!/usr/bin/env python3
"""Writes rsa_keys.h: RSA keys and blocks by openssl.

    python3 rsa_keys.py

    openssl genpkey -algorithm RSA -pkeyopt rsa_keygen_bits:BITS -pkeyopt rsa_keygen_pubexp:EXPONENT
    openssl rsa -traditional -outform DER
    openssl pkeyutl -encrypt -pkeyopt rsa_padding_mode:pkcs1       a block of type 2 with random filler
    openssl pkeyutl -sign -pkeyopt rsa_padding_mode:pkcs1          a block of type 1 around the message itself
    openssl pkeyutl -encrypt -pkeyopt rsa_padding_mode:none        the bare public operation

OpenSSL reduces d by the least common multiple of p - 1 and q - 1. The d here is the inverse of e modulo the product, by
Python's pow; OpenSSL's own stands beside it. Keys below 512 bits, which openssl does not make, are by Python alone, as is
the block of type 2 with the filler 01. The keys are new each time.
"""
import pathlib
import random
import subprocess
import tempfile

HEADER = pathlib.Path(__file__).resolve().with_suffix(".h")
SCRATCH = pathlib.Path(tempfile.mkdtemp())


def openssl(*arguments, stdin=b""):
    return subprocess.run(["openssl", *arguments], input=stdin, capture_output=True, check=True).stdout


def integers(der):
    """The INTEGERs of one SEQUENCE."""
    def header(at):
        length, at = der[at + 1], at + 2
        if length & 0x80:
            count = length & 0x7F
            length, at = int.from_bytes(der[at:at + count], "big"), at + count
        return at, length
    at, _ = header(0)
    found = []
    while at < len(der):
        at, length = header(at)
        found.append(int.from_bytes(der[at:at + length], "big"))
        at += length
    return found


def to_bytes(number, length=0):
    return number.to_bytes(length or (number.bit_length() + 7) // 8, "big")


def literal(data):
    text = data.hex()
    return "\n".join(f'     "{text[i:i + 110]}"' for i in range(0, len(text), 110)) or '     ""'


def is_prime(n):
    return n > 1 and all(pow(b, n - 1, n) == 1 for b in (2, 3, 5, 7, 11, 13) if n % b) and all(n % b for b in (2, 3, 5))


def small_key(bits):
    """A key of so many bits, by Python."""
    draw = random.Random(bits)
    e = 65537
    while True:
        p = draw.getrandbits(bits // 2) | 1
        q = draw.getrandbits(bits - bits // 2) | 1
        n, phi = p * q, (p - 1) * (q - 1)
        if p != q and n.bit_length() == bits and is_prime(p) and is_prime(q) and phi % e:
            return [n, e, p, q]


def make_row(bits, e):
    if bits < 512:
        n, e, p, q = small_key(bits)
        theirs = 0
        key = None
    else:
        key = SCRATCH / "key.pem"
        openssl("genpkey", "-algorithm", "RSA", "-pkeyopt", f"rsa_keygen_bits:{bits}", "-pkeyopt",
                f"rsa_keygen_pubexp:{e}", "-out", key)
        _, n, e, theirs, p, q, *_ = integers(openssl("rsa", "-in", key, "-traditional", "-outform", "DER"))
    d = pow(e, -1, (p - 1) * (q - 1))
    numbers = [n, e, d, p, q, d % (p - 1), d % (q - 1), pow(q, -1, p)]
    k = (n.bit_length() + 7) // 8
    message = bytes((7 * i + bits) & 255 for i in range(min(k - 11, 20)))
    raw = bytes(i & 255 for i in range(k - 1, -1, -1))
    raw = b"\0" + raw[1:]
    ours = pow(int.from_bytes(b"\0\2" + b"\1" * (k - 3 - len(message)) + b"\0" + message, "big"), e, n)
    typed = int.from_bytes(b"\0\1" + b"\xff" * (k - 3 - len(message)) + b"\0" + message, "big")
    if key:
        pad = ("-pkeyopt", "rsa_padding_mode:pkcs1")
        encrypted = openssl("pkeyutl", "-encrypt", "-inkey", key, *pad, stdin=message)
        signed = openssl("pkeyutl", "-sign", "-inkey", key, *pad, stdin=message)
        power = openssl("pkeyutl", "-encrypt", "-inkey", key, "-pkeyopt", "rsa_padding_mode:none", stdin=raw)
    else:
        filler = bytes(random.Random(k).choices(range(1, 256), k=k - 3 - len(message)))
        encrypted = to_bytes(pow(int.from_bytes(b"\0\2" + filler + b"\0" + message, "big"), e, n), k)
        signed = to_bytes(pow(typed, d, n), k)
        power = to_bytes(pow(int.from_bytes(raw, "big"), e, n), k)
    fields = [message, encrypted, to_bytes(ours, k), signed, raw, power]
    return (f"    {{{bits},\n    {{\n" + ",\n".join(literal(to_bytes(x)) for x in numbers) + "\n    },\n"
            + literal(to_bytes(theirs) if theirs and theirs != d else b"") + ",\n"
            + ",\n".join(map(literal, fields)) + "\n    },\n")


def main():
    rows = [make_row(bits, e) for bits, e in
            [(88, 0), (96, 0), (97, 0), (512, 3), (512, 65537), (768, 65539), (1000, 65537), (1024, 65537),
             (1024, 2 ** 63 + 29), (2048, 65537), (3072, 65537), (4096, 65537), (8192, 65537)]]
    version = " ".join(openssl("version").decode().split()[:2])
    HEADER.write_text(f"""// Made by rsa_keys.py with {version} and Python's integers.
#ifndef VT_TESTS_VECTORS_RSA_KEYS_H
#define VT_TESTS_VECTORS_RSA_KEYS_H

struct RsaKeyVector {{
    int bits;
    const char* items[8];     // in the order of RSA_KEY_ITEMS, without leading zeros
    const char* reducedD;     // d as openssl reduced it, or empty if that is the same
    const char* message;
    const char* encrypted;    // a block of type 2 with random filler
    const char* constantPad;  // the block of type 2 with the filler 01
    const char* signedBlock;  // the block of type 1
    const char* raw;          // k bytes below n
    const char* rawPower;     // raw to the e modulo n
}};

inline constexpr RsaKeyVector kRsaKeys[] = {{
{"".join(rows)}}};

#endif
""", encoding="ascii")


main()

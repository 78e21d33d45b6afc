#!/usr/bin/env python3
"""Writes ms_private_keys.h: RSA private keys by openssl, as Microsoft blob and as DER.

    python3 ms_private_keys.py

    openssl genpkey -algorithm RSA -pkeyopt rsa_keygen_bits:BITS -pkeyopt rsa_keygen_pubexp:EXPONENT
    openssl rsa -outform MSBLOB                                    the private blob
    openssl rsa -pubout -outform MSBLOB                            the public blob
    openssl rsa -traditional -outform DER                          RSAPrivateKey
    openssl rsa -RSAPublicKey_out -outform DER                     RSAPublicKey

Each number of a key fills its place in the blob. The keys are new each time.
"""
import pathlib
import subprocess
import tempfile

HEADER = pathlib.Path(__file__).resolve().with_suffix(".h")
KEYS = [(512, 65537), (1024, 65537), (2048, 65537), (2048, 8388609), (2048, 3)]


def openssl(*arguments, stdin=b""):
    return subprocess.run(["openssl", *arguments], input=stdin, capture_output=True, check=True).stdout


def literal(data):
    text = data.hex()
    return "\n".join(f'     "{text[i:i + 110]}"' for i in range(0, len(text), 110))


def fills_its_places(blob, bits):
    half, ends = bits // 16, []
    end = 20 + bits // 8
    for size in (half, half, half, half, half, bits // 8):
        end += size
        ends.append(end)
    assert ends[-1] == len(blob)
    return all(blob[end - 1] != 0 for end in ends)


def make_row(bits, exponent):
    while True:
        key = openssl("genpkey", "-algorithm", "RSA", "-pkeyopt", f"rsa_keygen_bits:{bits}", "-pkeyopt",
                      f"rsa_keygen_pubexp:{exponent}")
        blob = openssl("rsa", "-outform", "MSBLOB", stdin=key)
        if fills_its_places(blob, bits):
            break
    forms = [blob, openssl("rsa", "-pubout", "-outform", "MSBLOB", stdin=key),
             openssl("rsa", "-traditional", "-outform", "DER", stdin=key),
             openssl("rsa", "-RSAPublicKey_out", "-outform", "DER", stdin=key)]
    return f"    {{{bits}, {exponent}U,\n" + ",\n".join(literal(form) for form in forms) + "},\n"


def main():
    version = " ".join(openssl("version").decode().split()[:2])
    rows = "".join(make_row(*key) for key in KEYS)
    HEADER.write_text(f"""// Made by ms_private_keys.py with {version}.
#ifndef VT_TESTS_VECTORS_MS_PRIVATE_KEYS_H
#define VT_TESTS_VECTORS_MS_PRIVATE_KEYS_H

struct MsPrivateKey {{
    unsigned int bits;
    unsigned int exponent;
    const char* blob;
    const char* publicBlob;
    const char* der;        // RSAPrivateKey
    const char* publicDer;  // RSAPublicKey
}};

inline constexpr MsPrivateKey kMsPrivateKeys[] = {{
{rows}}};

#endif
""")
    subprocess.run(["clang-format", "-i", HEADER], check=True)


main()

#!/usr/bin/env python3
"""Writes token_operations.h: ciphertexts, digests and signatures by openssl.

    python3 token_operations.py

    openssl enc -CIPHER -K KEY -iv IV -provider legacy -provider default     modes of CBC with padding, and RC4
    openssl dgst -sha1 / -md5
    openssl dgst -sha1 / -md5 -sign                       PKCS#1 v1.5 with a DigestInfo
    openssl pkeyutl -sign -pkeyopt rsa_padding_mode:pkcs1          a type 1 block around the bare digest
    openssl genpkey -algorithm RSA; openssl rsa -text
    openssl pkeyutl -encrypt -pkeyopt rsa_padding_mode:pkcs1       type 2 blocks with random filler

The RSA keys are those of rsa_keys.h, as openssl's own structure, and two of other sizes. Type 2 blocks with the filler 01 and the hash chain are
by Python's integers and hashlib.
"""
import hashlib
import pathlib
import re
import subprocess
import tempfile

HERE = pathlib.Path(__file__).resolve()
SCRATCH = pathlib.Path(tempfile.mkdtemp())
MESSAGE = b"What a token signs verifies in software."


def openssl(*arguments, stdin=b""):
    return subprocess.run(["openssl", *map(str, arguments)], input=stdin, capture_output=True, check=True).stdout


def pattern(length):
    return bytes((31 * i + 7) & 255 for i in range(length))


def literal(data, indent):
    text = data.hex()
    lines = [text[i:i + 100] for i in range(0, len(text), 100)] or [""]
    return "\n".join(f'{indent}"{line}"' for line in lines)


def row(numbers, strings):
    cells = [str(n) for n in numbers] + ["\n" + literal(s, "     ") for s in strings]
    return "    {" + ", ".join(cells) + "},\n"


def known_keys():
    """bits: eight numbers, the first key of each size in rsa_keys.h."""
    text = HERE.with_name("rsa_keys.h").read_text(encoding="ascii")
    text = re.sub(r'"\s+"', "", text)
    keys = {}
    for bits, items in re.findall(r"\{(\d+),\s*\{([^}]*)\}", text):
        keys.setdefault(int(bits), [int(x, 16) for x in re.findall(r'"([0-9a-f]+)"', items)])
    return keys


def key_file(numbers):
    names = ["modulus", "pubExp", "privExp", "p", "q", "e1", "e2", "coeff"]
    config = "asn1=SEQUENCE:key\n[key]\nversion=INTEGER:0\n" + "".join(
        f"{name}=INTEGER:0x{number:x}\n" for name, number in zip(names, numbers))
    (SCRATCH / "key.cnf").write_text(config)
    openssl("asn1parse", "-genconf", SCRATCH / "key.cnf", "-noout", "-out", SCRATCH / "key.der")
    return SCRATCH / "key.der"


def cipher_rows():
    ciphers = [(4, 0, 2, "des-cbc", 8), (5, 0, 1, "des-ede3-cbc", 24), (6, 40, 3, "rc2-40-cbc", 5),
               (6, 64, 3, "rc2-64-cbc", 8), (6, 128, 3, "rc2-cbc", 16), (7, 0, 4, "rc4", 16)]
    for algorithm, bits, key_code, name, key_length in ciphers:
        key = bytes((0x3B * i + 0x11 * algorithm + 1) & 255 for i in range(key_length))
        iv = b"" if name == "rc4" else bytes(0xA0 + i for i in range(8))
        for length in (1, 7, 8, 9, 16, 500):
            arguments = ["enc", f"-{name}", "-K", key.hex(), "-provider", "legacy", "-provider", "default"]
            arguments += ["-iv", iv.hex()] if iv else []
            yield row([algorithm, bits, key_code],
                      [key, iv, pattern(length), openssl(*arguments, stdin=pattern(length))])


def digest_rows():
    for algorithm, name in ((1, "-sha1"), (2, "-md5")):
        for length in (0, 1, 55, 56, 64, 1000):
            yield row([algorithm], [pattern(length), openssl("dgst", name, "-binary", stdin=pattern(length))])
    # RFC 1319, A.5
    for text, digest in ((b"", "8350e5a3e24c153df2275c9f80692773"), (b"abc", "da853b0d3f88d99b30283a69e6ded6bb"),
                         (b"abcdefghijklmnopqrstuvwxyz", "4e8ddff3650292ab5a4108c3aa47940b")):
        yield row([3], [text, bytes.fromhex(digest)])


DIGEST_INFO = {"sha1": bytes.fromhex("3021300906052b0e03021a05000414"),
               "md5": bytes.fromhex("3020300c06082a864886f70d020505000410")}


def signature_rows(keys):
    for bits in (1024, 2048, 3072):
        key = key_file(keys[bits])
        for algorithm, name in ((9, "sha1"), (10, "md5")):
            digest = hashlib.new(name, MESSAGE).digest()
            info = DIGEST_INFO[name] + digest
            wrapped = openssl("dgst", f"-{name}", "-keyform", "DER", "-sign", key, stdin=MESSAGE)
            bare = openssl("pkeyutl", "-sign", "-inkey", key, "-keyform", "DER", "-pkeyopt",
                           "rsa_padding_mode:pkcs1", stdin=digest)
            yield row([bits, algorithm], [MESSAGE, info, wrapped, bare])


def blocks_row(keys, bits, length):
    n, e = keys[bits][:2]
    k = (n.bit_length() + 7) // 8
    key = key_file(keys[bits])
    data = pattern(length)
    random_filler = constant_filler = b""
    for at in range(0, length, k - 11):
        part = data[at:at + k - 11]
        random_filler += openssl("pkeyutl", "-encrypt", "-inkey", key, "-keyform", "DER", "-pkeyopt",
                                 "rsa_padding_mode:pkcs1", stdin=part)
        block = b"\0\2" + b"\1" * (k - 3 - len(part)) + b"\0" + part
        constant_filler += pow(int.from_bytes(block, "big"), e, n).to_bytes(k, "big")
    return row([bits], [data, random_filler, constant_filler])


def chain_row(seed, length):
    w = bytearray(i & 255 for i in range(length))
    used = min(length, len(seed))
    w[:used] = seed[:used]
    for at in range(0, length, 20):
        w[at:at + 20] = hashlib.sha1(bytes(w[:length])).digest()
    return row([length], [seed, bytes(w[:length])])


def new_key_row(bits):
    """A key that openssl makes, with the d that is the inverse of e modulo (p - 1)(q - 1), and a type 1 block by it."""
    file = SCRATCH / "new.der"
    openssl("genpkey", "-algorithm", "RSA", "-pkeyopt", f"rsa_keygen_bits:{bits}", "-outform", "DER", "-out", file)
    text = openssl("rsa", "-in", file, "-noout", "-text").decode()
    n, p, q = (int(re.sub(r"[\s:]", "", re.search(rf"^{name}:\n((?:\s+[0-9a-f:]+\n)+)", text, re.M)[1]), 16)
               for name in ("modulus", "prime1", "prime2"))
    e = 65537
    d = pow(e, -1, (p - 1) * (q - 1))
    numbers = [n, e, d, p, q, d % (p - 1), d % (q - 1), pow(q, -1, p)]
    key = key_file(numbers)
    signed = openssl("pkeyutl", "-sign", "-inkey", key, "-keyform", "DER", "-pkeyopt", "rsa_padding_mode:pkcs1",
                     stdin=MESSAGE)
    items = ",\n".join(literal(x.to_bytes((x.bit_length() + 7) // 8, "big"), "     ") for x in numbers)
    return f"    {{{bits},\n    {{{items}}},\n{literal(MESSAGE, '     ')},\n{literal(signed, '     ')}}},\n"


def main():
    keys = known_keys()
    version = " ".join(openssl("version").decode().split()[:2])
    blocks = [(512, 54), (1024, 1), (1024, 117), (1024, 118), (1024, 234), (1024, 500), (2048, 20), (2048, 245),
              (4096, 20)]
    HERE.with_suffix(".h").write_text(f"""// Made by token_operations.py with {version} and Python's integers.
#ifndef VT_TESTS_VECTORS_TOKEN_OPERATIONS_H
#define VT_TESTS_VECTORS_TOKEN_OPERATIONS_H

struct TokenCipherVector {{
    int algorithm;      // code of VT_P11_Alg
    int effectiveBits;  // RC2
    int keyCode;        // code of VT_P11_Key
    const char* key;
    const char* iv;
    const char* plain;
    const char* encrypted;
}};

inline constexpr TokenCipherVector kTokenCiphers[] = {{
{"".join(cipher_rows())}}};

struct TokenDigestVector {{
    int algorithm;
    const char* message;
    const char* digest;
}};

inline constexpr TokenDigestVector kTokenDigests[] = {{
{"".join(digest_rows())}}};

// Signatures by the key of that size in rsa_keys.h.
struct TokenSignatureVector {{
    int bits;
    int algorithm;  // of the digest with RSA
    const char* message;
    const char* digestInfo;
    const char* wrapped;  // the signature over the DigestInfo
    const char* bare;     // the signature over the digest alone
}};

inline constexpr TokenSignatureVector kTokenSignatures[] = {{
{"".join(signature_rows(keys))}}};

// Keys about the size of the longest signature that is given out.
struct TokenKeyVector {{
    int bits;
    const char* items[8];  // in the order of RSA_KEY_ITEMS
    const char* message;
    const char* signature;  // over the message itself
}};

inline constexpr TokenKeyVector kTokenKeys[] = {{
{"".join(map(new_key_row, (2064, 2072)))}}};

// Data in blocks of k - 11 bytes, each encrypted for the key of that size in rsa_keys.h.
struct TokenBlocksVector {{
    int bits;
    const char* plain;
    const char* randomFiller;
    const char* constantFiller;
}};

inline constexpr TokenBlocksVector kTokenBlocks[] = {{
{"".join(blocks_row(keys, *block) for block in blocks)}}};

struct TokenRandomVector {{
    int length;
    const char* seed;
    const char* output;
}};

inline constexpr TokenRandomVector kTokenRandom[] = {{
{"".join(chain_row(*case) for case in ((b"seed", 20), (b"seed", 33), (b"", 8), (pattern(60), 41), (b"2606", 1)))}}};

#endif
""", encoding="ascii")


main()

#!/usr/bin/env python3
"""Writes crypto_streams.h: cipher streams and digests by other programs.

    python3 crypto_streams.py

DES, triple DES, RC2 and RC4 are OpenSSL's (libcrypto by ctypes, providers default and legacy, EVP_EncryptInit_ex,
EVP_EncryptUpdate, EVP_EncryptFinal_ex), which the command line repeats:

    openssl enc -des-cbc -K KEY -iv IV -provider legacy -provider default

Debian's OpenSSL has neither RC5 nor MD2: those come from the definitions in RFC 2040 and RFC 1319, written out below.
The seeded generator is worked out here too, over hashlib.
"""
import ctypes
import hashlib
import math
import os

crypto = ctypes.CDLL("libcrypto.so.3")
for name in ("EVP_CIPHER_CTX_new", "EVP_get_cipherbyname", "EVP_CIPHER_fetch", "OSSL_PROVIDER_load"):
    getattr(crypto, name).restype = ctypes.c_void_p
for provider in (b"default", b"legacy"):
    assert crypto.OSSL_PROVIDER_load(None, provider)
SET_RC2_KEY_BITS = 3


def message(length, step):
    """Bytes without a pattern of the block size."""
    return bytes((i * i * step + 29 * i + step) & 255 for i in range(length))


def openssl(cipher, key, iv, plain, padded, bits=0):
    context = ctypes.c_void_p(crypto.EVP_CIPHER_CTX_new())
    fetched = ctypes.c_void_p(crypto.EVP_CIPHER_fetch(None, cipher.encode(), None))
    assert fetched, cipher
    assert crypto.EVP_EncryptInit_ex(context, fetched, None, None, None) == 1
    if cipher in ("RC2-CBC", "RC4"):
        assert crypto.EVP_CIPHER_CTX_set_key_length(context, len(key)) == 1
    if bits:
        assert crypto.EVP_CIPHER_CTX_ctrl(context, SET_RC2_KEY_BITS, bits, None) == 1
    assert crypto.EVP_EncryptInit_ex(context, None, None, key, iv) == 1
    assert crypto.EVP_CIPHER_CTX_set_padding(context, 1 if padded else 0) == 1
    out = ctypes.create_string_buffer(len(plain) + 16)
    length, rest = ctypes.c_int(0), ctypes.c_int(0)
    assert crypto.EVP_EncryptUpdate(context, out, ctypes.byref(length), plain, len(plain)) == 1
    behind = ctypes.byref(out, length.value)
    assert crypto.EVP_EncryptFinal_ex(context, behind, ctypes.byref(rest)) == 1
    return out.raw[:length.value + rest.value]


def rc5(key, iv, plain, rounds):
    """RFC 2040: RC5-CBC with 32-bit words, padded as RC5-CBC-Pad."""
    mask = 0xFFFFFFFF

    def rol(word, count):
        count %= 32
        return (word << count | word >> (32 - count)) & mask if count else word

    b = len(key)
    words = [int.from_bytes(key[4 * i:4 * i + 4], "little") for i in range(max(1, (b + 3) // 4))]
    s = [(0xB7E15163 + i * 0x9E3779B9) & mask for i in range(2 * (rounds + 1))]
    i = j = x = y = 0
    for _ in range(3 * max(len(words), len(s))):
        x = s[i] = rol((s[i] + x + y) & mask, 3)
        y = words[j] = rol((words[j] + x + y) & mask, x + y)
        i, j = (i + 1) % len(s), (j + 1) % len(words)
    chain, out = iv, b""
    pad = 8 - len(plain) % 8
    plain += bytes([pad]) * pad
    for at in range(0, len(plain), 8):
        block = bytes(p ^ c for p, c in zip(plain[at:at + 8], chain))
        x = (int.from_bytes(block[:4], "little") + s[0]) & mask
        y = (int.from_bytes(block[4:], "little") + s[1]) & mask
        for r in range(1, rounds + 1):
            x = (rol(x ^ y, y) + s[2 * r]) & mask
            y = (rol(y ^ x, x) + s[2 * r + 1]) & mask
        chain = x.to_bytes(4, "little") + y.to_bytes(4, "little")
        out += chain
    return out


def digits_of_pi():
    """The digits one by one (J. Gibbons, Unbounded Spigot Algorithms for the Digits of Pi, 2006)."""
    q, r, t, k, n, m = 1, 0, 1, 1, 3, 3
    while True:
        if 4 * q + r - t < n * t:
            yield n
            q, r, n = 10 * q, 10 * (r - n * t), 10 * (3 * q + r) // t - 10 * n
        else:
            q, r, t, k, n, m = q * k, (2 * q + r) * m, t * m, k + 1, (q * (7 * k + 2) + r * m) // (t * m), m + 2


def md2_table():
    """The table of RFC 1319: the bytes in order, shuffled by the digits of pi."""
    digits = digits_of_pi()

    def below(n):
        x, y = next(digits), 10
        while y < n:
            x, y = 10 * x + next(digits), 10 * y
        return x % n if x < n * (y // n) else below(n)

    table = list(range(256))
    for i in range(2, 257):
        j = below(i)
        table[j], table[i - 1] = table[i - 1], table[j]
    return table


MD2_TABLE = md2_table()


def md2(data):
    pad = 16 - len(data) % 16
    data += bytes([pad]) * pad
    checksum, last = bytearray(16), 0
    for at in range(0, len(data), 16):
        for i in range(16):
            checksum[i] ^= MD2_TABLE[data[at + i] ^ last]
            last = checksum[i]
    data += bytes(checksum)
    x = bytearray(48)
    for at in range(0, len(data), 16):
        for i in range(16):
            x[16 + i] = data[at + i]
            x[32 + i] = x[16 + i] ^ x[i]
        t = 0
        for r in range(18):
            for i in range(48):
                x[i] ^= MD2_TABLE[t]
                t = x[i]
            t = (t + r) % 256
    return bytes(x[:16])


def padded(data, bits, order):
    """data behind a number of bits that were taken before it, with the length field of both."""
    total = (bits + 8 * len(data)) % 2 ** 64
    return data + b"\x80" + bytes((55 - len(data)) % 64) + total.to_bytes(8, order)


def rotated(word, count):
    word &= 0xFFFFFFFF
    return (word << count | word >> (32 - count)) & 0xFFFFFFFF


def md5_after(bits, data):
    """RFC 1321 from the initial state, with the length counter at bits."""
    state = [0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476]
    counts = ((7, 12, 17, 22), (5, 9, 14, 20), (4, 11, 16, 23), (6, 10, 15, 21))
    data = padded(data, bits, "little")
    for at in range(0, len(data), 64):
        w = [int.from_bytes(data[at + i:at + i + 4], "little") for i in range(0, 64, 4)]
        a, b, c, d = state
        for i in range(64):
            r = i // 16
            f = (b & c | ~b & d, b & d | c & ~d, b ^ c ^ d, c ^ (b | ~d & 0xFFFFFFFF))[r]
            k = (i, 5 * i + 1, 3 * i + 5, 7 * i)[r] % 16
            constant = int(abs(math.sin(i + 1)) * 2 ** 32)
            a, b, c, d = d, (b + rotated(a + f + w[k] + constant, counts[r][i % 4])) & 0xFFFFFFFF, b, c
        state = [(x + y) & 0xFFFFFFFF for x, y in zip(state, (a, b, c, d))]
    return b"".join(word.to_bytes(4, "little") for word in state)


def sha1_after(bits, data):
    """FIPS 180-1 from the initial state, with the length counter at bits."""
    state = [0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0]
    data = padded(data, bits, "big")
    for at in range(0, len(data), 64):
        w = [int.from_bytes(data[at + i:at + i + 4], "big") for i in range(0, 64, 4)]
        for i in range(16, 80):
            w.append(rotated(w[i - 3] ^ w[i - 8] ^ w[i - 14] ^ w[i - 16], 1))
        a, b, c, d, e = state
        for i in range(80):
            f = (b & c | ~b & d, b ^ c ^ d, b & c | b & d | c & d, b ^ c ^ d)[i // 20]
            constant = (0x5A827999, 0x6ED9EBA1, 0x8F1BBCDC, 0xCA62C1D6)[i // 20]
            a, b, c, d, e = (rotated(a, 5) + f + e + constant + w[i]) & 0xFFFFFFFF, a, rotated(b, 30), c, d
        state = [(x + y) & 0xFFFFFFFF for x, y in zip(state, (a, b, c, d, e))]
    return b"".join(word.to_bytes(4, "big") for word in state)


DIGESTS = {
    "Md2": (md2, 16),
    "Md5": (lambda data: hashlib.md5(data).digest(), 16),
    "Sha1": (lambda data: hashlib.sha1(data).digest(), 20),
}


def hash_chain(digest, size, seed, length):
    work = bytearray(i % 256 for i in range(length))
    work[:min(length, len(seed))] = seed[:length]
    for b in range((length + size - 1) // size):
        work[b * size:(b + 1) * size] = digest(bytes(work[:length]))
    return bytes(work[:length])


def literal(data):
    text = data.hex()
    lines = [text[i:i + 110] for i in range(0, len(text), 110)] or [""]
    return "\n     ".join(f'"{line}"' for line in lines)


def stream_rows():
    key24, iv = message(24, 91), message(8, 57)
    for length in (0, 1, 7, 8, 9, 40, 331):
        plain = message(length, 13)
        yield "Des", key24[:8], 0, iv, plain, openssl("DES-CBC", key24[:8], iv, plain, True)
        yield "Des3", key24, 0, iv, plain, openssl("DES-EDE3-CBC", key24, iv, plain, True)
    for bits, size, length in ((1024, 1, 40), (1024, 128, 331), (40, 5, 40), (63, 8, 9), (64, 8, 0), (64, 16, 331),
                               (128, 16, 8), (129, 88, 331), (1, 3, 24), (1024, 16, 7), (1023, 127, 331)):
        key, plain = message(size, 3 * bits + size), message(length, bits)
        yield "Rc2", key, bits, iv, plain, openssl("RC2-CBC", key, iv, plain, True, bits)
    for rounds, size, length in ((8, 5, 331), (12, 16, 331), (16, 32, 331), (12, 0, 0), (12, 1, 1), (16, 256, 40),
                                 (8, 255, 8), (16, 8, 9), (12, 67, 7)):
        key, plain = message(size, 5 * rounds + size), message(length, rounds)
        yield "Rc5", key, rounds, iv, plain, rc5(key, iv, plain, rounds)
    for size, length in ((5, 40), (16, 331), (1, 7), (29, 8), (255, 9), (256, 331)):
        key, plain = message(size, size), message(length, size)
        yield "Rc4", key, 0, b"", plain, openssl("RC4", key, None, plain, False)


def main():
    os.chdir(os.path.dirname(os.path.abspath(__file__)))
    version = ctypes.c_char_p(ctypes.cast(crypto.OpenSSL_version, ctypes.CFUNCTYPE(ctypes.c_char_p, ctypes.c_int))(0))
    release = " ".join(version.value.decode().split()[:2])
    with open("crypto_streams.h", "w", encoding="ascii") as out:
        def line(text=""):
            print(text, file=out)
        line(f"// Made by crypto_streams.py with {release} (DES, triple DES, RC2, RC4), Python's hashlib (MD5, SHA-1) and the")
        line("// definitions of RFC 1319 and RFC 2040, written out there (MD2, RC5).")
        line("#ifndef VT_TESTS_VECTORS_CRYPTO_STREAMS_H")
        line("#define VT_TESTS_VECTORS_CRYPTO_STREAMS_H")
        line()
        line("// One message in CBC mode with PKCS#5 padding; number is RC2's effective bits or RC5's rounds. RC4 has no")
        line("// initial value and no padding.")
        line("struct CipherStream {")
        line("    const char* cipher;")
        line("    const char* key;")
        line("    unsigned number;")
        line("    const char* iv;")
        line("    const char* plain;")
        line("    const char* enciphered;")
        line("};")
        line()
        line("inline constexpr CipherStream kCipherStreams[] = {")
        for name, key, number, iv, plain, enciphered in stream_rows():
            line(f'    {{"{name}", {literal(key)}, {number}U, {literal(iv)},')
            line(f"     {literal(plain)},")
            line(f"     {literal(enciphered)}}},")
        line("};")
        line()
        line("// The digests of the bytes 00 01 02 ..., i mod 251, by length.")
        line("struct DigestByLength {")
        line("    const char* digest;")
        line("    unsigned length;")
        line("    const char* value;")
        line("};")
        line()
        line("inline constexpr DigestByLength kDigestsByLength[] = {")
        for name, (digest, _) in DIGESTS.items():
            for length in (1, 15, 16, 17, 31, 32, 55, 56, 57, 63, 64, 65, 119, 120, 127, 128, 129, 1000):
                data = bytes(i % 251 for i in range(length))
                line(f'    {{"{name}", {length}U, "{digest(data).hex()}"}},')
        line("};")
        line()
        line("// Digests of the same bytes behind so many bits that were taken before them: the initial state, with the counter")
        line("// set. (MD5 and SHA-1 written out in crypto_streams.py, which holds them against hashlib.)")
        line("struct LongMessage {")
        line("    const char* digest;")
        line("    unsigned bitsHigh;")
        line("    unsigned bitsLow;")
        line("    unsigned length;")
        line("    const char* value;")
        line("};")
        line()
        line("inline constexpr LongMessage kLongMessages[] = {")
        for name, after in (("Md5", md5_after), ("Sha1", sha1_after)):
            for length in range(200):
                data = bytes(i % 251 for i in range(length))
                assert after(0, data) == DIGESTS[name][0](data)
            for bits in (2 ** 32 - 512, 2 ** 32, 5 * 2 ** 32 + 1024, 2 ** 64 - 512):
                for length in (0, 63, 64, 200):
                    value = after(bits, bytes(i % 251 for i in range(length)))
                    line(f'    {{"{name}", {bits >> 32}U, {bits % 2 ** 32}U, {length}U, "{value.hex()}"}},')
        line("};")
        line()
        line("// What the seeded generator gives.")
        line("struct HashChain {")
        line("    const char* digest;")
        line("    const char* seed;")
        line("    unsigned length;")
        line("    const char* output;")
        line("};")
        line()
        line("inline constexpr HashChain kHashChains[] = {")
        for name, (digest, size) in DIGESTS.items():
            for seed, length in ((b"", 20), (b"", 300), (b"seed", 1), (b"seed", size - 1), (b"seed", size),
                                 (b"seed", size + 1), (b"seed", 3 * size), (b"a longer seed than the output", 7),
                                 (message(64, 7), 64), (message(40, 9), 100)):
                line(f'    {{"{name}", {literal(seed)}, {length}U,')
                line(f"     {literal(hash_chain(digest, size, seed, length))}}},")
        line("};")
        line()
        line("#endif")


if __name__ == "__main__":
    main()

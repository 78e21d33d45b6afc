#!/usr/bin/env python3
"""Writes token_values.h: algorithm identifiers and RSA keys in DER, by openssl.

    python3 token_values.py

    openssl cms -digest_create -md DIGEST -outform DER                                digests
    openssl cms -EncryptedData_encrypt -CIPHER -secretkey KEY -outform DER            ciphers, with the legacy provider
    openssl req -x509 -newkey rsa:1024 -nodes -subj /CN=a -DIGEST -outform DER        RSA, and digests with RSA
    openssl asn1parse -genconf                                                        what openssl no longer does: MD2, RC4
    openssl genpkey -algorithm RSA -pkeyopt rsa_keygen_bits:BITS -pkeyopt rsa_keygen_pubexp:EXPONENT
    openssl rsa -traditional -outform DER; openssl rsa -RSAPublicKey_out -outform DER

Keys and initial values are new each time.
"""
import pathlib
import subprocess
import tempfile

HEADER = pathlib.Path(__file__).resolve().with_suffix(".h")
SCRATCH = pathlib.Path(tempfile.mkdtemp())
LEGACY = ("-provider", "legacy", "-provider", "default")

# code, kind, name, bytes of key
ALGORITHMS = [
    (1, "digest", "sha1", 0),
    (2, "digest", "md5", 0),
    (3, "made", "1.2.840.113549.2.2", 0),
    (4, "cipher", "des-cbc", 8),
    (5, "cipher", "des-ede3-cbc", 24),
    (6, "cipher", "rc2-40-cbc", 5),
    (6, "cipher", "rc2-64-cbc", 8),
    (6, "cipher", "rc2-cbc", 16),
    (7, "made", "1.2.840.113549.3.4", 0),
    (8, "certificate", "sha1", 0),
    (9, "signature", "sha1", 0),
    (10, "signature", "md5", 0),
    (11, "made", "1.2.840.113549.1.1.2", 0),
]
EFFECTIVE_BITS = {"rc2-40-cbc": 40, "rc2-64-cbc": 64, "rc2-cbc": 128}
KEYS = [(512, 3), (1024, 65537), (1032, 65537), (2048, 65537)]


def openssl(*arguments, stdin=b""):
    return subprocess.run(["openssl", *arguments], input=stdin, capture_output=True, check=True).stdout


def element(der, at):
    """Where the content of the element at an offset begins, and where it ends."""
    length, at = der[at + 1], at + 2
    if length & 0x80:
        count = length & 0x7F
        length, at = int.from_bytes(der[at:at + count], "big"), at + count
    return at, at + length


def member(der, *path):
    """The element that the indexes lead to."""
    start = 0
    for index in path:
        start, _ = element(der, start)
        for _ in range(index):
            _, start = element(der, start)
    return der[start:element(der, start)[1]]


def integers(der):
    at, end = element(der, 0)
    found = []
    while at < end:
        first, at = element(der, at)
        found.append(int.from_bytes(der[first:at], "big"))
    return found


def made(oid):
    conf = SCRATCH / "conf"
    conf.write_text(f"asn1=SEQUENCE:a\n[a]\noid=OID:{oid}\nparameters=NULL\n")
    out = SCRATCH / "made"
    openssl("asn1parse", "-genconf", str(conf), "-noout", "-out", str(out))
    return out.read_bytes()


def identifier(kind, name, key_bytes):
    if kind == "made":
        return made(name)
    if kind == "digest":
        return member(openssl("cms", "-digest_create", "-md", name, "-outform", "DER", stdin=b"text"), 1, 0, 1)
    if kind == "cipher":
        message = openssl("cms", "-EncryptedData_encrypt", "-" + name, "-secretkey", "5b" * key_bytes, "-outform", "DER",
                          *LEGACY, stdin=b"text")
        return member(message, 1, 0, 1, 1)
    certificate = openssl("req", "-x509", "-newkey", "rsa:1024", "-nodes", "-subj", "/CN=a", "-" + name, "-keyout",
                          str(SCRATCH / "key"), "-outform", "DER")
    return member(certificate, 1) if kind == "signature" else member(certificate, 0, 6, 0)


def to_bytes(number):
    return number.to_bytes((number.bit_length() + 7) // 8, "big")


def literal(data):
    text = data.hex()
    return "\n".join(f'     "{text[i:i + 110]}"' for i in range(0, len(text), 110)) or '     ""'


def key(bits, exponent):
    pem = SCRATCH / "key"
    openssl("genpkey", "-algorithm", "RSA", "-pkeyopt", f"rsa_keygen_bits:{bits}", "-pkeyopt",
            f"rsa_keygen_pubexp:{exponent}", "-out", str(pem))
    private = openssl("rsa", "-in", str(pem), "-traditional", "-outform", "DER")
    public = openssl("rsa", "-in", str(pem), "-RSAPublicKey_out", "-outform", "DER")
    numbers = ",\n".join(literal(to_bytes(number)) for number in integers(private)[1:])
    return f"{{{bits},\n{literal(public)},\n{literal(private)},\n{{{numbers}}}}},\n"


def main():
    text = [f"// Made by token_values.py with {' '.join(openssl('version').decode().split()[:2])}.\n",
            "#ifndef VT_TESTS_VECTORS_TOKEN_VALUES_H\n#define VT_TESTS_VECTORS_TOKEN_VALUES_H\n\n"
            "struct AlgorithmVector {\n    int code;\n    int effectiveBits;\n    const char* der;\n};\n\n"
            "inline constexpr AlgorithmVector kAlgorithmVectors[] = {\n"]
    for code, kind, name, key_bytes in ALGORITHMS:
        text.append(f"{{{code}, {EFFECTIVE_BITS.get(name, 0)}, {literal(identifier(kind, name, key_bytes))}}},\n")
    text.append("};\n\nstruct KeyVector {\n    int bits;\n    const char* publicDer;\n    const char* privateDer;\n"
                "    const char* numbers[8];  // in the order of RSA_KEY_ITEMS, without leading zeros\n};\n\n"
                "inline constexpr KeyVector kKeyVectors[] = {\n")
    text.extend(key(bits, exponent) for bits, exponent in KEYS)
    text.append("};\n\n#endif\n")
    HEADER.write_text("".join(text))
    subprocess.run(["clang-format", "-i", str(HEADER)], check=True)


main()

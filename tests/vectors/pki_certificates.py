#!/usr/bin/env python3
"""Writes pki_certificates.h: certificates by openssl, and some that openssl does not make, signed by Python's integers.

    python3 pki_certificates.py

    openssl genpkey -algorithm RSA -pkeyopt rsa_keygen_bits:1024
    openssl req -x509 -DIGEST                     self-signed
    openssl req -new; openssl x509 -req -DIGEST   issued

What openssl has no command for is a tBSCertificate built here, whose signature is pow(block, d, n) over a block of PKCS#1
type 1: MD2 (RFC 1319, with the table from the digits of pi), RSA without a digest, and blocks that hold something else
than they should. The keys are new each time.
"""
import hashlib
import pathlib
import subprocess
import tempfile

HEADER = pathlib.Path(__file__).resolve().with_suffix(".h")
SCRATCH = pathlib.Path(tempfile.mkdtemp())


def openssl(*arguments, stdin=b""):
    return subprocess.run(["openssl", *map(str, arguments)], input=stdin, capture_output=True, check=True).stdout


# DER

def tlv(tag, *parts):
    content = b"".join(parts)
    size = len(content)
    if size < 128:
        return bytes([tag, size]) + content
    length = size.to_bytes((size.bit_length() + 7) // 8, "big")
    return bytes([tag, 0x80 | len(length)]) + length + content


def oid(*arcs):
    content = bytes([arcs[0] * 40 + arcs[1]])
    for arc in arcs[2:]:
        digits = [arc & 127]
        while arc >> 7:
            arc >>= 7
            digits.append(arc & 127 | 128)
        content += bytes(reversed(digits))
    return tlv(6, content)


def algorithm(*arcs):
    return tlv(0x30, oid(*arcs), b"\5\0")


RSA = algorithm(1, 2, 840, 113549, 1, 1, 1)
SIGNATURES = {"md2": algorithm(1, 2, 840, 113549, 1, 1, 2), "sha1": algorithm(1, 2, 840, 113549, 1, 1, 5), "none": RSA}
DIGESTS = {"md2": algorithm(1, 2, 840, 113549, 2, 2), "md5": algorithm(1, 2, 840, 113549, 2, 5),
           "sha1": algorithm(1, 3, 14, 3, 2, 26)}


def digest_info(name, digest):
    return tlv(0x30, DIGESTS[name], tlv(4, digest))


# MD2

def digits_of_pi():
    q, r, t, k, m, x = 1, 0, 1, 1, 3, 3
    while True:
        if 4 * q + r - t < m * t:
            yield m
            q, r, m = 10 * q, 10 * (r - m * t), (10 * (3 * q + r)) // t - 10 * m
        else:
            q, r, t, k, m, x = q * k, (2 * q + r) * x, t * x, k + 1, (q * (7 * k + 2) + r * x) // (t * x), x + 2


def md2_table():
    digits, table = digits_of_pi(), list(range(256))

    def below(n):
        count = 1 + (n > 10) + (n > 100)
        while True:
            number = int("".join(str(next(digits)) for _ in range(count)))
            if number < n * (10 ** count // n):
                return number % n

    for i in range(2, 257):
        j = below(i)
        table[j], table[i - 1] = table[i - 1], table[j]
    return table


def md2(data, table=md2_table()):
    pad = 16 - len(data) % 16
    data += bytes([pad]) * pad
    check, last = bytearray(16), 0
    for at in range(0, len(data), 16):
        for i in range(16):
            check[i] ^= table[data[at + i] ^ last]
            last = check[i]
    state = bytearray(48)
    data += bytes(check)
    for at in range(0, len(data), 16):
        for i in range(16):
            state[16 + i] = data[at + i]
            state[32 + i] = data[at + i] ^ state[i]
        t = 0
        for turn in range(18):
            for i in range(48):
                state[i] ^= table[t]
                t = state[i]
            t = (t + turn) % 256
    return bytes(state[:16])


assert md2(b"abc").hex() == "da853b0d3f88d99b30283a69e6ded6bb"  # RFC 1319 A.5


# Keys and certificates by openssl

def key(name, kind="RSA", option="rsa_keygen_bits:1024"):
    openssl("genpkey", "-algorithm", kind, "-pkeyopt", option, "-out", SCRATCH / (name + ".key"))


def numbers(name):
    """n and d of a key."""
    der, at, found = openssl("rsa", "-in", SCRATCH / (name + ".key"), "-traditional", "-outform", "DER"), 0, []
    while at < len(der):
        tag, size, at = der[at], der[at + 1], at + 2
        if size & 0x80:
            count = size & 0x7F
            size, at = int.from_bytes(der[at:at + count], "big"), at + count
        if tag == 2:
            found.append(int.from_bytes(der[at:at + size], "big"))
            at += size
    return found[1], found[3]


def self_signed(name, digest, subject, of=None):
    openssl("req", "-x509", "-new", "-key", SCRATCH / ((of or name) + ".key"), "-" + digest, "-utf8", "-subj", subject,
            "-set_serial", 1, "-days", 36500, "-out", SCRATCH / (name + ".pem"))
    return openssl("x509", "-in", SCRATCH / (name + ".pem"), "-outform", "DER")


def issued(name, of, digest, subject, serial, by):
    openssl("req", "-new", "-key", SCRATCH / (of + ".key"), "-utf8", "-subj", subject, "-out", SCRATCH / "request")
    openssl("x509", "-req", "-" + digest, "-in", SCRATCH / "request", "-CA", SCRATCH / (by[0] + ".pem"), "-CAkey",
            SCRATCH / (by[1] + ".key"), "-set_serial", serial, "-days", 36500, "-out", SCRATCH / (name + ".pem"))
    return openssl("x509", "-in", SCRATCH / (name + ".pem"), "-outform", "DER")


# Certificates by hand

def element(der, *path):
    """The element at that path of indexes, tag and length too."""
    def members(content):
        at = 0
        while at < len(content):
            size, head = content[at + 1], 2
            if size & 0x80:
                head = 2 + (size & 0x7F)
                size = int.from_bytes(content[at + 2:at + head], "big")
            yield content[at:at + head + size], content[at + head:at + head + size]
            at += head + size
    found, content = next(members(der))
    for index in path:
        found, content = list(members(content))[index]
    return found


def certificate(body, signature_algorithm, block, signer):
    """A signature over a block of type 1 that holds `block`."""
    n, d = numbers(signer)
    size = (n.bit_length() + 7) // 8
    padded = b"\0\1" + b"\xff" * (size - 3 - len(block)) + b"\0" + block
    signature = pow(int.from_bytes(padded, "big"), d, n).to_bytes(size, "big")
    return tlv(0x30, body, signature_algorithm, tlv(3, b"\0", signature))


def body(issuer, subject, key_info, signature_algorithm, serial=b"\1"):
    validity = tlv(0x30, tlv(0x17, b"141021103000Z"), tlv(0x17, b"490101000000Z"))
    return tlv(0x30, tlv(2, serial), signature_algorithm, issuer, validity, subject, key_info)


key("root")
key("intermediate")
key("leaf")
key("other")
key("big", option="rsa_keygen_bits:2048")
key("curve", "EC", "ec_paramgen_curve:P-256")

ROOT = "/C=DE/O=Example/CN=Test Root"
CERTIFICATES = {}


def add(name, comment, der):
    CERTIFICATES[name] = (comment, der)
    return der


root = add("RootSha1", "openssl req -x509 -sha1, 1024 bits", self_signed("root", "sha1", ROOT))
add("RootKey", "openssl rsa -RSAPublicKey_out: its key", openssl("rsa", "-in", SCRATCH / "root.key", "-RSAPublicKey_out", "-outform", "DER"))
add("RootMd5", "openssl req -x509 -md5, the same key and name", self_signed("root_md5", "md5", ROOT, of="root"))
add("RootSha256", "openssl req -x509 -sha256, the same key and name", self_signed("root_sha256", "sha256", ROOT, of="root"))
add("OtherRoot", "openssl req -x509 -sha1, another key, the same name", self_signed("other", "sha1", ROOT))
add("BigRoot", "openssl req -x509 -sha1, 2048 bits", self_signed("big", "sha1", "/CN=Big"))
BY_ROOT = ("root", "root")
add("LeafSha1", "openssl x509 -req -sha1, by the root", issued("leaf_sha1", "leaf", "sha1", "/C=DE/O=Example/CN=Alice", 2, BY_ROOT))
add("LeafMd5", "openssl x509 -req -md5, by the root", issued("leaf_md5", "leaf", "md5", "/C=DE/O=Example/CN=Alice", 3, BY_ROOT))
add("LeafSha256", "openssl x509 -req -sha256, by the root",
    issued("leaf_sha256", "leaf", "sha256", "/C=DE/O=Example/CN=Alice", 4, BY_ROOT))
add("Intermediate", "openssl x509 -req -sha1, an authority by the root",
    issued("intermediate", "intermediate", "sha1", "/C=DE/O=Example/CN=Intermediate", 5, BY_ROOT))
add("LeafOfIntermediate", "openssl x509 -req -sha1, by that authority",
    issued("leaf_below", "leaf", "sha1", "/C=DE/O=Example/CN=Alice", 6, ("intermediate", "intermediate")))
add("LeafOfCurve", "openssl x509 -req -sha1 by the root, for a key on P-256",
    issued("leaf_curve", "curve", "sha1", "/C=DE/O=Example/CN=Curve", 7, BY_ROOT))
add("EveryAttribute", "openssl req -x509: every attribute with a label, in the order of the labels, and two without",
    self_signed("every", "sha1", "/CN=Alice/SN=Adams/C=DE/L=Bonn/ST=NRW/O=Example/OU=B\u00fcro/title=Dr/name=Al/GN=A/initials=AA"
                "/generationQualifier=II/dnQualifier=q/emailAddress=a@example.test/DC=test/description=d", of="leaf"))
add("TwoInOne", "openssl req -x509 -multivalue-rdn (as 3.0 does always): a relative name of two attributes",
    self_signed("two", "sha1", "/C=DE/OU=Staff+CN=Alice", of="leaf"))
add("EmptySubject", "openssl x509 -req: no subject", issued("empty", "leaf", "sha1", "/", 8, BY_ROOT))

issuer, key_info = element(root, 0, 3), element(root, 0, 6)
md2_body = body(issuer, issuer, key_info, SIGNATURES["md2"])
add("RootMd2", "MD2 with RSA, self-signed", certificate(md2_body, SIGNATURES["md2"], digest_info("md2", md2(md2_body)), "root"))
sha1_body = body(issuer, issuer, key_info, SIGNATURES["sha1"])
sha1 = hashlib.sha1(sha1_body).digest()


def sha1_signed(name, comment, block):
    add(name, comment, certificate(sha1_body, SIGNATURES["sha1"], block, "root"))


sha1_signed("Sha1ByHand", "SHA-1 with RSA, self-signed", digest_info("sha1", sha1))
sha1_signed("DigestInfoOfMd5", "the right SHA-1 digest in a DigestInfo that says MD5", digest_info("md5", sha1))
sha1_signed("WrongDigest", "a SHA-1 digest whose last bit is another", digest_info("sha1", sha1[:-1] + bytes([sha1[-1] ^ 1])))
sha1_signed("ShortDigest", "the first 19 bytes of the digest", digest_info("sha1", sha1[:-1]))
sha1_signed("BareDigest", "the digest without a DigestInfo", sha1)
sha1_signed("EmptyDigestInfo", "30 00 for the DigestInfo", b"\x30\0")
sha1_signed("NothingSigned", "a block that holds nothing", b"")

# Without a digest: bodies of 116 and 117 bytes under the small and the big key, as small as they come.
none = tlv(0x30, oid(1, 2, 840, 113549, 1, 1, 1))
key_of_nothing = tlv(0x30, tlv(0x30, oid(1, 2)), tlv(3, b"\0"))


def plain(size, holder, signer):
    for length in range(1, 100):
        made = body(element(holder, 0, 3), tlv(0x30), key_of_nothing, none, b"\1" * length)
        if len(made) == size:
            return certificate(made, SIGNATURES["none"], digest_info("sha1", made) if size < 117 else b"", signer)
    raise ValueError(size)


big = CERTIFICATES["BigRoot"][1]
add("Plain116", "RSA without a digest over 116 bytes, by the big root", plain(116, big, "big"))
add("Plain117", "the same over 117 bytes", plain(117, big, "big"))

with HEADER.open("w") as out:
    version = openssl("version").decode().split()[1]
    print(f"""// Made by pki_certificates.py with OpenSSL {version} and Python's integers.
#ifndef VT_TESTS_VECTORS_PKI_CERTIFICATES_H
#define VT_TESTS_VECTORS_PKI_CERTIFICATES_H

namespace vectors {{""", file=out)
    for name, (comment, der) in CERTIFICATES.items():
        print(f"\n// {comment}\ninline constexpr char k{name}[] =", file=out)
        text = der.hex()
        lines = [text[at:at + 110] for at in range(0, len(text), 110)]
        print("\n".join(f'    "{line}"' for line in lines) + ";", file=out)
    print("\n}  // namespace vectors\n\n#endif", file=out)

#!/usr/bin/env python3
"""Writes pfx_files.h: PKCS#12 files and keys by openssl, GnuTLS's certtool and NSS's pk12util.

    python3 pfx_files.py

Each has the command that made it beside it. Keys, salts and identifiers are new each time.
"""
import pathlib
import subprocess
import tempfile

HEADER = pathlib.Path(__file__).resolve().with_suffix(".h")
SCRATCH = pathlib.Path(tempfile.mkdtemp())
LEGACY = ("-provider", "legacy", "-provider", "default")
PASSWORD = b"secret"
ALICE = ("-in", "alice.pem", "-inkey", "alice.key")
entries = []


def run(*arguments):
    return subprocess.run(arguments, capture_output=True, check=True, cwd=SCRATCH).stdout


def add(name, data, comment):
    entries.append((name, data, comment))


def printable(arguments):
    return " ".join(a if isinstance(a, str) else a.decode("latin1").encode("ascii", "backslashreplace").decode()
                    for a in arguments)


def make_key(name, subject, serial, signer=None, kind=("-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:1024")):
    run("openssl", "genpkey", *kind, "-out", f"{name}.key")
    if signer is None:
        run("openssl", "req", "-new", "-x509", "-sha1", "-key", f"{name}.key", "-subj", subject, "-set_serial",
            str(serial), "-days", "36500", "-out", f"{name}.pem")
    else:
        run("openssl", "req", "-new", "-sha1", "-key", f"{name}.key", "-subj", subject, "-out", f"{name}.csr")
        run("openssl", "x509", "-req", "-sha1", "-in", f"{name}.csr", "-CA", f"{signer}.pem", "-CAkey",
            f"{signer}.key", "-set_serial", str(serial), "-days", "36500", "-out", f"{name}.pem")


def certificate(name):
    return run("openssl", "x509", "-in", f"{name}.pem", "-outform", "DER")


def numbers_of(name):
    """The eight numbers of a key, from its PKCS#1 DER."""
    der, at, numbers = run("openssl", "rsa", "-traditional", "-in", f"{name}.key", "-outform", "DER"), 4, []
    while at < len(der):
        length, at = der[at + 1], at + 2
        if length & 0x80:
            size, at = length & 0x7F, at + (length & 0x7F)
            length = int.from_bytes(der[at - size:at], "big")
        numbers.append(int.from_bytes(der[at:at + length], "big"))
        at += length
    return numbers[1:]


def pfx(name, *options, password=PASSWORD, comment=""):
    """A file by `openssl pkcs12 -export`, with SHA-1 for the MAC."""
    arguments = ("openssl", "pkcs12", "-export", *LEGACY, "-macalg", "sha1", *options, "-passout", b"pass:" + password)
    run(*arguments, "-out", "made.p12")
    shown = printable(("openssl", "pkcs12", "-export", *options, "-passout", b"pass:" + password))
    add(name, (SCRATCH / "made.p12").read_bytes(), shown + (f": {comment}" if comment else ""))


def both(pbe):
    return "-keypbe", pbe, "-certpbe", pbe


def add_files():
    usual = both("PBE-SHA1-3DES")
    for name, pbe in (("Rc4", "RC4-128"), ("Rc4Short", "RC4-40"), ("TripleDes", "3DES"), ("TwoKeyDes", "2DES"),
                      ("Rc2", "RC2-128"), ("Rc2Short", "RC2-40")):
        pfx(f"kPfx{name}", *ALICE, *both(f"PBE-SHA1-{pbe}"))
    pfx("kPfxOneIteration", *ALICE, *usual, "-noiter", "-nomaciter")
    pfx("kPfxManyIterations", *ALICE, *usual, "-iter", "100000")
    pfx("kPfxNoMac", *ALICE, *usual, "-nomac", comment="the certificates in the clear, too")
    pfx("kPfxChain", *ALICE, *usual, "-certfile", "others.pem", "-name", "Alice's key", "-caname", "root", "-caname",
        "bob", "-caname", "curve", comment="the certificates of the root, of another key and of a curve too")
    pfx("kPfxEmptyPassword", *ALICE, *usual, password=b"")
    pfx("kPfxHighBytes", *ALICE, *usual, password=b"caf\xe9\xff\x80", comment="bytes that are no UTF-8")
    pfx("kPfxNoKey", *ALICE, *usual, "-nokeys")
    pfx("kPfxNoCertificate", *ALICE, *usual, "-nocerts")
    pfx("kPfxOpenKey", *ALICE, "-keypbe", "NONE", "-certpbe", "PBE-SHA1-3DES", comment="the key in the clear")
    pfx("kPfxOpenCertificate", *ALICE, "-keypbe", "PBE-SHA1-3DES", "-certpbe", "NONE")
    pfx("kPfxCurve", "-in", "curve.pem", "-inkey", "curve.key", *usual, comment="a key that is not RSA")
    pfx("kPfxStranger", "-in", "bob.pem", "-inkey", "bob.key", *usual)
    pfx("kPfxNewEncryption", *ALICE, *both("AES-256-CBC"), comment="PBES2, with a MAC of SHA-1")
    arguments = ("openssl", "pkcs12", "-export", *ALICE, "-passout", "pass:secret")
    run(*arguments, "-out", "made.p12")
    add("kPfxNew", (SCRATCH / "made.p12").read_bytes(), printable(arguments) + ": PBES2, with a MAC of SHA-256")


def add_peers():
    arguments = ("certtool", "--to-p12", "--load-privkey", "alice.key", "--load-certificate", "alice.pem", "--p12-name",
                 "alice", "--password", "secret", "--pkcs-cipher", "arcfour", "--hash", "sha1", "--outder")
    run(*arguments, "--outfile", "made.p12")
    add("kPfxGnutls", (SCRATCH / "made.p12").read_bytes(), printable(arguments) + ": 600,000 iterations")
    run("openssl", "pkcs12", "-export", *LEGACY, *ALICE, "-name", "alice", *both("PBE-SHA1-3DES"), "-macalg", "sha1",
        "-passout", "pass:secret", "-out", "in.p12")
    (SCRATCH / "db").mkdir()
    run("certutil", "-N", "-d", "db", "--empty-password")
    run("pk12util", "-i", "in.p12", "-d", "db", "-W", "secret", "-K", "")
    arguments = ("pk12util", "-o", "made.p12", "-n", "alice", "-W", "secret", "-M", "SHA-1", "-c",
                 "PKCS #12 V2 PBE With SHA-1 And 3KEY Triple DES-CBC", "-C",
                 "PKCS #12 V2 PBE With SHA-1 And 40 Bit RC2 CBC")
    run(*arguments, "-d", "db", "-K", "")
    add("kPfxNss", (SCRATCH / "made.p12").read_bytes(), printable(arguments) + ": indefinite lengths")


def add_keys():
    numbers = numbers_of("alice")
    add("kAliceNumbers", numbers, "modulus, public exponent, private exponent, primes, exponents, coefficient")
    add("kAlicePkcs1", run("openssl", "rsa", "-traditional", "-in", "alice.key", "-outform", "DER"),
        "openssl rsa -traditional -outform DER")
    add("kAlicePkcs8", run("openssl", "pkcs8", "-topk8", "-nocrypt", "-in", "alice.key", "-outform", "DER"),
        "openssl pkcs8 -topk8 -nocrypt -outform DER")
    add("kCurvePkcs8", run("openssl", "pkcs8", "-topk8", "-nocrypt", "-in", "curve.key", "-outform", "DER"),
        "the same of a key that is not RSA")
    for name, pbe in (("Rc4", "RC4-128"), ("Rc4Short", "RC4-40"), ("TripleDes", "3DES"), ("TwoKeyDes", "2DES"),
                      ("Rc2", "RC2-128"), ("Rc2Short", "RC2-40")):
        arguments = ("openssl", "pkcs8", "-topk8", "-v1", f"PBE-SHA1-{pbe}", "-in", "alice.key", "-passout",
                     "pass:secret", "-outform", "DER")
        add(f"kShrouded{name}", run(*arguments, *LEGACY), printable(arguments))


KDF = [  # password, salt, iterations, purpose, length
    (b"smeg", "0A58CF64530D823F", 1, 1, 24), (b"smeg", "642B99AB44FB4B1F", 1, 1, 24),
    (b"queeg", "05DEC959ACFF72F7", 1000, 1, 24), (b"queeg", "1682C0FC5B3F7EC5", 1000, 1, 24),
    (b"smeg", "79993DFE048D3B76", 1, 2, 8), (b"queeg", "263216FCC2FAB31C", 1000, 3, 20),
    (b"secret", "0102030405060708", 2048, 1, 64), (b"secret", "0102030405060708", 2048, 2, 64),
    (b"secret", "0102030405060708", 2048, 3, 64), (b"", "0102030405060708", 2, 1, 64),
    (b"caf\xe9\xff\x80", "FFFFFFFFFFFFFFFF", 3, 1, 64), (b"a" * 31, "00" * 64, 2, 1, 64),
    (b"b" * 100, "FF" * 65, 2, 2, 64), (b"ab", "01", 1, 3, 64), (b"secret", "FE" * 1000, 1, 1, 64)]


def add_derivations():
    rows = []
    for password, salt, iterations, purpose, length in KDF:
        text = (b"".join(b"\0" + bytes([byte]) for byte in password) + b"\0\0").hex()
        out = run("openssl", "kdf", "-keylen", str(length), "-kdfopt", "digest:SHA1", "-kdfopt", f"hexpass:{text}",
                  "-kdfopt", f"hexsalt:{salt}", "-kdfopt", f"iter:{iterations}", "-kdfopt", f"id:{purpose}",
                  "PKCS12KDF")
        rows.append((password.hex(), salt, iterations, purpose, out.decode().strip().replace(":", "")))
    return rows


def literal(data):
    text = data.hex()
    return "\n".join(f'    "{text[i:i + 110]}"' for i in range(0, len(text), 110)) or '    ""'


def quoted(text):
    return "\n".join(f'"{text[i:i + 100]}"' for i in range(0, len(text), 100)) or '""'


def main():
    make_key("root", "/C=DE/O=Example/CN=Root", 1)
    make_key("alice", "/C=DE/O=Example/CN=Alice", 17, "root")
    make_key("bob", "/C=DE/O=Example/CN=Bob", 18, "root")
    make_key("curve", "/C=DE/O=Example/CN=Curve", 19, "root",
             ("-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-256"))
    (SCRATCH / "others.pem").write_bytes(b"".join((SCRATCH / f"{n}.pem").read_bytes() for n in ("root", "bob",
                                                                                                "curve")))
    for name in ("root", "alice", "bob", "curve"):
        add(f"k{name.capitalize()}Certificate", certificate(name), "openssl x509 -req -sha1")
    add_keys()
    add_files()
    add_peers()
    version = " ".join(run("openssl", "version").decode().split()[:2])
    gnutls = run("certtool", "--version").decode().split()[1]
    out = [f"""// Made by pfx_files.py with {version}, GnuTLS {gnutls} and NSS. The password is "secret"
// where nothing else is said.
#ifndef VT_TESTS_VECTORS_PFX_FILES_H
#define VT_TESTS_VECTORS_PFX_FILES_H

namespace vectors {{

// openssl kdf -kdfopt digest:SHA1 ... PKCS12KDF. The first six stand in the tests of many programs.
struct Pkcs12Derivation {{
    const char* password;
    const char* salt;
    int iterations;
    int purpose;
    const char* output;
}};
inline constexpr Pkcs12Derivation kPkcs12Derivations[] = {{"""]
    for password, salt, iterations, purpose, output in add_derivations():
        out.append(f'    {{"{password}", {quoted(salt)}, {iterations}, {purpose}, {quoted(output)}}},')
    out.append("};\n")
    for name, data, comment in entries:
        out.append(f"// {comment}")
        if isinstance(data, list):
            rows = ",\n".join(literal(x.to_bytes((x.bit_length() + 7) // 8, "big")) for x in data)
            out.append(f"inline constexpr const char* {name}[] = {{\n{rows}}};\n")
        else:
            out.append(f"inline constexpr char {name}[] =\n{literal(data)};\n")
    out.append("}  // namespace vectors\n\n#endif\n")
    HEADER.write_text("\n".join(out), encoding="ascii")
    run("clang-format", "-i", str(HEADER))


main()

#!/usr/bin/env python3
"""Writes the seed corpora, fuzz/<target>/corpus/*, from openssl's output and a few texts.

Run it by hand when a target's input changes its form; what it makes is kept in the tree.
"""

import base64
import pathlib
import re
import subprocess
import tempfile

HERE = pathlib.Path(__file__).resolve().parent

EVERY_KIND = """asn1 = SEQUENCE:all
[all]
v = INTEGER:-129
e = ENUMERATED:300
b = BOOLEAN:true
n = NULL
o = FORMAT:HEX,OCTETSTRING:DEADBEEF
bs = FORMAT:BITLIST,BITSTRING:0,1,5,10
oid = OID:1.2.840.113549.1.9.1
ia = IA5STRING:enroll@vemtrel.test
ut = UTCTIME:231231235959Z
set = EXPLICIT:0,SET:inner
imp = IMPLICIT:31C,NULL
[inner]
i = INTEGER:0x7FFFFFFF
"""
READER_LETTERS = "{[(n}])iebo6aguBIOtx$Z"
WRITER_LETTERS = "{[(}])iebnoBIOaP6MUmugA"


def openssl(*arguments, stdin=None):
    return subprocess.run(["openssl", *arguments], input=stdin, capture_output=True, check=True).stdout


def save(target, name, data):
    folder = HERE / target / "corpus"
    folder.mkdir(parents=True, exist_ok=True)
    (folder / name).write_bytes(data)


def made_by_openssl(scratch):
    """A certificate, a chain without signers, a public key and a value with an element of every kind, as DER."""
    key, cert = scratch / "key.pem", scratch / "cert.pem"
    openssl("req", "-x509", "-newkey", "rsa:512", "-nodes", "-keyout", key, "-out", cert, "-days", "30", "-utf8",
            "-subj", "/C=DE/O=Vemtrel, \"Test\"/OU=B\u00fcro/CN=Seed+SN=7/emailAddress=seed@vemtrel.test")
    config = scratch / "every_kind.cnf"
    config.write_text(EVERY_KIND)
    openssl("asn1parse", "-genconf", config, "-noout", "-out", scratch / "every_kind.der")
    return {
        "certificate": openssl("x509", "-in", cert, "-outform", "DER"),
        "chain": openssl("crl2pkcs7", "-nocrl", "-certfile", cert, "-outform", "DER"),
        "public_key": openssl("rsa", "-in", key, "-RSAPublicKey_out", "-outform", "DER"),
        "every_kind": (scratch / "every_kind.der").read_bytes(),
    }


def reader_seed(form, data):
    """One of the program's formats by its number, or a format of up to twelve letters."""
    if isinstance(form, int):
        return bytes([form]) + data
    return bytes([11 + len(form)]) + bytes(READER_LETTERS.index(letter) for letter in form) + data


def writer_steps():
    def step(letter, arguments=b"", tag=None):
        head = WRITER_LETTERS.index(letter) | (0x80 if tag else 0)
        return bytes([head]) + (tag or b"") + arguments

    number = lambda value: value.to_bytes(4, "big", signed=True)
    tag = lambda value, bits: number(value) + bytes([bits])
    arcs = lambda *values: bytes([len(values)]) + b"".join(number(value) + b"\0" for value in values)
    text = lambda data, times=0: bytes([len(data)]) + data + bytes([times])
    yield "request", (step("{") + step("i", number(0)) + step("{") + step("}") + step("{") + step("{")
                      + step("O", arcs(1, 2, 840, 113549, 1, 1, 1)) + step("n") + step("}")
                      + step("B", b"\x03\x30\x01\x00\x00") + step("}") + step("{", tag=tag(0, 0xA0)) + step("[")
                      + step("a", text(b"enroll@vemtrel.test")) + step("]") + step("}") + step("}"))
    yield "every_letter", (step("(", number(3)) + step("e", number(-129)) + step("b", b"\x01")
                           + step("o", text(b"\xde\xad")) + step("I", b"\x03" + b"010001")
                           + step("P", text(b"Vemtrel")) + step("6", text(b"t")) + step("M", text(b"t"))
                           + step("U", text(b"\0\0\0A")) + step("m", text(b"\0A")) + step("u", b"\x06231231235959")
                           + step("g", b"\x07" + b"20231231235959") + step("A") + step(")"))
    yield "long_tag", step("n", tag=tag(31, 0x80)) + step("i", number(5), tag=tag(2**31 - 1, 0x40))
    yield "grows", step("{") + step("o", text(b"0123456789" * 20, 60)) + step("i", number(1)) + step("}")


REAL_FILES = ("Certificate.eight_extensions", "Certificate.multi_valued", "Certificate.from_2050", "CertificateList.delta",
              "CertificationRequest.attributes", "ContentInfo.certificate", "PFX.without_mac", "PrivateKeyInfo.rsa",
              "EncryptedPrivateKeyInfo.des3", "RSAPublicKey.rsa512", "RSAPrivateKey.rsa512", "SubjectPublicKeyInfo.ec")
EXTENSIONS = {"BasicConstraintsSyntax": 19, "NameConstraintsSyntax": 30, "AuthorityKeyIdentifier": 35,
              "PolicyConstraintsSyntax": 36, "GeneralName": 17, "DistributionPoint": 31, "PolicyInformation": 32}
LISTS = ("GeneralName", "DistributionPoint", "PolicyInformation")  # of which a seed is the first item
PRIMITIVES = ("BOOLEAN:true", "INTEGER:-129", "FORMAT:BITLIST,BITSTRING:0,1,5,10", "FORMAT:HEX,OCTETSTRING:DEADBEEF", "NULL",
              "OID:1.2.840.113549.1.9.1", "ENUMERATED:300", "FORMAT:UTF8,UTF8:\u00e9a\u20ac", "NUMERIC:1 2", "PRINTABLE:DE",
              "T61:t", "IA5:a@b", "UTC:231231235959Z", "GENTIME:20231231235959Z", "VISIBLE:v", "UNIV:u", "BMP:b")


def schema_classes():
    """Their names in the order of the registry."""
    tables = (HERE.parent / "schema").glob("*.asn1")
    return sorted(name for table in tables for name in re.findall(r"^(\w+) ::=", table.read_text(), re.MULTILINE))


def extension_value(certificate, number):
    """What stands in the OCTET STRING behind the identifier 2.5.29.number; lengths are below 128."""
    at = certificate.index(bytes([6, 3, 0x55, 0x1D, number])) + 5
    if certificate[at] == 1:
        at += 3
    size = certificate[at + 1]
    assert certificate[at] == 4 and size < 128
    return certificate[at + 2:at + 2 + size]


def schema_seeds():
    data = HERE.parent / "tests" / "schema" / "data"
    for name in REAL_FILES:
        yield name.split(".")[0], name.replace(".", "_"), (data / (name + ".der")).read_bytes()
    many = (data / "Certificate.many_extensions.der").read_bytes()
    eight = (data / "Certificate.eight_extensions.der").read_bytes()
    for name, number in EXTENSIONS.items():
        for certificate in (many, eight):
            try:
                value = extension_value(certificate, number)
            except (ValueError, AssertionError):
                continue
            yield name, name, value[2:2 + 2 + value[3]] if name in LISTS else value
            break


def primitive_seeds():
    for kind, text in enumerate(PRIMITIVES):
        element = openssl("asn1parse", "-genstr", text, "-noout", "-out", "/dev/stdout")
        yield re.search(r"(\w+)(:|$)", text.replace("FORMAT:", "")).group(1).lower(), bytes([kind, 0, 0]) + element
    yield "whole", bytes([1, 3, 1]) + bytes.fromhex("02820002FF7F")
    yield "content", bytes([3, 3, 2]) + bytes.fromhex("0403010203")
    yield "sequence_of", bytes([17, 0, 0]) + bytes.fromhex("3007020105020200FF")
    yield "set_of", bytes([18, 0, 0]) + bytes.fromhex("3107040102040200FF")
    yield "instance_of", bytes([19, 1, 0]) + bytes.fromhex("280B06032A0304A004040201 02".replace(" ", ""))


def rsa_block_seeds():
    """The kind of key and operation, then the block that the raw operation shall give."""
    for size, k in ((0, 12), (1, 16), (2, 20)):
        for type_, operation in ((1, 0), (2, 0x80)):
            filler = b"\xff" if type_ == 1 else b"\x01"
            yield f"type{type_}_{k}", bytes([size | operation, 0, type_]) + filler * 8 + b"\0" + b"d" * (k - 11)
            yield f"type{type_}_{k}_empty", bytes([size | operation, 0, type_]) + filler * (k - 3) + b"\0"
    yield "short_filler", bytes([1, 0, 1]) + b"\xff" * 7 + b"\0" + b"d" * 6
    yield "not_below", bytes([2]) + b"\xff" * 20
    yield "data", bytes([0x82]) + b"d" * 9


def cipher_seeds():
    """Form of the loops, cipher, key length, key, initial value, effective bits, rounds and their kin, message."""
    for cipher, (name, least, length) in enumerate((("des", 8, 8), ("des3", 24, 24), ("rc2", 1, 16), ("rc5", 0, 16))):
        for form, size in ((0, 0), (1, 8), (2, 45), (3, 400)):
            key, iv = bytes(range(length)), bytes(range(100, 108))
            message = bytes(i * 7 % 256 for i in range(size))
            yield f"{name}_{size}", bytes([form, cipher, length - least]) + key + iv + bytes([26, 4, 12, 8]) + message


def pki_seeds():
    """Certificates that verify and that do not, and a name of every attribute."""
    text = (HERE.parent / "tests" / "vectors" / "pki_certificates.h").read_text()
    constants = {name: bytes.fromhex("".join(re.findall(r'"([0-9a-f]+)"', value)))
                 for name, value in re.findall(r"k(\w+)\[\] =\n([^;]*);", text)}
    for name in ("RootSha1", "RootMd5", "RootMd2", "RootSha256", "LeafOfCurve", "Plain116", "WrongDigest", "EveryAttribute"):
        yield name, constants[name]
    every = constants["EveryAttribute"]
    start = every.index(bytes.fromhex("3081f9310e300c0603550403"))
    yield "name", every[start:start + 3 + every[start + 2]]


def mpi_seeds():
    """Numbers that strain an estimate: limbs of zeros and ones, top limbs of one bit, neighbours, and shared factors."""
    def numbers(*values):
        seed = b""
        for value in values:
            data = value.to_bytes((value.bit_length() + 7) // 8, "big")
            if len(data) >= 0x80:
                data = data.rjust((len(data) + 7) // 8 * 8, b"\0")
            seed += bytes([len(data) if len(data) < 0x80 else 0x7F + len(data) // 8]) + data
        return seed

    ones, bit = lambda limbs: (1 << 32 * limbs) - 1, lambda k: 1 << k
    prime = (1 << 521) - 1
    yield "mpi_divmod", "ones", numbers(ones(9), ones(4))
    yield "mpi_divmod", "top_bit", numbers(bit(400) - 1, bit(127))
    yield "mpi_divmod", "neighbours", numbers(bit(256) - 1, bit(256) + 1)
    yield "mpi_divmod", "holes", numbers(ones(2) << 128 | ones(1), ones(1) << 96 | 1)
    yield "mpi_divmod", "zero", numbers(ones(3), 0)
    yield "mpi_divmod", "full", numbers(ones(256), bit(4096) - 3)
    yield "mpi_inverse", "prime", b"\x01" + numbers(prime, bit(300) + 7)
    yield "mpi_inverse", "even", b"\x20" + numbers(bit(200), ones(5))
    yield "mpi_inverse", "shared", b"\x02" + numbers(15 * ones(3), 6 * bit(64))
    yield "mpi_inverse", "fibonacci", b"\x10" + numbers(fibonacci(700), fibonacci(699))
    yield "mpi_modexp", "prime", numbers(bit(200) + 5, prime, 65537, ones(2))
    yield "mpi_modexp", "even", numbers(3, bit(96) + 2, 9, 4)
    yield "mpi_modexp", "ones", numbers(ones(4), ones(5), ones(1), bit(31))
    yield "mpi_modexp", "small", numbers(2, 9, 3, 0)


def fibonacci(n):
    """Euclid's algorithm takes the most steps for neighbours of this sequence."""
    a, b = 0, 1
    for _ in range(n):
        a, b = b, a + b
    return a


def envelope_seeds():
    """Messages and requests of the vectors: kEnvelopedDes3 goes to enveloped_message as des3."""
    header = (HERE.parent / "tests" / "vectors" / "enveloped_messages.h").read_text()
    keys = {"Des3": 24, "Des": 0x80 | 8, "Rc240": 0x80 | 5, "Rc264": 8, "Rc2128": 16, "Rc4": 16}
    targets = {"Digested": "digested_message", "Encrypted": "encrypted_message", "Enveloped": "enveloped_message",
               "Sealed": "signed_and_enveloped_message", "Request": "request"}
    for kind, name, rows in re.findall(r"char k(Digested|Encrypted|Enveloped|Sealed|Request)(\w*)\[\] =\n(.*?);", header,
                                       re.DOTALL):
        data = bytes.fromhex("".join(re.findall(r'"(.*)"', rows)))
        if kind == "Encrypted":
            data = bytes([keys[name]]) + data
        if name != "Ciphertext":
            yield targets[kind], re.sub(r"(?<!^)([A-Z])", r"_\1", name).lower() or "plain", data


SIGNED = ("kPlain", "kPlainWithChain", "kPlainMd5", "kDetached", "kAttributes", "kAttributesSmime", "kKeyIdentifier",
          "kNoCertificates", "kTwoSigners", "kSecondIsGood", "kSecondHasVersion2", "kWithLists", "kNested",
          "kCertificatesOnly", "kCertificatesAndList", "kDataMessage")


def signed_seeds():
    """Messages of the vectors, which openssl made."""
    header = (HERE.parent / "tests" / "vectors" / "signed_messages.h").read_text()
    for name in SIGNED:
        rows = re.search(r"char " + name + r"\[\] =\n(.*?);", header, re.DOTALL).group(1)
        yield re.sub(r"(?<!^)([A-Z])", r"_\1", name[1:]).lower(), bytes.fromhex("".join(re.findall(r'"(.*)"', rows)))


def pfx_seeds():
    """The files of the tests, but for those of many iterations."""
    header = (HERE.parent / "tests" / "vectors" / "pfx_files.h").read_text()
    for name, text in re.findall(r"char (kPfx\w+)\[\] =((?:\s+\"[0-9a-f]+\")+);", header):
        if "Gnutls" not in name and "Many" not in name and "Nss" not in name:
            yield re.sub(r"(?<!^)([A-Z])", r"_\1", name[4:]).lower(), bytes.fromhex("".join(re.findall(r"[0-9a-f]{2,}", text)))


def main():
    with tempfile.TemporaryDirectory() as scratch:
        der = made_by_openssl(pathlib.Path(scratch))

    save("ber_reader", "public_key", reader_seed(0, der["public_key"]))
    save("ber_reader", "certificate", reader_seed(1, der["certificate"]))
    save("ber_reader", "certificate_version", reader_seed(2, der["certificate"][4:]))
    save("ber_reader", "chain", reader_seed(3, der["chain"]))
    save("ber_reader", "every_kind", reader_seed("{iebnoBOaug(", der["every_kind"]))
    save("ber_reader", "peeked", reader_seed("t{tiIx6$x", der["every_kind"]))
    for name, steps in writer_steps():
        save("ber_writer", name, steps)

    save("base64_decode", "certificate", base64.encodebytes(der["certificate"]))
    for name, text in {"empty": b"", "one_pad": b"QUI=", "two_pads": b"QQ==", "misplaced": b"QUJDQQ=A", "partial": b"QUJD\nQ",
                       "foreign": b"-----BEGIN-----\r\nQ U\tI=\r\nrest"}.items():
        save("base64_decode", name, text)

    for name, text in {"pairs": b"0A 1B", "odd": b"0A1", "letters": b"deadBEEF", "bad": b"0x12", "long": b"12" * 512,
                       "too_long": b"12" * 513}.items():
        save("serial", name, text)

    for name, text in {"same": b"CN=a,O=b\nCN=A, O=b", "subset": b"CN=a, O=b\nCN=a", "value": b"a\nCN=a",
                       "long_key": b"description=a\nDESCRIPTION=A", "other": b"CN=a\nCN=a, O=b"}.items():
        save("names", name, text)

    for name, text in {"four": "C=DE,O=Vemtrel,OU=B\u00fcro,CN=Seed \U0001f511", "blank": "C=DE, CN=a",
                       "commas": ",,,", "empty_value": "CN=,O=", "equals": "CN=a=b", "no_equals": "CN",
                       "eleven": ",".join(["OU=x"] * 11), "ten": ",".join(["OU=x"] * 10)}.items():
        save("subject", name, text.encode())
    save("subject", "bad_utf8", b"CN=\xff\xc3,O=\xed\xa0\x80")

    classes = schema_classes()
    for name, file, data in schema_seeds():
        save("asn_decode", file, bytes([classes.index(name)]) + data)
    for name, data in primitive_seeds():
        save("asn_values", name, data)
    for name, data in cipher_seeds():
        save("cipher_final", name, data)

    for name, data in rsa_block_seeds():
        save("rsa_block", name, data)

    save("answer", "certificate", der["certificate"])
    save("answer", "chain", der["chain"])
    save("answer", "every_kind", der["every_kind"])
    save("certificate", "self_signed", der["certificate"])
    save("certificate", "name", der["certificate"][der["certificate"].index(bytes.fromhex("310b3009060355040613024445")) - 2:])

    for name, message in signed_seeds():
        save("signed_message", name, message)
        if name in ("plain", "nested", "certificates_only", "data_message"):
            save("message", name, message)
    save("message", "text", b"no message")
    save("message", "no_type", bytes.fromhex("3000"))
    for name, file in pfx_seeds():
        save("pfx", name, file)
    for name, seed in pki_seeds():
        save("certificate_helpers", name, seed)
    save("pki_base64", "certificate", base64.encodebytes(der["certificate"]))
    for name, text in {"pads": b"Zg==Zm8=Zm9v", "misplaced": b"=AAAQUJDA=AAQQ=A", "partial": b"QUJD\nQ", "line": b"A" * 64 + b"\n",
                       "full_line": b"x" * 48}.items():
        save("pki_base64", name, text)

    for target, name, seed in mpi_seeds():
        save(target, name, seed)
    for target, name, seed in envelope_seeds():
        save(target, name, seed)


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""Writes signed_messages.h: a small authority, signers, and messages that openssl signed.

    python3 signed_messages.py

    openssl genpkey -algorithm RSA, openssl ca, openssl ca -selfsign, openssl ca -gencrl
    openssl cms -sign, openssl smime -sign, openssl crl2pkcs7, openssl dgst -sign

The command of each value stands beside it. OpenSSL reduces d by the least common multiple of p - 1 and q - 1; here it is
the inverse of e modulo their product, by Python's pow. "Put together" means that Python took openssl's messages apart and
joined their elements anew, as far as the comment says. The keys are new each time. The certificates are valid on any
day that a machine may believe it to be: programs that check them go by their own clock.
"""
import hashlib
import pathlib
import subprocess
import tempfile

BEGIN, END = "20000101000000Z", "20491231235959Z"
HEADER = pathlib.Path(__file__).resolve().with_suffix(".h")
SCRATCH = pathlib.Path(tempfile.mkdtemp())
CONTENT = b"The content that is signed.\n"
OTHER_CONTENT = b"Another content, of another length.\n"

CONFIG = """[ca]
default_ca = demo
[demo]
database = index.txt
crlnumber = crlnumber
serial = serial
new_certs_dir = .
default_md = sha1
policy = any
unique_subject = no
preserve = yes
[any]
countryName = optional
organizationName = optional
organizationalUnitName = optional
commonName = supplied
[root]
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid:always
basicConstraints = critical, CA:TRUE
[issuer]
basicConstraints = critical, CA:TRUE
[leaf]
basicConstraints = CA:FALSE
"""


def openssl(*arguments, stdin=None):
    return subprocess.run(["openssl", *arguments], input=stdin, capture_output=True, check=True, cwd=SCRATCH).stdout


# ---- DER

def tlv(tag, *parts):
    content = b"".join(parts)
    if len(content) < 0x80:
        return bytes([tag, len(content)]) + content
    length = len(content).to_bytes((len(content).bit_length() + 7) // 8, "big")
    return bytes([tag, 0x80 | len(length)]) + length + content


def read(der, at=0):
    """Tag, content and end of the element at a place."""
    tag, length, at = der[at], der[at + 1], at + 2
    if length >= 0x80:
        octets = length & 0x7F
        length, at = int.from_bytes(der[at:at + octets], "big"), at + octets
    return tag, der[at:at + length], at + length


def elements(content):
    """The elements inside a content, whole."""
    found, at = [], 0
    while at < len(content):
        end = read(content, at)[2]
        found.append(content[at:end])
        at = end
    return found


def inside(der):
    return elements(read(der)[1])


def integer(value):
    return tlv(0x02, value.to_bytes(value.bit_length() // 8 + 1, "big"))


# ---- The authority and the signers

def make_key(name, bits):
    openssl("genpkey", "-algorithm", "RSA", "-pkeyopt", f"rsa_keygen_bits:{bits}", "-out", name + ".raw")
    der = openssl("rsa", "-in", name + ".raw", "-traditional", "-outform", "DER")
    numbers = [int.from_bytes(read(e)[1], "big") for e in inside(der)]
    _, n, e, _, p, q, dp, dq, c = numbers
    d = pow(e, -1, (p - 1) * (q - 1))
    whole = tlv(0x30, *[integer(x) for x in (0, n, e, d, p, q, dp, dq, c)])
    openssl("rsa", "-inform", "DER", "-out", name + ".key", stdin=whole)
    return [n, e, d, p, q, dp, dq, c]


def issue(name, key, subject, issuer, serial, extensions="leaf"):
    """By the issuer of this name, or self-signed when it is the name of the certificate."""
    openssl("req", "-new", "-utf8", "-key", key + ".key", "-subj", subject, "-out", name + ".csr")
    (SCRATCH / "index.txt").write_text("")
    (SCRATCH / "serial").write_text(f"{serial:04X}\n")
    by = ["-selfsign"] if issuer == name else ["-cert", issuer + ".pem"]
    openssl("ca", "-config", "ca.cnf", "-batch", "-notext", "-in", name + ".csr", *by, "-keyfile", issuer + ".key",
            "-startdate", BEGIN, "-enddate", END, "-extensions", extensions, "-out", name + ".pem")


def revocation_list(issuer):
    (SCRATCH / "index.txt").write_text("")
    (SCRATCH / "crlnumber").write_text("01")
    openssl("ca", "-config", "ca.cnf", "-gencrl", "-cert", issuer + ".pem", "-keyfile", issuer + ".key",
            "-crl_lastupdate", BEGIN, "-crl_nextupdate", END, "-out", "crl.pem")
    return openssl("crl", "-in", "crl.pem", "-outform", "DER")


def certificate(name):
    return openssl("x509", "-in", name + ".pem", "-outform", "DER")


# ---- Messages

def sign(tool, signers, *options, content=CONTENT, md="sha1"):
    arguments = [tool, "-sign", "-binary", "-outform", "DER", "-md", md, *options]
    for name in signers:
        arguments += ["-signer", name + ".pem", "-inkey", name.split("_")[0] + ".key"]
    return openssl(*arguments, stdin=content)


def parts_of(message):
    """The elements of the SignedData of a message."""
    return inside(read(inside(message)[1])[1])


def message_of(parts):
    """A message around the elements of a SignedData."""
    signed_type = bytes.fromhex("06092a864886f70d010702")
    return tlv(0x30, signed_type, tlv(0xA0, tlv(0x30, *parts)))


def signers_of(message):
    return inside(parts_of(message)[-1])


def with_signers(message, signers):
    return message_of(parts_of(message)[:-1] + [tlv(0x31, *signers)])


def with_lists(message, lists):
    parts = parts_of(message)
    return message_of(parts[:-1] + [tlv(0xA1, *lists), parts[-1]])


def with_version(signer, version):
    return tlv(0x30, integer(version), *inside(signer)[1:])


# ---- The attributes of a signer, and what is signed with them

def attribute(oid, value):
    return tlv(0x30, bytes.fromhex(oid), tlv(0x31, value))


CONTENT_TYPE, DIGEST, NAME = "06092a864886f70d010903", "06092a864886f70d010904", "06092a864886f70d010902"
DATA_TYPE = bytes.fromhex("06092a864886f70d010701")


def attribute_set(*attributes):
    return tlv(0x31, *sorted(attributes))


def write_header(values, keys):
    lines = ["// Made by signed_messages.py with " + openssl("version").decode().split(" (")[0].rsplit(" ", 3)[0] + ".",
             "#ifndef VT_TESTS_VECTORS_SIGNED_MESSAGES_H", "#define VT_TESTS_VECTORS_SIGNED_MESSAGES_H", "",
             "namespace vectors {", "",
             "// A private key: the numbers of RFC 8017 from the modulus on, big-endian, without leading zeros.",
             "struct SignersKey {", "    const char* items[8];", "};"]
    for name, comment, data in values:
        text = data.hex()
        lines += ["", f"// {comment}", f"inline constexpr char {name}[] ="]
        rows = [text[i:i + 110] for i in range(0, len(text), 110)] or [""]
        lines += [f'    "{row}"' for row in rows]
        lines[-1] += ";"
    for name, comment, numbers in keys:
        lines += ["", f"// {comment}", f"inline constexpr SignersKey {name} = {{{{"]
        for number in numbers:
            text = number.to_bytes((number.bit_length() + 7) // 8, "big").hex()
            rows = [f'    "{text[i:i + 110]}"' for i in range(0, len(text), 110)]
            lines += rows
            lines[-1] += ","
        lines += ["}};"]
    lines += ["", "}  // namespace vectors", "", "#endif", ""]
    HEADER.write_text("\n".join(lines))
    subprocess.run(["clang-format", "-i", str(HEADER)], check=True)


def main():
    (SCRATCH / "ca.cnf").write_text(CONFIG)
    make_key("root", 1024)
    make_key("issuer", 1024)
    keys = {name: make_key(name, bits) for name, bits in (("alice", 1024), ("bob", 1024), ("dave", 2048))}
    issue("root", "root", "/C=DE/O=Example/CN=Test Root", "root", 1, "root")
    issue("issuer", "issuer", "/C=DE/O=Example/CN=Test Issuer", "root", 2, "issuer")
    issue("alice", "alice", "/C=DE/O=Example/CN=Alice", "issuer", 0x0A01)
    issue("alice_twin", "alice", "/C=DE/O=Example/CN=Alice", "issuer", 0x0A02)
    issue("bob", "bob", "/C=DE/O=Example/OU=Staff/CN=Bob", "issuer", 0x0B01)
    issue("dave", "dave", "/C=DE/O=Example/CN=Dave", "issuer", 0x0D01)
    chain = b"".join((SCRATCH / (n + ".pem")).read_bytes() for n in ("issuer", "root"))
    (SCRATCH / "chain.pem").write_bytes(chain)
    crls = [revocation_list("issuer"), revocation_list("root")]
    (SCRATCH / "crl.der").write_bytes(crls[0])
    openssl("crl", "-inform", "DER", "-in", "crl.der", "-out", "crl.pem")

    plain = sign("cms", ["alice"], "-nodetach", "-noattr")
    alice_on_other = sign("cms", ["alice"], "-nodetach", "-noattr", content=OTHER_CONTENT)
    attributes = sign("cms", ["alice"], "-nodetach")
    attributes_on_other = sign("cms", ["alice"], "-nodetach", content=OTHER_CONTENT)
    two = sign("cms", ["alice", "bob"], "-nodetach", "-noattr")
    by_bob = sign("cms", ["bob"], "-nodetach", "-noattr")

    digest = hashlib.sha1(CONTENT).digest()
    type_and_digest = [attribute(CONTENT_TYPE, DATA_TYPE), attribute(DIGEST, tlv(0x04, digest))]
    unstructured_name = attribute(NAME, tlv(0x16, b"a name"))

    def signed_by_alice(data):
        return openssl("dgst", "-sha1", "-sign", "alice.key", stdin=data)

    values = [
        ("kContent", "What is signed.", CONTENT),
        ("kRoot", "openssl ca -selfsign: the root, from 2000 to 2049 like all of these", certificate("root")),
        ("kIssuer", "openssl ca -cert root.pem: an intermediate authority", certificate("issuer")),
        ("kAlice", "openssl ca -cert issuer.pem, serial 0A01", certificate("alice")),
        ("kAliceTwin", "the same subject and key with the serial number 0x0A02", certificate("alice_twin")),
        ("kBob", "openssl ca -cert issuer.pem, serial 0B01", certificate("bob")),
        ("kDave", "openssl ca -cert issuer.pem, serial 0D01: 2048 bits", certificate("dave")),
        ("kIssuerList", "openssl ca -gencrl -cert issuer.pem", crls[0]),
        ("kRootList", "openssl ca -gencrl -cert root.pem", crls[1]),
        ("kPlain", "openssl cms -sign -nodetach -noattr -md sha1 -signer alice.pem", plain),
        ("kPlainWithChain", "the same with -certfile chain.pem: issuer and root",
         sign("cms", ["alice"], "-nodetach", "-noattr", "-certfile", "chain.pem")),
        ("kPlainMd5", "openssl smime -sign -nodetach -noattr -md md5 -signer bob.pem",
         sign("smime", ["bob"], "-nodetach", "-noattr", md="md5")),
        ("kDetached", "openssl cms -sign -noattr -md sha1 -signer alice.pem", sign("cms", ["alice"], "-noattr")),
        ("kAttributes", "openssl cms -sign -nodetach -md sha1 -signer alice.pem", attributes),
        ("kAttributesSmime", "openssl smime -sign -nodetach -md sha1 -signer alice.pem",
         sign("smime", ["alice"], "-nodetach")),
        ("kAttributesDetachedMd5", "openssl smime -sign -md md5 -signer alice.pem", sign("smime", ["alice"], md="md5")),
        ("kBig", "openssl cms -sign -nodetach -noattr -md sha1 -signer dave.pem: 2048 bits",
         sign("cms", ["dave"], "-nodetach", "-noattr")),
        ("kSha256", "openssl cms -sign -nodetach -md sha256 -signer alice.pem",
         sign("cms", ["alice"], "-nodetach", md="sha256")),
        ("kKeyIdentifier", "openssl cms -sign -nodetach -keyid -noattr -signer root.pem",
         sign("cms", ["root"], "-nodetach", "-keyid", "-noattr")),
        ("kNoCertificates", "openssl cms -sign -nodetach -noattr -nocerts -signer alice.pem",
         sign("cms", ["alice"], "-nodetach", "-noattr", "-nocerts")),
        ("kTwoSigners", "openssl cms -sign -nodetach -noattr -signer alice.pem -signer bob.pem", two),
        ("kSecondIsGood", "put together: kTwoSigners with alice's signer of another content, in front of bob's",
         with_signers(two, signers_of(alice_on_other) + signers_of(by_bob))),
        ("kNoneIsGood", "put together: kPlain with alice's signer of another content",
         with_signers(plain, signers_of(alice_on_other))),
        ("kAttributesOfOther", "put together: kAttributes with alice's signer of another content",
         with_signers(attributes, signers_of(attributes_on_other))),
        ("kSecondHasVersion2", "put together: the signers of kSecondIsGood, the second with version 2",
         with_signers(two, signers_of(alice_on_other) + [with_version(signers_of(by_bob)[0], 2)])),
        ("kWithLists", "put together: kPlain with both revocation lists, the longer one first",
         with_lists(plain, sorted(crls, reverse=True))),
        ("kWithListsInOrder", "the same in the order of DER", with_lists(plain, sorted(crls))),
        ("kNested", "openssl cms -sign -nodetach -noattr -econtent_type 1.2.840.113549.1.7.2 of kDetached",
         sign("cms", ["alice"], "-nodetach", "-noattr", "-econtent_type", "1.2.840.113549.1.7.2",
              content=sign("cms", ["alice"], "-noattr"))),
        ("kCertificatesOnly", "openssl crl2pkcs7 -nocrl -certfile alice.pem -certfile chain.pem",
         openssl("crl2pkcs7", "-nocrl", "-certfile", "alice.pem", "-certfile", "chain.pem", "-outform", "DER")),
        ("kCertificatesAndList", "openssl crl2pkcs7 -in crl.pem -certfile chain.pem",
         openssl("crl2pkcs7", "-in", "crl.pem", "-certfile", "chain.pem", "-outform", "DER")),
        ("kDataMessage", "openssl cms -data_create", openssl("cms", "-data_create", "-binary", "-outform", "DER", stdin=CONTENT)),
        ("kSha1OfContent", "hashlib.sha1", digest),
        ("kAliceSha1", "openssl dgst -sha1 -sign alice.key", signed_by_alice(CONTENT)),
        ("kAliceMd5", "openssl dgst -md5 -sign alice.key", openssl("dgst", "-md5", "-sign", "alice.key", stdin=CONTENT)),
        ("kAliceSha1OfNothing", "the same -sha1 of an empty file", signed_by_alice(b"")),
        ("kDaveSha1", "openssl dgst -sha1 -sign dave.key",
         openssl("dgst", "-sha1", "-sign", "dave.key", stdin=CONTENT)),
        ("kNameAttribute", "an attribute 1.2.840.113549.1.9.2, unstructuredName", unstructured_name),
        ("kNameTypeDigest", "the DER of a SET of it and of the two attributes that bind the content",
         attribute_set(unstructured_name, *type_and_digest)),
        ("kAliceNameTypeDigest", "openssl dgst -sha1 -sign alice.key of that",
         signed_by_alice(attribute_set(unstructured_name, *type_and_digest))),
        ("kAliceNameTypeDigestTwice", "the same with the two attributes twice",
         signed_by_alice(attribute_set(unstructured_name, *type_and_digest, *type_and_digest))),
        ("kAliceName", "openssl dgst -sha1 -sign alice.key of a SET of the name alone",
         signed_by_alice(attribute_set(unstructured_name))),
        ("kAliceSha1Sealed", "openssl enc -des-ede3-cbc -K 010203..18 -iv 2122..28 of kAliceSha1",
         openssl("enc", "-des-ede3-cbc", "-K", bytes(range(1, 25)).hex(), "-iv", bytes(range(0x21, 0x29)).hex(),
                 stdin=signed_by_alice(CONTENT))),
        ("kAliceDigest", "the same of a SET of the digest alone", signed_by_alice(attribute_set(type_and_digest[1]))),
    ]
    write_header(values, [
        ("kAliceKey", "the key of kAlice and kAliceTwin", keys["alice"]),
        ("kBobKey", "the key of kBob", keys["bob"]),
        ("kDaveKey", "the key of kDave, 2048 bits", keys["dave"]),
    ])


if __name__ == "__main__":
    main()

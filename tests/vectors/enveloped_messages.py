#!/usr/bin/env python3
"""Writes enveloped_messages.h: messages and requests by openssl, and by this script where openssl writes none.

    python3 enveloped_messages.py

What openssl makes has its command beside it. Nobody writes signed and enveloped data any more: those are put together
here by the definitions of RFC 2315, with openssl's triple DES and Python's integers. The keys are new each time.

OpenSSL reduces d by the least common multiple of p - 1 and q - 1. The d here is the inverse of e modulo the product.
"""
import hashlib
import pathlib
import subprocess
import tempfile

from crypto_streams import md2

HEADER = pathlib.Path(__file__).resolve().with_suffix(".h")
SCRATCH = pathlib.Path(tempfile.mkdtemp())
LEGACY = ("-provider", "legacy", "-provider", "default")
TEXT = b"The certificate for Example GmbH is ready; fetch it by noon.\n"
entries = []


def openssl(*arguments, stdin=b""):
    return subprocess.run(["openssl", *arguments], input=stdin, capture_output=True, check=True, cwd=SCRATCH).stdout


def add(name, data, comment):
    entries.append((name, data, comment))


# ---- DER ----

def tlv(tag, *parts):
    content = b"".join(parts)
    n = len(content)
    if n < 0x80:
        return bytes([tag, n]) + content
    size = (n.bit_length() + 7) // 8
    return bytes([tag, 0x80 | size]) + n.to_bytes(size, "big") + content


def seq(*parts):
    return tlv(0x30, *parts)


def setof(*parts):
    return tlv(0x31, *sorted(parts))


def integer(n):
    return tlv(0x02, n.to_bytes(n.bit_length() // 8 + 1, "big"))


def octets(data):
    return tlv(0x04, data)


def bits(data):
    return tlv(0x03, b"\0", data)


def oid(text):
    arcs = [int(arc) for arc in text.split(".")]
    out = bytearray()
    for arc in [arcs[0] * 40 + arcs[1]] + arcs[2:]:
        part = [arc & 0x7F]
        while arc := arc >> 7:
            part.insert(0, 0x80 | arc & 0x7F)
        out += bytes(part)
    return tlv(0x06, bytes(out))


def elements(data):
    """The elements side by side, each as (tag, whole, content)."""
    found, at = [], 0
    while at < len(data):
        start, tag, length, at = at, data[at], data[at + 1], at + 2
        if length & 0x80:
            count = length & 0x7F
            length, at = int.from_bytes(data[at:at + count], "big"), at + count
        found.append((tag, data[start:at + length], data[at:at + length]))
        at += length
    return found


NULL = b"\x05\0"
PKCS1 = "1.2.840.113549.1.1."
PKCS7 = "1.2.840.113549.1.7."
PKCS9 = "1.2.840.113549.1.9."
DES3 = "1.2.840.113549.3.7"
RSA_ALGORITHM = seq(oid(PKCS1 + "1"), NULL)
DIGESTS = {"sha1": "1.3.14.3.2.26", "md5": "1.2.840.113549.2.5", "md2": "1.2.840.113549.2.2"}


def algorithm(digest):
    return seq(oid(DIGESTS[digest]), NULL)


# ---- RSA ----

def digest_of(name, data):
    return md2(data) if name == "md2" else hashlib.new(name, data).digest()


class Key:
    """A key pair, and a certificate that it signs itself."""

    def __init__(self, name, bits_, subject, serial):
        self.path = SCRATCH / f"{name}.key"
        openssl("genpkey", "-algorithm", "RSA", "-pkeyopt", f"rsa_keygen_bits:{bits_}", "-out", self.path)
        numbers = [int.from_bytes(content, "big") for _, _, content in
                   elements(elements(openssl("rsa", "-in", self.path, "-traditional", "-outform", "DER"))[0][2])]
        _, self.n, self.e, _, p, q, *_ = numbers
        self.d = pow(self.e, -1, (p - 1) * (q - 1))
        self.items = [self.n, self.e, self.d, p, q, self.d % (p - 1), self.d % (q - 1), pow(q, -1, p)]
        self.size = (self.n.bit_length() + 7) // 8
        self.public = seq(integer(self.n), integer(self.e))
        self.certificate_path = SCRATCH / f"{name}.pem"
        self.command = f'openssl req -new -x509 -sha1 -subj "{subject}" -set_serial {serial} -days 36500'
        openssl("req", "-new", "-x509", "-sha1", "-key", self.path, "-subj", subject, "-set_serial", str(serial), "-days",
                "36500", "-out", self.certificate_path)
        self.certificate = openssl("x509", "-in", self.certificate_path, "-outform", "DER")
        fields = elements(elements(elements(self.certificate)[0][2])[0][2])
        self.issuer_and_serial = seq(fields[3][1], fields[1][1])  # behind version: serial, algorithm, issuer

    def block(self, kind, filler, data):
        """A PKCS#1 block under the public (2) or private (1) exponent."""
        padded = b"\0" + bytes([kind]) + filler * (self.size - 3 - len(data)) + b"\0" + data
        exponent = self.e if kind == 2 else self.d
        return pow(int.from_bytes(padded, "big"), exponent, self.n).to_bytes(self.size, "big")

    def encrypt(self, data):
        return self.block(2, b"\x5A", data)

    def sign(self, digest, data):
        return self.block(1, b"\xFF", seq(algorithm(digest), octets(digest_of(digest, data))))

    def sign_long(self, data):
        """Several blocks of type 1, as the engine cuts what is longer than one."""
        step = self.size - 11
        return b"".join(self.block(1, b"\xFF", data[i:i + step]) for i in range(0, len(data), step))


def add_key(name, key):
    add(f"k{name}Key", key.items, "modulus, public exponent, private exponent, primes, exponents, coefficient")
    add(f"k{name}Certificate", key.certificate, key.command)


# ---- messages ----

def content_info(kind, content):
    return seq(oid(PKCS7 + kind), tlv(0xA0, content))


def des3(key, iv, data):
    return openssl("enc", "-des-ede3-cbc", "-K", key.hex(), "-iv", iv.hex(), stdin=data)


def recipient_info(key, session_key, version=0):
    return seq(integer(version), key.issuer_and_serial, RSA_ALGORITHM, octets(key.encrypt(session_key)))


class Sealed:
    """Signed and enveloped data, part by part."""
    session_key = bytes(range(0x40, 0x58))
    iv = bytes(range(0xA0, 0xA8))

    def __init__(self, recipient, inner_type="1", text=TEXT):
        self.recipients = [recipient_info(recipient, self.session_key)]
        self.inner_type = oid(PKCS7 + inner_type)
        self.text = text
        self.certificates, self.lists, self.signers = [], [], []
        self.version, self.detached = 1, False
        self.recipient_tag, self.signer_tag, self.digest_tag = 0x31, 0x31, 0x31

    def encrypted(self, data):
        return des3(self.session_key, self.iv, data)

    def add_signer(self, key, digest="sha1", spoiled=False, attributes=None, version=1, clear=False):
        text = self.text + b"!" if spoiled else self.text
        parts = [integer(version), key.issuer_and_serial, algorithm(digest)]
        if attributes:
            content = b"".join(sorted([
                seq(oid(PKCS9 + "3"), setof(self.inner_type)),
                seq(oid(PKCS9 + "4"), setof(octets(digest_of(digest, text))))]))
            parts.append(tlv(0xA0, content))
            text = tlv(0x31, content)
        signature = key.sign(digest, text)
        parts += [RSA_ALGORITHM, octets(signature if clear else self.encrypted(signature))]
        self.signers.append(seq(*parts))
        return self

    def message(self):
        info = [self.inner_type, seq(oid(DES3), octets(self.iv))]
        if not self.detached:
            info.append(tlv(0x80, self.encrypted(self.text)))
        parts = [integer(self.version), tlv(self.recipient_tag, *self.recipients),
                 tlv(self.digest_tag, algorithm("sha1")), seq(*info)]
        if self.certificates:
            parts.append(tlv(0xA0, *self.certificates))
        if self.lists:
            parts.append(tlv(0xA1, *self.lists))
        parts.append(tlv(self.signer_tag, *self.signers))
        return content_info("4", seq(*parts))


def revocation_list(key):
    (SCRATCH / "index.txt").write_text("")
    (SCRATCH / "ca.cnf").write_text("[ca]\ndefault_ca=demo\n[demo]\ndatabase=index.txt\ndefault_md=sha1\n")
    openssl("ca", "-config", "ca.cnf", "-gencrl", "-keyfile", key.path, "-cert", key.certificate_path, "-crldays",
            "36500", "-out", "list.pem")
    return openssl("crl", "-in", "list.pem", "-outform", "DER")


def detach(message):
    """The message without its ciphertext, and the ciphertext."""
    kind, wrapped = elements(elements(message)[0][2])
    version, recipients, info = elements(elements(wrapped[2])[0][2])
    inner_type, cipher, encrypted = elements(info[2])
    body = seq(version[1], recipients[1], seq(inner_type[1], cipher[1]))
    return seq(kind[1], tlv(0xA0, body)), encrypted[2]


def add_enveloped(recipient, second, other):
    for name, command, cipher in (
            ("Des3", "smime", "des3"), ("Des3Cms", "cms", "des3"), ("Des", "smime", "des"),
            ("Rc240", "smime", "rc2-40"), ("Rc264", "smime", "rc2-64"), ("Rc2128", "smime", "rc2-128"),
            ("Rc4", "cms", "rc4"), ("Aes128", "smime", "aes128")):
        data = openssl(command, "-encrypt", *LEGACY, "-binary", "-" + cipher, "-outform", "DER",
                       recipient.certificate_path, stdin=TEXT)
        add(f"kEnveloped{name}", data, f"openssl {command} -encrypt -binary -{cipher} -outform DER recipient.pem")
    data = openssl("smime", "-encrypt", "-binary", "-des3", "-outform", "DER", second.certificate_path, stdin=TEXT)
    add("kEnvelopedForLarge", data, "openssl smime -encrypt -binary -des3 -outform DER large.pem")
    data = openssl("smime", "-encrypt", "-binary", "-des3", "-outform", "DER", recipient.certificate_path,
                   other.certificate_path, stdin=TEXT)
    add("kEnvelopedForTwo", data, "openssl smime -encrypt -binary -des3 -outform DER recipient.pem signer.pem")
    data = openssl("cms", "-encrypt", "-binary", "-des3", "-keyid", "-outform", "DER", "-recip",
                   recipient.certificate_path, stdin=TEXT)
    add("kEnvelopedByKeyId", data, "openssl cms -encrypt -binary -des3 -keyid -outform DER -recip recipient.pem")
    message, ciphertext = detach(openssl("smime", "-encrypt", "-binary", "-des3", "-outform", "DER",
                                         recipient.certificate_path, stdin=TEXT))
    add("kEnvelopedDetached", message, "openssl smime -encrypt ..., without its ciphertext")
    add("kEnvelopedCiphertext", ciphertext, "the ciphertext of that")
    data = openssl("smime", "-encrypt", "-binary", "-des3", "-outform", "DER", recipient.certificate_path)
    add("kEnvelopedEmpty", data, "openssl smime -encrypt -binary -des3 -outform DER recipient.pem < /dev/null")


def add_encrypted():
    for name, cipher, key in (("Des3", "des3", bytes(range(24))), ("Des", "des", bytes(range(1, 9))),
                              ("Rc240", "rc2-40-cbc", bytes(range(1, 6))), ("Rc264", "rc2-64-cbc", bytes(range(8))),
                              ("Rc2128", "rc2-128", bytes(range(16))), ("Rc4", "rc4", bytes(range(16)))):
        data = openssl("cms", "-EncryptedData_encrypt", *LEGACY, "-binary", "-" + cipher, "-secretkey", key.hex(),
                       "-outform", "DER", stdin=TEXT)
        add(f"kEncrypted{name}", data,
            f"openssl cms -EncryptedData_encrypt -binary -{cipher} -secretkey {key.hex()} -outform DER")


def add_digested():
    for digest in ("sha1", "md5", "sha256"):
        data = openssl("cms", "-digest_create", "-binary", "-md", digest, "-outform", "DER", stdin=TEXT)
        add(f"kDigested{digest.capitalize()}", data, f"openssl cms -digest_create -binary -md {digest} -outform DER")
    data = openssl("cms", "-digest_create", "-binary", "-md", "sha1", "-econtent_type", "pkcs7-signedData", "-outform",
                   "DER", stdin=TEXT)
    add("kDigestedTypeSigned", data,
        "openssl cms -digest_create -binary -md sha1 -econtent_type pkcs7-signedData -outform DER")
    data = content_info("5", seq(integer(0), algorithm("md2"), content_info("1", octets(TEXT)),
                                 octets(digest_of("md2", TEXT))))
    add("kDigestedMd2", data, "by this script")
    add("kDigestedEmpty", openssl("cms", "-digest_create", "-binary", "-md", "sha1", "-outform", "DER"),
        "openssl cms -digest_create -binary -md sha1 -outform DER < /dev/null")


def add_sealed(recipient, signer, other):
    def sealed(*arguments, **parts):
        built = Sealed(recipient, *arguments)
        built.certificates = [signer.certificate]
        for part, value in parts.items():
            setattr(built, part, value)
        return built

    add("kSealed", sealed().add_signer(signer).message(), "one signer, SHA-1")
    add("kSealedMd5", sealed().add_signer(signer, "md5").message(), "one signer, MD5")
    add("kSealedAttributes", sealed().add_signer(signer, attributes=True).message(),
        "one signer with authenticated attributes")
    both = [signer.certificate, other.certificate]
    add("kSealedSecondGood", sealed(certificates=both).add_signer(other, spoiled=True).add_signer(signer).message(),
        "the first signer signed another text")
    add("kSealedSpoiled", sealed(lists=[revocation_list(signer)]).add_signer(signer, spoiled=True).message(),
        "the only signer signed another text; a revocation list is in it")
    add("kSealedNoCertificate", sealed(certificates=[]).add_signer(signer).message(), "the signer's certificate is not in it")
    add("kSealedNoSigner", sealed().message(), "no signer")
    add("kSealedClearSignature", sealed().add_signer(signer, clear=True).message(), "the signature is not encrypted")
    add("kSealedDetached", sealed(detached=True).add_signer(signer).message(), "without its ciphertext")
    add("kSealedCiphertext", sealed().encrypted(TEXT), "the ciphertext of that")
    add("kSealedVersion0", sealed(version=0).add_signer(signer).message(), "version 0")
    add("kSealedSignerVersion2", sealed().add_signer(signer, version=2).message(), "version 2 of the signer")
    add("kSealedRecipientSequence", sealed(recipient_tag=0x30).add_signer(signer).message(), "SEQUENCE of recipients")
    add("kSealedSignerSequence", sealed(signer_tag=0x30).add_signer(signer).message(), "SEQUENCE of signers")
    add("kSealedDigestSequence", sealed(digest_tag=0x30).add_signer(signer).message(), "SEQUENCE of digest algorithms")
    add("kSealedNoRecipient", sealed(recipients=[]).add_signer(signer).message(), "no recipient")
    inner = seq(integer(5))
    nested = sealed("2", elements(inner)[0][2]).add_signer(signer).message()
    add("kSealedNested", nested, "the content is of type signed data, with octets 02 01 05")


def request(key, info, kind, signature):
    return seq(info, seq(oid(PKCS1 + kind), NULL), bits(signature))


def request_info(key, subject=None):
    name = seq(setof(seq(oid("2.5.4.3"), tlv(0x13, subject)))) if subject else seq()
    return seq(integer(0), name, seq(RSA_ALGORITHM, bits(key.public)), tlv(0xA0))


def small_key():
    """512 bits: the information of a request with no subject is 116 bytes or fewer then."""
    return Key("small", 512, "/CN=s", 1)


def add_requests(recipient):
    subject = "/C=DE/O=Example/CN=Request"
    for digest in ("sha1", "md5", "sha256"):
        data = openssl("req", "-new", "-key", recipient.path, "-subj", subject, "-" + digest, "-outform", "DER")
        add(f"kRequest{digest.capitalize()}", data, f'openssl req -new -key recipient.key -subj "{subject}" -{digest}')
    (SCRATCH / "req.cnf").write_text(
        "[req]\ndistinguished_name=dn\nattributes=attributes\nreq_extensions=extensions\nprompt=no\n"
        "[dn]\nC=DE\nO=Example\nCN=Request\n"
        "[attributes]\nchallengePassword=secret\nunstructuredName=Example\n[extensions]\nkeyUsage=digitalSignature\n")
    data = openssl("req", "-new", "-key", recipient.path, "-config", "req.cnf", "-sha1", "-outform", "DER")
    add("kRequestAttributes", data, "openssl req -new -key recipient.key -sha1, with a challenge password, an unstructured "
        "name and a key usage")
    info = request_info(recipient, b"Request")
    add("kRequestMd2", request(recipient, info, "2", recipient.sign("md2", info)), "RSA with MD2, by this script")
    add("kRequestBareTooLong", request(recipient, info, "1", b"\x01" * recipient.size),
        "RSA alone over 117 bytes and more, by this script")
    small = small_key()
    info = request_info(small)
    assert len(info) < 117
    bare = small.sign_long(seq(RSA_ALGORITHM, octets(info)))
    add("kRequestBare", request(small, info, "1", bare), "RSA alone over fewer than 117 bytes, in blocks, by this script")
    foreign = recipient.sign("sha1", b"another text")
    info = request_info(recipient, b"Request")
    add("kRequestForged", request(recipient, info, "5", foreign), "the signature is of another text")
    name = seq(setof(seq(oid("2.5.4.3"), tlv(0x13, b"Request"))))
    ec = seq(seq(oid("1.2.840.10045.2.1"), oid("1.2.840.10045.3.1.7")), bits(b"\x04" + b"\x11" * 64))
    info = seq(integer(0), name, ec, tlv(0xA0))
    add("kRequestEc", request(recipient, info, "5", recipient.sign("sha1", info)), "the key is no RSA key")


def literal(data):
    text = data.hex()
    return "\n".join(f'    "{text[i:i + 110]}"' for i in range(0, len(text), 110)) or '    ""'


def main():
    recipient = Key("recipient", 1024, "/C=DE/O=Example/CN=Recipient", 17)
    signer = Key("signer", 1024, "/C=DE/O=Example/CN=Signer One", 4711)
    large = Key("large", 2048, "/C=DE/O=Example/CN=Large Recipient", 2048)
    add_key("Recipient", recipient)
    add_key("Signer", signer)
    add_key("Large", large)
    add("kText", TEXT, "what is in the messages")
    add_enveloped(recipient, large, signer)
    add_encrypted()
    add_digested()
    add_sealed(recipient, signer, large)
    add_requests(recipient)
    version = " ".join(openssl("version").decode().split()[:2])
    out = [f"""// Made by enveloped_messages.py with {version} and Python's integers.
#ifndef VT_TESTS_VECTORS_ENVELOPED_MESSAGES_H
#define VT_TESTS_VECTORS_ENVELOPED_MESSAGES_H

namespace vectors {{
"""]
    for name, data, comment in entries:
        out.append(f"// {comment}")
        if isinstance(data, list):
            rows = ",\n".join(literal(x.to_bytes((x.bit_length() + 7) // 8, "big")) for x in data)
            out.append(f"inline constexpr const char* {name}[] = {{\n{rows}}};\n")
        else:
            out.append(f"inline constexpr char {name}[] =\n{literal(data)};\n")
    out.append("}  // namespace vectors\n\n#endif\n")
    HEADER.write_text("\n".join(out), encoding="ascii")


main()

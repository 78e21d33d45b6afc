#!/usr/bin/env python3
"""Tests of vtmsg from outside: vtmsg_test.py COMMAND...

COMMAND runs the program (behind an emulator where it is a Windows program). What it writes is read by openssl, and the
reverse; the keys and certificates are made by openssl too.
"""
import os
import re
import subprocess
import sys
import tempfile
import unittest

COMMAND = []
LEGACY = ["-provider", "legacy", "-provider", "default"]
VECTORS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "vectors", "enveloped_messages.h")
CONTENT = b"Enrolled on a Tuesday.\r\n\x00\xff and more\n"


def run(*command, given=b"", status=0):
    result = subprocess.run(command, input=given, capture_output=True, timeout=120, check=False)
    if result.returncode != status:
        raise AssertionError(f"{command} gave {result.returncode}: {result.stderr.decode(errors='replace')}")
    return result.stdout


def openssl(*arguments, given=b"", status=0):
    return run("openssl", *arguments, given=given, status=status)


def vtmsg(*arguments, given=b""):
    return subprocess.run([*COMMAND, *arguments], input=given, capture_output=True, timeout=120, check=False)


def lines(stream):
    return stream.decode("utf-8", "surrogateescape").replace("\r\n", "\n")


def numbers(key):
    text = openssl("rsa", "-in", key, "-text", "-noout").decode()
    found = re.findall(r"^(\w+):\n((?: +[0-9a-f:]+\n)+)", text, re.MULTILINE)
    return {name: int(re.sub(r"[\s:]", "", digits), 16) for name, digits in found}


def vector(name):
    """The bytes of a message, or the numbers of a key, that no program at hand makes."""
    with open(VECTORS, encoding="ascii") as file:
        body = re.search(rf"{name}\[\] =([^;]*);", file.read())[1]
    values = [bytes.fromhex("".join(re.findall(r'"([0-9a-f]*)"', value))) for value in body.split(",")]
    return values if "{" in body else values[0]


def element(tag, body):
    size = len(body).to_bytes((len(body).bit_length() + 7) // 8, "big")
    return bytes([tag]) + (bytes([len(body)]) if len(body) < 128 else bytes([0x80 | len(size)]) + size) + body


def private_key(numbers_of_it):
    return element(0x30, b"".join(element(2, b"\0" + number) for number in [b"", *numbers_of_it]))


def make_key(path):
    """A key whose private exponent is the inverse modulo (p - 1)(q - 1): the engine takes no other."""
    for _ in range(100):
        openssl("genrsa", "-traditional", "-out", path, "1024")
        n = numbers(path)
        if n["privateExponent"] * 65537 % ((n["prime1"] - 1) * (n["prime2"] - 1)) == 1:
            return
    raise AssertionError("no key found")


class VtmsgTest(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.scratch.cleanup)
        make_key(cls.path("leaf.key"))
        openssl("genrsa", "-out", cls.path("root.key"), "1024")
        openssl("req", "-x509", "-new", "-sha1", "-key", cls.path("root.key"), "-subj", "/O=Vemtrel/CN=Root", "-days",
                "30", "-out", cls.path("root.pem"))
        openssl("req", "-new", "-sha1", "-key", cls.path("leaf.key"), "-subj", "/O=Vemtrel/CN=Leaf", "-out",
                cls.path("leaf.csr"))
        cls.write("leaf.ext", b"basicConstraints=CA:FALSE\n")
        openssl("x509", "-req", "-sha1", "-in", cls.path("leaf.csr"), "-CA", cls.path("root.pem"), "-CAkey",
                cls.path("root.key"), "-set_serial", "7", "-days", "30", "-extfile", cls.path("leaf.ext"), "-out",
                cls.path("leaf.pem"))
        openssl("pkcs8", "-topk8", "-nocrypt", "-in", cls.path("leaf.key"), "-out", cls.path("leaf.p8"))
        openssl("pkcs8", "-topk8", "-passout", "pass:secret", "-in", cls.path("leaf.key"), "-out", cls.path("leaf.enc"))
        cls.write("content", CONTENT)
        cls.write("other", CONTENT + b"!")
        cls.write("empty", b"")
        cls.write("session.hex", b"00112233 44556677 8899aabb ccddeeff 00112233 44556677\n")

    @classmethod
    def path(cls, name):
        return os.path.join(cls.scratch.name, name)

    @classmethod
    def write(cls, name, content):
        with open(cls.path(name), "wb") as file:
            file.write(content)
        return cls.path(name)

    def gives(self, *arguments, given=b""):
        result = vtmsg(*arguments, given=given)
        self.assertEqual((result.returncode, lines(result.stderr)), (0, ""), arguments)
        return result.stdout

    def complains(self, status, words, *arguments, given=b""):
        result = vtmsg(*arguments, given=given)
        self.assertEqual((result.returncode, result.stdout), (status, b""), arguments)
        self.assertIn(words, lines(result.stderr))
        self.assertTrue(lines(result.stderr).startswith("vtmsg: "))

    def signed(self, *more):
        return self.gives("write-signed", "--cert", self.path("leaf.pem"), "--key", self.path("leaf.key"), *more,
                          self.path("content"))

    def verified(self, message, *more):
        return openssl("cms", "-verify", "-binary", "-purpose", "any", "-inform", "PEM", "-CAfile", self.path("root.pem"),
                       *more, given=message)

    # Signed messages.

    def test_what_is_signed_verifies_elsewhere(self):
        for digest in ("sha1", "md5"):
            self.assertEqual(self.verified(self.signed("--digest", digest)), CONTENT)
        detached = self.signed("--detached")
        self.assertEqual(self.verified(detached, "-content", self.path("content")), CONTENT)
        self.assertNotIn(CONTENT, self.signed("--detached", "--form", "der"))

    def test_what_is_signed_elsewhere_verifies(self):
        for attributes in ([], ["-noattr"]):
            for digest in ("sha1", "md5"):
                sign = ["cms", "-sign", "-binary", "-in", self.path("content"), "-signer", self.path("leaf.pem"),
                        "-inkey", self.path("leaf.key"), "-md", digest, "-outform", "DER", *attributes]
                self.assertEqual(self.gives("read-signed", given=openssl(*sign, "-nodetach")), CONTENT)
                self.assertEqual(self.gives("read-signed", "--content", self.path("content"), given=openssl(*sign)),
                                 b"verified\n")

    def test_a_signature_that_does_not_fit(self):
        self.complains(1, "-1017: no signer could be verified", "read-signed", "--content", self.path("other"),
                       given=self.signed("--detached"))
        message = bytearray(self.signed("--form", "der"))
        message[message.index(CONTENT)] ^= 1
        self.complains(1, "-1017", "read-signed", given=bytes(message))

    def test_a_newer_digest_is_refused(self):
        message = openssl("cms", "-sign", "-binary", "-nodetach", "-in", self.path("content"), "-signer",
                          self.path("leaf.pem"), "-inkey", self.path("leaf.key"), "-md", "sha256", "-outform", "DER")
        self.complains(1, "-1006: ", "read-signed", given=message)

    def test_certificates_and_lists_that_are_carried(self):
        self.write("index", b"")
        self.write("ca.conf", f"[ca]\ndefault_ca=d\n[d]\ndatabase={self.path('index')}\ndefault_md=sha1\n".encode())
        openssl("ca", "-config", self.path("ca.conf"), "-gencrl", "-crldays", "9", "-keyfile", self.path("root.key"),
                "-cert", self.path("root.pem"), "-out", self.path("root.crl"))
        message = self.signed("--add-cert", self.path("root.pem"), "--crl", self.path("root.crl"), "--form", "der")
        text = openssl("cms", "-cmsout", "-print", "-inform", "DER", given=message).decode()
        self.assertEqual(text.count("d.certificate:"), 2)
        self.assertEqual(text.count("d.crl:"), 1)
        listed = lines(self.gives("certs", given=message))
        self.assertCountEqual(re.findall("^subject.*", listed, re.MULTILINE),
                              ["subject: O=Vemtrel, CN=Root", "subject: O=Vemtrel, CN=Leaf"])
        self.assertEqual(listed.count("BEGIN CERTIFICATE"), 2)
        leaf = lines(self.gives("certs", "--leaf", given=message))
        self.assertTrue(leaf.startswith("subject: O=Vemtrel, CN=Leaf\n-----BEGIN CERTIFICATE-----\n"))
        with open(self.path("leaf.pem"), encoding="ascii") as file:
            self.assertIn(file.read(), leaf)

    def test_certificates_alone(self):
        message = openssl("crl2pkcs7", "-nocrl", "-certfile", self.path("root.pem"), "-certfile", self.path("leaf.pem"))
        self.assertEqual(lines(self.gives("certs", given=message)).count("BEGIN CERTIFICATE"), 2)
        self.complains(1, "-1003", "read-signed", given=message)
        self.complains(1, "the message carries no certificates", "certs", given=openssl(
            "cms", "-sign", "-nocerts", "-binary", "-nodetach", "-in", self.path("content"), "-signer",
            self.path("leaf.pem"), "-inkey", self.path("leaf.key"), "-md", "sha1", "-outform", "DER"))

    def test_a_message_in_a_message(self):
        inner = self.gives("write-data", "--form", "der", self.path("content"))
        outer = self.gives("write-signed", "--cert", self.path("leaf.pem"), "--key", self.path("leaf.key"), given=inner)
        self.assertEqual(self.gives("read-signed", given=outer), CONTENT)
        inner = self.signed("--form", "der")
        outer = self.gives("write-signed", "--cert", self.path("leaf.pem"), "--key", self.path("leaf.key"), given=inner)
        self.assertEqual(self.gives("read-signed", given=outer), inner)

    # Enveloped, encrypted, digested messages and data.

    def test_what_is_enveloped_opens_elsewhere(self):
        for cipher in ("des3", "des", "rc2-128", "rc2-64", "rc2-40"):
            message = self.gives("write-enveloped", "--to", self.path("leaf.pem"), "--cipher", cipher,
                                 self.path("content"))
            self.assertEqual(openssl("cms", "-decrypt", *LEGACY, "-binary", "-inform", "PEM", "-inkey",
                                     self.path("leaf.key"), "-recip", self.path("leaf.pem"), given=message), CONTENT)

    def test_what_is_enveloped_elsewhere_opens(self):
        for cipher in ("-des3", "-des", "-rc2-128", "-rc2-64", "-rc2-40"):
            message = openssl("cms", "-encrypt", *LEGACY, cipher, "-binary", "-in", self.path("content"), "-outform",
                              "DER", self.path("leaf.pem"))
            for key in ("leaf.key", "leaf.p8"):
                self.assertEqual(self.gives("read-enveloped", "--key", self.path(key), given=message), CONTENT)

    def test_enveloped_with_rc4_and_without_its_ciphertext(self):
        message = self.gives("write-enveloped", "--to", self.path("leaf.pem"), "--cipher", "rc4", self.path("content"))
        self.assertEqual(self.gives("read-enveloped", "--key", self.path("leaf.key"), given=message), CONTENT)
        ciphertext = self.path("ciphertext")
        message = self.gives("write-enveloped", "--to", self.path("leaf.pem"), "--ciphertext", ciphertext, "-f", "der",
                             self.path("content"))
        with open(ciphertext, "rb") as file:
            self.assertNotIn(file.read(), message)
        self.assertEqual(self.gives("read-enveloped", "--key", self.path("leaf.key"), "--ciphertext", ciphertext,
                                    given=message), b"decrypts\n")

    def test_signed_and_enveloped(self):
        key = ["--key", self.write("recipient.key", private_key(vector("kRecipientKey")))]
        read = ["read-signed-and-enveloped", *key]
        self.assertEqual(self.gives(*read, given=vector("kSealed")), vector("kText"))
        cipher = ["--ciphertext", self.write("sealed.cipher", vector("kSealedCiphertext"))]
        self.assertEqual(lines(self.gives(*read, *cipher, given=vector("kSealedDetached"))), "verified\n")
        self.complains(1, "", *read, given=vector("kSealedSpoiled"))
        cipher = ["--ciphertext", self.write("sealed.cipher", vector("kSealedCiphertext")[::-1])]
        self.complains(1, "", *read, *cipher, given=vector("kSealedDetached"))

    def test_encrypted(self):
        key = ["--session-key", self.path("session.hex")]
        message = self.gives("write-encrypted", *key, "--iv", "0102030405060708", self.path("content"))
        self.assertEqual(openssl("cms", "-EncryptedData_decrypt", "-inform", "PEM", "-secretkey",
                                 "001122334455667788" "99aabbccddeeff0011223344556677", given=message), CONTENT)
        self.assertEqual(self.gives("read-encrypted", *key, given=message), CONTENT)
        theirs = openssl("cms", "-EncryptedData_encrypt", "-des3", "-binary", "-in", self.path("content"), "-outform",
                         "DER", "-secretkey", "00112233445566778899aabbccddeeff0011223344556677")
        self.assertEqual(self.gives("read-encrypted", *key, given=theirs), CONTENT)
        ours = [self.gives("write-encrypted", *key, self.path("content")) for _ in range(2)]
        self.assertNotEqual(*ours, "the initial value is random")

    def test_digested(self):
        theirs = openssl("cms", "-digest_create", "-binary", "-md", "sha1", "-in", self.path("content"), "-outform",
                         "DER")
        self.assertEqual(self.gives("read-digested", given=theirs), CONTENT)
        for digest in ("sha1", "md5", "md2"):
            message = self.gives("write-digested", "--digest", digest, "-f", "der", self.path("content"))
            self.assertEqual(self.gives("read-digested", given=message), CONTENT)
            changed = message.replace(CONTENT, CONTENT[:-1] + b"?")
            self.complains(1, "-1012", "read-digested", given=changed)
        message = self.gives("write-digested", self.path("content"))
        self.assertEqual(openssl("cms", "-digest_verify", "-binary", "-inform", "PEM", given=message), CONTENT)

    def test_data(self):
        message = self.gives("write-data", self.path("content"))
        self.assertEqual(openssl("cms", "-data_out", "-binary", "-inform", "PEM", given=message), CONTENT)
        self.assertEqual(self.gives("read-data", given=message), CONTENT)
        theirs = openssl("cms", "-data_create", "-binary", "-in", self.path("content"), "-outform", "DER")
        self.assertEqual(self.gives("read-data", given=theirs), CONTENT)

    def test_types(self):
        made = {"data": ["write-data"], "signed data": ["write-signed", "--cert", "leaf.pem", "--key", "leaf.key"],
                "enveloped data": ["write-enveloped", "--to", "leaf.pem"], "digested data": ["write-digested"],
                "encrypted data": ["write-encrypted", "--session-key", "session.hex"]}
        for name, arguments in made.items():
            there = [self.path(a) if os.path.exists(self.path(a)) else a for a in arguments]
            self.assertEqual(self.gives("type", given=self.gives(*there, self.path("content"))), f"{name}\n".encode())
        signed_and_enveloped = bytes.fromhex("300b06092a864886f70d010704")
        self.assertEqual(self.gives("type", given=signed_and_enveloped), b"signed and enveloped data\n")
        self.complains(1, "no PKCS#7 message", "type", self.path("leaf.pem"))

    def test_forms(self):
        der = self.gives("write-data", "--form", "der", self.path("content"))
        text = self.gives("write-data", "--form=base64", self.path("content"))
        pem = self.gives("write-data", self.path("content"))
        self.assertEqual(len(text.splitlines()), 1)
        self.assertTrue(lines(pem).startswith("-----BEGIN PKCS7-----\n"))
        for message in (der, text, pem):
            self.assertEqual(self.gives("read-data", given=message), CONTENT)
        out = self.path("out")
        self.assertEqual(self.gives("write-data", "-o", out, "-f", "der", self.path("content")), b"")
        with open(out, "rb") as file:
            self.assertEqual(file.read(), der)

    # What is refused.

    def test_wrong_kinds_of_message(self):
        data = self.gives("write-data", self.path("content"))
        for command in (["read-signed"], ["read-digested"], ["read-enveloped", "--key", self.path("leaf.key")],
                        ["read-signed-and-enveloped", "--key", self.path("leaf.key")],
                        ["read-encrypted", "--session-key", self.path("session.hex")]):
            self.complains(1, "-1009: ", *command, given=data)
        self.complains(1, "-1009: ", "read-data", given=self.signed())

    def test_files_that_do_not_serve(self):
        name = self.path("nowhere")
        self.complains(1, '"' + name[:60], "read-data", name)
        self.complains(1, "the key is encrypted", "read-enveloped", "--key", self.path("leaf.enc"), self.path("leaf.pem"))
        self.complains(1, "no private key", "read-enveloped", "--key", self.path("leaf.pem"), self.path("leaf.pem"))
        self.complains(1, 'no block "CERTIFICATE"', "write-enveloped", "--to", self.path("leaf.key"),
                       self.path("content"))
        self.complains(1, "neither DER nor PEM nor base64", "read-data", given=b"what?")
        self.complains(1, "empty", "read-data", self.path("empty"))
        broken = b"-----BEGIN %s-----\nMII!\n-----END %s-----\n"
        self.complains(1, "no base64", "read-data", given=broken % (b"PKCS7", b"PKCS7"))
        read = ["read-enveloped", self.path("leaf.pem"), "--key"]
        name = b"PRIVATE KEY"
        self.complains(1, "no base64", *read, self.write("broken.key", broken % (name, name)))
        name = b"CERTIFICATE"
        self.complains(1, "no base64", "write-enveloped", self.path("content"), "--to",
                       self.write("broken.pem", broken % (name, name)))
        encrypted = openssl("pkcs8", "-topk8", "-passout", "pass:secret", "-in", self.path("leaf.key"), "-outform", "DER")
        self.complains(1, "the key is encrypted", *read, self.write("encrypted.der", encrypted))
        certificate = openssl("x509", "-in", self.path("leaf.pem"), "-outform", "DER")
        self.complains(1, "no private key, but a Certificate", *read, self.write("leaf.der", certificate))
        self.complains(1, "the key lacks a number, or has a negative one", *read,
                       self.write("negative.der", element(0x30, element(2, b"\0") + 8 * element(2, b"\xff"))))
        for text in (b"", b"0", b"0g"):
            self.complains(1, "", "read-encrypted", "--session-key", self.write("bad.hex", text), self.path("content"))

    def test_a_key_of_another_certificate(self):
        message = self.gives("write-enveloped", "--to", self.path("root.pem"), self.path("content"))
        self.complains(1, "-12: ", "read-enveloped", "--key", self.path("leaf.key"), given=message)

    def test_usage(self):
        self.complains(2, "no command", )
        self.complains(2, 'no command "read"', "read")
        self.complains(2, "read-data has no option --key", "read-data", "--key", "x")
        self.complains(2, 'no option "--frob"', "read-data", "--frob")
        self.complains(2, "needs a file", "read-data", "-o")
        self.complains(2, "--detached has no value", "write-signed", "--detached=1")
        self.complains(2, "more than one file", "read-data", "a", "b")
        self.complains(2, "the command needs --key", "write-signed", "--cert", self.path("leaf.pem"),
                       self.path("content"))
        self.complains(2, 'no cipher "aes"', "write-enveloped", "--cipher", "aes", "--to", self.path("leaf.pem"),
                       self.path("content"))
        self.complains(2, 'no form "xml"', "write-data", "-f", "xml", self.path("content"))
        self.complains(2, "--iv has 1 bytes", "write-enveloped", "--iv", "00", "--to", self.path("leaf.pem"),
                       self.path("content"))

    def test_help_names_every_command(self):
        text = lines(self.gives("--help"))
        for command in ("type", "certs", "read-data", "write-data", "read-signed", "write-signed", "read-enveloped",
                        "write-enveloped", "read-signed-and-enveloped", "read-encrypted", "write-encrypted",
                        "read-digested", "write-digested"):
            self.assertRegex(text, rf"(?m)^  {command}\b")

    def test_output_that_cannot_be_written(self):
        self.complains(3, "the output cannot be written", "write-data", "-o", self.path("no/such/folder"),
                       self.path("content"))


if __name__ == "__main__":
    COMMAND = sys.argv[1:]
    unittest.main(argv=sys.argv[:1], verbosity=2)

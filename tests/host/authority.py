"""A certificate authority made of openssl commands."""

import base64
import hashlib
import os
import re
import subprocess


def openssl(*arguments, stdin=None):
    done = subprocess.run(["openssl", *arguments], input=stdin, capture_output=True, check=False)
    if done.returncode != 0:
        raise AssertionError(f"openssl {' '.join(arguments)}: {done.stderr.decode(errors='replace')}")
    return done.stdout


def request_pem(text):
    return "-----BEGIN CERTIFICATE REQUEST-----\n" + text.replace("\r\n", "\n").rstrip("\n") + \
        "\n-----END CERTIFICATE REQUEST-----\n"


class Authority:
    """An authority with a key of its own; names are given in the order in which they are encoded."""

    def __init__(self, folder, name="/C=DE/O=Example Authority/CN=Example CA 1"):
        self.folder = folder
        os.makedirs(folder, exist_ok=True)
        self.key, self.certificate = os.path.join(folder, "ca.key"), os.path.join(folder, "ca.pem")
        openssl("req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", self.key, "-out", self.certificate,
                "-subj", name, "-days", "3650", "-sha256")
        # As the plug-in's store queries write it.
        self.dn = ", ".join(name.strip("/").split("/"))
        self.dn_tight = ",".join(name.strip("/").split("/"))

    def certificate_der(self):
        return openssl("x509", "-in", self.certificate, "-outform", "DER")

    def check_request(self, text):
        """openssl verifies the request's signature; returns what it prints of the request."""
        pem = request_pem(text).encode()
        done = subprocess.run(["openssl", "req", "-verify", "-noout", "-text"], input=pem, capture_output=True,
                              check=False)
        if b"verify OK" not in done.stderr + done.stdout or done.returncode != 0:
            raise AssertionError(f"openssl does not verify the request: {done.stderr.decode(errors='replace')}")
        return done.stdout.decode(errors="replace")

    def request_der(self, text):
        return openssl("req", "-outform", "DER", stdin=request_pem(text).encode())

    def issue(self, text, serial, subject=None, days=365):
        """Issues a certificate of version 3 for the request; returns its DER."""
        extensions = os.path.join(self.folder, "extensions.cnf")
        with open(extensions, "w", encoding="utf-8") as file:
            file.write("basicConstraints=CA:FALSE\nkeyUsage=digitalSignature\n")
        command = ["x509", "-req", "-CA", self.certificate, "-CAkey", self.key, "-set_serial", "0x" + serial,
                   "-days", str(days), "-sha256", "-extfile", extensions, "-outform", "DER"]
        if subject is not None:
            command += ["-subj", subject]
        return openssl(*command, stdin=request_pem(text).encode())

    def intermediate(self, folder, name="/C=DE/O=Example Authority/CN=Example Issuing CA"):
        """An authority with a key of its own, certified by this one."""
        below = Authority(folder, name)
        extensions = os.path.join(folder, "ca.cnf")
        with open(extensions, "w", encoding="utf-8") as file:
            file.write("basicConstraints=critical,CA:TRUE\nkeyUsage=keyCertSign\n")
        request = openssl("req", "-new", "-key", below.key, "-subj", name)
        with open(below.certificate, "wb") as file:
            file.write(openssl("x509", "-req", "-CA", self.certificate, "-CAkey", self.key, "-set_serial", "0x7b",
                               "-days", "365", "-sha256", "-extfile", extensions, stdin=request))
        return below

    def chain(self, der):
        """A certificates-only PKCS#7 message of the certificate and the authority's own; returns its DER."""
        leaf = os.path.join(self.folder, "leaf.pem")
        with open(leaf, "wb") as file:
            file.write(openssl("x509", "-inform", "DER", stdin=der))
        return openssl("crl2pkcs7", "-nocrl", "-certfile", leaf, "-certfile", self.certificate, "-outform", "DER")


def certificates_only(ders):
    """A certificates-only PKCS#7 message of these certificates, in this order; returns its DER."""
    return openssl("crl2pkcs7", "-nocrl", "-certfile", "/dev/stdin", "-outform", "DER",
                   stdin=b"".join(openssl("x509", "-inform", "DER", stdin=der) for der in ders))


def as_text(der):
    """Base64 with line breaks, as an authority sends a certificate."""
    return base64.encodebytes(der).decode()


def modulus_bits(printed):
    return int(re.search(r"Public-Key: \((\d+) bit\)", printed).group(1))


def sha1_of(der):
    return hashlib.sha1(der).hexdigest()

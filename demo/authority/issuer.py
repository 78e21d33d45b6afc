"""The certificate authority itself: a root, an issuing key below it, and the orders it has served, all in one folder.

Everything cryptographic is done by openssl commands. A request signed with MD5 or SHA-1 is accepted, since that signature
only proves possession of the key; what the authority signs, it signs with SHA-256.
"""
import base64
import json
import os
import random
import re
import secrets
import shutil
import subprocess
import threading

from . import der

ORDER_ALPHABET = "0123456789ABCDEFGHJKMNPQRSTVWXYZ"
ORDER_PATTERN = re.compile("[%s]{4}-[%s]{4}-[%s]{4}" % ((ORDER_ALPHABET,) * 3))
REQUEST_LIMIT = 8192
ORDERS_LIMIT = 1000
NAME_LIMIT = 64
OPENSSL_SECONDS = 60

CONFIGURATION = """\
# An authority for trials on one machine. Its certificates mean nothing to anybody else.
[ ca ]
default_ca = issuing

[ issuing ]
dir = .
database = index.txt
new_certs_dir = issued
serial = serial
certificate = issuing.pem
private_key = issuing.key
default_md = sha256
default_days = 365
unique_subject = no
copy_extensions = none
email_in_dn = no
policy = any_name
string_mask = utf8only
x509_extensions = user

[ any_name ]
countryName = optional
organizationName = optional
organizationalUnitName = optional
commonName = optional

[ req ]
distinguished_name = name
string_mask = utf8only
prompt = no

[ name ]

[ root ]
basicConstraints = critical, CA:TRUE
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash

[ authority ]
basicConstraints = critical, CA:TRUE, pathlen:0
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid

[ user ]
basicConstraints = critical, CA:FALSE
keyUsage = critical, digitalSignature, keyEncipherment
extendedKeyUsage = clientAuth, emailProtection
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
"""


class Refused(Exception):
    """The authority does not issue on this request; the text says why, for the person who asked."""


class Full(Exception):
    """The authority keeps as many orders as it will."""


def run_openssl(arguments, folder, data=None):
    """Runs one openssl command in folder; gives its output, or None if it failed."""
    done = subprocess.run(["openssl"] + arguments, cwd=folder, input=data, capture_output=True, timeout=OPENSSL_SECONDS,
                          check=False)
    return done.stdout if done.returncode == 0 else None


def must(output):
    if output is None:
        raise RuntimeError("an openssl command of the authority failed")
    return output


def write_private(path, content):
    with os.fdopen(os.open(path, os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o600), "wb") as file:
        file.write(content)


def pem_to_der(pem):
    body = re.search(b"-----BEGIN [A-Z0-9 ]+-----(.*?)-----END", pem, re.S)
    return base64.b64decode(body.group(1))


def base64_lines(data):
    text = base64.b64encode(data).decode("ascii")
    return "\r\n".join(text[at:at + 64] for at in range(0, len(text), 64)) + "\r\n"


def normalised_order(text):
    """The order number in the form it is kept, or None if it can be none."""
    text = text.upper()
    return text if ORDER_PATTERN.fullmatch(text) else None


class Authority:
    """Orders are folders of their own; a finished one holds request.pem, certificate.pem and order.json."""

    def __init__(self, folder):
        self.folder = os.path.abspath(folder)
        self.orders_folder = os.path.join(self.folder, "orders")
        self.lock = threading.Lock()
        os.makedirs(self.orders_folder, mode=0o700, exist_ok=True)
        os.makedirs(self._path("issued"), mode=0o700, exist_ok=True)
        if not os.path.exists(self._path("issuing.pem")):
            self._make_keys()
        with open(self._path("root.pem"), "rb") as file:
            self.root_pem = file.read()
        with open(self._path("issuing.pem"), "rb") as file:
            self.issuing_pem = file.read()

    def _path(self, *names):
        return os.path.join(self.folder, *names)

    def _make_keys(self):
        write_private(self._path("authority.cnf"), CONFIGURATION.encode("ascii"))
        write_private(self._path("index.txt"), b"")
        # Counted up from a random start: the last four bytes grow with each certificate, so that of two issued in the
        # same second the later one is told apart from the older.
        write_private(self._path("serial"), b"%02X%s00000001\n" % (
            1 + secrets.randbelow(0x7E), secrets.token_hex(7).upper().encode("ascii")))
        for name in ("root", "issuing"):
            must(run_openssl(["genpkey", "-quiet", "-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:2048", "-out",
                              name + ".key"], self.folder))
            os.chmod(self._path(name + ".key"), 0o600)
        must(run_openssl(["req", "-config", "authority.cnf", "-x509", "-new", "-key", "root.key", "-sha256", "-days",
                          "3650", "-subj", "/C=DE/O=Vemtrel/CN=Vemtrel Demonstration Root", "-extensions", "root", "-out",
                          "root.pem"], self.folder))
        must(run_openssl(["req", "-config", "authority.cnf", "-new", "-key", "issuing.key", "-sha256", "-subj",
                          "/C=DE/O=Vemtrel/CN=Vemtrel Demonstration Issuing Authority", "-out", "issuing.req"],
                         self.folder))
        must(run_openssl(["x509", "-req", "-in", "issuing.req", "-CA", "root.pem", "-CAkey", "root.key", "-set_serial",
                          "0x" + "01" + secrets.token_hex(8), "-sha256", "-days", "1825", "-extfile", "authority.cnf",
                          "-extensions", "authority", "-out", "issuing.pem.new"], self.folder))
        os.replace(self._path("issuing.pem.new"), self._path("issuing.pem"))

    def describe(self):
        """What anybody may know of the authority: its certificates, as base64 text, and their names."""
        result = {}
        for name, pem in (("root", self.root_pem), ("issuing", self.issuing_pem)):
            certificate = pem_to_der(pem)
            result[name] = der.certificate_fields(certificate)
            result[name]["certificate"] = base64_lines(certificate)
        return result

    def issue(self, request_text, form_subject):
        """Checks a request and issues on it; gives the order's record. Raises Refused or Full."""
        request_pem, attributes = self._checked_request(request_text)
        if not attributes:
            attributes = self._form_attributes(form_subject)
        self._check_names(attributes)
        with self.lock:
            if len(os.listdir(self.orders_folder)) >= ORDERS_LIMIT:
                raise Full()
            return self._issue_order(request_pem, attributes)

    def _checked_request(self, request_text):
        compact = re.sub(r"[\r\n\t ]", "", request_text)
        if not compact:
            raise Refused("The request is empty.")
        if len(request_text) > REQUEST_LIMIT:
            raise Refused("The request is longer than any request for a certificate.")
        try:
            request = base64.b64decode(compact, validate=True)
            attributes = der.request_subject(request)
        except (ValueError, IndexError) as error:
            raise Refused("The text is not a certificate request in base64 form.") from error
        request_pem = b"-----BEGIN CERTIFICATE REQUEST-----\n%s-----END CERTIFICATE REQUEST-----\n" % (
            base64_lines(request).replace("\r", "").encode("ascii"))
        if not self._is_self_signed(request_pem):
            raise Refused("The request's signature does not fit its key.")
        key = must(run_openssl(["req", "-noout", "-text", "-config", "authority.cnf"], self.folder, request_pem))
        bits = re.search(rb"Public-Key: \((\d+) bit\)", key)
        if b"rsaEncryption" not in key or bits is None or not 512 <= int(bits.group(1)) <= 4096:
            raise Refused("The key must be an RSA key of 512 to 4096 bits.")
        return request_pem, attributes

    def _is_self_signed(self, request_pem):
        # The command's exit code says only that the request could be read.
        done = subprocess.run(["openssl", "req", "-verify", "-noout", "-config", "authority.cnf"], cwd=self.folder,
                              input=request_pem, capture_output=True, timeout=OPENSSL_SECONDS, check=False)
        return done.returncode == 0 and b"verify OK" in done.stderr + done.stdout

    @staticmethod
    def _form_attributes(form_subject):
        oids = {short: oid for oid, short in der.SHORT_NAMES.items()}
        return [(oids[short], form_subject[short].strip()) for short in ("C", "O", "OU", "CN")
                if form_subject.get(short, "").strip()]

    @staticmethod
    def _check_names(attributes):
        if not attributes:
            raise Refused("The request carries no name, and none was filled in.")
        if len(attributes) > 10:
            raise Refused("The name has more than ten parts.")
        for oid, value in attributes:
            if oid not in der.SHORT_NAMES:
                raise Refused("The name has a part that this authority does not certify.")
            if not value or len(value) > NAME_LIMIT:
                raise Refused("A part of the name is empty or longer than %d characters." % NAME_LIMIT)
            if any(ord(c) < 0x20 or 0x7F <= ord(c) < 0xA0 or 0xD800 <= ord(c) < 0xE000 for c in value):
                raise Refused("A part of the name holds a character that cannot be printed.")
            if der.SHORT_NAMES[oid] == "C" and not re.fullmatch("[A-Za-z]{2}", value):
                raise Refused("The country must be two letters.")

    def _issue_order(self, request_pem, attributes):
        order = "-".join("".join(secrets.choice(ORDER_ALPHABET) for _ in range(4)) for _ in range(3))
        folder = os.path.join(self.orders_folder, order)
        os.mkdir(folder, 0o700)
        write_private(os.path.join(folder, "request.pem"), request_pem)
        escaped = "".join("/%s=%s" % (der.SHORT_NAMES[oid], re.sub(r"([/+\\])", r"\\\1", value))
                          for oid, value in attributes)
        issued = run_openssl(["ca", "-config", "authority.cnf", "-batch", "-notext", "-utf8", "-preserveDN", "-in",
                              os.path.join("orders", order, "request.pem"), "-subj", escaped, "-out",
                              os.path.join("orders", order, "certificate.pem")], self.folder)
        if issued is None or not os.path.exists(os.path.join(folder, "certificate.pem")):
            shutil.rmtree(folder)
            raise Refused("openssl would not issue a certificate on this request.")
        with open(os.path.join(folder, "certificate.pem"), "rb") as file:
            certificate = pem_to_der(file.read())
        record = der.certificate_fields(certificate)
        record.update({"order": order, "certificate": base64_lines(certificate)})
        dates = must(run_openssl(["x509", "-noout", "-dates", "-dateopt", "iso_8601", "-in",
                                  os.path.join(folder, "certificate.pem")], self.folder)).decode("ascii")
        for field, key in (("notBefore", "notBefore"), ("notAfter", "notAfter")):
            record[key] = re.search(field + r"=(.*)", dates).group(1)
        write_private(os.path.join(folder, "order.json.new"), json.dumps(record).encode("ascii"))
        os.replace(os.path.join(folder, "order.json.new"), os.path.join(folder, "order.json"))
        return record

    def order(self, number):
        """The record of an order, or None."""
        try:
            with open(os.path.join(self.orders_folder, number, "order.json"), "rb") as file:
                return json.load(file)
        except FileNotFoundError:
            return None

    def orders(self):
        """The records of all orders, newest first."""
        records = [self.order(number) for number in os.listdir(self.orders_folder)]
        # Serial numbers count up, whatever the clock does.
        return sorted((record for record in records if record), key=lambda record: record["serialHex"], reverse=True)

    def chain_pem(self, number):
        """The order's certificate, the issuing authority and the root, in this order."""
        with open(os.path.join(self.orders_folder, number, "certificate.pem"), "rb") as file:
            return file.read() + self.issuing_pem + self.root_pem

    def chain_pkcs7(self, number):
        """The same certificates as a certificates-only PKCS#7 message.

        Such a message is a set, so whoever reads it sorts the chain: each order's message has an order of its own.
        """
        certificates = re.findall(b"-----BEGIN CERTIFICATE-----.*?-----END CERTIFICATE-----\n", self.chain_pem(number),
                                  re.S)
        random.Random(number).shuffle(certificates)
        return must(run_openssl(["crl2pkcs7", "-nocrl", "-outform", "DER", "-certfile", "/dev/stdin"], self.folder,
                                b"".join(certificates)))

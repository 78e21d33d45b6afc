"""The demonstration authority, asked as its page asks it, and as nobody should."""
import http.client
import json
import os
import re
import socket
import stat
import unittest

import support

NAME = "/C=DE/O=Analytical Engines/OU=Notes/CN=Ada Lovelace"


class Issuing(support.ScratchTest):
    def setUp(self):
        super().setUp()
        self.authority = self.start_authority()

    def certificate(self, record):
        """The order's certificate as a PEM file."""
        path = os.path.join(self.scratch, record["order"] + ".pem")
        support.run(["openssl", "x509", "-inform", "DER", "-out", path], input=support.der_of(record["certificate"]))
        return path

    def issue(self, subject, form=None, **request):
        text, self.key = support.request_text(self.scratch, subject, **request)
        answer = self.authority.order({"request": text, "subject": form or {}})
        self.assertEqual(answer.status, 201, answer.body)
        return answer.json()

    def show(self, path, *what):
        return support.run(["openssl", "x509", "-in", path, "-noout", "-nameopt", "utf8,sep_comma_plus"] + list(what)).decode()

    def test_certificate_carries_the_name_and_key_of_the_request(self):
        record = self.issue(NAME)
        path = self.certificate(record)
        self.assertIn("C=DE,O=Analytical Engines,OU=Notes,CN=Ada Lovelace", self.show(path, "-subject"))
        self.assertEqual(support.run(["openssl", "x509", "-in", path, "-noout", "-pubkey"]),
                         support.run(["openssl", "pkey", "-in", self.key, "-pubout"]))

    def test_certificate_verifies_up_to_the_root(self):
        path = self.certificate(self.issue(NAME))
        root, issuing = (os.path.join(self.authority.folder, name) for name in ("root.pem", "issuing.pem"))
        support.run(["openssl", "verify", "-CAfile", root, "-untrusted", issuing, "-purpose", "sslclient", path])

    def test_certificate_has_the_extensions_of_a_user(self):
        text = self.show(self.certificate(self.issue(NAME)), "-text")
        for expected in ("CA:FALSE", "Digital Signature, Key Encipherment", "TLS Web Client Authentication",
                         "sha256WithRSAEncryption", "Version: 3"):
            self.assertIn(expected, text)

    def test_extensions_asked_for_in_a_request_are_not_granted(self):
        key = os.path.join(self.scratch, "wish.pem")
        pem = support.run(["openssl", "req", "-new", "-newkey", "rsa:1024", "-nodes", "-keyout", key, "-subj", NAME,
                           "-addext", "basicConstraints=CA:TRUE", "-addext", "subjectAltName=DNS:example.com"]).decode()
        text = re.search(r"-----BEGIN.*?-----\n(.*?)-----END", pem, re.S).group(1)
        record = self.authority.order({"request": text}).json()
        shown = self.show(self.certificate(record), "-text")
        self.assertNotIn("CA:TRUE", shown)
        self.assertNotIn("example.com", shown)

    def test_old_hashes_and_every_key_size_are_accepted(self):
        for bits in (512, 1024, 2048, 4096):
            for digest in ("md5", "sha1"):
                with self.subTest(bits=bits, digest=digest):
                    self.issue(NAME, bits=bits, digest=digest)

    def test_request_without_a_name_takes_it_from_the_form(self):
        record = self.issue("/", {"C": "DE", "O": "Müller / Söhne", "CN": "Jürgen + \\ Co"})
        self.assertEqual(record["subjectDn"], 'C=DE, O=Müller / Söhne, CN="Jürgen + \\ Co"')
        self.assertIn("Müller / Söhne", self.show(self.certificate(record), "-subject"))

    def test_name_in_the_request_goes_before_the_form(self):
        record = self.issue(NAME, {"CN": "Somebody Else"})
        self.assertEqual(record["subjectDn"], "C=DE, O=Analytical Engines, OU=Notes, CN=Ada Lovelace")

    def test_record_names_issuer_and_serial_as_the_certificate_does(self):
        record = self.issue(NAME)
        path = self.certificate(record)
        self.assertEqual("serial=" + record["serialHex"].upper(), self.show(path, "-serial").strip())
        self.assertEqual(record["issuerDn"], "C=DE, O=Vemtrel, CN=Vemtrel Demonstration Issuing Authority")
        self.assertEqual(len(record["serialHex"]) % 2, 0)

    def test_later_serials_are_larger_in_their_last_four_bytes(self):
        first, second = self.issue(NAME), self.issue(NAME)
        self.assertEqual(int(first["serialHex"][-8:], 16) + 1, int(second["serialHex"][-8:], 16))

    def test_orders_are_listed_newest_first_and_found_by_number(self):
        first, second = self.issue(NAME), self.issue(NAME)
        self.assertEqual([order["order"] for order in self.authority.orders()], [second["order"], first["order"]])
        self.assertEqual(self.authority.get("/api/orders/" + first["order"].lower()).json(), first)

    def test_chain_comes_as_pem_and_as_certificates_only_pkcs7(self):
        record = self.issue(NAME)
        pem = self.authority.get("/orders/%s/chain.pem" % record["order"]).body
        message = self.authority.get("/orders/%s/chain.p7b" % record["order"])
        self.assertEqual(message.headers["Content-Type"], "application/x-pkcs7-certificates")
        listed = support.run(["openssl", "pkcs7", "-inform", "DER", "-print_certs"], input=message.body)
        certificates = re.compile(b"-----BEGIN CERTIFICATE-----.*?-----END CERTIFICATE-----", re.S)
        self.assertEqual(len(certificates.findall(pem)), 3)
        self.assertEqual(sorted(certificates.findall(pem)), sorted(certificates.findall(listed)))
        text = self.authority.get("/orders/%s/chain.txt" % record["order"]).body
        self.assertEqual(support.der_of(text), message.body)

    def test_certificate_text_is_the_certificate(self):
        record = self.issue(NAME)
        text = self.authority.get("/orders/%s/certificate.txt" % record["order"]).body
        support.run(["openssl", "x509", "-inform", "DER", "-noout"], input=support.der_of(text))
        self.assertEqual(max(len(line) for line in text.split(b"\r\n")), 64)

    def test_a_restart_keeps_port_keys_and_orders(self):
        record = self.issue(NAME)
        address, root = self.authority.address, self.authority.get("/authority/root.pem").body
        self.authority.stop()
        self.authority.start()
        self.assertEqual(self.authority.address, address)
        self.assertEqual(self.authority.get("/authority/root.pem").body, root)
        self.assertEqual(self.authority.get("/api/orders/" + record["order"]).json(), record)


class Refusing(support.ScratchTest):
    def setUp(self):
        super().setUp()
        self.authority = self.start_authority()
        self.request = support.request_text(self.scratch, NAME)[0]

    def assert_refused(self, status, answer):
        self.assertEqual(answer.status, status, answer.body)
        self.assertTrue(answer.json()["error"])
        self.assertEqual(self.authority.orders(), [])

    def order_refused(self, status, **order):
        self.assert_refused(status, self.authority.order(order))

    def post(self, body, **more):
        headers = dict(self.authority.headers(), **more)
        return self.authority.ask("POST", "/api/orders", body, headers)

    def good_body(self):
        return json.dumps({"request": self.request}).encode()

    def raw(self, data):
        """What answers these bytes, up to the end of the connection."""
        host, port = re.fullmatch(r"http://([0-9.]+):(\d+)/", self.authority.address).groups()
        with socket.create_connection((host, int(port)), timeout=30) as connection:
            connection.sendall(data)
            return connection.makefile("rb").read().decode()

    def test_a_request_that_is_none(self):
        for text in ("", "   \r\n", "not base64 at all!", "QUJD", "é", "\ud800", "MIIB" * 2000, "AAAA" * 5000, "MIIB"):
            with self.subTest(text=text[:20]):
                self.order_refused(422, request=text)

    def test_a_request_cut_anywhere(self):
        der = support.der_of(self.request)
        for length in range(0, len(der), 7):
            with self.subTest(length=length):
                self.assertEqual(self.authority.order({"request": support.base64_of(der[:length])}).status, 422)
        self.assertEqual(self.authority.orders(), [])

    def test_a_signature_that_does_not_fit(self):
        der = bytearray(support.der_of(self.request))
        der[-1] ^= 1
        self.order_refused(422, request=support.base64_of(der))

    def test_a_key_that_is_not_rsa(self):
        key = os.path.join(self.scratch, "ec.pem")
        support.run(["openssl", "ecparam", "-name", "prime256v1", "-genkey", "-noout", "-out", key])
        pem = support.run(["openssl", "req", "-new", "-key", key, "-subj", NAME]).decode()
        self.order_refused(422, request=re.search(r"-----BEGIN.*?-----\n(.*?)-----END", pem, re.S).group(1))

    def test_names_that_cannot_be_certified(self):
        unnamed = support.request_text(self.scratch, "/")[0]
        for subject in ({}, {"CN": "  "}, {"CN": "x" * 65}, {"C": "DEU", "CN": "x"}, {"C": "D1", "CN": "x"},
                        {"CN": "a\x00b"}, {"CN": "a\nb"}, {"CN": "a\x7fb"}, {"CN": "\ud800"}):
            with self.subTest(subject=subject):
                self.order_refused(422, request=unnamed, subject=subject)

    def test_a_name_with_foreign_parts(self):
        for name in ("/CN=x/emailAddress=a@example.com", "/CN=x/title=Countess"):
            with self.subTest(name=name):
                self.order_refused(422, request=support.request_text(self.scratch, name)[0])

    def test_values_of_the_wrong_type(self):
        for order in ({"request": 1}, {"request": None}, {}, {"request": ["x"]}):
            with self.subTest(order=order):
                self.order_refused(400, **order)
        for subject in ("x", 1, ["CN"], {"CN": 1}, {"CN": None}, None):
            with self.subTest(subject=subject):
                self.order_refused(400, request=self.request, subject=subject)
        for body in (b"[]", b"1", b"null", b'"x"', b"", b"{", b"\xff\xfe", b"[" * 20000, b'{"request":' * 2000):
            with self.subTest(body=body[:10]):
                self.assert_refused(400, self.post(body))

    def test_a_body_that_is_too_long_or_of_unknown_length(self):
        self.assert_refused(413, self.post(b"x" * (32 * 1024 + 1)))
        token = self.authority.headers()["X-Enrolment-Token"]
        host = self.authority.address[len("http://"):-1]
        head = ("POST /api/orders HTTP/1.1\r\nHost: %s\r\nX-Enrolment-Token: %s\r\nContent-Type: application/json\r\n"
                % (host, token))
        for length, status in (("", " 411 "), ("Content-Length: -1\r\n", " 411 "), ("Content-Length: x\r\n", " 411 "),
                               ("Content-Length: 99999999999999999999\r\n", " 413 "),
                               ("Transfer-Encoding: chunked\r\nContent-Length: 2\r\n", " 411 ")):
            with self.subTest(length=length):
                self.assertIn(status, self.raw((head + length + "\r\n").encode()))
        self.assertEqual(self.authority.orders(), [])

    def test_a_post_from_another_site(self):
        self.assert_refused(403, self.post(self.good_body(), Origin="http://example.com"))
        self.assert_refused(403, self.post(self.good_body(), Origin="null"))
        self.assert_refused(403, self.post(self.good_body(), **{"X-Enrolment-Token": "0" * 32}))
        self.assert_refused(403, self.post(self.good_body(), **{"X-Enrolment-Token": "é"}))
        self.assert_refused(415, self.post(self.good_body(), **{"Content-Type": "text/plain"}))
        self.assert_refused(415, self.post(self.good_body(), **{"Content-Type": "application/x-www-form-urlencoded"}))

    def test_a_foreign_host_name_is_not_served(self):
        for host in ("example.com", "127.0.0.1", ""):
            with self.subTest(host=host):
                self.assertEqual(self.authority.ask("GET", "/", headers={"Host": host}).status, 421)

    def test_paths_that_lead_nowhere(self):
        for path in ("/nothing", "/page.css/", "/../server.py", "/%2e%2e/authority/root.key", "/orders/", "/orders/x",
                     "/orders/../authority.cnf", "/api/orders/..", "/api/orders/AAAA-AAAA-AAAA", "/authority/root.key",
                     "/authority/issuing.key", "//etc/passwd", "/api/orders/%00"):
            with self.subTest(path=path):
                self.assert_refused(404, self.authority.get(path))
        self.assert_refused(404, self.authority.ask("POST", "/", b"{}", self.authority.headers()))

    def test_methods_that_are_not_served(self):
        for method in ("PUT", "DELETE", "PATCH", "OPTIONS", "HEAD"):
            with self.subTest(method=method):
                self.assertEqual(self.authority.ask(method, "/api/orders").status, 405)

    def test_lines_that_are_no_http(self):
        self.assertIn("Error code: 400", self.raw(b"\x16\x03\x01\r\n\r\n"))
        self.assertIn("Error code: 400", self.raw(b"GET / HTTP/x.y\r\n\r\n"))
        self.assertIn(" 414 ", self.raw(b"GET /" + b"x" * 70000 + b" HTTP/1.1\r\n\r\n"))
        self.assertIn(" 431 ", self.raw(b"GET / HTTP/1.1\r\n" + b"a: b\r\n" * 200 + b"\r\n"))

    def test_only_the_loopback_address_listens(self):
        port = int(self.authority.address.rstrip("/").rpartition(":")[2])
        with open("/proc/net/tcp", encoding="ascii") as file:
            listening = [line.split()[1] for line in file if line.split()[3] == "0A"]
        self.assertEqual([where for where in listening if where.endswith(":%04X" % port)], ["0100007F:%04X" % port])

    def test_keys_and_orders_are_for_the_owner_alone(self):
        for folder, _, files in os.walk(self.authority.folder):
            for name in files:
                mode = os.stat(os.path.join(folder, name)).st_mode
                self.assertEqual(stat.S_IMODE(mode) & 0o077, 0, name)

    def test_it_goes_on_after_all_of_this(self):
        connection = http.client.HTTPConnection(self.authority.address[len("http://"):-1], timeout=30)
        connection.putrequest("POST", "/api/orders")
        connection.putheader("Content-Length", "100")
        connection.endheaders()
        connection.close()
        self.assertEqual(self.authority.order({"request": self.request}).status, 201)


if __name__ == "__main__":
    unittest.main()

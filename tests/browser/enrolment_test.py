"""The built plug-in in the browser engine: a person's whole enrolment, and what NSS's own tools find afterwards."""
import os
import re
import unittest

import support

FILL_IN = """
wait #stage-choose
click #bits-1024
type #subject-CN Ada Lovelace
type #subject-O Analytical Engines
type #subject-C DE
"""
MARKER = "vemtrelCertEnrollContainer.data"


class EnrolmentTest(support.ScratchTest):
    def setUp(self):
        super().setUp()
        self.authority = self.start_authority()
        self.window = support.Window(self, self.authority.address)
        self.window.plugins = True
        self.database = "sql:" + os.path.join(self.home, ".pki", "nssdb")

    def enrol(self, choices=""):
        """One enrolment in one window; gives the authority's record of it."""
        self.window.play(FILL_IN + choices + """
click #make-request
wait #stage-requested
click #send-request
wait #stage-issued
click #install
wait #stage-installed
""")
        return self.authority.orders()[0]

    def store(self):
        """Nickname to trust of every certificate that certutil lists."""
        listing = support.run(["certutil", "-L", "-d", self.database]).decode()
        return dict(re.findall(r"^(.*\S)\s+([a-zA-Z]*,[a-zA-Z]*,[a-zA-Z]*)\s*$", listing, re.M))

    def keys(self):
        """Lines of certutil about the keys."""
        return re.findall(r"^<.*$", support.run(["certutil", "-K", "-d", self.database]).decode(), re.M)

    def serials(self):
        """The serial numbers of all certificates with a key in the store."""
        found = []
        for name, trust in self.store().items():
            if "u" in trust:
                pem = support.run(["certutil", "-L", "-d", self.database, "-n", name, "-a"])
                for one in re.findall(b"-----BEGIN.*?-----END CERTIFICATE-----", pem, re.S):
                    shown = support.run(["openssl", "x509", "-noout", "-serial"], input=one).decode()
                    found.append(shown.strip().rpartition("=")[2].lower())
        return sorted(found)

    def marker(self):
        return os.path.join(self.home, MARKER)


class Enrolling(EnrolmentTest):
    def test_certificate_and_key_stand_together_in_the_store(self):
        record = self.enrol()
        self.assertEqual(list(self.store().values()), ["u,u,u"])
        self.assertEqual(self.serials(), [record["serialHex"]])
        self.assertEqual(len(self.keys()), 1)
        self.assertFalse(os.path.exists(self.marker()))

    def test_the_key_is_the_one_of_the_certificate(self):
        record = self.enrol("click #exportable-1\n")
        (name,) = self.store()
        bundle = os.path.join(self.scratch, "exported.p12")
        support.run(["pk12util", "-o", bundle, "-d", self.database, "-n", name, "-W", "secret"])
        key = support.run(["openssl", "pkcs12", "-in", bundle, "-nocerts", "-nodes", "-passin", "pass:secret", "-legacy"])
        public = support.run(["openssl", "pkey", "-pubout"], input=key)
        certificate = support.run(["openssl", "x509", "-inform", "DER", "-noout", "-pubkey"],
                                  input=support.der_of(record["certificate"]))
        self.assertEqual(public, certificate)

    def authorities(self):
        """The DER of the root and of the issuing authority."""
        return [support.run(["openssl", "x509", "-outform", "DER"], input=self.authority.get("/authority/" + name).body)
                for name in ("root.pem", "issuing.pem")]

    def stored(self):
        """The DER of every certificate in the store."""
        found = []
        for name in self.store():
            pem = support.run(["certutil", "-L", "-d", self.database, "-n", name, "-a"])
            for one in re.findall(b"-----BEGIN.*?-----END CERTIFICATE-----", pem, re.S):
                found.append(support.run(["openssl", "x509", "-outform", "DER"], input=one))
        return sorted(found)

    def test_a_chain_stands_in_the_store_whole(self):
        record = self.enrol("click #answer-chain\n")
        chain = [support.der_of(record["certificate"]), *self.authorities()]
        self.assertEqual(self.stored(), sorted(chain))
        self.assertEqual(sorted(self.store().values()), [",,", ",,", "u,u,u"], "no authority is trusted by that")
        self.assertEqual(self.serials(), [record["serialHex"]])
        self.assertFalse(os.path.exists(self.marker()))
        self.window.play("wait #exist-0\nclick #check-system\nwait-text #result is known to this computer\n"
                         "screenshot-page %s\n" % self.picture("enrolment-chain"))

    def test_a_chain_whose_key_moves(self):
        """The provider's other name is of the maker whose keys move."""
        for number, method in enumerate(("writeClientCert", "writeClientCert_noprotect")):
            with self.subTest(method=method):
                self.window.play(FILL_IN + "click #exportable-1\nclick #make-request\nwait #stage-requested\n"
                                 "click #send-request\nwait #stage-issued\n")
                record = self.authority.orders()[0]
                with open(self.marker(), encoding="ascii") as file:
                    waiting = file.read()
                text = self.authority.get("/orders/%s/chain.txt" % record["order"]).body.decode().replace("\r\n", "")
                self.window.play("""
wait #stage-issued
expect (document.querySelector('#plugin').setCSP('Microsoft Enhanced Cryptographic Provider v1.0'), true)
expect document.querySelector('#plugin').%s('%s') === 0
click #abandon-issued
click #confirm-yes
wait #exist-0
click #exist-0
wait-text #result is here
""" % (method, text))
                self.assertFalse(os.path.exists(self.marker()))
                self.assertIn(record["serialHex"], self.serials())
                self.assertEqual(len(self.serials()), number + 1)
                self.assertNotIn(waiting, " ".join(self.keys()), "the key goes by the new container's name")
                self.assertEqual(len(self.keys()), number + 1)
                for authority in self.authorities():
                    self.assertIn(authority, self.stored())

    def test_every_size_and_hash(self):
        for bits in (512, 1024, 2048, 4096):
            for digest, label in (("sha1", "sha1WithRSAEncryption"), ("md5", "md5WithRSAEncryption")):
                with self.subTest(bits=bits, digest=digest):
                    self.window.play(FILL_IN.replace("bits-1024", "bits-%d" % bits) + """
click #hash-%s
click #make-request
wait #stage-requested
save #request-text request.txt
click #abandon-requested
click #confirm-yes
""" % digest)
                    with open(os.path.join(self.scratch, "request.txt"), encoding="ascii") as file:
                        request = support.der_of(file.read())
                    done = support.run(["openssl", "req", "-inform", "DER", "-verify", "-noout", "-text", "-nameopt",
                                        "sep_comma_plus"], input=request).decode()
                    self.assertIn("Public-Key: (%d bit)" % bits, done)
                    self.assertIn(label, done)
                    self.assertIn("C=DE,O=Analytical Engines,CN=Ada Lovelace", done)
                    self.assertIn("enroll@vemtrel.test", done)
                    self.assertEqual(self.authority.order({"request": support.base64_of(request)}).status, 201)

    def test_a_name_that_the_authority_fills_in(self):
        record = self.enrol("click #naming-authority\n")
        self.assertEqual(record["subjectDn"], "C=DE, O=Analytical Engines, CN=Ada Lovelace")
        self.assertEqual(self.serials(), [record["serialHex"]])

    def test_a_name_beyond_ascii(self):
        self.window.play("""
wait #stage-choose
click #bits-1024
type #subject-CN Жанна 王 Müller
click #make-request
wait #stage-requested
click #send-request
wait #stage-issued
click #install
wait #stage-installed
wait #exist-0
click #exist-0
wait-text #result is here
""")
        self.assertEqual(self.authority.orders()[0]["subject"], [["CN", "Жанна 王 Müller"]])

    def test_closed_between_request_and_installation(self):
        self.window.play(FILL_IN + "click #make-request\nwait #stage-requested\nscreenshot %s\n"
                         % self.picture("enrolment-requested"))
        with open(self.marker(), encoding="ascii") as file:
            container = file.read()
        self.assertRegex(container, r"^[0-9A-F]{8}-[0-9A-F]{4}-[0-9a-f]{4}-[0-9A-F]{4}-[0-9A-F]{12}$")
        self.assertIn(container, " ".join(self.keys()))
        self.window.play("wait #stage-requested\nclick #send-request\nwait #stage-issued\n")
        self.assertTrue(os.path.exists(self.marker()))
        self.window.play("wait #stage-issued\nclick #install\nwait #stage-installed\nscreenshot %s\n"
                         % self.picture("enrolment-installed"))
        self.assertFalse(os.path.exists(self.marker()))
        self.assertEqual(self.serials(), [self.authority.orders()[0]["serialHex"]])
        # The key keeps its container's name, by which the certificate finds it again.
        self.assertEqual(len(self.keys()), 1)
        self.assertIn(container, self.keys()[0])

    def test_the_plug_in_starts_again_with_every_load_of_the_page(self):
        self.window.play("""
wait #stage-choose
reload
wait #stage-choose
reload
wait-text #plugin-state The plug-in is ready (version 1.0.14.1)
expect document.querySelectorAll('#provider option').length >= 1
expect document.querySelector('#provider').value === 'NSS Certificate DB'
expect document.querySelector('#plugin').KeySpec === undefined
expect (document.querySelector('#plugin').KeySpec = 1, document.querySelector('#plugin').KeySpec === undefined)
expect document.querySelector('#plugin').listCSP(-1) === ''
expect document.querySelector('#plugin').genP10(1000) === ''
""")

    def test_wrong_arguments_are_script_errors(self):
        script = "wait #stage-choose\n"
        for call in ("getVersion(1)", "genP10()", "genP10('1024')", "genP10_exp_withdn(1024, 1)", "setCSP(1)",
                     "writeClientCert()", "IsCertExist('CN=x')", "CheckCertValid('1')", "deleteCert(1, 2)"):
            script += ("expect (function () { try { document.querySelector('#plugin').%s; return false; } "
                       "catch (error) { return true; } }())\n" % call)
        self.window.play(script)


class EnrolmentFailing(EnrolmentTest):
    def requested(self):
        self.window.play(FILL_IN + "click #make-request\nwait #stage-requested\nclick #send-request\nwait #stage-issued\n")
        return self.authority.orders()[0]

    def test_the_certificate_of_another_request(self):
        other = self.authority.order({"request": support.request_text(self.scratch, "/CN=Somebody Else")[0]}).json()
        self.requested()
        self.window.play("""
wait #stage-issued
type #order-number %s
click #fetch-order
wait-text #issued-facts %s
click #install
wait-text #result 22068125
screenshot %s
click #request-again
expect-focus #choose-title
""" % (other["order"], other["order"], self.picture("enrolment-wrong-certificate")))
        self.assertEqual(self.serials(), [])
        self.assertFalse(os.path.exists(self.marker()))

    def test_no_waiting_request(self):
        self.requested()
        os.remove(self.marker())
        self.window.play("wait #stage-issued\nclick #install\nwait-text #result 22038309\n")

    def test_text_that_is_no_certificate_leaves_the_request_waiting(self):
        self.requested()
        self.window.play("""
wait #stage-issued
type #pasted bm8gY2VydGlmaWNhdGU=
click #install-pasted
wait-text #result 22038226
expect-text #result untouched
click #install
wait #stage-installed
""")

    def test_a_home_folder_that_takes_no_marker(self):
        os.mkdir(self.marker())
        self.window.play(FILL_IN + "click #make-request\nwait-text #result likely causes\nexpect-text #result 22188308\n"
                         "expect-gone #stage-requested\n")

    def test_deleting_what_is_not_there(self):
        self.authority.order({"request": support.request_text(self.scratch, "/CN=Somebody Else")[0]})
        self.window.play("""
wait #delete-0
click #delete-0
click #confirm-yes
wait-text #result 22218126
click #exist-0
wait-text #result is not here
click #prune-0
click #confirm-yes
wait-text #result nothing to clear out
""")


class LookingAfterCertificates(EnrolmentTest):
    def test_delete(self):
        self.enrol()
        self.window.play("""
wait #exist-0
click #exist-0
wait-text #result is here
click #delete-0
click #confirm-yes
wait-text #result is deleted
click #exist-0
wait-text #result is not here
""")
        self.assertEqual(self.serials(), [])

    def test_renew_and_keep_the_most_recent(self):
        first = self.enrol()
        self.window.play("""
wait #renew-0
click #renew-0
click #make-request
wait #stage-requested
click #send-request
wait #stage-issued
click #install
wait #stage-installed
""")
        second = self.authority.orders()[0]
        self.assertEqual(self.serials(), sorted([first["serialHex"], second["serialHex"]]))
        self.window.play("""
wait #prune-0
click #prune-0
wait #confirm
click #confirm-yes
wait-text #result only the most recent certificate is left
""")
        self.assertEqual(self.serials(), [second["serialHex"]])

    def test_the_authority_becomes_known_by_the_users_own_decision(self):
        self.enrol()
        self.window.play("wait #exist-0\nclick #check-system\nwait-text #result is not known to this computer\n")
        root = os.path.join(self.scratch, "root.pem")
        with open(root, "wb") as file:
            file.write(self.authority.get("/authority/root.pem").body)
        support.run(["certutil", "-A", "-d", self.database, "-n", "Demonstration root", "-t", "C,,", "-i", root])
        self.window.play("wait #exist-0\nclick #check-system\nwait-text #result is known to this computer\n")


if __name__ == "__main__":
    unittest.main()

#!/usr/bin/env python3
"""The whole enrolment against an authority of openssl commands: the built plug-in file in a browser of the tests' own,
each step in a session of its own, natively or under Wine.

    enrolment.py --host vt_host --plugin file --work folder --provider name [--wine wine.sh --stores vt_stores
                 --libraries folder]
                 [--container plugin-container.exe] [unittest arguments]
"""

import argparse
import os
import sys
import time
import unittest

from authority import Authority, as_text, certificates_only, modulus_bits
from firefox import NssFirefox, WindowsFirefox
from session import Site, quoted
from stores import NssStores, WindowsStores

SUBJECT = "C=DE,O=Example,OU=Quality,CN=Erika Mustermann"
NOT_FOUND, DELETE_NOT_FOUND, PRUNE_NOTHING = 1, 22218126, 22238126
MARKER_NOT_READABLE, UNKNOWN_SHAPE, WRONG_KEY = 22038309, 22038226, 22068125
REFUSED = -333
# Known on both platforms, and of the maker whose providers keep certificates in the store.
MICROSOFT = "Microsoft Enhanced Cryptographic Provider v1.0"

OPTIONS = None
SITE = None
STORES = None
AUTHORITY = None


def setUpModule():  # pylint: disable=invalid-name
    global SITE, STORES, AUTHORITY  # pylint: disable=global-statement
    SITE = Site(OPTIONS.host, OPTIONS.plugin, OPTIONS.work, OPTIONS.wine)
    STORES = WindowsStores(SITE, OPTIONS.stores, OPTIONS.provider) if OPTIONS.wine else NssStores(SITE)
    AUTHORITY = Authority(os.path.join(OPTIONS.work, "authority"))


def tearDownModule():  # pylint: disable=invalid-name
    SITE.close()


class Enrolment(unittest.TestCase):
    serial = 0x0A1B2C00

    def choose(self):
        return "call setCSP " + quoted(OPTIONS.provider)

    def request(self, bits, subject=None, exportable=1, before=(), host=None):
        """A fresh request; the marker then waits for its certificate."""
        before = [self.choose(), *before]
        if subject is None:
            text = SITE.call("genP10", bits, before=before, host=host)
        else:
            text = SITE.call("genP10_exp_withdn", bits, exportable, subject, before=before, host=host)
        self.assertTrue(text, "no request")
        self.assertTrue(os.path.exists(SITE.marker), "no marker file")
        return text

    def issue(self, text, subject=None, authority=None):
        Enrolment.serial += 1
        serial = f"{Enrolment.serial:08x}"
        return (authority or AUTHORITY).issue(text, serial, subject), serial

    def install(self, der, method="writeClientCert", before=(), host=None):
        return SITE.call(method, as_text(der), before=[self.choose(), *before], host=host)

    def enrol(self, bits=1024, subject=SUBJECT, **options):
        """A certificate that stands in the store with its key; its DER and serial number."""
        der, serial = self.issue(self.request(bits, subject, **options))
        self.assertEqual(self.install(der), 0)
        self.assertTrue(STORES.has_with_key(der))
        return der, serial

    def exists(self, serial, issuer=None):
        return SITE.call("IsCertExist", issuer or AUTHORITY.dn, serial)

    def test_a_page_finds_the_plugin_by_its_names(self):
        outcomes = SITE.session("call getVersion", *(f"has {name}" for name in (
            "genP10", "genP10_exp_withdn", "setCSP", "listCSP", "writeClientCert", "writeClientCert_noprotect",
            "writeClientCert_exp_X509", "SetHashAlgorithm", "getVersion", "deleteCert", "IsCertExist",
            "CheckCertValid", "leavingMostRecentCert", "KeySpec")), "has genp10", "get KeySpec")
        self.assertEqual(outcomes[0].value, "1.0.14.1")
        self.assertTrue(all(outcome.value for outcome in outcomes[1:-2]))
        self.assertFalse(outcomes[-2].value)
        self.assertEqual(outcomes[-1].kind, "undefined")

    def test_providers_are_listed_without_gaps(self):
        names = [outcome.value for outcome in SITE.session("providers")]
        self.assertIn(OPTIONS.provider, names)
        self.assertEqual(SITE.call("listCSP", len(names)), "")
        self.assertEqual(SITE.call("listCSP", -1), "")
        if not OPTIONS.wine:
            self.assertEqual(names[0], "NSS Certificate DB")

    def test_every_key_length_enrols(self):
        for bits in (512, 1024, 2048, 4096):
            for subject in (None, SUBJECT):
                with self.subTest(bits=bits, subject=subject):
                    text = self.request(bits, subject)
                    printed = AUTHORITY.check_request(text)
                    self.assertEqual(modulus_bits(printed), bits)
                    der, serial = self.issue(text, "/CN=Named by the authority" if subject is None else None)
                    self.assertEqual(self.install(der), 0)
                    self.assertTrue(STORES.has_with_key(der))
                    self.assertEqual(self.exists(serial), 0)

    def test_the_request_says_what_the_page_chose(self):
        for name, algorithm in (("md5", "md5WithRSAEncryption"), ("SHA1", "sha1WithRSAEncryption"),
                                ("M", "md5WithRSAEncryption"), ("s", "sha1WithRSAEncryption")):
            with self.subTest(hash=name):
                printed = AUTHORITY.check_request(
                    self.request(1024, SUBJECT, before=[f"call SetHashAlgorithm {name}", "expect 0"]))
                self.assertIn("Signature Algorithm: " + algorithm, printed)
                self.assertIn("Subject: C = DE, O = Example, OU = Quality, CN = Erika Mustermann", printed)
                self.assertIn("enroll@vemtrel.test", printed)
                self.assertIn("65537", printed)

    def test_the_request_text_breaks_after_each_64_characters(self):
        lines = self.request(1024).split("\r\n")
        self.assertTrue(all(len(line) == 64 for line in lines[:-1]))
        self.assertLessEqual(len(lines[-1]), 64)

    def test_names_beyond_ascii_reach_the_authority(self):
        printed = AUTHORITY.request_der(self.request(1024, "C=DE,CN=Jörg Müller,O=重庆"))
        for text in ("Jörg Müller", "重庆"):
            self.assertIn(text.encode(), printed)

    def test_a_key_exchange_key_enrols_too(self):
        before = ["set KeySpec 1"]
        text = self.request(1024, SUBJECT, before=before)
        AUTHORITY.check_request(text)
        der, _ = self.issue(text)
        self.assertEqual(self.install(der, before=before), 0)
        self.assertTrue(STORES.has_with_key(der))

    def test_each_installing_method_takes_a_bare_certificate(self):
        for method in ("writeClientCert", "writeClientCert_noprotect", "writeClientCert_exp_X509"):
            for exportable in (0, 1):
                with self.subTest(method=method, exportable=exportable):
                    der, _ = self.issue(self.request(1024, SUBJECT, exportable))
                    self.assertEqual(self.install(der, method), 0)
                    self.assertTrue(STORES.has_with_key(der))

    def test_refused_arguments_leave_no_request(self):
        self.assertEqual(SITE.call("genP10", 1024), "", "no provider")
        self.assertEqual(SITE.call("genP10", 1000, before=[self.choose()]), "")
        self.assertEqual(SITE.call("genP10_exp_withdn", 1024, 2, SUBJECT, before=[self.choose()]), "")
        self.assertEqual(SITE.call("genP10_exp_withdn", 1024, 1, "CN=a, O=b", before=[self.choose()]), "")
        self.assertEqual(SITE.call("genP10_exp_withdn", 1024, 1, "CN=a,nonsense", before=[self.choose()]), "")
        self.assertEqual(SITE.call("genP10", 1024, before=['call setCSP "No such provider"']), "")
        self.assertFalse(SITE.session(self.choose(), 'call genP10 "1024"')[-1].ok)

    def test_found_by_issuer_and_serial(self):
        der, serial = self.enrol()
        self.assertEqual(self.exists(serial), 0)
        self.assertEqual(self.exists(serial.upper()), 0)
        self.assertEqual(self.exists(" ".join(serial[i:i + 2] for i in range(0, 8, 2))), 0)
        self.assertEqual(self.exists(serial, AUTHORITY.dn_tight), 0, "without the blanks")
        self.assertEqual(self.exists(serial, AUTHORITY.dn.upper()), 0, "case aside")
        self.assertEqual(self.exists(serial, "CN=Example CA 1"), NOT_FOUND, "the query lacks components")
        self.assertEqual(self.exists("7f7f7f7f"), NOT_FOUND)
        self.assertEqual(self.exists(serial[1:]), NOT_FOUND, "an odd number of digits")
        self.assertEqual(self.exists(serial, "CN=Somebody else"), NOT_FOUND)
        self.assertTrue(STORES.has_with_key(der), "asking changes nothing")

    def test_deleted_once(self):
        der, serial = self.enrol()
        other, other_serial = self.enrol()
        self.assertEqual(SITE.call("deleteCert", AUTHORITY.dn, serial), 0)
        self.assertFalse(STORES.has(der))
        self.assertTrue(STORES.has_with_key(other))
        self.assertEqual(self.exists(serial), NOT_FOUND)
        self.assertEqual(self.exists(other_serial), 0)
        self.assertEqual(SITE.call("deleteCert", AUTHORITY.dn, serial), DELETE_NOT_FOUND)

    def test_after_a_renewal_the_most_recent_stays(self):
        subject = "C=DE,CN=Renewed"
        first, _ = self.enrol(subject=subject)
        self.assertEqual(SITE.call("leavingMostRecentCert", "C=DE, CN=Renewed", AUTHORITY.dn), PRUNE_NOTHING,
                         "one alone is not pruned")
        time.sleep(1.1)
        second, _ = self.enrol(subject=subject)
        time.sleep(1.1)
        third, serial = self.enrol(subject=subject)
        self.assertEqual(SITE.call("leavingMostRecentCert", "C=DE, CN=Renewed", AUTHORITY.dn), 0)
        self.assertFalse(STORES.has(first))
        self.assertFalse(STORES.has(second))
        self.assertTrue(STORES.has_with_key(third))
        self.assertEqual(self.exists(serial), 0)

    def test_an_authority_is_checked_in_its_stores(self):
        authority = Authority(os.path.join(OPTIONS.work, "authority-2"), "/C=DE/CN=Example CA 2")
        der = authority.certificate_der()
        self.assertEqual(SITE.call("CheckCertValid", "1", as_text(der)), 22208321)
        STORES.add_authority(der)
        self.assertEqual(SITE.call("CheckCertValid", "1", as_text(der)), 0)
        self.assertEqual(SITE.call("CheckCertValid", "1", as_text(AUTHORITY.certificate_der())), 22208321)
        self.assertEqual(SITE.call("CheckCertValid", "1", "MAA="), 22208113)
        self.assertEqual(SITE.call("CheckCertValid", "1", "AAA"), 22208223)
        self.assertEqual(SITE.call("CheckCertValid", "2", as_text(der)), 22208220)
        self.assertEqual(SITE.call("CheckCertValid", "1", ""), 22208221)

    def test_a_certificate_is_checked_in_the_firefox_profile(self):
        firefox = WindowsFirefox(SITE, OPTIONS.libraries) if OPTIONS.wine else NssFirefox(SITE)
        stored, other = AUTHORITY.certificate_der(), Authority(os.path.join(OPTIONS.work, "authority-3")).certificate_der()
        check = lambda text, **options: SITE.call("CheckCertValid", "0", text, **options)
        if not firefox.is_on_the_machine():
            self.assertEqual(check(as_text(stored)), 22208313)
        firefox.install()
        self.assertEqual(check(as_text(stored)), 22208322)
        firefox.make_profile(stored)
        self.assertEqual(check(as_text(stored)), 0)
        self.assertEqual(check(as_text(other)), 22208321)
        self.assertEqual(check("AAAA"), 22208319)
        self.assertEqual(check("AAA"), 22208223)
        self.assertEqual(check(as_text(stored), host=OPTIONS.container), REFUSED)
        firefox.break_library()
        self.assertEqual(check(as_text(stored)), 22208316)
        firefox.repair_library()
        # Before and after an enrolment in the same session, and from a second instance.
        ask = ['call CheckCertValid "0" ' + quoted(as_text(der)) for der in (stored, other)]
        begun = SITE.session(*ask, self.choose(), "call genP10 1024", "save request.b64", *ask, "reload", *ask)
        with open(os.path.join(OPTIONS.work, "request.b64"), encoding="utf-8") as file:
            der, serial = self.issue(file.read(), "/CN=Beside Firefox")
        ended = SITE.session(self.choose(), *ask, "call writeClientCert " + quoted(as_text(der)), "expect 0", *ask,
                             "reload", *ask, f'call IsCertExist {quoted(AUTHORITY.dn)} {quoted(serial)}', "expect 0")
        for outcomes in (begun, ended):
            self.assertEqual([outcome.value for outcome in outcomes if outcome.command.startswith("CheckCertValid")],
                             [0, 22208321] * 3)
        self.assertTrue(STORES.has_with_key(der))

    def test_a_certificate_of_another_key_is_refused_and_the_marker_is_gone(self):
        other = self.request(1024, SUBJECT)
        der, _ = self.issue(other)
        self.request(1024, SUBJECT)
        self.assertEqual(self.install(der), WRONG_KEY)
        self.assertFalse(os.path.exists(SITE.marker))
        self.assertFalse(STORES.has(der))
        self.assertEqual(self.install(der), MARKER_NOT_READABLE)

    def test_an_answer_of_neither_shape_leaves_the_marker(self):
        der, _ = self.issue(self.request(1024, SUBJECT))
        for text in ("MAA=", "not base64 of anything!", "AAAA", as_text(der[:40])):
            self.assertEqual(SITE.call("writeClientCert", text, before=[self.choose()]), UNKNOWN_SHAPE)
        self.assertEqual(SITE.call("writeClientCert_exp_X509", as_text(AUTHORITY.chain(der)),
                                   before=[self.choose()]), UNKNOWN_SHAPE, "a chain is not tried here")
        self.assertTrue(os.path.exists(SITE.marker))
        self.assertEqual(self.install(der), 0)
        self.assertTrue(STORES.has_with_key(der))

    def chain_of(self, text, number):
        """The three certificates of a chain for the request: root, intermediate, leaf; and the leaf's authority."""
        root = Authority(os.path.join(OPTIONS.work, f"root-{number}"), f"/C=DE/CN=Root {number}")
        issuing = root.intermediate(os.path.join(OPTIONS.work, f"issuing-{number}"), f"/C=DE/CN=Issuing {number}")
        leaf, serial = self.issue(text, authority=issuing)
        return [root.certificate_der(), issuing.certificate_der(), leaf], issuing, serial

    def install_chain(self, ders, method="writeClientCert", provider=MICROSOFT):
        return SITE.call(method, as_text(certificates_only(ders)), before=["call setCSP " + quoted(provider)])

    def test_a_chain_reaches_the_stores_whatever_its_order(self):
        for number, order in enumerate(((0, 1, 2), (2, 1, 0), (1, 2, 0))):
            method = ("writeClientCert", "writeClientCert_noprotect")[number % 2]
            with self.subTest(order=order, method=method):
                chain, issuing, serial = self.chain_of(self.request(1024, SUBJECT), number)
                before = set(STORES.containers())
                self.assertEqual(self.install_chain([chain[i] for i in order], method), 0)
                self.assertEqual(len(set(STORES.containers()) - before), 1, "the key has a container of its own")
                self.assertFalse(os.path.exists(SITE.marker))
                self.assertTrue(STORES.has_with_key(chain[2]))
                self.assertTrue(STORES.has_authority(chain[0], "ROOT"))
                self.assertTrue(STORES.has_authority(chain[1], "CA"))
                self.assertEqual(self.exists(serial, issuing.dn), 0)
                for authority in chain[:2]:
                    self.assertEqual(SITE.call("CheckCertValid", "1", as_text(authority)), 0)

    def test_a_chain_for_a_key_that_may_not_leave_is_refused(self):
        text = self.request(1024, SUBJECT, exportable=0)
        chain, _, _ = self.chain_of(text, "fixed")
        self.assertIn(self.install_chain(chain), (22068106, 22068108))
        self.assertFalse(os.path.exists(SITE.marker))
        self.assertFalse(STORES.has(chain[2]))
        self.assertFalse(STORES.has_authority(chain[0], "ROOT"))

    def test_a_chain_of_one_is_installed_without_authorities(self):
        der, _ = self.issue(self.request(1024, SUBJECT))
        self.assertEqual(self.install_chain([der]), 22068207)
        self.assertTrue(STORES.has_with_key(der))

    def test_a_chain_of_another_key_is_refused(self):
        chain, _, _ = self.chain_of(self.request(1024, SUBJECT), "other")
        self.request(1024, SUBJECT)
        self.assertEqual(self.install_chain(chain), WRONG_KEY)
        self.assertFalse(os.path.exists(SITE.marker))
        self.assertFalse(STORES.has_authority(chain[0], "ROOT"))

    def test_a_second_installation_finds_no_marker(self):
        der, _ = self.enrol()
        self.assertEqual(self.install(der), MARKER_NOT_READABLE)

    def test_an_installation_wants_text_and_provider(self):
        self.assertEqual(SITE.call("writeClientCert", "", before=[self.choose()]), 22068204)
        self.assertEqual(SITE.call("writeClientCert", "MAA="), 22068201)

    def test_an_unwritable_marker_makes_no_key(self):
        self.request(1024)
        os.remove(SITE.marker)
        os.mkdir(SITE.marker)  # a folder cannot be written as a file
        try:
            before = STORES.containers()
            self.assertTrue(before)
            self.assertEqual(SITE.call("genP10", 1024, before=[self.choose()]), "")
            self.assertEqual(STORES.containers(), before)
        finally:
            os.rmdir(SITE.marker)

    def test_the_plugin_container_makes_requests_and_refuses_the_rest(self):
        container = OPTIONS.container
        text = self.request(1024, SUBJECT, host=container)
        AUTHORITY.check_request(text)
        der, serial = self.issue(text)
        self.assertEqual(self.install(der, host=container), REFUSED)
        for method in ("writeClientCert_noprotect", "writeClientCert_exp_X509"):
            self.assertEqual(self.install(der, method, host=container), REFUSED)
        for method, first, second in (("deleteCert", AUTHORITY.dn, serial), ("IsCertExist", AUTHORITY.dn, serial),
                                      ("CheckCertValid", "1", as_text(der)),
                                      ("leavingMostRecentCert", SUBJECT, AUTHORITY.dn)):
            self.assertEqual(SITE.call(method, first, second, host=container), REFUSED)
        self.assertEqual(SITE.call("SetHashAlgorithm", "md5", host=container), REFUSED)
        names = [outcome.value for outcome in SITE.session("providers", host=container)]
        self.assertIn(OPTIONS.provider, names)
        self.assertTrue(os.path.exists(SITE.marker), "a refused installation leaves the marker")
        self.assertEqual(self.install(der), 0)
        self.assertTrue(STORES.has_with_key(der))


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for option in ("host", "plugin", "work", "provider", "container"):
        parser.add_argument("--" + option, required=True)
    parser.add_argument("--wine")
    parser.add_argument("--stores")
    parser.add_argument("--libraries")
    OPTIONS, rest = parser.parse_known_args()
    unittest.main(argv=[sys.argv[0], *rest], verbosity=2)

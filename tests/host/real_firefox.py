#!/usr/bin/env python3
"""The Firefox check against Firefox itself: a profile that Firefox made, while it runs and when it is closed. Linux only,
and only where there is a Firefox.

    real_firefox.py --host vt_host --plugin file --work folder --firefox program [unittest arguments]
"""

import argparse
import configparser
import os
import shutil
import signal
import subprocess
import sys
import time
import unittest

from authority import Authority, as_text
from session import Site

OPTIONS = None


class RealFirefox(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.site = Site(OPTIONS.host, OPTIONS.plugin, OPTIONS.work)
        cls.site.environment["PATH"] = os.path.dirname(OPTIONS.firefox) + ":" + os.environ["PATH"]
        cls.authority = Authority(os.path.join(OPTIONS.work, "authority"))
        # A picture of an empty page: Firefox makes its profile, and ends when it has the picture.
        subprocess.run([OPTIONS.firefox, "--headless", "--screenshot", os.path.join(OPTIONS.work, "page.png"),
                        "about:blank"], env=cls.site.environment, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, timeout=300, check=True)
        folder = os.path.join(cls.site.home, ".mozilla", "firefox")
        profiles = configparser.ConfigParser()
        profiles.read(os.path.join(folder, "profiles.ini"))
        cls.profile = os.path.join(folder, profiles["Profile0"]["Path"])

    def check(self, der):
        return self.site.call("CheckCertValid", "0", as_text(der))

    def test_certificates_of_its_database_are_found(self):
        der = self.authority.certificate_der()
        self.assertTrue(os.path.exists(os.path.join(self.profile, "cert9.db")), "a profile that was used")
        self.assertEqual(self.check(der), 22208321)
        subprocess.run(["certutil", "-A", "-n", "x", "-t", ",,", "-d", "sql:" + self.profile], input=der, check=True)
        self.assertEqual(self.check(der), 0)
        with subprocess.Popen([OPTIONS.firefox, "--headless", "about:blank"], env=self.site.environment,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True) as running:
            try:
                for _ in range(10):
                    self.assertEqual(self.check(der), 0, "while it runs")
                    time.sleep(0.5)
                self.assertIsNone(running.poll())
            finally:
                os.killpg(running.pid, signal.SIGTERM)

    def test_a_root_that_it_brings_along_is_not_in_the_database(self):
        roots = "/etc/ssl/certs/ca-certificates.crt"
        if not os.path.exists(roots):
            self.skipTest("no list of roots on this machine")
        with open(roots, encoding="ascii") as file:
            first = file.read().split("-----END")[0].split("CERTIFICATE-----")[1]
        self.assertEqual(self.site.call("CheckCertValid", "0", first), 22208321)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    for option in ("host", "plugin", "work", "firefox"):
        parser.add_argument("--" + option, required=True)
    OPTIONS, rest = parser.parse_known_args()
    OPTIONS.firefox = shutil.which(OPTIONS.firefox)
    unittest.main(argv=[sys.argv[0], *rest], verbosity=2)

"""A Firefox of the user, with one profile whose database holds what the tests put there."""

import os
import shutil
import subprocess

LIST = "[Profile0]\nName=default\nIsRelative=1\nPath=abc.default\n"


class NssFirefox:
    """On Linux: an installation without libraries of its own, and a profile by NSS's tools."""

    def __init__(self, site):
        self.site = site
        self.folder = os.path.join(site.work, "firefox")
        self.profiles = os.path.join(site.home, ".mozilla", "firefox")
        self.database = "sql:" + os.path.join(self.profiles, "abc.default")

    def is_on_the_machine(self):
        """Whether the machine has one that would be found without the tests'."""
        usual = ("/usr/lib/firefox", "/usr/lib64/firefox", "/usr/lib/firefox-esr", "/usr/lib64/firefox-esr",
                 "/opt/firefox", "/snap/firefox")
        return any(map(os.path.exists, usual)) or shutil.which("firefox") or shutil.which("firefox-esr")

    def install(self):
        os.makedirs(self.folder)
        with open(os.path.join(self.folder, "libxul.so"), "wb"):
            pass
        program = os.path.join(self.folder, "firefox")
        with open(program, "w", encoding="utf-8") as file:
            file.write("#!/bin/sh\n")
        os.chmod(program, 0o700)
        self.site.environment["PATH"] = self.folder + ":" + self.site.environment["PATH"]

    def make_profile(self, der):
        folder = os.path.join(self.profiles, "abc.default")
        os.makedirs(folder)
        with open(os.path.join(self.profiles, "profiles.ini"), "w", encoding="utf-8") as file:
            file.write(LIST)
        for command, given in ((["-N", "--empty-password"], b""), (["-A", "-n", "x", "-t", ",,"], der)):
            subprocess.run(["certutil", *command, "-d", self.database], input=given, check=True)

    def break_library(self):
        with open(os.path.join(self.folder, "libnss3.so"), "wb") as file:
            file.write(b"no library")

    def repair_library(self):
        os.remove(os.path.join(self.folder, "libnss3.so"))


class WindowsFirefox:
    """Under Wine: the registry, and libraries of the tests', whose slot holds the profile's "certificate.der"."""

    LIBRARIES = {"mozglue": "plain", "nspr4": "nspr", "plc4": "plain", "plds4": "plain", "nssutil3": "plain",
                 "nss3": "nss", "smime3": "smime"}

    def __init__(self, site, libraries):
        self.site, self.libraries = site, libraries
        self.drive = os.path.join(site.environment["WINEPREFIX"], "drive_c")
        self.folder = os.path.join(self.drive, "Mozilla Firefox")

    def is_on_the_machine(self):
        return False

    def _set(self, key, name, value):
        key = "HKLM\\SOFTWARE\\Mozilla\\Mozilla Firefox" + key
        done = self.site.run_program(["reg", "add", key, "/v", name, "/d", value, "/f"])
        if done.returncode != 0:
            raise AssertionError(done.stderr)

    def install(self):
        os.makedirs(self.folder)
        for name, built in self.LIBRARIES.items():
            shutil.copy(os.path.join(self.libraries, f"vt_browser_{built}.dll"),
                        os.path.join(self.folder, name + ".dll"))
        self._set("", "CurrentVersion", "17.0 (en-US)")
        self._set("\\17.0 (en-US)\\Main", "Install Directory", "C:\\Mozilla Firefox")

    def make_profile(self, der):
        user = self.site.run_program(["cmd", "/c", "echo %USERNAME%"]).stdout.strip()
        profiles = os.path.join(self.drive, "Documents and Settings", user, "Application Data", "Mozilla", "Firefox")
        os.makedirs(os.path.join(profiles, "abc.default"))
        with open(os.path.join(profiles, "profiles.ini"), "w", encoding="utf-8") as file:
            file.write(LIST)
        with open(os.path.join(profiles, "abc.default", "certificate.der"), "wb") as file:
            file.write(der)

    def break_library(self):
        os.rename(os.path.join(self.folder, "nss3.dll"), os.path.join(self.folder, "away"))

    def repair_library(self):
        os.rename(os.path.join(self.folder, "away"), os.path.join(self.folder, "nss3.dll"))

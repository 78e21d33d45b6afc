#!/usr/bin/env python3
"""Tests of the Windows installer under Wine: installer_test.py WINE VT_INSTALLED PLUGIN WORK

WINE is scripts/wine.sh, whose prefix the tests use and leave as it was; VT_INSTALLED the program of vt_installed.cpp;
PLUGIN the built DLL; WORK a folder for what they make. None of them needs a display.
"""
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

TOP = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
MAKE = os.path.join(TOP, "packaging", "windows", "make.sh")
WINE = HELPER = PLUGIN = WORK = ""
SKIPPED = 77

UNINSTALL_KEY = r"Software\Microsoft\Windows\CurrentVersion\Uninstall\Vemtrel CertEnroll"
PLUGIN_ID = "@vemtrel/CertEnroll"
MIME_TYPE = "application/npvemtrel_certenroll"
FILES = ["LICENSE.txt", "README.txt", "npvemtrel_certenroll.dll", "uninstall.exe"]

# The installer's exit codes.
ACCESS_DENIED, WRITE_FAULT, SHARING_VIOLATION, INVALID_PARAMETER = 5, 29, 32, 87


class Ended:
    def __init__(self, code, out):
        self.code, self.out = code, out

    def __repr__(self):
        return f"exit code {self.code}: {self.out}"


def windows_name(path):
    return "Z:" + os.path.abspath(path).replace("/", "\\")


def run(*words):
    """Runs a Windows program. Its output goes to a file: Wine's own processes would keep a pipe open."""
    with tempfile.TemporaryFile() as output:
        code = subprocess.run([WINE, *words], stdin=subprocess.DEVNULL, stdout=output, stderr=output, timeout=120,
                              check=False).returncode
        output.seek(0)
        return Ended(code, output.read().decode("utf-8", "replace").replace("\r\n", "\n"))


def run_line(line, user=False):
    """Runs a command line as it stands: /D= takes no quotes, which Wine would add."""
    file = os.path.join(WORK, "line.txt")
    with open(file, "w", encoding="utf-8") as output:
        output.write(line)
    return run(HELPER, "run", *(["--user"] if user else []), windows_name(file))


def registry(key):
    """All below a key as text; empty where there is no such key."""
    file = os.path.join(WORK, "registry.txt")
    if run("reg", "export", key, windows_name(file), "/y").code != 0:
        return ""
    with open(file, encoding="utf-16") as text:
        return text.read()


def whole_registry():
    return registry(r"HKLM\Software"), registry(r"HKCU\Software")


def entry(hive):
    """The values of the entry in "Programs and Features"."""
    values = {}
    lines = registry(f"{hive}\\{UNINSTALL_KEY}")
    for name, text, number in re.findall(r'^"(\w+)"=(?:"(.*)"|dword:(\w+))$', lines, re.M):
        values[name] = int(number, 16) if number else re.sub(r"\\(.)", r"\1", text)
    return values


def plugins():
    """What a browser finds and loads."""
    ended = run(HELPER, "find")
    assert ended.code == 0, ended
    return [json.loads(line) for line in ended.out.splitlines() if line.startswith("{")]


def content(path):
    with open(path, "rb") as file:
        return file.read()


def wait_until(condition):
    end = time.monotonic() + 60
    while not condition() and time.monotonic() < end:
        time.sleep(0.1)
    return condition()


class InstallerTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        shutil.rmtree(WORK, ignore_errors=True)
        os.makedirs(WORK)
        cls.folder = os.path.join(WORK, "here")
        cls.setup = cls.make("packages")
        cls.version = re.search(r"-([0-9.]+)-setup\.exe$", cls.setup).group(1)
        home = subprocess.run([WINE, "cmd", "/c", "echo %LOCALAPPDATA%"], stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, timeout=120, check=True).stdout.strip()
        # As the tests find the prefix: the folders of Windows by their names here.
        prefix = os.environ.get("VT_WINEPREFIX") or os.path.join(TOP, "build", "wine")
        drive = os.path.join(prefix, "drive_c")
        cls.for_all = os.path.join(drive, "Program Files", "Vemtrel CertEnroll")
        cls.for_one = os.path.join(drive, home[3:].replace("\\", "/"), "Programs", "Vemtrel CertEnroll")

    @staticmethod
    def make(folder):
        """Makes the installer anew and gives its file name."""
        made = subprocess.run([MAKE, PLUGIN, os.path.join(WORK, folder)], stdout=subprocess.PIPE, text=True,
                              timeout=120, check=True)
        return made.stdout.strip()

    def setUp(self):
        self.forget()

    @classmethod
    def tearDownClass(cls):
        cls.forget()

    @classmethod
    def forget(cls):
        """Away with what an earlier test left."""
        run(HELPER, "forget")
        for folder in (cls.folder, cls.for_all, cls.for_one):
            shutil.rmtree(folder, ignore_errors=True)

    def install(self, switches="", folder=None, user=False):
        where = " /D=" + windows_name(folder) if folder else ""
        return run_line(f'"{windows_name(self.setup)}" /S {switches}{where}', user)

    def uninstall(self, folder):
        """As "Programs and Features" does; the program goes on in a copy of itself after its end. Here it is called by
        another name of its folder than it was installed to."""
        ended = run(windows_name(os.path.join(folder, "uninstall.exe")), "/S")
        self.assertEqual(0, ended.code, ended)
        self.assertTrue(wait_until(lambda: not os.path.exists(os.path.join(folder, "uninstall.exe"))))

    def uninstall_and_wait(self, folder):
        """In place, so that the exit code tells what came of it."""
        return run_line(f'"{windows_name(folder)}\\uninstall.exe" /S _?={windows_name(folder)}')

    def assert_installed(self, root, folder, path):
        found = plugins()
        self.assertEqual(1, len(found), found)
        plugin = found[0]
        self.assertEqual((root, PLUGIN_ID), (plugin["root"], plugin["id"]))
        self.assertEqual(path + "\\npvemtrel_certenroll.dll", plugin["key"]["Path"])
        self.assertEqual({"Path", "ProductName", "Vendor", "Description", "Version"}, set(plugin["key"]))
        # What the registry says is what the file says.
        self.assertEqual(plugin["resource"]["MIMEType"], MIME_TYPE)
        self.assertEqual({MIME_TYPE: plugin["answers"]["description"]}, plugin["types"])
        self.assertEqual(plugin["answers"]["description"], plugin["key"]["Description"])
        self.assertEqual(plugin["resource"]["FileVersion"].replace(", ", "."), plugin["key"]["Version"])
        self.assertEqual(self.version, plugin["key"]["Version"])
        self.assertEqual("1.0.14.1", plugin["answers"]["getVersion"])
        self.assertEqual(FILES, sorted(os.listdir(folder)))
        return plugin

    def test_the_same_plugin_makes_the_same_installer(self):
        self.assertEqual(content(self.setup), content(self.make("again")))

    def test_the_installer_says_its_own_version(self):
        resource = content(self.setup).decode("utf-16-le", "replace")
        self.assertRegex(resource, f"FileVersion\0+{re.escape(self.version)}\0")
        self.assertRegex(resource, "ProductName\0+Vemtrel CertEnroll\0")

    def test_an_administrator_installs_for_all_users_and_removes_without_a_trace(self):
        before = whole_registry()
        ended = self.install()
        self.assertEqual((0, ""), (ended.code, ended.out), ended)
        path = "C:\\Program Files\\Vemtrel CertEnroll"
        self.assert_installed("HKLM", self.for_all, path)
        self.assertEqual({}, entry("HKCU"))
        values = entry("HKLM")
        size = values.pop("EstimatedSize")
        self.assertEqual({"DisplayName": "Vemtrel CertEnroll", "DisplayVersion": self.version, "Publisher": "Vemtrel",
                          "InstallLocation": path, "UninstallString": f'"{path}\\uninstall.exe"',
                          "QuietUninstallString": f'"{path}\\uninstall.exe" /S', "NoModify": 1, "NoRepair": 1}, values)
        on_disk = sum(os.path.getsize(os.path.join(self.for_all, name)) for name in FILES) / 1024
        self.assertLess(abs(size - on_disk), on_disk / 10)
        self.assertLess(os.path.getsize(os.path.join(self.for_all, FILES[2])), os.path.getsize(PLUGIN) / 2, "stripped")
        self.uninstall(self.for_all)
        self.assertTrue(wait_until(lambda: not os.path.exists(self.for_all)))
        for was, now in zip(before, whole_registry()):
            self.assertEqual([], sorted(set(was.splitlines()) ^ set(now.splitlines())))
            self.assertEqual(len(was), len(now))

    def test_a_user_installs_for_themselves(self):
        ended = self.install(user=True)
        self.assertEqual(0, ended.code, ended)
        self.assertTrue(os.path.isdir(self.for_one), ended)
        self.assert_installed("HKCU", self.for_one, plugins()[0]["key"]["Path"].rpartition("\\")[0])
        self.assertEqual({}, entry("HKLM"))
        self.assertNotEqual({}, entry("HKCU"))

    def test_a_user_may_not_install_for_all(self):
        ended = self.install("/AllUsers", user=True)
        self.assertEqual(ACCESS_DENIED, ended.code, ended)
        self.assertIn("administrator", ended.out)
        self.assertEqual([], plugins())

    def test_a_user_may_not_remove_what_is_there_for_all(self):
        self.assertEqual(0, self.install().code)
        line = f'"{windows_name(self.for_all)}\\uninstall.exe" /S _?=C:\\Program Files\\Vemtrel CertEnroll'
        ended = run_line(line, user=True)
        self.assertEqual(ACCESS_DENIED, ended.code, ended)
        self.assertIn("administrator", ended.out)
        self.assert_installed("HKLM", self.for_all, "C:\\Program Files\\Vemtrel CertEnroll")

    def test_both_scopes_at_once_are_refused(self):
        ended = self.install("/AllUsers /CurrentUser")
        self.assertEqual(INVALID_PARAMETER, ended.code, ended)
        self.assertEqual([], plugins())

    def test_a_folder_of_blanks_and_any_letters_where_a_file_of_others_stays(self):
        folder = os.path.join(self.folder, "Zertifikate für Москва 证书")
        ended = self.install("/CurrentUser", folder)
        self.assertEqual(0, ended.code, ended)
        self.assert_installed("HKCU", folder, windows_name(folder))
        foreign = os.path.join(folder, "notes.txt")
        with open(foreign, "w", encoding="ascii") as file:
            file.write("mine")
        self.uninstall(folder)
        self.assertEqual(["notes.txt"], os.listdir(folder))
        self.assertEqual(([], {}), (plugins(), entry("HKCU")))

    def test_replaces_an_older_version_where_it_lies(self):
        self.assertEqual(0, self.install(folder=self.folder).code)
        whole = {name: content(os.path.join(self.folder, name)) for name in FILES}
        for name in FILES:
            with open(os.path.join(self.folder, name), "wb") as file:
                file.write(b"older")
        run("reg", "add", "HKLM\\" + UNINSTALL_KEY, "/v", "DisplayVersion", "/d", "1.0.13.0", "/f")
        run("reg", "add", "HKLM\\Software\\MozillaPlugins\\" + PLUGIN_ID, "/v", "Version", "/d", "1.0.13.0", "/f")
        ended = self.install()
        self.assertEqual(0, ended.code, ended)
        self.assert_installed("HKLM", self.folder, windows_name(self.folder))
        self.assertEqual(self.version, entry("HKLM")["DisplayVersion"])
        self.assertEqual(whole, {name: content(os.path.join(self.folder, name)) for name in FILES})
        self.assertFalse(os.path.exists(self.for_all))

    def test_another_folder_takes_the_old_one_s_place(self):
        self.assertEqual(0, self.install().code)
        ended = self.install(folder=self.folder)
        self.assertEqual(0, ended.code, ended)
        self.assert_installed("HKLM", self.folder, windows_name(self.folder))
        self.assertFalse(os.path.exists(self.for_all))

    def test_the_same_folder_by_another_name_keeps_its_files(self):
        self.assertEqual(0, self.install().code)
        ended = self.install(folder=self.for_all)
        self.assertEqual(0, ended.code, ended)
        self.assert_installed("HKLM", self.for_all, windows_name(self.for_all))

    def test_a_folder_that_cannot_be_written_leaves_the_old_one_whole(self):
        self.assertEqual(0, self.install().code)
        ended = self.install(folder="/proc/vemtrel")
        self.assertEqual(WRITE_FAULT, ended.code, ended)
        self.assertIn("could not be written", ended.out)
        self.assert_installed("HKLM", self.for_all, "C:\\Program Files\\Vemtrel CertEnroll")

    def test_a_plugin_in_use_is_neither_replaced_nor_removed(self):
        self.assertEqual(0, self.install(folder=self.folder).code)
        path = os.path.join(self.folder, "npvemtrel_certenroll.dll")
        before = {name: content(os.path.join(self.folder, name)) for name in FILES}
        ready, end = os.path.join(WORK, "ready"), os.path.join(WORK, "end")
        with subprocess.Popen([WINE, HELPER, "hold", *map(windows_name, (path, ready, end))],
                              stdin=subprocess.DEVNULL) as browser:
            try:
                self.assertTrue(wait_until(lambda: os.path.exists(ready)))
                # Over it, to another folder in its place, and away with it.
                other = os.path.join(WORK, "other")
                for ended in (self.install(), self.install(folder=other), self.uninstall_and_wait(self.folder)):
                    self.assertEqual(SHARING_VIOLATION, ended.code, ended)
                    self.assertIn("Close all browsers", ended.out)
                self.assertFalse(os.path.exists(other))
                self.assertEqual(before, {name: content(os.path.join(self.folder, name)) for name in FILES})
                self.assert_installed("HKLM", self.folder, windows_name(self.folder))
            finally:
                with open(end, "w", encoding="ascii"):
                    pass
                browser.wait(60)
        self.assertEqual(0, self.install().code, "the browser is closed")
        self.assertEqual(0, self.uninstall_and_wait(self.folder).code)
        self.assertEqual([], plugins())


if __name__ == "__main__":
    WINE, HELPER, PLUGIN, WORK = sys.argv[1:5]
    if shutil.which("makensis") is None:
        print("skipped: makensis is not installed")
        sys.exit(SKIPPED)
    unittest.main(argv=[sys.argv[0], "-v", *sys.argv[5:]])

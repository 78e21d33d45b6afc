#!/usr/bin/env python3
"""The Debian packages, installed into a scratch root and removed from it. The machine itself stays as it is.

    packages_test.py HOST WORK      vt_host; a folder to work in

scripts/package.sh makes them first, from build/native.
"""

import os
import pathlib
import re
import shutil
import sys
import unittest

import outside
from outside import run

TOP = pathlib.Path(__file__).resolve().parents[2]
HOST, WORK = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
NAMES = ["libvemtrel-certenroll-dev", "libvemtrel-certenroll1", "vemtrel-certenroll-plugin",
         "vemtrel-certenroll-tools"]
# What ours may depend on. The machine has them, or it could not have built ours.
BASE = ["libc6", "libgcc-s1", "libnss3", "libstdc++6"]
PLUGIN = "usr/lib/mozilla/plugins/npvemtrel_certenroll.so"


class Root:
    """A root folder with a package database in which some of the machine's packages count as installed."""

    def __init__(self, folder, base):
        self.folder = outside.remake(folder)
        database = self.folder / "var" / "lib" / "dpkg"
        for name in ("info", "updates", "triggers"):
            os.makedirs(database / name)
        machine = run("dpkg", "--print-architecture").stdout.strip()
        status = [run("dpkg-query", "-s", f"{name}:{machine}").stdout for name in base]
        (database / "status").write_text("\n".join(status) + "\n")
        # Files of others, in folders that ours use too.
        for name in ("usr/lib/mozilla/plugins/other.so", "usr/bin/other", "usr/share/doc/other/copyright"):
            (self.folder / name).parent.mkdir(parents=True)
            (self.folder / name).write_text("another package's\n")

    def dpkg(self, *arguments, check=True):
        as_root = [] if os.geteuid() == 0 else ["fakeroot"]
        environment = dict(os.environ, LC_ALL="C.UTF-8", PATH=os.environ["PATH"] + ":/usr/sbin:/sbin")
        return run(*as_root, "dpkg", f"--root={self.folder}", f"--log={self.folder}.log", *arguments, check=check,
                   env=environment)

    def files(self):
        """Every file and folder but those of the database, with the content of the files."""
        return {str(path.relative_to(self.folder)): path.read_bytes() if path.is_file() else None
                for path in self.folder.rglob("*") if "dpkg" not in path.parts}

    def installed(self):
        listing = run("dpkg-query", f"--admindir={self.folder}/var/lib/dpkg", "-W",
                      "-f", "${Package} ${db:Status-Status}\n").stdout
        return dict(line.split() for line in listing.splitlines() if "vemtrel" in line)


class PackagesTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        outside.remake(WORK)
        cls.packages, cls.contents = cls.make()
        cls.root = Root(WORK / "root", BASE)
        cls.before = cls.root.files()
        cls.root.dpkg("--install", *cls.packages)

    @staticmethod
    def make(**options):
        run(TOP / "scripts" / "package.sh", "deb", env=dict(os.environ, VT_NO_SETUP="1"), **options)
        packages = sorted((TOP / "build" / "packages").glob("*.deb"))
        return packages, [package.read_bytes() for package in packages]

    def test_they_are_the_same_whoever_makes_them(self):
        self.assertTrue(self.contents == self.make(umask=0o077)[1])

    @staticmethod
    def fields(package):
        return {name: run("dpkg-deb", "-f", package, name).stdout.strip()
                for name in ("Package", "Version", "Architecture", "Depends", "Recommends", "Maintainer",
                             "Description", "Section")}

    def test_names_and_versions(self):
        self.assertEqual(NAMES, [self.fields(package)["Package"] for package in self.packages])
        logged = run("dpkg-parsechangelog", "-l", TOP / "packaging" / "deb" / "changelog", "-S", "Version").stdout
        for package in self.packages:
            fields = self.fields(package)
            self.assertEqual(logged.strip(), fields["Version"])
            self.assertEqual("1.0.14.1-1", fields["Version"])
            self.assertRegex(fields["Maintainer"], r"^\S.* <\S+@\S+>$")
            summary, *text = fields["Description"].splitlines()
            self.assertLess(len(summary), 80)
            self.assertGreater(len(text), 2)

    def test_dependencies(self):
        depends = {fields["Package"]: re.sub(r" \([^)]*\)", "", fields["Depends"])
                   for fields in map(self.fields, self.packages)}
        self.assertEqual({"libvemtrel-certenroll-dev": "libvemtrel-certenroll1",
                          "libvemtrel-certenroll1": "libc6, libgcc-s1, libstdc++6",
                          "vemtrel-certenroll-plugin": "libc6, libgcc-s1, libstdc++6, libnss3",
                          "vemtrel-certenroll-tools": "libc6, libgcc-s1, libstdc++6"}, depends)
        self.assertIn("libnss3", self.fields(self.packages[1])["Recommends"])

    def test_nothing_is_installed_without_what_it_needs(self):
        bare = Root(WORK / "bare", [name for name in BASE if name != "libnss3"])
        done = bare.dpkg("--install", self.packages[2], check=False)
        self.assertNotEqual(0, done.returncode)
        self.assertIn("vemtrel-certenroll-plugin depends on libnss3", done.stderr)
        done = bare.dpkg("--install", self.packages[0], check=False)
        self.assertNotEqual(0, done.returncode)
        self.assertIn("libvemtrel-certenroll-dev depends on libvemtrel-certenroll1 (= 1.0.14.1-1)", done.stderr)

    def test_owners_and_modes(self):
        for package in self.packages:
            for line in run("dpkg-deb", "-c", package).stdout.splitlines():
                mode, owner = line.split()[:2]
                name = line.split("./", 1)[1]
                self.assertEqual("root/root", owner, line)
                if mode[0] == "-":
                    self.assertEqual("-rwxr-xr-x" if name.startswith("usr/bin/") else "-rw-r--r--", mode, line)
                elif mode[0] == "d":
                    self.assertEqual("drwxr-xr-x", mode, line)

    def test_libraries_are_in_the_folder_of_the_architecture(self):
        machine = run("dpkg-architecture", "-qDEB_HOST_MULTIARCH").stdout.strip()
        self.assertEqual(self.root.folder / "usr" / "lib" / machine, outside.library_folder(self.root.folder / "usr"))

    def test_files_are_as_they_were_packed(self):
        self.assertEqual(dict.fromkeys(NAMES, "installed"), self.root.installed())
        self.assertEqual("", self.root.dpkg("--verify", *NAMES).stdout)
        for name in NAMES:
            documents = self.root.folder / "usr" / "share" / "doc" / name
            self.assertIn("Apache-2.0", (documents / "copyright").read_text())
            self.assertIn("1.0.14.1", run("gzip", "-dc", documents / "changelog.gz").stdout)
            self.assertIn("(1.0.14.1-1)", run("gzip", "-dc", documents / "changelog.Debian.gz").stdout)
        pages = {f"man{page.suffix[1:]}/{page.name}.gz" for page in (TOP / "docs" / "man").iterdir()}
        manual = self.root.folder / "usr" / "share" / "man"
        self.assertEqual(pages, {str(page.relative_to(manual)) for page in manual.glob("*/*")})

    def test_no_file_names_the_build(self):
        for name in self.root.installed():
            for line in self.root.dpkg("--listfiles", name).stdout.splitlines():
                path = self.root.folder / line.lstrip("/")
                if path.is_file():
                    self.assertFalse(str(TOP).encode() in path.read_bytes(), line)

    def test_a_tool_works(self):
        printed = run(self.root.folder / "usr/bin/vtprint", outside.CERTIFICATE).stdout
        self.assertIn(f"INTEGER : {outside.SERIAL}", printed)

    def test_programs_are_built_with_it(self):
        prefix = self.root.folder / "usr"
        programs = outside.build_with_cmake(prefix, WORK / "by_cmake", "toolkit")
        self.assertEqual(2, len(programs))
        self.assertEqual([], list(outside.faults(programs, prefix)))

    def test_a_browser_loads_the_plug_in(self):
        script = WORK / "script"
        script.write_text("call getVersion\nhas genP10\n")
        printed = run(HOST, self.root.folder / PLUGIN, script).stdout
        self.assertIn('getVersion {"ok":true,"type":"string","value":"1.0.14.1"}', printed)
        self.assertIn('has genP10 {"ok":true,"type":"boolean","value":true}', printed)

    def test_nothing_is_left_behind(self):
        root = Root(WORK / "emptied", BASE)
        before = root.files()
        root.dpkg("--install", *self.packages)
        self.assertGreater(len(root.files()), len(before) + 100)
        root.dpkg("--remove", *NAMES)
        self.assertEqual(before, root.files())
        root.dpkg("--purge", *NAMES)
        self.assertEqual(before, root.files())
        self.assertEqual({}, {name: state for name, state in root.installed().items() if state != "not-installed"})


if __name__ == "__main__":
    try:
        unittest.main(argv=sys.argv[:1])
    finally:
        shutil.rmtree(WORK, ignore_errors=True)

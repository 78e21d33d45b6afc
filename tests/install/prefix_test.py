#!/usr/bin/env python3
"""What `cmake --install` puts below a prefix, and that programs from outside can be built with it.

    prefix_test.py BUILD WORK      the build tree; a folder to work in
"""

import concurrent.futures
import os
import pathlib
import re
import shutil
import sys
import unittest

import outside
from outside import run

TOP = pathlib.Path(__file__).resolve().parents[2]
BUILD, WORK = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
HEADERS = "include/vemtrel_certenroll"
COMPONENTS = ("plugin", "library", "development", "tools", "documents")


def install(prefix, *options):
    run("cmake", "--install", BUILD, "--prefix", prefix, "--strip", *options)


def files_below(folder):
    return {str(path.relative_to(folder)) for path in folder.rglob("*") if path.is_symlink() or not path.is_dir()}


class PrefixTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        outside.remake(WORK)
        cls.prefix = WORK / "moved"
        install(WORK / "prefix")
        # What is installed may be moved, and so everything below here is done where it was not installed.
        (WORK / "prefix").rename(cls.prefix)
        cls.libraries = outside.library_folder(cls.prefix).relative_to(cls.prefix)

    def test_components(self):
        found = {}
        for component in COMPONENTS:
            install(WORK / component, "--component", component)
            found[component] = files_below(WORK / component)
        every = files_below(self.prefix)
        self.assertEqual(sorted(every), sorted(file for files in found.values() for file in files))
        self.assertEqual({"lib/mozilla/plugins/npvemtrel_certenroll.so", "share/man/man7/vemtrel_certenroll.7"},
                         found["plugin"])
        self.assertEqual({f"{self.libraries}/libvemtrel_certenroll.so.{version}" for version in ("1", "1.0.14.1")},
                         found["library"])
        tools = ("vtkey", "vtmsg", "vtprint")
        self.assertEqual({f"bin/{tool}" for tool in tools} | {f"share/man/man1/{tool}.1" for tool in tools},
                         found["tools"])
        self.assertLessEqual({"LICENSE", "CHANGELOG.md", "docs/toolkit.md"},
                             {file.removeprefix("share/doc/vemtrel_certenroll/") for file in found["documents"]})
        rest = {file for file in found["development"] if not file.startswith(HEADERS)}
        package = f"{self.libraries}/cmake/VemtrelCertEnroll/VemtrelCertEnroll"
        self.assertEqual({f"{package}Config.cmake", f"{package}ConfigVersion.cmake", f"{package}Targets.cmake",
                          f"{package}Targets-relwithdebinfo.cmake",
                          f"{self.libraries}/libvemtrel_certenroll.a", f"{self.libraries}/libvemtrel_certenroll.so",
                          f"{self.libraries}/pkgconfig/vemtrel_certenroll.pc"}, rest)

    def test_library_has_its_major_version(self):
        dynamic = run("readelf", "-d", self.prefix / self.libraries / "libvemtrel_certenroll.so").stdout
        self.assertIn("soname: [libvemtrel_certenroll.so.1]", dynamic)

    def test_nothing_names_the_build(self):
        for name in files_below(self.prefix):
            path = self.prefix / name
            content = path.read_bytes()
            self.assertFalse(str(TOP).encode() in content, name)
            self.assertFalse(str(BUILD).encode() in content, name)
            if content.startswith(b"\x7fELF"):
                self.assertNotRegex(run("readelf", "-d", path).stdout, "RPATH|RUNPATH", name)
                self.assertNotIn(".debug_", run("readelf", "-SW", path).stdout, name)

    def test_each_header_compiles_alone(self):
        headers = sorted((self.prefix / HEADERS).rglob("*.h"))
        rooms = {str(header.parent.relative_to(self.prefix / HEADERS)) for header in headers}
        self.assertEqual({"asn", "ber", "crypto", "foundation", "pki", "pki/flat", "schema", "token"}, rooms)

        def compile_alone(header, language="c++", standard="c++17"):
            return run("c++", "-x", language, f"-std={standard}", "-Wall", "-Wextra", "-fsyntax-only", "-I",
                       self.prefix / HEADERS, header, check=False)

        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            for header, done in zip(headers, pool.map(compile_alone, headers)):
                self.assertEqual((0, ""), (done.returncode, done.stderr), header)
        done = compile_alone(self.prefix / HEADERS / "pki/flat/flat.h", "c", "c99")
        self.assertEqual((0, ""), (done.returncode, done.stderr))

    def test_by_cmake(self):
        programs = outside.build_with_cmake(self.prefix, WORK / "by_cmake", "toolkit", "toolkit_static")
        self.assertEqual(5, len(programs))
        self.assertEqual([], list(outside.faults(programs, self.prefix)))

    def test_by_pkg_config(self):
        programs = outside.build_with_pkg_config(self.prefix, WORK / "by_pkg_config")
        self.assertEqual(4, len(programs))
        self.assertEqual([], list(outside.faults(programs, self.prefix)))
        for (_, library), program in programs.items():
            if library == "toolkit_static":
                self.assertEqual([], outside.loaded_libraries(program))

    def assert_refused(self, reason, prefix, languages="C", **wanted):
        package = prefix / self.libraries / "cmake" / "VemtrelCertEnroll"
        done = outside.configure(prefix, outside.remake(WORK / "refused"), f"-DWANTED_LANGUAGES={languages}",
                                 f"-DVemtrelCertEnroll_DIR={package}", check=False, **wanted)
        self.assertNotEqual(0, done.returncode)
        self.assertRegex(re.sub(r"\s+", " ", done.stderr), reason)

    def test_another_version_is_refused(self):
        for version in ("2.0", "0.9", "1.1", "1.0.15"):
            self.assert_refused(r"requested version \"" + version + r"\".*version: 1\.0\.14\.1", self.prefix,
                                languages="NONE", version=version)
        for version in ("2.0", "1.0.14.2"):
            self.assertNotEqual(0, self.exists(f">= {version}"), version)
        self.assertEqual(0, self.exists(">= 1.0.14"))

    def exists(self, version):
        environment = dict(os.environ, PKG_CONFIG_LIBDIR=str(self.prefix / self.libraries / "pkgconfig"))
        return run("pkg-config", f"vemtrel_certenroll {version}", env=environment, check=False).returncode

    def test_an_unknown_component_is_refused(self):
        self.assert_refused("There is no component enrol", self.prefix, components="toolkit;enrol")

    def test_a_component_that_was_not_installed_is_noticed(self):
        install(WORK / "incomplete", "--component", "development")
        self.assert_refused(r"libvemtrel_certenroll\.so\.1\.0\.14\.1\" but this file does not exist",
                            WORK / "incomplete")


if __name__ == "__main__":
    try:
        unittest.main(argv=sys.argv[:1])
    finally:
        shutil.rmtree(WORK, ignore_errors=True)

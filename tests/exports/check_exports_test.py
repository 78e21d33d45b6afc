#!/usr/bin/env python3
"""Runs check_exports.py on the built library with golden files that are wrong in one way each.

    check_exports_test.py LIBRARY NAMES NEEDS OBJDUMP [NM]
"""
import os
import subprocess
import sys
import tempfile
import unittest

CHECKER = os.path.join(os.path.dirname(os.path.abspath(__file__)), "check_exports.py")
LIBRARY, NAMES, NEEDS, *TOOLS = sys.argv[1:]


def lines_of(path):
    with open(path, encoding="utf-8") as lines:
        return lines.read().splitlines()


class CheckExportsTest(unittest.TestCase):
    def expect_fault(self, names, needs, reason, *options):
        with tempfile.TemporaryDirectory() as folder:
            paths = []
            for name, lines in (("names", names), ("needs", needs)):
                paths.append(os.path.join(folder, name))
                with open(paths[-1], "w", encoding="utf-8") as out:
                    out.write("\n".join(lines) + "\n")
            done = subprocess.run([sys.executable, CHECKER, *options, LIBRARY, *paths, *TOOLS], capture_output=True,
                                  text=True, check=False)
        self.assertEqual(done.returncode, 1, done.stdout + done.stderr)
        self.assertIn(reason, done.stdout)

    def test_a_name_too_many(self):
        names = [name for name in lines_of(NAMES) if name != "VT_Log"]
        self.expect_fault(names, lines_of(NEEDS), "exported, but not in")

    def test_a_name_too_few(self):
        self.expect_fault(lines_of(NAMES) + ["VT_Zero"], lines_of(NEEDS), "but not exported: VT_Zero")

    def test_a_name_with_the_prefix_that_is_left_out(self):
        self.expect_fault(lines_of(NAMES), lines_of(NEEDS), "exported, but not in", "--without", "NP_")

    def test_names_are_not_written_by_a_check_that_leaves_some_out(self):
        done = subprocess.run([sys.executable, CHECKER, "--write", "--without", "NP_", LIBRARY, NAMES, NEEDS, *TOOLS],
                              capture_output=True, text=True, check=False)
        self.assertEqual(done.returncode, 2, done.stdout + done.stderr)
        self.assertIn("would drop names", done.stderr)

    def test_names_out_of_order(self):
        self.expect_fault(lines_of(NAMES)[::-1], lines_of(NEEDS), "not sorted")

    def test_a_library_too_many(self):
        self.expect_fault(lines_of(NAMES), ["# none"], "needed, but not in")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])

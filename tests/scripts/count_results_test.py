#!/usr/bin/env python3
"""Tests scripts/count_results.py on files such as ctest and GoogleTest write."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "count_results.py"

PASS = '<testcase name="{0}" status="run"><system-out>fine</system-out></testcase>'
FAIL = '<testcase name="{0}" status="fail"><failure message="Failed"/><system-out>{1}</system-out></testcase>'


class CountResultsTest(unittest.TestCase):
    def setUp(self):
        holder = tempfile.TemporaryDirectory()
        self.addCleanup(holder.cleanup)
        self.folder = pathlib.Path(holder.name)

    def count(self, *cases, **programs):
        junit = self.folder / "ctest.junit"
        junit.write_text(f"<testsuite>{''.join(cases)}</testsuite>")
        for program, text in programs.items():
            (self.folder / f"{program}.xml").write_text(text)
        result = subprocess.run([sys.executable, SCRIPT, "native", junit, self.folder], capture_output=True, text=True,
                                check=True)
        lines = result.stdout.splitlines()
        return tuple(int(number) for number in lines[-1].split()), lines[:-1]

    def test_adds_passed_and_failed_cases_and_shows_the_output_of_a_failure(self):
        counts, lines = self.count(PASS.format("ber.a"), PASS.format("ber.b"), FAIL.format("ber.c", "expected 1"))
        self.assertEqual((2, 1, 0), counts)
        self.assertEqual(["FAILED   native ber.c", "    expected 1"], lines[:2])

    def test_names_a_skipped_case_with_its_reason(self):
        case = ('<testcase name="ber.a" status="notrun"><skipped message="SKIP_REGULAR_EXPRESSION_MATCHED"/>'
                '<system-out>a_test.cpp:3: Skipped\nno token here\n\n[  SKIPPED ] A.a\n</system-out></testcase>')
        counts, lines = self.count(case)
        self.assertEqual((0, 0, 1), counts)
        self.assertEqual(["skipped  native ber.a: no token here"], lines)

    def test_a_program_that_was_not_built_is_a_failure(self):
        case = ('<testcase name="test_ber_NOT_BUILT" status="notrun"><skipped message="Unable to find executable"/>'
                '<system-out></system-out></testcase>')
        self.assertEqual((0, 1, 0), self.count(case)[0])

    def test_a_disabled_case_is_a_skip_only_with_a_reason(self):
        case = '<testcase name="a" status="disabled"><skipped message="Disabled"/><system-out/></testcase>'
        self.assertEqual((0, 1, 0), self.count(case)[0])

    def test_counts_the_cases_inside_a_program_that_wrote_its_own_file(self):
        cases = ('<testsuites><testsuite name="A"><testcase name="a" status="run" classname="A"/>'
                 '<testcase name="b" status="run" classname="A"><failure message="b.cpp:1"/></testcase>'
                 '<testcase name="c" status="run" classname="A"><skipped message="c.cpp:2&#x0A;no screen"/></testcase>'
                 '<testcase name="DISABLED_d" status="notrun" classname="A"/>'
                 '</testsuite></testsuites>')
        counts, lines = self.count(FAIL.format("ber.test_ber", "whole output"), test_ber=cases)
        self.assertEqual((1, 1, 1), counts)
        self.assertIn("FAILED   native ber.A.b", lines)
        self.assertIn("skipped  native ber.A.c: no screen", lines)

    def test_a_program_that_crashes_after_its_cases_passed_is_a_failure(self):
        cases = ('<testsuites><testsuite name="A"><testcase name="a" status="run" classname="A"/></testsuite>'
                 '</testsuites>')
        counts, lines = self.count(FAIL.format("ber.test_ber", "leak of 8 bytes"), test_ber=cases)
        self.assertEqual((1, 1, 0), counts)
        self.assertIn("    leak of 8 bytes", lines)

    def test_control_characters_in_output_do_not_stop_the_count(self):
        self.assertEqual((0, 1, 0), self.count(FAIL.format("ber.a", "\x01\x1b[31m"))[0])

    def test_a_file_that_is_no_xml_ends_with_an_error(self):
        junit = self.folder / "broken"
        junit.write_text("<testsuite>")
        result = subprocess.run([sys.executable, SCRIPT, "native", junit, self.folder], capture_output=True,
                                check=False)
        self.assertNotEqual(0, result.returncode)


if __name__ == "__main__":
    unittest.main()

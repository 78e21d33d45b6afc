#!/usr/bin/env python3
"""Tests scripts/coverage_report.py on counts such as gcovr writes."""

import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "coverage_report.py"


def line(number, count, *branches, **more):
    return {"line_number": number, "count": count,
            "branches": [{"count": taken, "fallthrough": False, "throw": False} for taken in branches], **more}


def lines(run, missed):
    return [line(number, int(number <= run)) for number in range(1, run + missed + 1)]


class CoverageReportTest(unittest.TestCase):
    def setUp(self):
        holder = tempfile.TemporaryDirectory()
        self.addCleanup(holder.cleanup)
        self.folder = pathlib.Path(holder.name)

    def report(self, *rooms, **files):
        counts = self.folder / "counts.json"
        counts.write_text(json.dumps({"files": [{"file": name, "lines": of} for name, of in files.items()]}))
        result = subprocess.run([sys.executable, SCRIPT, "--least", "95", counts, self.folder / "report", *rooms],
                                capture_output=True, text=True, check=False)
        return result

    def written(self, name):
        return (self.folder / "report" / name).read_text()

    def test_adds_the_files_of_a_room(self):
        result = self.report("ber", **{"ber/reader.cpp": [line(1, 3, 2, 0), line(2, 1)],
                                       "ber/writer.cpp": [line(9, 1, 1, 1)]})
        self.assertEqual(0, result.returncode)
        self.assertIn("| ber | 3 | 3 | 100.0 | 4 | 3 | 75.0 |", result.stdout.splitlines())
        self.assertEqual(result.stdout, self.written("rooms.md"))

    def test_lists_lines_not_run_and_branches_not_taken(self):
        self.report("ber", **{"ber/reader.cpp": [line(20, 0, 0, 0), line(3, 1, 1, 0), line(4, 5)]})
        self.assertEqual("ber/reader.cpp:3: 1 of 2 branches\nber/reader.cpp:20\n", self.written("uncovered.txt"))

    def test_a_room_inside_another_is_counted_once(self):
        result = self.report("pki", "flat", **{"pki/name.cpp": lines(1, 0), "pki/flat/list.cpp": lines(2, 0)})
        self.assertIn("| pki | 1 | 1 |", result.stdout)
        self.assertIn("| flat | 2 | 2 |", result.stdout)

    def test_generated_code_belongs_to_its_room_and_tests_to_none(self):
        result = self.report("schema", "ber", **{"build/coverage/generated/schema/x509.cpp": lines(4, 0),
                                                 "ber/reader.cpp": lines(1, 0), "tests/ber/a.cpp": lines(7, 0)})
        self.assertIn("| schema | 4 | 4 |", result.stdout)
        self.assertIn("| ber | 1 | 1 |", result.stdout)

    def test_what_is_no_code_is_not_counted(self):
        result = self.report("ber", **{"ber/reader.cpp": [line(1, 1), line(2, 0, **{"gcovr/noncode": True})]})
        self.assertIn("| ber | 1 | 1 |", result.stdout)

    def test_95_lines_of_100_are_enough_and_94_are_not(self):
        self.assertEqual(0, self.report("ber", **{"ber/reader.cpp": lines(95, 5)}).returncode)
        result = self.report("ber", "asn", **{"ber/reader.cpp": lines(94, 6), "asn/object.cpp": lines(1, 0)})
        self.assertEqual(1, result.returncode)
        self.assertEqual("less than 95 % of lines: ber", result.stdout.splitlines()[-1])

    def test_a_percentage_is_cut_and_not_rounded(self):
        result = self.report("ber", **{"ber/reader.cpp": lines(94999, 5001)})
        self.assertIn("| 94.9 |", result.stdout)
        self.assertEqual(1, result.returncode)

    def test_a_room_without_counts_is_no_success(self):
        self.assertEqual(1, self.report("asn", **{"ber/reader.cpp": lines(1, 0)}).returncode)

    def test_without_rooms_all_are_asked_for(self):
        result = self.report(**{"ber/reader.cpp": lines(1, 0)})
        self.assertEqual(1, result.returncode)
        self.assertIn("foundation", result.stdout.splitlines()[-1])

    def test_an_unknown_room_is_refused(self):
        result = self.report("kitchen", **{"ber/reader.cpp": lines(1, 0)})
        self.assertEqual(2, result.returncode)
        self.assertIn("no such room: kitchen", result.stderr)


if __name__ == "__main__":
    unittest.main()

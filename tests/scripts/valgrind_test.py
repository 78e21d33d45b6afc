#!/usr/bin/env python3
"""Tests scripts/valgrind.sh with stand-ins for cmake, ctest and valgrind."""

import json
import os
import pathlib
import subprocess
import sys
import unittest

import stand_ins

TOP = pathlib.Path(__file__).resolve().parents[2]
SCRIPT = TOP / "scripts" / "valgrind.sh"

STAND_INS = {
    "cmake": 'echo "cmake $*" >>"$LOG"\n',
    "ctest": 'cat "$TESTS"\n',
    # Notes what it runs, and finds what the program's own name says.
    "valgrind": 'echo "valgrind $*" >>"$LOG"\n'
                'for word; do\n'
                '    case $word in\n'
                '        --log-file=*) log=${word#--log-file=} ;;\n'
                '        */test_leaky) echo "lost" >"${log/\\%p/1}"; exit 99 ;;\n'
                '        */test_child_leaky) echo "lost" >"${log/\\%p/2}"; exit 0 ;;\n'
                '        */test_failing) exit 1 ;;\n'
                '    esac\n'
                'done\n'
                ': >"${log/\\%p/1}"\n',
}


class ValgrindTest(unittest.TestCase):
    def setUp(self):
        self.folder = stand_ins.folder_of(self, STAND_INS)

    def run_script(self, tests, *rooms):
        """The script's result and the stand-ins' log; tests are pairs of a room and a command."""
        tests = [{"name": f"{room}.case", "command": command,
                  "properties": [{"name": "LABELS", "value": [room]},
                                 {"name": "WORKING_DIRECTORY", "value": str(self.folder)}]} for room, command in tests]
        (self.folder / "tests.json").write_text(json.dumps({"tests": tests}))
        log = self.folder / "log"
        environment = {**os.environ, "PATH": f"{self.folder}:{os.environ['PATH']}", "LOG": str(log), "VT_JOBS": "2",
                       "TESTS": str(self.folder / "tests.json"), "VT_RESULTS": str(self.folder / "results"),
                       "VT_NO_SETUP": "1", "VT_VALGRIND": "--more --options"}
        result = subprocess.run(["bash", SCRIPT, *rooms], env=environment, capture_output=True, text=True,
                                stdin=subprocess.DEVNULL, check=False)
        return result, log.read_text().splitlines() if log.exists() else []

    def test_a_program_is_run_once_for_all_its_cases(self):
        result, log = self.run_script([("ber", ["/bin/test_ber", "--gtest_filter=a.b", "--gtest_also_run_disabled_tests"]),
                                       ("ber", ["/bin/test_ber", "--gtest_filter=a.c"])])
        runs = [line for line in log if line.startswith("valgrind")]
        self.assertEqual(len(runs), 1)
        self.assertIn("--more --options", runs[0])
        self.assertTrue(runs[0].endswith(" /bin/test_ber"), runs[0])
        self.assertEqual((0, "1 clean, 0 with findings"), (result.returncode, result.stdout.splitlines()[-1]))

    def test_findings_of_a_program_and_of_its_children_count_and_are_shown(self):
        result, _ = self.run_script([("a", ["/bin/test_leaky"]), ("a", ["/bin/test_child_leaky"]),
                                     ("a", ["/bin/test_failing"]), ("a", ["/bin/test_good"])])
        self.assertEqual((1, "1 clean, 3 with findings"), (result.returncode, result.stdout.splitlines()[-1]))
        self.assertEqual(2, result.stdout.splitlines().count("lost"))

    def test_rooms_choose_what_is_built_and_run(self):
        tests = [("ber", ["/bin/test_ber"]), ("token", ["/bin/test_token"]), ("fuzz", ["/bin/fuzz_names", "/corpus"])]
        result, log = self.run_script(tests, "token", "fuzz")
        self.assertIn("--target tests_token tests_fuzz", "\n".join(log))
        self.assertEqual(["/bin/fuzz_names /corpus", "/bin/test_token"],
                         sorted(line[line.index("/bin/"):] for line in log if line.startswith("valgrind")))
        self.assertEqual("2 clean, 0 with findings", result.stdout.splitlines()[-1])

    def test_cases_with_limits_of_time_are_left_out(self):
        _, log = self.run_script([("asn", ["/bin/test_asn"])])
        self.assertIn(" /bin/test_asn --gtest_filter=-der_decoder_limits_test.", log[-1])

    def test_a_tool_is_called_by_its_test(self):
        test = self.folder / "vtkey_test.py"
        test.write_text("import subprocess, sys\nsys.exit(subprocess.call(sys.argv[1:] + ['--help']))\n")
        result, log = self.run_script([("tools", [sys.executable, str(test), "/bin/vtkey"])])
        self.assertTrue(log[-1].startswith("valgrind ") and log[-1].endswith(" /bin/vtkey --help"), log)
        self.assertEqual("1 clean, 0 with findings", result.stdout.splitlines()[-1])

    def test_nothing_to_run_is_a_failure(self):
        self.assertEqual(1, self.run_script([], "ber")[0].returncode)


if __name__ == "__main__":
    unittest.main()

#!/usr/bin/env python3
"""Tests scripts/setup.sh with stand-ins for apt and its kin, which note how they were called."""

import os
import pathlib
import subprocess
import unittest

import stand_ins

TOP = pathlib.Path(__file__).resolve().parents[2]
SCRIPT = TOP / "scripts" / "setup.sh"

STAND_INS = {
    # Everything is installed but what MISSING names.
    "dpkg-query": 'for name; do :; done\n[[ " $MISSING " == *" $name "* ]] || printf installed\n',
    "dpkg": '[[ $1 == --print-foreign-architectures ]] && exit 0\necho "dpkg $*" >>"$LOG"\n',
    # Refuses to install i386 packages unless it may go back to older versions.
    "apt-get": 'echo "apt-get $*" >>"$LOG"\n'
               '[[ -n $REFUSE && $* == *install* && $* == *i386* && $* != *--allow-downgrades* ]] && exit 100\n'
               '[[ -n $BROKEN && $* == *install* ]] && exit 100\nexit 0\n',
    "tee": 'echo "tee $*" >>"$LOG"\ncat >>"$LOG"\n',
    "sudo": '[[ $1 == -n ]] && shift\nexec "$@"\n',
    "systemd-detect-virt": "exit 1\n",
    "ischroot": "exit 1\n",
}


class SetupTest(unittest.TestCase):
    def setUp(self):
        self.folder = stand_ins.folder_of(self, STAND_INS)

    def run_setup(self, *arguments, **variables):
        log = self.folder / "log"
        log.unlink(missing_ok=True)
        environment = {"PATH": f"{self.folder}:{os.environ['PATH']}", "LOG": str(log), "MISSING": "", "REFUSE": "",
                       "BROKEN": "", **variables}
        result = subprocess.run(["bash", SCRIPT, *arguments], env=environment, capture_output=True, text=True,
                                stdin=subprocess.DEVNULL, check=False)
        return result, log.read_text() if log.exists() else ""

    def test_nothing_is_called_when_nothing_is_missing(self):
        result, log = self.run_setup()
        self.assertEqual((0, ""), (result.returncode, log))

    def test_installs_only_what_is_missing_and_asks_nothing(self):
        result, log = self.run_setup("build", "test", MISSING="cmake opensc")
        self.assertEqual(0, result.returncode)
        update, install = log.splitlines()
        self.assertIn("update", update)
        self.assertTrue(install.endswith("install --no-install-recommends cmake opensc"), install)
        self.assertIn(" -y ", install)

    def test_a_package_of_another_group_is_left_alone(self):
        self.assertEqual("", self.run_setup("build", MISSING="wine32:i386")[1])

    def test_adds_the_architecture_before_an_i386_package(self):
        log = self.run_setup("windows", MISSING="wine32:i386")[1]
        self.assertEqual("dpkg --add-architecture i386", log.splitlines()[0])

    def test_in_ci_a_refusal_is_cured_by_pinning_the_release(self):
        result, log = self.run_setup("windows", MISSING="wine32:i386", REFUSE="1", CI="true")
        self.assertEqual(0, result.returncode)
        lines = log.splitlines()
        pin = next(index for index, line in enumerate(lines) if line.startswith("tee /etc/apt/preferences.d/"))
        self.assertRegex("\n".join(lines[pin + 1:pin + 4]),
                         r"^Package: \*\nPin: release n=[a-z]+\nPin-Priority: 1001$")
        self.assertIn("--allow-downgrades wine32:i386", lines[-1])

    def test_on_a_machine_of_people_a_refusal_is_explained_and_nothing_is_taken_back(self):
        result, log = self.run_setup("windows", MISSING="wine32:i386", REFUSE="1", VT_MAY_DOWNGRADE="0")
        self.assertEqual(1, result.returncode)
        self.assertNotIn("tee", log)
        self.assertNotIn("downgrade", log)
        self.assertIn("apt refused to install: wine32:i386", result.stderr)

    def test_a_refusal_of_other_packages_pins_nothing(self):
        result, log = self.run_setup("build", MISSING="cmake", BROKEN="1", CI="true")
        self.assertEqual(1, result.returncode)
        self.assertNotIn("tee", log)

    def test_an_unknown_group_is_refused(self):
        result, log = self.run_setup("everything")
        self.assertEqual((1, ""), (result.returncode, log))
        self.assertIn("no such group: everything", result.stderr)

    def test_an_unknown_option_shows_how_it_is_called(self):
        result, log = self.run_setup("--help", MISSING="cmake")
        self.assertEqual((2, ""), (result.returncode, log))
        self.assertIn("scripts/setup.sh [--list] [group]...", result.stdout)

    def test_lists_a_group_without_installing(self):
        result, log = self.run_setup("--list", "fuzz", MISSING="clang")
        self.assertEqual((0, ""), (result.returncode, log))
        self.assertIn("clang", result.stdout.split())
        self.assertNotIn("cmake", result.stdout.split())


if __name__ == "__main__":
    unittest.main()

#!/usr/bin/env python3
"""Tests of the manual pages: man_test.py PROGRAM...

Each page tells of the options and commands that its program knows, of no others, and its examples work as they stand.
"""
import glob
import os
import re
import subprocess
import sys
import tempfile
import unittest

PAGES = os.path.join(os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__)))), "docs", "man")
PROGRAMS = {}
OPTION = re.compile(r"(?<![\w-])--?[a-z][\w-]*")


def page(name):
    with open(os.path.join(PAGES, name), encoding="utf-8") as file:
        return file.read()


def section(text, title):
    return re.search(rf"^\.Sh {title}\n(.*?)(?=^\.Sh |\Z)", text, re.MULTILINE | re.DOTALL)[1]


def help_of(name):
    return subprocess.run([PROGRAMS[name], "--help"], capture_output=True, check=True, text=True).stdout


def flags(text):
    """The options that a page marks up: --out for "Fl -out" and for "Fl o , -out"."""
    found = set()
    for macro in re.findall(r"\bFl (-?[a-z][\w-]*(?: [,|] -?[a-z][\w-]*)*)", text):
        found.update("-" + word for word in re.split(r" [,|] ", macro))
    return found


def commands_of_page(text):
    """Each command of a page with its options."""
    found = {}
    for line in re.findall(r"^\.It Ic (.*)$", text, re.MULTILINE):
        found[line.split()[0]] = flags(line)
    return found


def commands_of_help(text):
    """Each command of a usage text with its options. A password stands for the two options that name its source."""
    lines = re.findall(r"^  ([a-z][\w-]*)( .*)?\n      \S", text, re.MULTILINE)
    password = " --password-file FILE | --password-env NAME"
    return {name: set(OPTION.findall(arguments.replace("PASSWORD", password))) for name, arguments in lines}


def examples(text):
    """Each command of the examples with the output that is shown."""
    found = []
    for block in re.findall(r"^\.Bd -literal.*?\n(.*?)^\.Ed$", section(text, "EXAMPLES"), re.MULTILINE | re.DOTALL):
        for line in block.replace("\\&", "").replace("\\-", "-").splitlines():
            if line.startswith("$ "):
                found.append([line[2:], []])
            elif line.startswith("> "):
                found[-1][0] += "\n" + line[2:]
            else:
                found[-1][1].append(line)
    return found


def pattern(lines):
    """What the shown output allows: three dots stand for anything."""
    return "".join(r"(?s:.*)" if line == "..." else re.escape(line).replace(r"\.\.\.", ".*") + "\n" for line in lines)


class ManTest(unittest.TestCase):
    maxDiff = None

    def test_each_page_is_well_formed(self):
        pages = sorted(glob.glob(os.path.join(PAGES, "*.[17]")))
        self.assertGreater(len(pages), len(PROGRAMS))
        lint = subprocess.run(["mandoc", "-T", "lint", "-W", "warning", *pages], capture_output=True, text=True, check=False)
        # The machine's clock may be behind the day that a page was written.
        complaints = [line for line in (lint.stdout + lint.stderr).splitlines() if "date in the future" not in line]
        self.assertEqual([], complaints)

    def test_each_program_has_a_page_and_each_page_of_section_1_a_program(self):
        self.assertEqual(sorted(PROGRAMS), sorted(name[:-2] for name in os.listdir(PAGES) if name.endswith(".1")))

    def test_each_page_tells_of_the_options_that_its_program_knows_and_of_no_others(self):
        for name in PROGRAMS:
            with self.subTest(name):
                known = set(OPTION.findall(help_of(name)))
                self.assertLess({"--help"}, known)
                self.assertIn("-h", known)
                self.assertEqual(known, flags(page(name + ".1")))
                text = subprocess.run([PROGRAMS[name], "-h"], capture_output=True, check=True, text=True).stdout
                self.assertEqual(help_of(name), text)

    def test_each_page_tells_of_the_commands_that_its_program_knows_with_their_options(self):
        for name in set(PROGRAMS) - {"vtprint"}:
            with self.subTest(name):
                known = commands_of_help(help_of(name))
                self.assertGreater(len(known), 5)
                self.assertEqual(known, commands_of_page(page(name + ".1")))

    def test_each_page_has_the_sections_that_readers_look_for(self):
        for name in PROGRAMS:
            titles = re.findall(r"^\.Sh (.*)$", page(name + ".1"), re.MULTILINE)
            for title in ("NAME", "SYNOPSIS", "DESCRIPTION", "EXIT STATUS", "EXAMPLES", "SEE ALSO"):
                self.assertIn(title, titles, name)

    def test_the_options_of_the_examples_are_those_of_the_program(self):
        for name in PROGRAMS:
            for command, _ in examples(page(name + ".1")):
                for part in command.split("|"):
                    words = part.split()
                    if words[0] in PROGRAMS:
                        self.assertLessEqual(set(OPTION.findall(part)), flags(page(words[0] + ".1")), command)

    def test_the_examples_work_and_give_what_is_shown(self):
        with tempfile.TemporaryDirectory() as folder:
            self.fill(folder)
            path = os.pathsep.join([*{os.path.dirname(os.path.abspath(file)) for file in PROGRAMS.values()},
                                    os.environ["PATH"]])
            for name in PROGRAMS:
                shown = examples(page(name + ".1"))
                self.assertGreater(len(shown), 2, name)
                for command, output in shown:
                    with self.subTest(command):
                        result = subprocess.run(["bash", "-o", "pipefail", "-c", command], cwd=folder, timeout=60,
                                                env={**os.environ, "PATH": path}, stdin=subprocess.DEVNULL,
                                                capture_output=True, text=True, check=False)
                        self.assertEqual(0, result.returncode, result.stderr)
                        if output:
                            self.assertRegex(result.stdout, rf"\A{pattern(output)}\Z")

    @staticmethod
    def fill(folder):
        """The files that the examples speak of."""
        def run(*command):
            subprocess.run(command, cwd=folder, capture_output=True, timeout=60, check=True)

        def write(name, text):
            with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
                file.write(text)

        write("letter.txt", "Dear authority, my name is Erika.\n")
        write("word", "word\n")
        run("openssl", "genrsa", "-out", "theirs.key", "1024")
        run(PROGRAMS["vtkey"], "repair", "-o", "me.key", "theirs.key")
        run("openssl", "req", "-x509", "-new", "-key", "me.key", "-subj", "/CN=Erika", "-out", "me.pem")
        run("openssl", "rsa", "-in", "me.key", "-pubout", "-outform", "DER", "-out", "public.der")


if __name__ == "__main__":
    PROGRAMS = {os.path.basename(file): os.path.abspath(file) for file in sys.argv[1:]}
    unittest.main(argv=sys.argv[:1])

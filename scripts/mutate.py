#!/usr/bin/env python3
"""Mutation check of a room: changes one operator or constant of its sources at a time and sees that a test falls.

    mutate.py ROOM [--count N] [--seed S] [--file PATH]... [--build native|asan]
    mutate.py ROOM --again [--build native|asan]

ROOM        ber, asn, crypto, ... : a folder of sources with a test program test_ROOM
--count N   how many mutants to judge, a random sample (default 100; 0: all)
--seed S    of the sample; printed when it is not given
--file P    only mutants of this source or header, may be repeated; else headers that many sources include are left out
--again     judge the survivors of the last run again, after tests were added or sources changed
--build B   as which preset the mutants are built: native (default) or asan, under which reads and writes out of bounds
            are falls too
--jobs N    how many mutants at once (default 1)
--list      only print the mutants

Works in a build tree of its own, build/mutation/B, and on copies of the sources. A mutant is one compilation of the
changed source (all that include it, where it is a header), a link and a run of the room's tests, quick ones first, up
to the first that fails. It is

    killed         when a test fails, the program crashes or uses more time or memory than a mutant may
    survived       when all tests pass
    same code      when the compiler makes the same machine code of it: there is nothing that a test could see
    not compiled   when it does not compile

of which only the first two count. build/mutation/ROOM.json has all results, build/mutation/ROOM-survivors.txt the
survivors with their lines. Ctrl-C ends a run early and reports what was judged. Exit status: 0 when none survived.
"""

import argparse
import concurrent.futures
import dataclasses
import functools
import hashlib
import itertools
import json
import pathlib
import random
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import threading
import time

TOP = pathlib.Path(__file__).resolve().parents[1]
WORK = TOP / "build" / "mutation"
# The quickest tests, which together take this part of the time, run before the others.
QUICK_PART = 0.2
MOST_MEMORY = 4 << 30
# A header that more objects include is left out unless --file names it: each of its mutants would take minutes.
MOST_INCLUDERS = 4
KILLED, SURVIVED, SAME_CODE, NOT_COMPILED = "killed", "survived", "same code", "not compiled"

# ---- Reading C++ ----

TOKEN = re.compile(r"""
    (?P<comment>//[^\n]*|/\*.*?\*/)
  | (?P<directive>(?<![^\n])[ \t]*\#(?:\\\n|//[^\n]*|/\*.*?\*/|[^\n])*)
  | (?P<string>(?:u8|[uUL])?R"(?P<mark>[^(\s]*)\(.*?\)(?P=mark)"|(?:u8|[uUL])?"(?:\\.|[^"\\\n])*")
  | (?P<char>(?:u8|[uUL])?'(?:\\.[^'\n]*|[^'\\\n])')
  | (?P<number>\.?[0-9](?:'[0-9A-Za-z]|[eEpP][+-](?=[0-9])|[0-9A-Za-z_.])*)
  | (?P<word>[A-Za-z_]\w*)
  | (?P<space>\s+)
  | (?P<op><<=|>>=|->\*|\.\.\.|<<|>>|<=|>=|==|!=|&&|\|\||\+\+|--|\+=|-=|\*=|/=|%=|&=|\|=|\^=|->|::|.)
""", re.VERBOSE | re.DOTALL)


@dataclasses.dataclass(frozen=True)
class Token:
    kind: str
    text: str
    start: int
    spaced: bool  # white space on both sides, as binary operators are written here

    @property
    def end(self):
        return self.start + len(self.text)


def tokens(source):
    """The tokens that a mutation may look at: no comments, no preprocessor lines."""
    found = []
    for match in TOKEN.finditer(source):
        kind = match.lastgroup if match.lastgroup != "mark" else "string"
        if kind in ("comment", "directive", "space"):
            continue
        before, after = source[match.start() - 1:match.start()], source[match.end():match.end() + 1]
        found.append(Token(kind, match.group(), match.start(), before.isspace() and after.isspace()))
    return found


@dataclasses.dataclass(frozen=True)
class Mutation:
    start: int
    end: int
    text: str  # what stands there instead


BINARY = {
    "<": ["<="], "<=": ["<"], ">": [">="], ">=": [">"], "==": ["!="], "!=": ["=="],
    "+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"], "%": ["*"],
    "&": ["|"], "|": ["&"], "^": ["|"], "<<": [">>"], ">>": ["<<"], "&&": ["||"], "||": ["&&"],
    "+=": ["-="], "-=": ["+="], "*=": ["+="], "/=": ["*="], "%=": ["/="],
    "&=": ["|="], "|=": ["&="], "^=": ["|="], "<<=": [">>="], ">>=": ["<<="],
}
STEPS = {"++": "--", "--": "++"}
ASSIGNMENTS = {"=", "+=", "-=", "*=", "/=", "%=", "&=", "|=", "^=", "<<=", ">>=", "++", "--"}
# Statements that begin with one of these are no calls and no assignments.
NO_STATEMENT = {
    "alignas", "auto", "case", "class", "const", "constexpr", "default", "do", "else", "enum", "explicit", "extern",
    "for", "friend", "goto", "if", "inline", "namespace", "operator", "private", "protected", "public", "return",
    "static", "static_assert", "struct", "switch", "template", "throw", "try", "typedef", "typename", "union", "using",
    "virtual", "while",
}
# What stands in the parentheses behind these is the compiler's business or assembly.
UNTOUCHED_CALLS = {"static_assert", "alignas", "asm", "__asm__", "__attribute__", "decltype", "noexcept"}
# Of a line with more constants than this, as tables have, one is changed.
MOST_CONSTANTS_OF_A_LINE = 6


class Mutator:
    """Finds the mutations of one source."""

    def __init__(self, source):
        self.source = source
        self.tokens = tokens(source)
        self.partner = self.match_brackets()
        self.untouched = self.find_untouched()

    def match_brackets(self):
        partner, open_ones = {}, []
        for i, token in enumerate(self.tokens):
            if token.kind != "op":
                continue
            if token.text in "([{":
                open_ones.append(i)
            elif token.text in ")]}" and open_ones:
                partner[open_ones.pop()] = i
        return partner

    def find_untouched(self):
        found = set()
        for i, token in enumerate(self.tokens[:-1]):
            if token.text in UNTOUCHED_CALLS and self.tokens[i + 1].text == "(":
                found.update(range(i, self.partner.get(i + 1, i) + 1))
            if token.text == "[" and self.tokens[i + 1].text == "[":
                found.update(range(i, self.partner.get(i, i) + 1))
        return found

    def text(self, i):
        return self.tokens[i].text if 0 <= i < len(self.tokens) else ""

    def kind(self, i):
        return self.tokens[i].kind if 0 <= i < len(self.tokens) else ""

    def mutations(self):
        found = []
        for i in range(len(self.tokens)):
            if i not in self.untouched:
                found += self.operators(i) + self.constants(i) + self.conditions(i) + self.statements(i)
        found = self.thin_tables(found)
        return sorted(set(found), key=lambda m: (m.start, m.end, m.text))

    def replace(self, first, last, text):
        return [Mutation(self.tokens[first].start, self.tokens[last].end, text)]

    def operators(self, i):
        token = self.tokens[i]
        if token.kind == "word" and token.text in ("true", "false"):
            return self.replace(i, i, "false" if token.text == "true" else "true")
        if token.kind != "op":
            return []
        if token.text in BINARY and token.spaced and self.text(i - 1) not in ("template", "operator"):
            return [m for other in BINARY[token.text] for m in self.replace(i, i, other)]
        if token.text in STEPS and self.text(i - 1) != "operator":
            return self.replace(i, i, STEPS[token.text])
        if token.text in ("!", "~", "-") and not token.spaced and self.is_prefix(i):
            return self.replace(i, i, "")
        return []

    def is_prefix(self, i):
        """Whether the operator stands before its operand: behind another operator, or at the start."""
        return (self.kind(i + 1) in ("word", "number") or self.text(i + 1) == "(") and (
            self.text(i - 1) == "return" or self.kind(i - 1) == "op" and self.text(i - 1) not in ")]}:;{::.")

    def constants(self, i):
        token = self.tokens[i]
        if token.kind == "char":
            match = re.fullmatch(r"(.*')([^\\]|\\0)'", token.text)
            if not match:
                return []
            other = "\\1" if match[2] == "\\0" else chr(ord(match[2]) + 1)
            return self.replace(i, i, f"{match[1]}{other}'") if other not in "'\\" else []
        if token.kind != "number":
            return []
        if self.text(i - 1) in ("<", ">=") and self.tokens[i - 1].spaced:  # "x < n + 1" is "x <= n"
            return []
        match = re.fullmatch(r"(0[xX][0-9a-fA-F']+|0[bB][01']+|[0-9][0-9']*)([uUlLzZ]*)", token.text)
        if not match or self.text(i - 1) == "=" and self.text(i - 2) in (")", "const", "override", "noexcept"):
            return []
        digits = match[1].replace("'", "")
        value = int(digits, 8 if digits.isdigit() and digits[0] == "0" and len(digits) > 1 else 0) + 1
        return self.replace(i, i, (hex(value) if digits[:2] in ("0x", "0X") else str(value)) + match[2])

    def conditions(self, i):
        """The negation of an if or while, where no other mutation is the same."""
        if self.text(i) not in ("if", "while") or self.text(i + 1) != "(" or i + 1 not in self.partner:
            return []
        first, last = i + 2, self.partner[i + 1] - 1
        inside = [self.text(k) for k in range(first, last + 1)]
        single = "&&" not in inside and "||" not in inside
        has_own = "==" in inside or "!=" in inside or inside[0] == "!" or inside in (["true"], ["false"])
        if ";" in inside or single and has_own:
            return []
        condition = self.source[self.tokens[first].start:self.tokens[last].end]
        return self.replace(first, last, f"!({condition})")

    def statements(self, i):
        """A returned value that becomes {}, and a call, an assignment or a jump that is left out."""
        if self.text(i) == "return":
            end = self.end_of_statement(i)
            inside = [self.text(k) for k in range(i + 1, end or 0)]
            if not inside or inside in (["0"], ["nullptr"], ["false"], ["true"], ["{", "}"]) or "{" in inside[1:]:
                return []
            return self.replace(i + 1, end - 1, "{}")
        if not self.starts_statement(i):
            return []
        end = self.end_of_statement(i)
        if end is None or self.text(i) in NO_STATEMENT or self.is_declaration(i):
            return []
        inside = [self.text(k) for k in range(i, end)]
        called = "(" in inside and self.text(end - 1) == ")"
        changed = any(text in ASSIGNMENTS for text in inside)
        if inside in (["break"], ["continue"]) or (called or changed) and "{" not in inside and self.in_function(i):
            return self.replace(i, end - 1, "")
        return []

    def is_declaration(self, i):
        """Whether two words stand side by side, as a type and a name do."""
        return self.kind(i) == self.kind(i + 1) == "word" and self.text(i) != "delete"

    def starts_statement(self, i):
        if self.kind(i) != "word" and self.text(i) not in ("*", "++", "--", "(", "::"):
            return False
        before = self.text(i - 1)
        if before == ")":
            head = next((k for k, v in self.partner.items() if v == i - 1), None)
            return head is not None and self.text(head - 1) in ("if", "for", "while", "constexpr")
        if before == ":":
            return self.kind(i - 2) in ("char", "word", "number") and self.text(i - 2) not in NO_STATEMENT
        return before in (";", "{", "}", "else", "do")

    def end_of_statement(self, i):
        """The semicolon that ends what begins here; None where a brace of a block comes first."""
        while i < len(self.tokens):
            if self.text(i) == ";":
                return i
            if self.text(i) == "}":
                return None
            i = self.partner.get(i, i) + 1
        return None

    @functools.cached_property
    def function_bodies(self):
        """Ranges of token numbers: blocks in braces behind a parameter list, with what may stand between."""
        found = []
        for first, last in sorted(self.partner.items()):
            behind = self.text(first - 1)
            if self.text(first) == "{" and behind in (")", "const", "override", "noexcept", "else", "do", "try"):
                found.append((first, last))
        return found

    def in_function(self, i):
        return any(first < i < last for first, last in self.function_bodies)

    def thin_tables(self, found):
        lines = {}
        for mutation in found:
            if self.source[mutation.start] in "0123456789'":
                lines.setdefault(self.source.count("\n", 0, mutation.start), []).append(mutation)
        dropped = set()
        for line, members in lines.items():
            if len(members) > MOST_CONSTANTS_OF_A_LINE:
                dropped.update(set(members) - {members[line % len(members)]})
        return [mutation for mutation in found if mutation not in dropped]


# ---- Mutants of a room ----


@dataclasses.dataclass(frozen=True)
class Mutant:
    path: str
    mutation: Mutation
    line: int
    before: str
    after: str
    key: str  # the same after lines above it came or went
    original: str = dataclasses.field(repr=False, compare=False)  # the source as it was when the run began

    def source(self):
        return self.original[:self.mutation.start] + self.mutation.text + self.original[self.mutation.end:]

    def describe(self):
        return f"{self.path}:{self.line}\n  - {self.before}\n  + {self.after}"


def mutants_of(path, text):
    found, seen = [], {}
    for mutation in Mutator(text).mutations():
        begin = text.rfind("\n", 0, mutation.start) + 1
        end = text.find("\n", mutation.end)
        before = " ".join(text[begin:end].split())
        after = " ".join((text[begin:mutation.start] + mutation.text + text[mutation.end:end]).split())
        seen[before, after] = count = seen.get((before, after), 0) + 1
        key = hashlib.sha256(repr((path, before, after, count)).encode()).hexdigest()[:16]
        line = text.count("\n", 0, mutation.start) + 1
        found.append(Mutant(path, mutation, line, before, after, key, text))
    return found


def sources_of(room):
    return sorted(str(path.relative_to(TOP)) for path in (TOP / room).iterdir() if path.suffix in (".cpp", ".h"))


# ---- Building and running them ----


def run(command, **options):
    result = subprocess.run(command, capture_output=True, text=True, check=False, **options)
    if result.returncode != 0:
        sys.exit(f"{shlex.join(map(str, command))}\n{result.stdout}{result.stderr}")
    return result.stdout


class Bench:
    """The room's test program, built once as it is, and how to make it with one source changed."""

    def __init__(self, room, build, jobs):
        self.build, self.tree = build, WORK / build
        self.scratch = WORK / f"{room.replace('/', '-')}-{build}"
        shutil.rmtree(self.scratch, ignore_errors=True)
        self.lock, self.originals = threading.RLock(), {}
        self.program = f"test_{room.replace('pki/', '')}"
        print(f"building {self.program} in {self.tree.relative_to(TOP)}", flush=True)
        run(["cmake", "--preset", build, "-B", self.tree, "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O1",
             "-DVT_WARNINGS_AS_ERRORS=OFF"], cwd=TOP)
        run(["cmake", "--build", self.tree, "--target", self.program, "-j", str(jobs)])
        self.compiles = self.read_compile_commands()
        self.includers = self.read_dependencies()
        self.link, self.archive = self.read_link_command()
        self.folder = next((self.tree / "tests").rglob(f"{self.program}.dir")).parents[1]
        self.members = self.objects_of_program()
        self.slow, self.seconds = self.time_tests()
        self.check_original()

    def read_compile_commands(self):
        commands = {}
        for entry in json.loads((self.tree / "compile_commands.json").read_text()):
            words = shlex.split(entry["command"])
            if pathlib.Path(words[0]).name == "ccache":
                words = words[1:]
            commands.setdefault(words[words.index("-o") + 1], (entry["file"], words))
        return commands

    def read_dependencies(self):
        """For each file of ours, the object files that were made from it, as ninja noted them."""
        found, current = {}, None
        for line in run(["ninja", "-C", self.tree, "-t", "deps"]).splitlines():
            if line.startswith("    ") and current is not None:
                found.setdefault((self.tree / line.strip()).resolve(), set()).add(current)
            elif ": #deps" in line:
                current = line.split(": #deps")[0]
        return found

    def read_link_command(self):
        output = run(["ninja", "-C", self.tree, "-t", "commands", "-s", f"bin/{self.program}"]).splitlines()[-1]
        link = next(part for part in output.split(" && ") if f"-o bin/{self.program}" in part)
        words = [word for word in shlex.split(link) if word != "-g"]
        linker = next((name for name in ("mold", "lld", "gold") if shutil.which(f"ld.{name}")), None)
        words += [f"-fuse-ld={linker}"] if linker else []
        room = self.program.removeprefix("test_")
        return words + ["-Wl,--strip-debug"], f"lib/libvt_{room}.a"

    def objects_of_program(self):
        """Object files of the room and of its test program: those that a change may reach."""
        room = self.archive.removeprefix("lib/lib").removesuffix(".a")
        return {output for output in self.compiles
                if f"/{room}.dir/" in output or f"/{self.program}.dir/" in output}

    def time_tests(self):
        report = self.tree / f"{self.program}.json"
        run([self.tree / "bin" / self.program, f"--gtest_output=json:{report}"], cwd=self.folder)
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        run([self.tree / "bin" / self.program], cwd=self.folder)
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        times = sorted((float(case["time"].removesuffix("s")), f"{suite['name']}.{case['name']}")
                       for suite in json.loads(report.read_text())["testsuites"] for case in suite["testsuite"])
        slow, whole = [], sum(seconds for seconds, _ in times)
        for sum_so_far, (_, name) in zip(itertools.accumulate(seconds for seconds, _ in times), times):
            if sum_so_far > QUICK_PART * whole:
                slow.append(name)
        return slow, after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime

    def check_original(self):
        """The program must link and pass without a mutant, in the same way, or nothing would be learned."""
        folder = self.scratch / "original"
        folder.mkdir(parents=True)
        program = self.make_program(folder, {})
        if program is None or not self.passes(program, "*", 8):
            sys.exit(f"{self.program} does not {'link' if program is None else 'pass'} as it is")

    def outputs(self, path):
        return sorted(self.includers.get((TOP / path).resolve(), set()) & self.members)

    def compile(self, output, folder, source_path, text, *options):
        """Compiles one object with the text in place of source_path. Gives the object's path, or None."""
        source, words = self.compiles[output]
        changed = folder / "source" / source_path
        changed.parent.mkdir(parents=True, exist_ok=True)
        changed.write_text(text)
        result = folder / "objects" / output
        result.parent.mkdir(parents=True, exist_ok=True)
        words = list(words)
        words[words.index("-o") + 1] = str(result)
        at = words.index("-c") + 1
        if (TOP / source_path).resolve() == pathlib.Path(source).resolve():
            words[at] = str(changed)
        words = [word for word in words if word not in ("-g", "-g1")] + ["-w", "-g0", *options]
        if words[0].endswith("++"):
            words[1:1] = ["-include", str(self.standard_headers(words[1:words.index("-o")] + list(options)))]
        words[1:1] = [f"-ffile-prefix-map={folder / 'source'}={TOP}", f"-I{folder / 'source'}"]
        done = subprocess.run(words, cwd=self.tree, capture_output=True, check=False)
        return result if done.returncode == 0 else None

    def standard_headers(self, flags):
        """A header of all the standard headers that our files include, precompiled for these flags: most of the time
        of a compilation would go into reading them."""
        name = hashlib.sha256(repr(flags).encode()).hexdigest()[:16]
        header = self.scratch / "headers" / f"{name}.h"
        with self.lock:
            if not header.exists():
                ours = [path for path in self.includers if TOP in path.parents and path.suffix in (".cpp", ".h")]
                found = {line for path in ours if self.includers[path] & self.members
                         for line in re.findall(r"^#include <[a-z_]+>$", path.read_text(), re.MULTILINE)}
                header.parent.mkdir(parents=True, exist_ok=True)
                header.write_text("".join(f"{line}\n" for line in sorted(found)))
                compiler = next(words[0] for _, words in self.compiles.values() if words[0].endswith("++"))
                run([compiler, *flags, "-w", "-g0", "-x", "c++-header", header, "-o", f"{header}.gch"], cwd=self.tree)
        return header

    def code_of_original(self, output, mutant, *options):
        with self.lock:
            key = (output, mutant.path, *options)
            if key not in self.originals:
                made = self.compile(output, self.scratch / "original", mutant.path, mutant.original, *options)
                if made is None:
                    sys.exit(f"{mutant.path} does not compile as it is")
                self.originals[key] = made.read_bytes()
            return self.originals[key]

    def optimises_to_the_same(self, mutant, folder):
        """Whether the optimiser, which sees more than the quick compilation, makes no difference of it."""
        for output in self.outputs(mutant.path):
            made = self.compile(output, folder, mutant.path, mutant.source(), "-O2")
            if made is None or made.read_bytes() != self.code_of_original(output, mutant, "-O2"):
                return False
        return True

    def make_program(self, folder, made):
        """Links with the objects made in place of their originals."""
        archive, words = folder / "room.a", list(self.link)
        members = [path for output, path in made.items() if f"/{self.program}.dir/" not in output]
        shutil.copy(self.tree / self.archive, archive)
        if members:
            run(["ar", "r", archive, *members])
        replaced = {output: str(path) for output, path in made.items()} | {self.archive: str(archive)}
        words = [replaced.get(word, word.replace(self.archive, str(archive))) for word in words]
        words[words.index("-o") + 1] = str(folder / "program")
        done = subprocess.run(words, cwd=self.tree, capture_output=True, check=False)
        return folder / "program" if done.returncode == 0 else None

    def passes(self, program, selection, patience):
        seconds = int(patience * self.seconds + 2)

        def limits():
            resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
            if self.build == "native":
                resource.setrlimit(resource.RLIMIT_AS, (MOST_MEMORY, MOST_MEMORY))

        nothing = subprocess.DEVNULL
        with subprocess.Popen([program, "--gtest_brief=1", "--gtest_fail_fast", f"--gtest_filter={selection}"],
                              cwd=self.folder, stdin=nothing, stdout=nothing, stderr=nothing, preexec_fn=limits,
                              start_new_session=True) as process:
            try:
                return process.wait(timeout=60 + 10 * seconds) == 0
            except subprocess.TimeoutExpired:
                process.send_signal(signal.SIGKILL)
                return False

    def judge(self, mutant, number):
        folder = self.scratch / f"mutant-{number}"
        shutil.rmtree(folder, ignore_errors=True)
        made = {}
        for output in self.outputs(mutant.path):
            path = self.compile(output, folder, mutant.path, mutant.source())
            if path is None:
                return NOT_COMPILED
            if path.read_bytes() != self.code_of_original(output, mutant):
                made[output] = path
        if not made:
            return SAME_CODE
        program = self.make_program(folder, made)
        if program is None:
            return NOT_COMPILED
        # First the suites named like the source, then all others, then what takes long.
        slow, name = ":".join(self.slow), pathlib.Path(mutant.path).stem.split("_")[0]
        for selection, patience in ((f"{name}*:{name.capitalize()}*-{slow}", 1), (f"-{slow}", 1), (slow or "-*", 8)):
            if not self.passes(program, selection, patience):
                return KILLED
        return SAME_CODE if self.optimises_to_the_same(mutant, folder) else SURVIVED


# ---- The run ----


def judged(bench, mutants, count, jobs):
    """Judges mutants in their order until count of them were killed or survived."""
    results, lock, order = {}, threading.Lock(), iter(mutants)
    started, interrupted = time.monotonic(), threading.Event()
    signal.signal(signal.SIGINT, lambda *_: interrupted.set())

    def work(number):
        while True:
            with lock:
                counted = sum(result in (KILLED, SURVIVED) for result in results.values())
                mutant = next(order, None) if counted < count else None
            if mutant is None:
                return
            result = bench.judge(mutant, number)
            if interrupted.is_set():  # its compiler may have been interrupted too
                return
            with lock:
                results[mutant] = result
                if result == SURVIVED:
                    print(f"survived: {mutant.describe()}", flush=True)
                if len(results) % 25 == 0:
                    print(f"{len(results)} mutants, {int(time.monotonic() - started)} s", flush=True)

    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        for done in [pool.submit(work, number) for number in range(jobs)]:
            done.result()
    return results


def report(room, results, earlier):
    """Prints the table of all results, those of an earlier run among them, and writes them and the survivors."""
    entries = earlier | {mutant.key: {"path": mutant.path, "line": mutant.line, "result": result,
                                      "text": mutant.describe()} for mutant, result in results.items()}
    columns = (KILLED, SURVIVED, SAME_CODE, NOT_COMPILED)
    table = {}
    for entry in entries.values():
        table.setdefault(entry["path"], dict.fromkeys(columns, 0))[entry["result"]] += 1
    table["in all"] = {column: sum(row[column] for row in table.values()) for column in columns}
    width = max(map(len, table))
    print(f"\n{'':{width}}" + "".join(f"  {column:>12}" for column in columns))
    for name, row in sorted(table.items(), key=lambda item: (item[0] == "in all", item[0])):
        print(f"{name:{width}}" + "".join(f"  {row[column]:12}" for column in columns))
    survivors = sorted((entry["path"], entry["line"], entry["text"]) for entry in entries.values()
                       if entry["result"] == SURVIVED)
    file = WORK / f"{room.replace('/', '-')}-survivors.txt"
    file.write_text("".join(f"{text}\n" for _, _, text in survivors))
    results_file(room).write_text(json.dumps(entries, indent=1))
    print(f"\n{len(survivors)} survived: {file.relative_to(TOP)}")
    return survivors


def results_file(room):
    return WORK / f"{room.replace('/', '-')}.json"


def choose(arguments):
    """The mutants to judge, and the results of an earlier run that stay: all but the survivors to judge again."""
    paths = [str(path.resolve().relative_to(TOP)) for path in arguments.file] or sources_of(arguments.room)
    mutants = [mutant for path in paths for mutant in mutants_of(path, (TOP / path).read_text())]
    if arguments.again:
        entries = json.loads(results_file(arguments.room).read_text())
        survivors = {key for key, entry in entries.items() if entry["result"] == SURVIVED and entry["path"] in paths}
        return ([mutant for mutant in mutants if mutant.key in survivors],
                {key: entry for key, entry in entries.items() if key not in survivors})
    if arguments.count:
        seed = arguments.seed if arguments.seed is not None else random.randrange(1 << 16)
        print(f"seed {seed}")
        random.Random(seed).shuffle(mutants)
    return mutants, {}


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("room")
    parser.add_argument("--count", type=int, default=100)
    parser.add_argument("--seed", type=int)
    parser.add_argument("--file", type=pathlib.Path, action="append", default=[])
    parser.add_argument("--again", action="store_true")
    parser.add_argument("--build", choices=("native", "asan"), default="native")
    parser.add_argument("--jobs", type=int, default=1)
    parser.add_argument("--list", action="store_true")
    arguments = parser.parse_args()
    mutants, earlier = choose(arguments)
    if arguments.list:
        print("".join(f"{mutant.describe()}\n" for mutant in mutants), end="")
        return 0
    WORK.mkdir(parents=True, exist_ok=True)
    bench = Bench(arguments.room, arguments.build, arguments.jobs)
    most = len(bench.members) if arguments.file or arguments.again else MOST_INCLUDERS
    mutants = [mutant for mutant in mutants if 0 < len(bench.outputs(mutant.path)) <= most]
    count = len(mutants) if arguments.again or not arguments.count else arguments.count
    return 1 if report(arguments.room, judged(bench, mutants, count, arguments.jobs), earlier) else 0


if __name__ == "__main__":
    sys.exit(main())

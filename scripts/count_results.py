#!/usr/bin/env python3
"""Adds up the test cases of one ctest run.

    count_results.py BUILD JUNIT FOLDER

JUNIT is what `ctest --output-junit` wrote. FOLDER may hold files that GoogleTest programs wrote (<program>.xml); a
ctest "<label>.<program>" that has one counts with all its cases, any other ctest counts as one case. A program that
ended badly without a failed case (a crash, a leak, a time-out) counts as one failure more.

Prints each failure with its output, each skip with its reason, and "PASSED FAILED SKIPPED" as the last line.
"""

import pathlib
import re
import sys
import xml.etree.ElementTree as ET

SHOWN_LINES = 60


class Count:
    def __init__(self, build):
        self.build = build
        self.passed = self.failed = self.skipped = 0

    def fail(self, name, output):
        self.failed += 1
        print(f"FAILED   {self.build} {name}")
        lines = output.strip().splitlines()
        for line in lines[-SHOWN_LINES:]:
            print(f"    {line}")

    def skip(self, name, reason):
        self.skipped += 1
        print(f"skipped  {self.build} {name}: {reason or 'no reason given'}")


def read_xml(text):
    """Control characters in a test's output, which XML cannot carry, are dropped."""
    return ET.fromstring(re.sub(r"[\x00-\x08\x0b\x0c\x0e-\x1f]", "", text))


def skip_reason(output):
    """The line after GoogleTest's "Skipped", or what the program said last."""
    match = re.search(r": Skipped\n(.+)", output)
    if match:
        return match.group(1).strip()
    lines = [line for line in output.strip().splitlines() if line]
    return lines[-1].strip() if lines else ""


def count_program(count, label, document):
    """The cases of one GoogleTest program. Returns how many of them failed."""
    failed = 0
    for suite in document.iter("testsuite"):
        for case in suite.iter("testcase"):
            name = f"{label}.{case.get('classname')}.{case.get('name')}"
            failures = case.findall("failure")
            skips = case.findall("skipped")
            if failures:
                failed += 1
                count.fail(name, "\n".join(failure.get("message", "") for failure in failures))
            elif skips:
                count.skip(name, skips[0].get("message", "").strip().splitlines()[-1:] and
                           skips[0].get("message").strip().splitlines()[-1])
            elif case.get("status") == "run":
                count.passed += 1
    return failed


def count_test(count, test, folder):
    name, status = test.get("name"), test.get("status")
    output = test.findtext("system-out") or ""
    label, _, program = name.partition(".")
    cases = folder / f"{program}.xml"
    if cases.exists():
        failed = count_program(count, label, read_xml(cases.read_text(errors="replace")))
        if status == "fail" and failed == 0:
            count.fail(f"{name} (the program itself)", output)
    elif status == "run":
        count.passed += 1
    elif status in ("disabled", "notrun"):
        skipped = test.find("skipped")
        message = skipped.get("message", "") if skipped is not None else ""
        if "SKIP_" in message or skip_reason(output):
            count.skip(name, skip_reason(output) or message)
        else:
            count.fail(name, message or "it could not be started")
    else:
        failure = test.find("failure")
        message = failure.get("message", "") if failure is not None else ""
        count.fail(name, f"{output}\n{message}")


def main(build, junit, folder):
    count = Count(build)
    document = read_xml(pathlib.Path(junit).read_text(errors="replace"))
    for test in document.iter("testcase"):
        count_test(count, test, pathlib.Path(folder))
    print(count.passed, count.failed, count.skipped)


if __name__ == "__main__":
    main(*sys.argv[1:])

#!/usr/bin/env python3
"""check_codes.py codes.def seen not_produced.txt script-interface.md: every code of the one list is produced by a test
through the script object, except those that not_produced.txt names; nothing is produced that is no code of the list; and
the document tells of each method the codes that it was seen to give, and no others."""

import re
import sys


def rows(path):
    with open(path, encoding="utf-8") as file:
        return [line.split() for line in file if line.strip() and not line.startswith("#")]


def told(document):
    """[methods, codes] of each table of codes: a paragraph "Codes of `method` ...:" and the first column behind it."""
    tables = re.findall(r"^Codes of ((?:.+\n)+)\n\| code .*\n\|[-|]*\|\n((?:\|.*\n)+)", document, re.M)
    for methods, body in tables:
        codes = [code for row in re.findall(r"^\| (.*?) \|", body, re.M) for code in row.split(", ")]
        yield re.findall(r"`(\w+)`", methods), codes


def untold(document, seen):
    """Where the document and what was seen differ, in words; success goes without saying."""
    tables = list(told(document))
    if len(tables) < 9:
        yield f"{len(tables)} tables of codes in the document"
    for methods, codes in tables:
        given = {code for code, way in seen if way in methods} - {"0"}
        for code in sorted(given - set(codes)):
            yield f"the document does not tell {code} of {', '.join(methods)}"
        for code in sorted(set(codes) - given):
            yield f"the document tells {code} of {', '.join(methods)}, which was never seen"
    covered = {method for methods, _ in tables for method in methods}
    for method in sorted({way for code, way in seen if way != "direct"} - covered):
        yield f"the document has no codes of {method}"


def problems(listed, seen, not_produced):
    """What is wrong, in words. listed: codes; seen: [code, way]; not_produced: [code, reason]."""
    by_page = {code for code, way in seen if way != "direct"}
    by_call = {code for code, way in seen if way == "direct"}
    excused = {code for code, _ in not_produced}
    for code in sorted(listed - by_page - excused):
        yield f"{code} is produced by no test"
    for code in sorted(by_page & excused):
        yield f"{code} is produced, but not_produced.txt lists it"
    for code in sorted(excused - listed):
        yield f"{code} of not_produced.txt is no code"
    for code in sorted(by_page - listed):
        yield f"{code} is produced, but codes.def does not list it"
    for code in sorted({code for code, reason in not_produced if reason == "direct"} - by_call):
        yield f"{code} is not produced by a direct call"


def main():
    definitions, seen, not_produced, interface = sys.argv[1:]
    with open(definitions, encoding="utf-8") as file:
        listed = set(re.findall(r"^VT_CODE\((-?\d+),", file.read(), re.M))
    with open(interface, encoding="utf-8") as file:
        document = file.read()
    found = list(problems(listed, rows(seen), rows(not_produced))) + list(untold(document, rows(seen)))
    print("\n".join(found) or f"{len(listed)} codes, all produced or excused")
    return 1 if found or len(listed) < 60 else 0


if __name__ == "__main__":
    sys.exit(main())

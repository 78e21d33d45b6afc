#!/usr/bin/env python3
"""check_codes.py codes.def seen not_produced.txt: every code of the one list is produced by a test through the script
object, except those that not_produced.txt names; and nothing is produced that is no code of the list."""

import re
import sys


def rows(path):
    with open(path, encoding="utf-8") as file:
        return [line.split() for line in file if line.strip() and not line.startswith("#")]


def problems(listed, seen, not_produced):
    """What is wrong, in words. listed: codes; seen: [code, way]; not_produced: [code, reason]."""
    by_page = {code for code, way in seen if way == "page"}
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
    definitions, seen, not_produced = sys.argv[1:]
    with open(definitions, encoding="utf-8") as file:
        listed = set(re.findall(r"^VT_CODE\((-?\d+),", file.read(), re.M))
    found = list(problems(listed, rows(seen), rows(not_produced)))
    print("\n".join(found) or f"{len(listed)} codes, all produced or excused")
    return 1 if found or len(listed) < 60 else 0


if __name__ == "__main__":
    sys.exit(main())

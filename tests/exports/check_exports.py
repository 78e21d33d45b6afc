#!/usr/bin/env python3
"""Compares what a built shared library exports and needs with golden files.

    check_exports.py nm|objdump TOOL LIBRARY NAMES NEEDS

NAMES lists every exported name, one a line; the library must export these and no others. NEEDS lists the libraries that
it may load; it may need fewer. Prints a line per fault and ends with 1 if there is any.
"""
import re
import subprocess
import sys


def run(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def elf(tool, library):
    names = [line.split()[-1].split("@")[0] for line in run(tool, "-D", "--defined-only", library).splitlines()]
    with open(library, "rb") as file:
        is_elf = file.read(4) == b"\x7fELF"
    dynamic = run(re.sub(r"nm$", "objdump", tool), "-p", library) if is_elf else ""
    return names, re.findall(r"^\s*NEEDED\s+(\S+)", dynamic, re.MULTILINE)


def pe(tool, library):
    listing = run(tool, "-p", library)
    table = listing.partition("[Ordinal/Name Pointer] Table")[2].partition("\n\n")[0]
    names = re.findall(r"^\s*\[\s*\d+\].*?(\S+)$", table, re.MULTILINE)
    return names, [name.lower() for name in re.findall(r"DLL Name:\s*(\S+)", listing)]


def golden(path):
    with open(path, encoding="utf-8") as lines:
        return [line.strip() for line in lines if line.strip() and not line.startswith("#")]


def faults(names, needs, names_path, needs_path):
    expected = golden(names_path)
    if expected != sorted(set(expected)):
        yield f"{names_path}: not sorted, or a name is there twice"
    for name in sorted(set(names) - set(expected)):
        yield f"exported, but not in {names_path}: {name}"
    for name in sorted(set(expected) - set(names)):
        yield f"in {names_path}, but not exported: {name}"
    for name in sorted(set(needs) - set(golden(needs_path))):
        yield f"needed, but not in {needs_path}: {name}"
    if not needs:
        yield "needs no library at all: the listing was not understood"


def main():
    if len(sys.argv) != 6 or sys.argv[1] not in ("nm", "objdump"):
        sys.exit(__doc__)
    names, needs = (elf if sys.argv[1] == "nm" else pe)(sys.argv[2], sys.argv[3])
    found = list(faults(names, needs, sys.argv[4], sys.argv[5]))
    print("\n".join(found) if found else f"{len(names)} names as expected")
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main()

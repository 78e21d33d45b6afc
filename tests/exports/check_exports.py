#!/usr/bin/env python3
"""Compares what a built shared library exports and needs with golden files.

    check_exports.py [--write] [--without PREFIX] LIBRARY NAMES NEEDS OBJDUMP [NM]

LIBRARY is a DLL, or with NM an ELF library. NAMES lists every exported name, one a line; the library must export these
and no others: with --without, those that do not begin with the prefix. NEEDS lists the libraries that it may load; it
may need fewer. Prints a line per fault and ends with 1 if there is any. With --write the names in NAMES are replaced by
those that the library exports, which must be all of them: not with --without.
"""
import argparse
import re
import subprocess
import sys


def run(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def read_elf(library, objdump, nm):
    names = [line.split()[-1].split("@")[0] for line in run(nm, "-D", "--defined-only", library).splitlines()]
    return names, re.findall(r"^\s*NEEDED\s+(\S+)", run(objdump, "-p", library), re.MULTILINE)


def read_dll(library, objdump):
    listing = run(objdump, "-p", library)
    table = listing.partition("[Ordinal/Name Pointer] Table")[2].partition("\n\n")[0]
    names = re.findall(r"^\s*\[\s*\d+\].*?(\S+)$", table, re.MULTILINE)
    return names, [name.lower() for name in re.findall(r"DLL Name:\s*(\S+)", listing)]


def golden(path):
    with open(path, encoding="utf-8") as lines:
        return [line.strip() for line in lines if line.strip() and not line.startswith("#")]


def faults(names, needs, names_path, needs_path, without):
    expected = [name for name in golden(names_path) if without is None or not name.startswith(without)]
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


def write(names, path):
    with open(path, encoding="utf-8") as lines:
        head = [line for line in lines if line.startswith("#")]
    with open(path, "w", encoding="utf-8") as lines:
        lines.writelines(head + [name + "\n" for name in sorted(set(names))])


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("--write", action="store_true")
    parser.add_argument("--without")
    for name in ("library", "names", "needs", "objdump"):
        parser.add_argument(name)
    parser.add_argument("nm", nargs="?")
    given = parser.parse_args()
    if given.write and given.without is not None:
        parser.error("--write with --without would drop names")
    if given.nm:
        names, needs = read_elf(given.library, given.objdump, given.nm)
    else:
        names, needs = read_dll(given.library, given.objdump)
    if given.write:
        write(names, given.names)
    found = list(faults(names, needs, given.names, given.needs, given.without))
    print("\n".join(found) if found else f"{len(names)} names as expected")
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main()

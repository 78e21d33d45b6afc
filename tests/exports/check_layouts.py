#!/usr/bin/env python3
"""Compares the layouts of the public classes and structures with a golden file.

    check_layouts.py [--write] OBJECT CLASSES GOLDEN NAMES OBJDUMP FOLDER...

OBJECT is compiled from all public headers, with debugging information (DWARF), CLASSES is what g++ wrote in the same run
for -fdump-lang-class. GOLDEN has a block for each class, structure and union that is declared in a file below one of the
FOLDERs: its size and alignment, its bases and members with their offsets and sizes in bytes (bits where there are), and
the virtual operations that it declares with their place in the table. Each class with a name in NAMES, the golden file of
exported names, must be there. Prints a line per fault and ends with 1 if there is any. With --write GOLDEN is made anew.
"""
import difflib
import os
import re
import subprocess
import sys

ENTRY = re.compile(r"^ *<(\w+)><(\w+)>: Abbrev Number: \d+ \(DW_TAG_(\w+)\)")
ATTRIBUTE = re.compile(r"^ *<\w+> +DW_AT_(\w+) *: *(?:\((?:alt )?indirect (?:line )?string, offset: 0x\w+\): )?(.*?)\s*$")
CLASSES = ("class_type", "structure_type", "union_type")


class Entry:
    """One entry of the debugging information: its kind, attributes, and the entries within."""

    def __init__(self, kind):
        self.kind = kind
        self.attributes = {}
        self.children = []

    def get(self, name):
        return self.attributes.get(name)

    def number(self, name):
        return int(self.attributes[name].split()[0], 0)


def run(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def parse(listing):
    """The compilation unit, and all entries by their address."""
    entries = {}
    path = []
    entry = None
    for line in listing.splitlines():
        started = ENTRY.match(line)
        if started:
            depth = int(started[1], 16)  # objdump writes the depth as it writes addresses
            entry = entries[started[2]] = Entry(started[3])
            del path[depth:]
            if path:
                path[-1].children.append(entry)
            path.append(entry)
        elif entry is not None:
            attribute = ATTRIBUTE.match(line)
            if attribute:
                entry.attributes[attribute[1]] = attribute[2]
    units = [entry for entry in entries.values() if entry.kind == "compile_unit"]
    if len(units) != 1:
        sys.exit("the object file is not of one compilation unit with debugging information")
    return units[0], entries


def read_files(listing):
    """The files that the line table names, by number."""
    tables = listing.partition("The Directory Table")[2].partition("The File Name Table")
    row = re.compile(r"^\s+(\d+)\t(?:(\d+)\t)?\(indirect line string, offset: 0x\w+\): (.*)$", re.MULTILINE)
    folders = {int(number): name for number, _, name in row.findall(tables[0])}
    top = folders.get(0, "")
    return {int(number): os.path.normpath(os.path.join(top, folders[int(folder)], name))
            for number, folder, name in row.findall(tables[2]) if folder}


def read_alignments(path):
    with open(path, encoding="utf-8") as lines:
        found = re.findall(r"^Class (.*)\n   size=\d+ align=(\d+)$", lines.read(), re.MULTILINE)
    return {name: int(align) for name, align in found}


class Layouts:
    """The blocks of text, one a class, by the classes' names."""

    def __init__(self, unit, entries, files, alignments, folders):
        self.entries = entries
        self.files = files
        self.alignments = alignments
        self.folders = tuple(os.path.join(os.path.abspath(folder), "") for folder in folders)
        self.blocks = {}
        self.collect(unit, "")

    def is_ours(self, entry):
        path = self.files.get(entry.number("decl_file"), "") if entry.get("decl_file") else ""
        return path.startswith(self.folders) and path.endswith(".h")

    def collect(self, scope, prefix):
        for entry in scope.children:
            name = entry.get("name")
            if entry.kind == "namespace" and name and name not in ("std", "__gnu_cxx"):
                self.collect(entry, f"{prefix}{name}::")
            elif entry.kind in CLASSES:
                if name and entry.get("byte_size") and self.is_ours(entry):
                    self.blocks[prefix + name] = self.block(entry, prefix + name)
                self.collect(entry, f"{prefix}{name}::")

    def target(self, entry):
        return self.entries[entry.get("type").strip("<>").removeprefix("0x")]

    def size(self, entry):
        if entry.kind == "array_type":
            count = 1
            for dimension in entry.children:
                count *= dimension.number("upper_bound") + 1 if dimension.get("upper_bound") else dimension.number("count")
            return count * self.size(self.target(entry))
        return entry.number("byte_size") if entry.get("byte_size") else self.size(self.target(entry))

    def block(self, entry, name):
        align = self.alignments.get(name)
        lines = [f"{name}  size {entry.number('byte_size')}" + (f"  align {align}" if align else "")]
        lines += self.members(entry, 0, "")
        slots = [child for child in entry.children if child.kind == "subprogram" and child.get("vtable_elem_location")]
        for slot, child in sorted((self.slot(child), child.get("linkage_name") or child.get("name")) for child in slots):
            lines.append(f"    virtual {slot}  {child}")
        return lines

    @staticmethod
    def slot(entry):
        return int(re.search(r"DW_OP_constu: (\d+)", entry.get("vtable_elem_location"))[1])

    def members(self, entry, start, prefix):
        for child in entry.children:
            if child.kind not in ("inheritance", "member") or child.get("external"):
                continue
            kind = self.target(child)
            name = prefix + child.get("name") if child.get("name") else ""
            offset = start + (child.number("data_member_location") if child.get("data_member_location") else 0)
            if child.kind == "inheritance":
                yield f"    {offset}  base {kind.get('name')}"
            elif child.get("bit_size"):
                first = 8 * start + child.number("data_bit_offset")
                yield f"    {first // 8}  {name}  bits {first % 8} to {first % 8 + child.number('bit_size') - 1}"
            elif name:
                yield f"    {offset}  {name}  size {self.size(kind)}"
            if child.kind == "member" and kind.kind in CLASSES and not kind.get("name"):
                yield from self.members(kind, offset, f"{name}." if name else prefix)


def exported_classes(path):
    """The classes whose type information or constructors are among the exported names."""
    found = set()
    with open(path, encoding="utf-8") as lines:
        for line in lines:
            mangled = re.match(r"_Z(TI|N)(\d+)(\w+)$", line.strip())
            if mangled:
                length = int(mangled[2])
                if mangled[1] == "TI" or mangled[3][length:length + 2] in ("C1", "C2"):
                    found.add(mangled[3][:length])
    return found


def faults(blocks, golden_path, names_path):
    known = {name.partition("<")[0].partition("::")[0] for name in blocks}
    for name in sorted(exported_classes(names_path) - known):
        yield f"{name} is exported, but layouts.cpp includes no header that declares it"
    with open(golden_path, encoding="utf-8") as lines:
        expected = [line.rstrip("\n") for line in lines if not line.startswith("#")]
    found = [line for name in sorted(blocks) for line in blocks[name]]
    changes = [line for line in difflib.unified_diff(expected, found, golden_path, "as built", lineterm="", n=1000000)]
    inside = ""
    for line in changes[3:]:
        if not line[1:].startswith(" "):
            inside = line[1:].partition("  ")[0]
        if line[0] in "+-":
            yield f"{'built' if line[0] == '+' else 'golden'}, of {inside}: {line[1:].strip()}"


def write(blocks, path):
    head = ["# Layouts of the public classes and structures: sizes and offsets in bytes, places in the virtual table.\n",
            "# Each change here is a line in CHANGELOG.md. Made by check_layouts.py --write.\n"]
    with open(path, "w", encoding="utf-8") as lines:
        lines.writelines(head + [line + "\n" for name in sorted(blocks) for line in blocks[name]])


def read(built, classes, objdump, folders):
    """The block of lines of each class, by its name."""
    listing = run(objdump, "--dwarf=info,rawline", built)
    return Layouts(*parse(listing), read_files(listing), read_alignments(classes), folders).blocks


def main():
    arguments = [argument for argument in sys.argv[1:] if argument != "--write"]
    if len(arguments) < 6:
        sys.exit(__doc__)
    built, classes, golden_path, names_path, objdump, *folders = arguments
    blocks = read(built, classes, objdump, folders)
    if not blocks:
        sys.exit(f"{objdump} lists debugging information in a form that is not known here")
    if "--write" in sys.argv:
        write(blocks, golden_path)
    found = list(faults(blocks, golden_path, names_path))
    if found:
        print("\n".join(found))
        sys.exit("Programs that were built against the old layout break: say so in CHANGELOG.md, then renew the golden file"
                 " (--write).")
    print(f"{len(blocks)} layouts as expected")


if __name__ == "__main__":
    main()

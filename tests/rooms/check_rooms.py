#!/usr/bin/env python3
"""Checks every #include line of the rooms against the table of who may include whom.

    check_rooms.py TABLE ROOT

TABLE has a line "room: room room ..." per room; a room is a folder under ROOT. Prints a line per fault and ends with 1
if there is any: an include of a room that the table does not allow, of a room's header by another path than the one
from ROOT, of another file of the tree, or of a name that a macro makes.
"""
import os
import re
import sys

SOURCES = (".h", ".cpp", ".c", ".def", ".inc", ".rc")
DIRECTIVE = re.compile(r"^\s*#\s*(?:include|include_next|import)\b\s*(.*)$")
NAME = re.compile(r'^(?:"([^"]*)"|<([^>]*)>)')


def read_table(path):
    table = {}
    with open(path, encoding="utf-8") as lines:
        for line in lines:
            line = line.split("#")[0].strip()
            if line:
                room, _, allowed = line.partition(":")
                table[room.strip()] = set(allowed.split())
    unknown = set().union(*table.values()) - set(table)
    if unknown:
        sys.exit(f"{path}: unknown rooms: {', '.join(sorted(unknown))}")
    return table


def room_of(path, table):
    """The innermost room that a path from the root lies in, or None."""
    rooms = [room for room in table if path.startswith(room + "/")]
    return max(rooms, key=len, default=None)


def fault_of(name, quoted, room, table, root):
    """What is wrong with including `name` in `room`, or None."""
    if ".." in name.split("/"):
        return "climbs out of its folder"
    target = room_of(name, table)
    if target is not None:
        return None if target == room or target in table[room] else f"{room} may not include {target}"
    if os.path.exists(os.path.join(root, name)):
        return "is no header of a room"
    return "is not a path from the root" if quoted else None


def check_file(path, room, table, root):
    faults = []
    with open(os.path.join(root, path), encoding="utf-8") as lines:
        for number, line in enumerate(lines, 1):
            directive = DIRECTIVE.match(line)
            if not directive:
                continue
            name = NAME.match(directive.group(1))
            if not name:
                faults.append(f"{path}:{number}: {line.strip()}: names no file")
                continue
            quoted = name.group(1) is not None
            fault = fault_of(name.group(1) if quoted else name.group(2), quoted, room, table, root)
            if fault:
                faults.append(f"{path}:{number}: {line.strip()}: {fault}")
    return faults


def check(table, root):
    """Gives the number of files looked at and the list of faults."""
    files, faults = 0, []
    for top in sorted({room.split("/")[0] for room in table}):
        for folder, _, names in os.walk(os.path.join(root, top)):
            for name in sorted(names):
                if name.endswith(SOURCES):
                    path = os.path.relpath(os.path.join(folder, name), root).replace(os.sep, "/")
                    files += 1
                    faults += check_file(path, room_of(path, table), table, root)
    return files, faults


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    files, faults = check(read_table(sys.argv[1]), sys.argv[2])
    print("\n".join(faults) if faults else f"{files} files keep to the table")
    if not files:
        sys.exit("no files found")
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()

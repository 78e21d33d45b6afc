#!/usr/bin/env python3
"""Turns what gcovr counted into figures per room.

    coverage_report.py --least PERCENT COUNTS FOLDER [ROOM]...

COUNTS is what `gcovr --json` wrote, with file names relative to the top of the tree. Writes into FOLDER:

    rooms.md        a table of lines and branches per room
    uncovered.txt   "file:line" of each line that was not run, and "file:line: 1 of 2 branches" of each line that was run
                    with a branch that was never taken

and prints the table. With rooms, only these. Exit status: 1 when a room has less than PERCENT of its lines run, or
nothing to count.
"""

import argparse
import json
import pathlib
import sys

# A room is the longest of these that begins a file's name.
ROOMS = {
    "foundation": ["foundation/"],
    "asn": ["asn/"],
    "schema": ["schema/", "build/coverage/generated/schema/"],
    "crypto": ["crypto/"],
    "ber": ["ber/"],
    "platform": ["platform/"],
    "token": ["token/"],
    "pki": ["pki/"],
    "flat": ["pki/flat/"],
    "enrol": ["enrol/"],
    "plugin": ["plugin/"],
    "tools": ["tools/"],
}


def room_of(file):
    matches = [(len(start), room) for room, starts in ROOMS.items() for start in starts if file.startswith(start)]
    return max(matches)[1] if matches else None


class Count:
    def __init__(self):
        self.lines = self.lines_run = self.branches = self.branches_taken = 0
        self.missed = []

    def add(self, file):
        for line in sorted(file["lines"], key=lambda line: line["line_number"]):
            if line.get("gcovr/noncode"):
                continue
            self.lines += 1
            place = f"{file['file']}:{line['line_number']}"
            if line["count"] == 0:
                self.missed.append(place)
            else:
                self.lines_run += 1
            branches = line["branches"]
            taken = sum(branch["count"] > 0 for branch in branches)
            self.branches += len(branches)
            self.branches_taken += taken
            if line["count"] and taken < len(branches):
                self.missed.append(f"{place}: {taken} of {len(branches)} branches")


def percent(part, whole):
    # Cut, not rounded: 100 % means all, and 94.99 % is less than 95 %.
    return f"{int(1000 * part / whole) / 10:.1f}" if whole else "-"


def count_rooms(files, rooms):
    counts = {room: Count() for room in rooms}
    for file in sorted(files, key=lambda file: file["file"]):
        room = room_of(file["file"])
        if room in counts:
            counts[room].add(file)
    return counts


def table(counts):
    rows = ["| room | lines | run | % | branches | taken | % |", "|---|--:|--:|--:|--:|--:|--:|"]
    for room, count in counts.items():
        rows.append(f"| {room} | {count.lines} | {count.lines_run} | {percent(count.lines_run, count.lines)} "
                    f"| {count.branches} | {count.branches_taken} | {percent(count.branches_taken, count.branches)} |")
    return "\n".join(rows) + "\n"


def main(arguments):
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--least", type=float, required=True)
    parser.add_argument("counts", type=pathlib.Path)
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("rooms", nargs="*")
    options = parser.parse_args(arguments)
    unknown = [room for room in options.rooms if room not in ROOMS]
    if unknown:
        parser.error(f"no such room: {' '.join(unknown)} ({' '.join(ROOMS)})")

    counts = count_rooms(json.loads(options.counts.read_text())["files"], options.rooms or list(ROOMS))
    options.folder.mkdir(parents=True, exist_ok=True)
    text = table(counts)
    (options.folder / "rooms.md").write_text(text)
    (options.folder / "uncovered.txt").write_text("".join(f"{line}\n" for count in counts.values()
                                                          for line in count.missed))
    print(text, end="")
    poor = [room for room, count in counts.items() if 100 * count.lines_run < options.least * count.lines
            or not count.lines]
    if poor:
        print(f"less than {options.least:g} % of lines: {' '.join(poor)}")
    return 1 if poor else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

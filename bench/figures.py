#!/usr/bin/env python3
"""Runs benchmarks beside their peers and writes one table of figures, and a picture of the ratios.

    figures.py [--quick] [--rounds=N] [--rows=REGEX] [--publish] BUILD [PART]...

BUILD is the build tree with the programs bin/bench_<part>; without a PART all of them run. Results: BUILD/figures.md,
BUILD/ratios.svg and BUILD/ratios.png; --publish renews docs/figures.md and its picture too. Exit status 1 when a peer
failed. scripts/bench.sh builds everything first.
"""
import argparse
import datetime
import itertools
import math
import os
import pathlib
import platform
import re
import shutil
import subprocess
import sys
import time

import measure
from measure import PARTS, PEERS


def time_text(nanoseconds):
    for limit, unit in ((1e9, "s"), (1e6, "ms"), (1e3, "us")):
        if nanoseconds >= limit:
            return f"{nanoseconds / limit:.2f} {unit}"
    return f"{nanoseconds:.1f} ns"


def bytes_text(count):
    return f"{count / 1024:.1f} KB" if count < 100 * 1024 else f"{count / (1024 * 1024):.2f} MB"


def ratio_text(ratio):
    return "-" if ratio is None else f"{ratio:.2f}"


def table(titles, alignment, lines):
    rule = [{"l": "---", "r": "--:"}[each] for each in alignment]
    return "".join("| " + " | ".join(cells) + " |\n" for cells in [titles, rule, *lines])


def time_line(row, expected):
    """One line of the table of times; expected are the peers of all rows of its room."""
    best_time, best = row.peers()[0] if row.peers() else (math.nan, "-")
    notes = [f"{who} {ratio:.2f}" for ratio, who in row.others()] if row.comparable() else []
    notes += [f"{who} failed ({why})" for who, why in sorted(row.failed.items())]
    absent = sorted(expected - {measure.library_of(who) for who in (*row.times, *row.failed)}, key=str.lower)
    return [row.room, row.work, row.size, time_text(row.ours) if "ours" in row.times else "-", best,
            time_text(best_time) if row.peers() else "-", ratio_text(row.ratio()), ratio_text(row.median_ratio()),
            ", ".join(notes), ", ".join(absent)]


def time_table(rows):
    expected = {}
    for row in rows:
        peers = {measure.library_of(who) for who in (*row.times, *row.failed) if measure.is_peer(who)}
        expected.setdefault(row.room, set()).update(peers)
    titles = ["room", "work", "size", "ours", "best peer", "its time", "best / ours", "median / ours",
            "the others' time / ours", "no figure"]
    return table(titles, "lllrlrrrll", [time_line(row, expected[row.room]) for row in rows])


def memory_table(rows):
    lines = []
    for name, uses in rows.items():
        calls, held = uses["ours"]
        peers = sorted((bytes_held, count, who) for who, (count, bytes_held) in uses.items() if who != "ours")
        lines.append([*measure.split_size(name), bytes_text(held), str(calls),
                      ", ".join(f"{who} {bytes_text(bytes_held)} in {count}" for bytes_held, count, who in peers)])
    return table(["work", "size", "ours: most held", "calls", "peers: most held, and calls"], "llrrl", lines)


def token_table(rows):
    """What VT_P11_OP costs beyond the engine's own calls."""
    yardstick = next(row for row in rows if row.name == measure.YARDSTICK).times["engine"]
    lines = []
    for row in rows:
        if row.name == measure.YARDSTICK:
            continue
        ours, engine = row.times[measure.TOKEN_LAYER], row.times["engine"]
        lines.append([*measure.split_size(row.name), time_text(ours), time_text(engine), f"{ours - engine:.1f} ns",
                      f"{(ours - engine) / yardstick:.1%}", time_text(row.times["engine, kept"])])
    titles = ["work", "size", measure.TOKEN_LAYER, "engine", "beyond it", "of a public operation",
              "engine, objects kept"]
    return table(titles, "llrrrrr", lines)


def version_of(package):
    """The version that the maker of a Debian package's contents gave it; None where there is none."""
    done = subprocess.run(["dpkg-query", "-W", "-f", "${Version}", package], capture_output=True, text=True,
                          check=False)
    return re.sub(r"^\d+:|[-+~].*$", "", done.stdout) if done.returncode == 0 else None


def processor():
    description = pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8")
    model = re.search(r"^model name\s*:\s*(.*)", description, re.MULTILINE)
    virtual = "virtual " if re.search(r"^flags\s*:.*\bhypervisor\b", description, re.MULTILINE) else ""
    return f"{os.cpu_count()}-core {platform.machine()} {virtual}machine ({model[1] if model else 'unknown'})"


def compiler(build):
    cache = (build / "CMakeCache.txt").read_text(encoding="utf-8")
    path = re.search(r"^CMAKE_CXX_COMPILER:\w+=(.*)", cache, re.MULTILINE)[1]
    return subprocess.run([path, "--version"], capture_output=True, text=True, check=True).stdout.splitlines()[0]


def page(rows, memory, head):
    """The short form, for docs/: without who else was measured."""
    text = f"# Figures\n\n{PAGE_EXPLANATION}\n{head}\n![The best peer's time over ours](pictures/ratios.svg)\n"
    for room, group in itertools.groupby((row for row in rows if row.comparable()), key=lambda row: row.room):
        lines = [[row.work, row.size, time_text(row.ours), row.peers()[0][1], ratio_text(row.ratio()),
                  ratio_text(row.median_ratio())] for row in group]
        titles = ["work", "size", "ours", "best peer", "best / ours", "median / ours"]
        text += f"\n## {room}\n\n{table(titles, 'llrlrr', lines)}"
    if memory:
        text += f"\n## Memory\n\n{MEMORY_EXPLANATION}\n{memory_table(memory)}"
    return text


def introduction(build, rounds, seconds, loads):
    versions = {who: version_of(package) for who, (package, _) in PEERS.items()}
    missing = [who for who, version in versions.items() if version is None]
    lines = [
        f"- {datetime.date.today().isoformat()}, {rounds} rounds, {seconds / 60:.0f} minutes; load of the machine "
        f"{loads[0]:.1f} at the start, {loads[1]:.1f} at the end, of which 1.0 is ours",
        f"- {processor()}, {platform.system()}, {compiler(build)}",
        "- peers: " + ", ".join(f"{who} {version}" for who, version in versions.items() if version),
    ]
    if missing:
        lines.append("- **missing**, or not by a Debian package: " + ", ".join(missing))
    return "\n".join(lines) + "\n"


EXPLANATION = """\
Each line is one piece of work, done by ours and by the peers in turn in the same run; times are medians.
"best / ours" is the best peer's time over ours, "median / ours" the median peer's: above 1.0 ours is ahead.
"ours, plain" and the like are what machines with fewer instructions get, "limit" is what no peer offers but the machine
allows. "no figure": peers of the room that do not offer the work, or not in public, or are not measured in it.
"""

TOKEN_EXPLANATION = """\
`VT_P11_OP` in software beside the engine's own calls, the fastest round of each. The share is that of the bare public
operation at 2048 bits.
"""

MEMORY_EXPLANATION = """\
What the system's allocator is asked for: the most that is held at once, and the number of calls.
"""


PAGE_EXPLANATION = """\
What the hot paths cost beside other libraries, in one run of `scripts/bench.sh --publish`, which renews this page. Each
line is one piece of work, done by ours and by every library that offers it in turn; times are medians. "best / ours" is
the best peer's time over ours, "median / ours" the median peer's: above 1.0 ours is ahead. Ratios carry over to another
machine better than times do. [bench](../bench/README.md) says what is measured, and what to know when reading it.
"""


def document(rows, memory, head):
    """The whole text."""
    text = f"# Figures\n\n{head}\n"
    timed = [row for row in rows if row.room != PARTS["token"]]
    if timed:
        text += f"{EXPLANATION}\n{time_table(timed)}"
    token = [row for row in rows if row.room == PARTS["token"]]
    if token:
        text += f"\n## What the token layer costs\n\n{TOKEN_EXPLANATION}\n{token_table(token)}"
    if memory:
        text += f"\n## Memory\n\n{MEMORY_EXPLANATION}\n{memory_table(memory)}"
    return text


def publish(build, rows, memory, head):
    docs = pathlib.Path(__file__).resolve().parents[1] / "docs"
    (docs / "pictures").mkdir(exist_ok=True)
    (docs / "figures.md").write_text(page(rows, memory, head), encoding="utf-8")
    shutil.copy(build / "ratios.svg", docs / "pictures" / "ratios.svg")


def parse(arguments):
    parser = argparse.ArgumentParser(description="Runs benchmarks beside their peers.")
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("parts", nargs="*", metavar="PART", help=f"any of {' '.join(PARTS)}; all without one")
    parser.add_argument("--quick", action="store_true", help="3 rounds")
    parser.add_argument("--rounds", type=int, default=15, help="how often each benchmark runs; 15 by default")
    parser.add_argument("--rows", default=".", help="a regular expression for the rows to run")
    parser.add_argument("--publish", action="store_true", help="renew docs/figures.md and its picture")
    options = parser.parse_intermixed_args(arguments)
    unknown = [part for part in options.parts if part not in PARTS]
    if unknown:
        parser.error(f"no such part: {' '.join(unknown)} (there are {' '.join(PARTS)})")
    if options.publish and (options.parts or options.rows != "."):
        parser.error("a page is published of a run of everything")
    if options.quick:
        options.rounds = 3
    options.parts = [part for part in PARTS if part in options.parts] or list(PARTS)
    return options


def main():
    options = parse(sys.argv[1:])
    started, load = time.monotonic(), os.getloadavg()[0]
    rows, memory = [], {}
    for part in options.parts:
        before = time.monotonic()
        for row in measure.rows_of(options.build, part, options.rounds, options.rows):
            rows.append(row)
            print(f"  {row.name}: {ratio_text(row.ratio())}", file=sys.stderr, flush=True)
        if part in measure.WITH_MEMORY:
            memory.update(measure.memory_of(options.build, part))
        print(f"{part}: {time.monotonic() - before:.0f} s", file=sys.stderr, flush=True)
    head = introduction(options.build, options.rounds, time.monotonic() - started, (load, os.getloadavg()[0]))
    (options.build / "figures.md").write_text(document(rows, memory, head), encoding="utf-8")
    compared = [row for row in rows if row.comparable()]
    if compared:
        import ratios  # needs python3-matplotlib, which nothing else here does
        ratios.draw(compared, options.build, f"{datetime.date.today().isoformat()}, {processor()}")
    if options.publish:
        publish(options.build, rows, memory, head)
    return 1 if any(row.failed for row in rows) else 0


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""Prints one table of the benchmarks and of the start-up times.

    table.py RESULTS.json START_UP PLUGIN

RESULTS.json is what bench_enrol wrote, START_UP the program that loads a library in a fresh process. A benchmark is
named "work/who" or "work/who/size"; "ours" is compared with every other who of the same work and size.
"""
import json
import os
import statistics
import subprocess
import sys

STARTS = 41
UNITS = {"ns": 1, "us": 1e3, "ms": 1e6}


def medians(path):
    """Median processor time in ns by name: what else the machine does counts less than in time by the clock."""
    with open(path, encoding="utf-8") as file:
        runs = json.load(file)["benchmarks"]
    broken = sorted({run["name"] for run in runs if run.get("error_occurred")})
    if broken:
        sys.exit("failed: " + ", ".join(broken))
    return {run["run_name"]: run["cpu_time"] * UNITS[run["time_unit"]] for run in runs
            if run.get("aggregate_name") == "median"}


def size_text(size):
    if not size:
        return ""
    count = int(size[0])
    return f", {count >> 20} MB" if count >= 1 << 20 else f", {count >> 10} KB"


def benchmark_rows(times):
    rows = []
    for name, time in times.items():
        work, who, size = split(name)
        if who != "ours":
            continue
        for other, other_time in times.items():
            other_work, peer, other_size = split(other)
            if (other_work, other_size) == (work, size) and peer != "ours":
                rows.append((work + size_text(size), time, peer, other_time))
    return sorted(rows)


def split(name):
    work, *rest = name.split("/")
    if work == "request":
        work, rest = f"request at {rest[0]} bits", rest[1:]
    return work, rest[0], rest[1:]


def start_up(program, *arguments, preload=None):
    environment = dict(os.environ, LD_PRELOAD=preload) if preload else None
    done = subprocess.run([program, *arguments], capture_output=True, text=True, check=True, env=environment)
    return int(done.stdout.split()[-1])


def start_up_rows(program, plugin):
    """Loading in turn, a fresh process each time."""
    runtime = "libstdc++.so.6"
    ours, beside_runtime, crypto = [], [], []
    for _ in range(STARTS):
        ours.append(start_up(program, plugin, "instance"))
        beside_runtime.append(start_up(program, plugin, "instance", preload=runtime))
        crypto.append(start_up(program, "libcrypto.so.3"))
    peer = ("libcrypto, loaded", statistics.median(crypto))
    return [("plug-in, loaded, and an instance", statistics.median(ours), *peer),
            ("the same in a C++ program", statistics.median(beside_runtime), *peer)]


def time_text(ns):
    return f"{ns / 1e6:.2f} ms" if ns >= 1e6 else f"{ns / 1e3:.2f} us"


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    rows = benchmark_rows(medians(sys.argv[1])) + start_up_rows(*sys.argv[2:])
    print("| work | ours | peer | peer's time | peer's time / ours |")
    print("|---|--:|---|--:|--:|")
    for work, ours, peer, theirs in rows:
        print(f"| {work} | {time_text(ours)} | {peer} | {time_text(theirs)} | {theirs / ours:.2f} |")


if __name__ == "__main__":
    main()

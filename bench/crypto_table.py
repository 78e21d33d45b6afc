#!/usr/bin/env python3
"""Runs the engine's benchmarks row by row and prints one table.

    crypto_table.py BENCH_CRYPTO ROUNDS ROWS

A benchmark is named "row/who", as in "product, 1024 bits/OpenSSL" or "DES-CBC encrypt, 16 KB/ours". The benchmarks of a
row take turns in random order, 8 ms each, for ROUNDS rounds; times are medians of the processor, where a name ends in
"/process_time" that of all threads. "ours" is compared with the best of the others; "ours, ..." names another form of
ours, and "limit: ..." what no peer offers but the machine allows: both stand with the others, and neither counts as best
peer. ROWS is a regular expression for the rows to run.
"""
import json
import re
import subprocess
import sys

UNITS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}


def row_and_who(name):
    row, _, who = name.removesuffix("/process_time").rpartition("/")
    return row, who


def rows(program):
    """The benchmarks by row, in the order of the program."""
    names = subprocess.run([program, "--benchmark_list_tests"], capture_output=True, text=True, check=True).stdout
    found = {}
    for name in names.splitlines():
        found.setdefault(row_and_who(name)[0], []).append(name)
    return found


def runs(program, names, rounds):
    """What the program reports of these benchmarks, run in turn."""
    pattern = "^(" + "|".join(re.escape(name).replace(r"\ ", " ").replace(r"\-", "-") for name in names) + ")$"
    done = subprocess.run([program, f"--benchmark_filter={pattern}", "--benchmark_min_time=0.008",
                           f"--benchmark_repetitions={rounds}", "--benchmark_enable_random_interleaving=true",
                           "--benchmark_format=json"], capture_output=True, text=True, check=True)
    found = json.loads(done.stdout)["benchmarks"]
    broken = sorted({run["name"] + ": " + run.get("error_message", "") for run in found if run.get("error_occurred")})
    if broken:
        sys.exit("failed: " + ", ".join(broken))
    return found


def medians(program, names, rounds):
    """Median processor time in ns by who."""
    return {row_and_who(run["run_name"])[1]: run["cpu_time"] * UNITS[run["time_unit"]]
            for run in runs(program, names, rounds) if run.get("aggregate_name") == "median"}


def is_peer(who):
    return who != "ours" and not who.startswith(("ours,", "limit: "))


def time_text(ns):
    for limit, unit in ((1e9, "s"), (1e6, "ms"), (1e3, "us")):
        if ns >= limit:
            return f"{ns / limit:.2f} {unit}"
    return f"{ns:.1f} ns"


def line(row, times):
    ours = times["ours"]
    peers = sorted((time, who) for who, time in times.items() if is_peer(who))
    best_time, best = peers[0] if peers else (float("nan"), "-")
    others = [(time, who) for who, time in times.items() if who not in ("ours", best)]
    rest = ", ".join(f"{who} {time / ours:.2f}" for time, who in sorted(others))
    return f"| {row} | {time_text(ours)} | {best} | {time_text(best_time)} | {best_time / ours:.2f} | {rest} |"


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    program, rounds, wanted = sys.argv[1:]
    print("| work | ours | best peer | its time | its time / ours | the others' time / ours |")
    print("|---|--:|---|--:|--:|---|")
    for row, names in rows(program).items():
        if re.search(wanted, row):
            print(line(row, medians(program, names, rounds)), flush=True)


if __name__ == "__main__":
    main()

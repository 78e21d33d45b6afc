#!/usr/bin/env python3
"""Runs the token layer's benchmarks and prints one table: what VT_P11_OP costs beyond the engine.

    token_table.py BENCH_TOKEN ROUNDS

Each row is measured three ways in random order (token_bench.cpp), 8 ms each, for ROUNDS rounds. A small difference of
two times is wanted, so each is the fastest round's rather than the median. The share is that of the bare public
operation with a key of 2048 bits.
"""
import sys

import crypto_table

YARDSTICK = "RSA-2048 public operation"


def fastest(program, names, rounds):
    """Processor time of the fastest round in ns by who."""
    best = {}
    for run in crypto_table.runs(program, names, rounds):
        if run["run_type"] == "iteration":
            _, who = crypto_table.row_and_who(run["run_name"])
            time = run["cpu_time"] * crypto_table.UNITS[run["time_unit"]]
            best[who] = min(time, best.get(who, time))
    return best


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    program, rounds = sys.argv[1:]
    rows = crypto_table.rows(program)
    yardstick = fastest(program, rows.pop(YARDSTICK), rounds)["engine"]
    text = crypto_table.time_text
    print(f"{YARDSTICK}: {text(yardstick)}\n")
    print("| work | VT_P11_OP | engine | beyond it | share | engine, objects kept |")
    print("|---|--:|--:|--:|--:|--:|")
    for row, names in rows.items():
        times = fastest(program, names, rounds)
        ours, engine = times["VT_P11_OP"], times["engine"]
        print(f"| {row} | {text(ours)} | {text(engine)} | {text(ours - engine)} | {(ours - engine) / yardstick:.1%} "
              f"| {text(times['engine, kept'])} |", flush=True)


if __name__ == "__main__":
    main()

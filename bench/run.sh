#!/usr/bin/env bash
# Builds the benchmarks and prints one table: our time, the peer's time in the same run, and the ratio.
# Usage: bench/run.sh [rounds of each benchmark, 9 by default]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
rounds=${1:-9}
build=build/bench

cmake --preset bench >/dev/null
cmake --build --preset bench --target bench_enrol start_up >/dev/null

# Own and peer take turns in random order, so that a busy moment of the machine falls on both.
"$build/bin/bench_enrol" --benchmark_min_time=0.05 --benchmark_repetitions="$rounds" \
    --benchmark_enable_random_interleaving=true --benchmark_out="$build/bench_enrol.json" \
    --benchmark_out_format=json >/dev/null 2>&1
exec python3 bench/table.py "$build/bench_enrol.json" "$build/bin/start_up" "$build/npvemtrel_certenroll.so"

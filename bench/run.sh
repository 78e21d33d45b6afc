#!/usr/bin/env bash
# Builds the benchmarks and prints one table: our time, the peer's time in the same run, and the ratio.
# Usage: bench/run.sh [enrol] [rounds of each benchmark, 9 by default]
#        bench/run.sh crypto [rounds, 15 by default] [rows: a regular expression, all by default]
#        bench/run.sh asn | message | pfx | token [rounds, 15 by default]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=build/bench
what=enrol
case ${1:-} in
    enrol | crypto | asn | message | pfx | token)
        what=$1
        shift
        ;;
esac

scripts/setup.sh bench
cmake --preset bench >/dev/null
if [[ $what == crypto ]]; then
    cmake --build --preset bench --target bench_crypto >/dev/null
    exec python3 bench/crypto_table.py "$build/bin/bench_crypto" "${1:-15}" "${2:-.}"
fi
if [[ $what == asn || $what == message ]]; then
    cmake --build --preset bench --target "bench_$what" >/dev/null
    python3 bench/crypto_table.py "$build/bin/bench_$what" "${1:-15}" .
    echo
    exec "$build/bin/bench_$what" --memory
fi
if [[ $what == pfx ]]; then
    cmake --build --preset bench --target bench_pfx >/dev/null
    exec python3 bench/crypto_table.py "$build/bin/bench_pfx" "${1:-15}" .
fi
if [[ $what == token ]]; then
    cmake --build --preset bench --target bench_token >/dev/null
    exec python3 bench/token_table.py "$build/bin/bench_token" "${1:-15}"
fi

rounds=${1:-9}
cmake --build --preset bench --target bench_enrol start_up >/dev/null

# Own and peer take turns in random order, so that a busy moment of the machine falls on both.
"$build/bin/bench_enrol" --benchmark_min_time=0.05 --benchmark_repetitions="$rounds" \
    --benchmark_enable_random_interleaving=true --benchmark_out="$build/bench_enrol.json" \
    --benchmark_out_format=json >/dev/null 2>&1
exec python3 bench/table.py "$build/bench_enrol.json" "$build/bin/start_up" "$build/npvemtrel_certenroll.so"

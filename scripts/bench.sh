#!/usr/bin/env bash
# Installs what is missing, builds the benchmarks with all their peers, runs them side by side, and writes one table and
# a picture: build/bench/figures.md, ratios.svg and ratios.png.
#
#   scripts/bench.sh                    everything
#   scripts/bench.sh --quick            everything in 3 rounds instead of 15: a first look
#   scripts/bench.sh crypto asn         parts: foundation crypto token asn ber base64 request message pfx start
#   scripts/bench.sh --rounds=5 --rows='^(product|square)' crypto
#
# --rounds=N says how often each benchmark runs, --rows=REGEX which rows of the table; --publish renews docs/figures.md
# and its picture. Exit status: 0 when all of them ran.
#
# VT_JOBS: how many compilers at once (else the number of processors). VT_NO_SETUP=1: install nothing.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

targets=()
for argument in "$@"; do
    case $argument in
        --quick | --rounds=* | --rows=* | --publish) ;;
        -*)
            sed -n '2,/^set /{/^#/s/^# \{0,1\}//p}' "$0"
            exit 2
            ;;
        *) targets+=("bench_$argument") ;;
    esac
done
[[ ${#targets[@]} -gt 0 ]] || targets=(benchmarks)

[[ -n ${VT_NO_SETUP:-} ]] || bash scripts/setup.sh build bench
cmake --preset bench >/dev/null
cmake --build --preset bench -j "${VT_JOBS:-$(nproc)}" --target "${targets[@]}" >/dev/null
# Debian's own, which its matplotlib belongs to.
/usr/bin/python3 bench/figures.py build/bench "$@"
printf 'build/bench/figures.md build/bench/ratios.svg build/bench/ratios.png\n'

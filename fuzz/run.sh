#!/usr/bin/env bash
# Builds the fuzz targets with clang and runs them, one after another.
#
#   fuzz/run.sh                       every target, 60 seconds each
#   fuzz/run.sh 600 ber_reader names  these, 600 seconds each
#   fuzz/run.sh --total 3600          every target, an hour divided among them
#
# The last lines are a table of how many inputs each target ran and how many it kept. Exit status: 0 without a finding.
# New inputs go to build/fuzz/corpus/<target>, findings to build/fuzz/findings/<target>-*. A finding that is mended goes
# to fuzz/<target>/regressions under a telling name: the ordinary tests run it from then on.
#
# VT_JOBS: how many compilers at once (else the number of processors). VT_NO_SETUP=1: install nothing.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
seconds=60
total=
if [[ ${1:-} == --total ]]; then
    total=${2:?--total needs a number of seconds}
    shift 2
elif [[ ${1:-} =~ ^[0-9]+$ ]]; then
    seconds=$1
    shift
elif [[ ${1:-} == -* ]]; then
    sed -n '2,/^set /{/^#/s/^# \{0,1\}//p}' "$0"
    exit 2
fi
targets=("$@")
if [[ ${#targets[@]} -eq 0 ]]; then
    mapfile -t targets < <(sed -n 's/^vt_fuzz_target(\([a-z0-9_]*\) .*/\1/p' fuzz/CMakeLists.txt)
fi
if [[ -n $total ]]; then
    seconds=$(((total + ${#targets[@]} - 1) / ${#targets[@]}))
fi
[[ -n ${VT_NO_SETUP:-} ]] || bash scripts/setup.sh build fuzz
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j "${VT_JOBS:-$(nproc)}" --target "${targets[@]/#/fuzz_}"
mkdir -p build/fuzz/findings

failed=0
table=
for target in "${targets[@]}"; do
    corpus=build/fuzz/corpus/$target
    log=build/fuzz/$target.log
    mkdir -p "$corpus" "fuzz/$target/regressions"
    printf '== %s, %d s\n' "$target" "$seconds"
    verdict=clean
    if ! UBSAN_OPTIONS=print_stacktrace=1 "build/fuzz/bin/fuzz_$target" -max_total_time="$seconds" -timeout=10 \
        -rss_limit_mb=2048 -print_final_stats=1 -verbosity=1 -artifact_prefix="build/fuzz/findings/$target-" \
        "$corpus" "fuzz/$target/corpus" "fuzz/$target/regressions" >"$log" 2>&1; then
        failed=1
        verdict=FINDING
        grep -E 'ERROR|SUMMARY|does not hold|Test unit written' "$log" || true
    fi
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    kept=$(sed -n 's/^stat::new_units_added: *//p' "$log")
    table+=$(printf '%-30s %12s %8s  %s' "$target" "${runs:-?}" "${kept:-?}" "$verdict")$'\n'
done
printf '\n%-30s %12s %8s\n%s' target executions kept "$table"
exit "$failed"

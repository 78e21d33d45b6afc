#!/usr/bin/env bash
# Builds the fuzz targets with clang and runs them, one after another.
#
#   fuzz/run.sh                       every target, 60 seconds each
#   fuzz/run.sh 600 ber_reader names  these, 600 seconds each
#
# New inputs go to build/fuzz/corpus/<target>, findings to build/fuzz/findings/<target>-*. A finding that is mended goes
# to fuzz/<target>/regressions under a telling name: the ordinary tests run it from then on.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
seconds=60
if [[ ${1:-} =~ ^[0-9]+$ ]]; then
    seconds=$1
    shift
fi
targets=("$@")
if [[ ${#targets[@]} -eq 0 ]]; then
    mapfile -t targets < <(sed -n 's/^vt_fuzz_target(\([a-z0-9_]*\) .*/\1/p' fuzz/CMakeLists.txt)
fi
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target "${targets[@]/#/fuzz_}"
mkdir -p build/fuzz/findings

failed=0
for target in "${targets[@]}"; do
    corpus=build/fuzz/corpus/$target
    mkdir -p "$corpus" "fuzz/$target/regressions"
    printf '== %s\n' "$target"
    if ! UBSAN_OPTIONS=print_stacktrace=1 "build/fuzz/bin/fuzz_$target" -max_total_time="$seconds" -timeout=10 \
        -rss_limit_mb=2048 -print_final_stats=1 -verbosity=1 -artifact_prefix="build/fuzz/findings/$target-" \
        "$corpus" "fuzz/$target/corpus" "fuzz/$target/regressions" >"build/fuzz/$target.log" 2>&1; then
        failed=1
        printf 'FINDING:\n'
    fi
    grep -E 'ERROR|SUMMARY|does not hold|DONE|stat::number_of_executed_units|Test unit written' "build/fuzz/$target.log" || true
done
exit "$failed"

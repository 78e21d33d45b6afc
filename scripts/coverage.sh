#!/usr/bin/env bash
# Builds with counters, runs the tests, and says how many lines and branches of each room they reach.
#
#   scripts/coverage.sh             every room, by all tests
#   scripts/coverage.sh ber asn     these rooms, each by its own tests alone
#
# Leaves in build/coverage/report: rooms.md (the table that is printed), uncovered.txt (lines that were not run, and
# lines of which a branch was never taken), index.html (the sources, coloured), counts.json (what gcovr wrote).
# Branches that only an exception takes are not counted. platform/win32 is Windows code, so no counter sees it here.
# Exit status: 1 when a room has less than 95 % of its lines run, or a test failed.
#
# VT_JOBS: how many compilers and tests at once (else the number of processors). VT_NO_SETUP=1: install nothing.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 1
least=95
jobs=${VT_JOBS:-$(nproc)}
tree=build/coverage
report=$tree/report

run_tests() {  # room...
    local -a select=()
    [[ $# -eq 0 ]] || select=(-L "^($(IFS='|' && printf '%s' "$*"))\$")
    # Counts of a run before would be added to.
    find "$tree" -name '*.gcda' -delete
    ctest --preset coverage -j "$jobs" --no-tests=error "${select[@]}"
}

count() {
    mkdir -p "$report"
    gcovr -j "$jobs" --root . --filter '(foundation|asn|schema|crypto|ber|platform|token|pki|enrol|plugin|tools)/' \
        --filter "$tree/generated/schema/" --exclude-throw-branches --exclude-unreachable-branches \
        --json "$report/counts.json" "$tree" &&
        gcovr --root . --add-tracefile "$report/counts.json" --html-details "$report/index.html"
}

main() {
    if [[ ${1:-} == -* ]]; then
        sed -n '2,/^set /{/^#/s/^# \{0,1\}//p}' "$0"
        return 2
    fi
    local -a targets=(all)
    [[ $# -eq 0 ]] || targets=("${@/#/tests_}")
    [[ -n ${VT_NO_SETUP:-} ]] || bash scripts/setup.sh build test demo proof || return 1
    cmake --preset coverage -UVT_DEMO &&
        cmake --build --preset coverage -j "$jobs" --target "${targets[@]}" || return 1
    local status=0
    run_tests "$@" || status=1
    count || return 1
    python3 scripts/coverage_report.py --least "$least" "$report/counts.json" "$report" "$@" || status=1
    return "$status"
}

main "$@"

#!/usr/bin/env bash
# Runs the native tests under valgrind's memcheck, which sees what the sanitizers do not: reads of what was never written.
#
#   scripts/valgrind.sh                 every room, the fuzz targets' corpora, and the tools
#   scripts/valgrind.sh ber platform    these
#
# The build (preset valgrind) has no pool of small blocks, which would hide reads of freed memory. Instructions that
# valgrind does not know are hidden by its CPUID, so that the portable kernels run. tests/support/valgrind.supp has what is
# known of other people's libraries. Logs are in build/results/valgrind. The last line is "N clean, N with findings";
# exit status: 0 when all are clean. It is far too slow for each run of the tests; VT_JOBS programs run at once.
# VT_VALGRIND has more options for valgrind, such as --track-origins=yes. VT_RESULTS is another folder for the logs.
# VT_NO_SETUP=1: install nothing.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 1
jobs=${VT_JOBS:-$(nproc)}
results=${VT_RESULTS:-$PWD/build/results/valgrind}
finding=99

# Test cases that have no place here, as a GoogleTest filter for each program: their limits of time are those of a
# processor, and valgrind is some thirty times slower.
timed=der_decoder_limits_test
declare -A left_out=(
    [test_asn]="$timed.ALarge*:$timed.LargeValues*:$timed.AListOfAHundred*:$timed.AListInTheWorst*"
    [test_flat]=signed_message_test.ThousandsOfSignersAndCertificates
)

# What is run, a line each: room, name, folder, then the command's words.
list_programs() {
    ctest --test-dir build/valgrind --show-only=json-v1 | python3 -c '
import json, os, sys
seen = set()
for test in json.load(sys.stdin)["tests"]:
    properties = {entry["name"]: entry["value"] for entry in test["properties"]}
    command = [word for word in test.get("command", []) if not word.startswith("--gtest_")]
    name = os.path.basename(command[0]) if command else ""
    if name.startswith("python3") and test["name"].startswith("tools."):
        name = test["name"]
    if name.startswith(("test_", "fuzz_", "tools.")) and name not in seen:
        seen.add(name)
        print(properties["LABELS"][0], name, properties["WORKING_DIRECTORY"], *command, sep="\t")
'
}

run_one() {  # name folder command...
    local name=$1 folder=$2 log=$results/$1
    shift 2
    # A block that only a pointer into its middle leads to is not lost: NSS keeps its arenas so.
    local -a memcheck=(valgrind --quiet --leak-check=full --show-leak-kinds=definite --errors-for-leak-kinds=definite
        --num-callers=30 --soname-synonyms=somalloc=nouserintercepts
        "--suppressions=$PWD/tests/support/valgrind.supp" "--log-file=$log.%p.valgrind" "--error-exitcode=$finding")
    # shellcheck disable=SC2206  # words are meant
    memcheck+=(${VT_VALGRIND:-})
    local -a command=("${memcheck[@]}" "$@")
    # The tools are called by their tests, many times.
    [[ $name != tools.* ]] || command=("$1" "$2" "${memcheck[@]}" "${@:3}")
    [[ -z ${left_out[$name]:-} ]] || command+=("--gtest_filter=-${left_out[$name]}")
    rm -f "$log".*
    local began=$SECONDS status
    (cd "$folder" && VT_TEST_RUNNER="${memcheck[*]}" exec "${command[@]}") >"$log.log" 2>&1 </dev/null
    status=$?
    find "$results" -name "$name.*.valgrind" -empty -delete
    if [[ $status -eq 0 ]] && ! compgen -G "$log.*.valgrind" >/dev/null; then
        printf 'clean    %s (%d s)\n' "$name" $((SECONDS - began))
        return 0
    fi
    printf 'FINDING  %s (%d s), exit status %d, see %s.*\n' "$name" $((SECONDS - began)) "$status" "$log"
    grep -hE '^\[  FAILED  \]|^FAIL:' "$log.log" | sort -u | head -n 20
    cat "$log".*.valgrind 2>/dev/null | head -n 60
    return 1
}

main() {
    [[ ${1:-} != -* ]] || { sed -n '2,/^set /{/^#/s/^# \{0,1\}//p}' "$0"; return 2; }
    [[ -n ${VT_NO_SETUP:-} ]] || bash scripts/setup.sh build test proof || return 1
    mkdir -p "$results"
    cmake --preset valgrind >/dev/null || return 1
    local -a targets=("${@/#/tests_}")
    [[ $# -gt 0 ]] || targets=(all)
    cmake --build --preset valgrind -j "$jobs" --target "${targets[@]}" || return 1

    local room name words all clean
    local -a command=()
    rm -f "$results"/*.status
    while IFS=$'\t' read -r room name words; do
        [[ $# -eq 0 || " $* " == *" $room "* ]] || continue
        while [[ $(jobs -rp | wc -l) -ge $jobs ]]; do
            wait -n
        done
        IFS=$'\t' read -ra command <<<"$words"
        { run_one "$name" "${command[@]}"; printf '%d\n' $? >"$results/$name.status"; } &
    done < <(list_programs)
    wait
    all=$(find "$results" -name '*.status' | wc -l)
    clean=$(grep -lx 0 "$results"/*.status 2>/dev/null | wc -l)
    printf '%d clean, %d with findings\n' "$clean" $((all - clean))
    [[ $all -gt 0 && $clean -eq $all ]]
}

main "$@"

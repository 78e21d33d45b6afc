#!/usr/bin/env bash
# Installs what is missing, builds, and runs the tests.
#
#   scripts/test.sh                     everything: native, asan, windows, style and scripts
#   scripts/test.sh native              one build, all its rooms
#   scripts/test.sh native asan ber     two builds, one room
#   scripts/test.sh ber                 one room on all three builds
#   scripts/test.sh style               formatting, clang-tidy, shellcheck, every public name documented
#   scripts/test.sh scripts             the scripts' own tests, and whether the documents' links lead somewhere
#
# A room is a ctest label. The last line is "N passed, N failed", with ", N skipped" where something could not be had
# (each skip is named above it with its reason). N counts test cases; a build or a check that fails counts as one.
# Exit status: 0 when nothing failed and something ran.
#
# VT_JOBS: how many compilers and tests at once (else the number of processors). VT_WINEPREFIX: the Wine prefix (else
# build/wine). VT_NO_SETUP=1: install nothing.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 1
jobs=${VT_JOBS:-$(nproc)}
results=$PWD/build/results
passed=0
failed=0
skipped=0
started=$SECONDS
xvfb_pid=
lint_pid=

section() { printf '\n== %s  (%d min %02d s)\n' "$*" $(((SECONDS - started) / 60)) $(((SECONDS - started) % 60)); }

count() {  # passed failed skipped
    passed=$((passed + $1))
    failed=$((failed + $2))
    skipped=$((skipped + $3))
}

# A step towards the tests: counted, as one case, only when it fails; then its output is shown.
step() {  # name command...
    check "$@" && count -1 0 0
}

# One check that is a single case: its output is shown only when it fails.
check() {  # name command...
    local name=$1 log
    shift
    log=$results/${name//[^a-zA-Z0-9._-]/_}.log
    if "$@" >"$log" 2>&1 </dev/null; then
        count 1 0 0
        printf 'passed   %s\n' "$name"
        return 0
    fi
    count 0 1 0
    printf 'FAILED   %s\n' "$name"
    tail -n 60 "$log"
    return 1
}

skip() {  # name reason
    count 0 0 1
    printf 'skipped  %s: %s\n' "$1" "$2"
}

# Adds up what ctest wrote, prints each failure and each skip, and gives "passed failed skipped" on its last line.
tally() {  # build junit-file folder-of-gtest-files
    local output
    if ! output=$(python3 scripts/count_results.py "$@"); then
        printf '%s\nFAILED   %s: its results could not be read\n' "$output" "$1"
        count 0 1 0
        return
    fi
    sed '$d' <<<"$output"
    local -a numbers
    read -ra numbers <<<"${output##*$'\n'}"
    count "${numbers[@]}"
    printf '%s: %d passed, %d failed, %d skipped\n' "$1" "${numbers[@]}"
}

configure() {  # build
    # Whether the window can be built is looked at anew: the engine may have been installed meanwhile.
    step "$1 configure" cmake --preset "$1" -UVT_DEMO
}

# With rooms, builds those rooms' test programs (the target tests_<room>), or everything for a room of scripts alone.
build() {  # build room...
    local build=$1 room help labels
    local -a targets=()
    shift
    help=$(cmake --build --preset "$build" --target help 2>/dev/null)
    labels=$(ctest --preset "$build" --print-labels 2>/dev/null)
    for room in "$@"; do
        if grep -q "^tests_$room:" <<<"$help"; then
            targets+=("tests_$room")
        elif grep -qx " *$room" <<<"$labels"; then
            targets+=(all)
        else
            count 0 1 0
            printf 'FAILED   %s: there is no room %s\n' "$build" "$room"
            return 1
        fi
    done
    [[ ${#targets[@]} -gt 0 ]] || targets=(all)
    step "$build build" cmake --build --preset "$build" -j "$jobs" --target "${targets[@]}" -- -k 0
}

start_display() {
    [[ -z $xvfb_pid ]] && command -v Xvfb >/dev/null || return 0
    local number=$results/display
    # A number left by an earlier run names a display that is gone.
    rm -f "$number"
    Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp 3>"$number" >/dev/null 2>&1 &
    xvfb_pid=$!
    for _ in $(seq 50); do
        [[ -s $number ]] && break
        sleep 0.1
    done
    DISPLAY=:$(cat "$number")
    export DISPLAY
}

clean_up() {
    stop_lint_ahead
    [[ -z ${wine_runs:-} ]] || bash scripts/wine.sh --stop
    [[ -z $xvfb_pid ]] || kill "$xvfb_pid" 2>/dev/null
}

run_tests() {  # build room...
    local build=$1 pattern=''
    shift
    local junit=$results/$build.xml gtest=$results/$build
    local -a select=()
    if [[ $# -gt 0 ]]; then
        pattern=$(IFS='|' && printf '%s' "$*")
        select=(-L "^($pattern)\$")
    fi
    rm -rf "$junit" "$gtest"
    mkdir -p "$gtest"
    section "$build: tests"
    start_display
    local -a environment=(ASAN_OPTIONS="detect_leaks=1:${ASAN_OPTIONS:-}"
        UBSAN_OPTIONS="print_stacktrace=1:${UBSAN_OPTIONS:-}")
    local at_once=$jobs
    if [[ $build == windows ]]; then
        # A Windows program is one ctest; its cases are counted from the file that GoogleTest writes.
        environment=(GTEST_OUTPUT="xml:Z:$gtest/")
        at_once=1
        wine_runs=1
        bash scripts/wine.sh --start
    fi
    env "${environment[@]}" ctest --preset "$build" -j "$at_once" --no-tests=error --output-junit "$junit" \
        --test-output-size-failed 20000 --quiet "${select[@]}" >"$results/$build.ctest.log" 2>&1 </dev/null
    local status=$? before=$failed
    tally "$build" "$junit" "$gtest"
    if [[ $status -ne 0 && $failed -eq $before ]]; then
        count 0 1 0
        printf 'FAILED   %s: ctest ended with %d%s\n' "$build" "$status" "${pattern:+ (is there a room $pattern?)}"
        tail -n 20 "$results/$build.ctest.log"
    fi
}

run_build() {  # build room...
    local build=$1
    section "$build: build"
    configure "$build" || return 1
    build "$@" || return 1
    if [[ $# -eq 1 && $build == native ]]; then
        check "$build each header compiles alone" \
            cmake --build --preset "$build" -j "$jobs" --target all_verify_interface_header_sets
    fi
    [[ $build != windows || -z ${style:-} ]] || start_lint_ahead
    run_tests "$@"
}

run_style() {
    section "style"
    check "style shellcheck" bash tests/style/shell.sh
    check "style format" bash tests/style/format.sh
    check "style api reference" scripts/api.sh
    [[ -e build/native/compile_commands.json ]] || configure native
    # Generated headers must exist, and the build's own list of dependencies is the key of the cache.
    step "native build" cmake --build --preset native -j "$jobs" || return 1
    section "style: clang-tidy (files that did not change since they passed are not looked at again)"
    check "style tidy" python3 tests/style/tidy.py --jobs "$jobs"
}

# The linter, for one processor: the programs under Wine take turns and leave the others idle. What it has looked at by
# then, run_style need not look at again.
start_lint_ahead() {
    [[ $jobs -gt 1 ]] || return 0
    python3 tests/style/tidy.py --jobs 1 >/dev/null 2>&1 </dev/null &
    lint_pid=$!
}

stop_lint_ahead() {
    [[ -n $lint_pid ]] || return 0
    kill "$lint_pid" 2>/dev/null
    wait "$lint_pid" 2>/dev/null
    lint_pid=
}

run_scripts() {
    section "scripts"
    local file
    for file in tests/scripts/*_test.py; do
        tally_unittest "$file"
    done
}

tally_unittest() {  # file
    local log
    log=$results/$(basename "$1").log
    python3 "$1" -v >"$log" 2>&1 </dev/null
    local status=$? ran bad ignored
    ran=$(sed -n 's/^Ran \([0-9]*\) test.*/\1/p' "$log" | tail -n 1)
    bad=$(sed -n 's/^FAILED (\(.*\))/\1/p' "$log" | grep -oE '(failures|errors)=[0-9]+' | cut -d= -f2 | paste -sd+)
    ignored=$(tail -n 1 "$log" | grep -oE 'skipped=[0-9]+' | cut -d= -f2)
    ran=${ran:-0}
    bad=$((${bad:-0}))
    ignored=${ignored:-0}
    [[ $status -eq 0 || $bad -gt 0 ]] || bad=1
    [[ $ran -ge $((bad + ignored)) ]] || ran=$((bad + ignored))
    count $((ran - bad - ignored)) "$bad" "$ignored"
    printf '%s: %d passed, %d failed, %d skipped\n' "$1" $((ran - bad - ignored)) "$bad" "$ignored"
    sed -n "s/^\(.*\) \.\.\. skipped \(.*\)/skipped  \1: \2/p" "$log"
    [[ $bad -eq 0 ]] || tail -n 60 "$log"
}

# What the builds need. no_windows is set to the reason when Windows programs cannot be built or run.
set_up() {  # number-of-rooms build...
    local rooms=$1
    shift
    local -a groups=(build test)
    [[ " $* " != *" windows "* ]] || groups+=(windows)
    # The page's tests belong to a run of all rooms.
    [[ $rooms -gt 0 || " $* " != *" native "* ]] || groups+=(demo)
    bash scripts/setup.sh "${groups[@]}" && return
    local group
    for group in "${groups[@]}"; do
        bash scripts/setup.sh "$group" && continue
        case $group in
            windows) no_windows="mingw and Wine could not be installed (see above)" ;;
            demo) skip "browser" "the browser engine could not be installed (see above)" ;;
            *) count 0 1 0 && printf 'FAILED   setup %s\n' "$group" ;;
        esac
    done
}

main() {
    local argument style='' scripts=''
    local -a builds=() rooms=()
    for argument in "$@"; do
        case $argument in
            native | asan | windows) builds+=("$argument") ;;
            style) style=1 ;;
            scripts) scripts=1 ;;
            -*)
                sed -n '2,/^set /{/^#/s/^# \{0,1\}//p}' "$0"
                return 2
                ;;
            *) rooms+=("$argument") ;;
        esac
    done
    if [[ ${#builds[@]} -eq 0 && -z $style$scripts ]]; then
        builds=(native asan windows)
        [[ ${#rooms[@]} -gt 0 ]] || { style=1 scripts=1; }
    fi
    mkdir -p "$results"
    trap clean_up EXIT

    no_windows=''
    if [[ -z ${VT_NO_SETUP:-} ]]; then
        section "setup"
        set_up "${#rooms[@]}" "${builds[@]}"
    fi
    if [[ -z $no_windows ]] && ! { command -v i686-w64-mingw32-g++-posix && command -v wine; } >/dev/null; then
        no_windows="there is no mingw or no Wine here"
    fi

    local build
    for build in "${builds[@]}"; do
        if [[ $build == windows && -n $no_windows ]]; then
            skip windows "$no_windows"
            continue
        fi
        run_build "$build" "${rooms[@]}"
    done
    [[ -z $scripts ]] || run_scripts
    stop_lint_ahead
    [[ -z $style ]] || run_style

    section "done"
    if [[ $skipped -gt 0 ]]; then
        printf '%d passed, %d failed, %d skipped\n' "$passed" "$failed" "$skipped"
    else
        printf '%d passed, %d failed\n' "$passed" "$failed"
    fi
    [[ $failed -eq 0 && $passed -gt 0 ]]
}

main "$@"

#!/usr/bin/env bash
# Makes what is handed out, under build/packages, from the optimised builds.
#
#   scripts/package.sh            everything below
#   scripts/package.sh deb        Debian packages: plug-in, toolkit library, development files, tools
#   scripts/package.sh windows    the installer of the plug-in for Windows
#
# Installs what is missing first; with VT_NO_SETUP=1 nothing. VT_JOBS: how many compilers at once (else the number of
# processors). Exit status: 0 when everything that was asked for has been made.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
jobs=${VT_JOBS:-$(nproc)}
packages=build/packages
# Whoever makes them, what is in them may be read by all.
umask 022

say() { printf 'package: %s\n' "$*"; }

set_up() {  # group...
    [[ -n ${VT_NO_SETUP:-} ]] || bash scripts/setup.sh "$@"
}

package_deb() {
    set_up build
    [[ -e build/native/build.ninja ]] || cmake --preset native
    cmake --build --preset native -j "$jobs" --target products
    mkdir -p "$packages"
    rm -f "$packages"/*.deb
    # The same files whenever they are made: the time in them is that of the change log's entry.
    SOURCE_DATE_EPOCH=$(dpkg-parsechangelog -l packaging/deb/changelog -S Timestamp) \
        cpack --config build/native/CPackConfig.cmake -B "$packages" >"$packages/deb.log" 2>&1 || {
        tail -n 40 "$packages/deb.log" >&2
        return 1
    }
    rm -rf "$packages/_CPack_Packages"
    for package in "$packages"/*.deb; do
        say "made $package"
    done
}

package_windows() {
    set_up build windows
    say "made $(bash packaging/windows/make.sh)"
}

main() {
    local argument
    local -a kinds=()
    for argument in "$@"; do
        case $argument in
            deb | windows) kinds+=("$argument") ;;
            *)
                sed -n '2,/^set /{/^#/s/^# \{0,1\}//p}' "$0"
                return 2
                ;;
        esac
    done
    [[ ${#kinds[@]} -gt 0 ]] || kinds=(deb windows)
    for argument in "${kinds[@]}"; do
        "package_$argument"
    done
}

main "$@"

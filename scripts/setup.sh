#!/usr/bin/env bash
# Installs with apt what this machine lacks, as root or through sudo, asking nothing.
#
#   scripts/setup.sh [--list] [group]...
#
# Groups: build windows test demo bench fuzz proof. Without a group: build windows test demo.
# --list prints the packages of the groups and installs nothing.
# VT_MAY_DOWNGRADE=1 or 0: whether packages may be taken back to the release's own versions where apt refuses otherwise
# (else: in CI, containers and chroots only).
# Exit status: 0 when everything is there, 1 when something could not be had (what, and what to do, is printed).
set -euo pipefail

declare -A packages=(
    [build]="build-essential cmake ninja-build pkg-config ccache libnss3-dev libnspr4-dev googletest libgtest-dev
        libgmock-dev python3"
    [windows]="g++-mingw-w64-i686-posix mingw-w64-i686-dev nsis wine wine32:i386 xvfb xauth fonts-liberation"
    [test]="libnss3-tools softhsm2 opensc openssl gnutls-bin xvfb xauth clang clang-format clang-tidy llvm
        libclang-rt-dev doxygen mandoc shellcheck git fakeroot"
    [demo]="libqt5webkit5-dev qtbase5-dev xvfb xauth openssl libnss3-tools fonts-dejavu-core"
    [bench]="libbenchmark-dev libssl-dev libgmp-dev libbotan-2-dev libcrypto++-dev libmbedtls-dev nettle-dev
        libtomcrypt-dev libtommath-dev libnss3-dev libksba-dev libtasn1-6-dev libgnutls28-dev libwolfssl-dev
        libgcrypt20-dev pkg-config python3-matplotlib fonts-dejavu-core"
    [fuzz]="clang llvm libclang-rt-dev"
    [proof]="gcovr valgrind"
)
pin_file=/etc/apt/preferences.d/vemtrel-certenroll

say() { printf 'setup: %s\n' "$*"; }
complain() { printf 'setup: %s\n' "$*" >&2; }

packages_of() {  # group...
    local group
    for group in "$@"; do
        tr -s ' \n' '\n' <<<"${packages[$group]}"
    done | sort -u
}

is_installed() { [[ $(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null) == installed ]]; }

# Package versions of a machine that somebody works on are not ours to move backwards.
may_downgrade() {
    [[ -z ${VT_MAY_DOWNGRADE:-} ]] || { [[ $VT_MAY_DOWNGRADE == 1 ]] && return 0 || return 1; }
    [[ ${CI:-} == true || ${CI:-} == 1 || -e /.dockerenv || -e /run/.containerenv || -n ${container:-} ]] && return 0
    systemd-detect-virt --quiet --container 2>/dev/null && return 0
    ischroot 2>/dev/null
}

as_root() {
    if [[ $EUID -eq 0 ]]; then
        "$@"
    else
        sudo ${no_tty:+-n} "$@"
    fi
}

apt_get() {
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -y -q -o DPkg::Lock::Timeout=600 -o Acquire::Retries=3 \
        -o Dpkg::Use-Pty=0 "$@" </dev/null
}

install_packages() { apt_get install --no-install-recommends "$@"; }

# A library that exists for two architectures must have one version on both. Where the i386 index is older than the
# security updates that this machine already has, apt refuses; the release's own versions are the same on both.
pin_release() {
    local codename
    codename=$(sed -n 's/^VERSION_CODENAME=//p' /etc/os-release)
    [[ -n $codename ]] || return 1
    printf 'Package: *\nPin: release n=%s\nPin-Priority: 1001\n' "$codename" | as_root tee "$pin_file" >/dev/null
}

explain_refusal() {
    complain "apt refused to install: $*"
    complain "If it speaks of libraries of different versions for amd64 and i386, the i386 package index is behind the"
    complain "security updates installed here. Bring both to the same state (apt-get update, apt-get dist-upgrade, again"
    complain "some hours later), or work in a container: there this script pins both architectures to the release's own"
    complain "versions. That is not done to a machine which people use, because it takes installed updates back."
}

main() {
    local list_only='' group
    local -a groups=() missing=()
    for group in "$@"; do
        case $group in
            --list) list_only=1 ;;
            build | windows | test | demo | bench | fuzz | proof) groups+=("$group") ;;
            -*)
                sed -n '2,/^set /{/^#/s/^# \{0,1\}//p}' "$0"
                return 2
                ;;
            *)
                complain "no such group: $group (build windows test demo bench fuzz proof)"
                return 1
                ;;
        esac
    done
    [[ ${#groups[@]} -gt 0 ]] || groups=(build windows test demo)
    local -a wanted
    mapfile -t wanted < <(packages_of "${groups[@]}")
    if [[ -n $list_only ]]; then
        printf '%s\n' "${wanted[@]}"
        return 0
    fi

    if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
        complain "this is no Debian system; what Debian calls these is needed: ${wanted[*]}"
        return 1
    fi
    local package
    for package in "${wanted[@]}"; do
        is_installed "$package" || missing+=("$package")
    done
    [[ ${#missing[@]} -gt 0 ]] || return 0

    say "installing ${missing[*]}"
    no_tty=''
    [[ -t 0 ]] || no_tty=1
    if [[ $EUID -ne 0 ]] && ! command -v sudo >/dev/null; then
        complain "not root, and there is no sudo. As root: apt-get install ${missing[*]}"
        return 1
    fi
    if [[ " ${missing[*]} " == *:i386* ]] && ! dpkg --print-foreign-architectures | grep -qx i386; then
        as_root dpkg --add-architecture i386
    fi
    apt_get update || complain "apt-get update failed; going on with the package lists that are there"
    if install_packages "${missing[@]}"; then
        return 0
    fi
    if [[ " ${missing[*]} " == *:i386* ]] && may_downgrade && pin_release; then
        say "apt refused; trying again with both architectures pinned to the release's own versions ($pin_file)"
        install_packages --allow-downgrades "${missing[@]}" && return 0
    fi
    explain_refusal "${missing[*]}"
    return 1
}

main "$@"

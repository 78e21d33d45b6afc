#!/usr/bin/env bash
# Enrols for a certificate from end to end, and says what happens and where the results lie.
#
#   scripts/demo.sh                  the page is driven by its own controls, on the screen or on a virtual one
#   scripts/demo.sh --interactive    the page is left to you; close the window to end
#   scripts/demo.sh --windows        the Windows build under Wine, with a small host in place of the browser
#
# Installs what is missing (scripts/setup.sh) and builds. The demonstration authority, its page and everything that the
# plug-in stores stay in build/demo: the home folder there is a scratch one, your own stores are not touched.
# Exit status: 0 when the enrolment succeeded.
#
# VT_JOBS: how many compilers at once (else the number of processors). VT_NO_SETUP=1: install nothing.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
top=$PWD
folder=$top/build/demo
home=$folder/home
results=$folder/results
authority_pid=
xvfb_pid=
wine_runs=
step=0

usage() { sed -n '2,/^set /{/^#/s/^# \{0,1\}//p}' "$0"; }
say() {
    step=$((step + 1))
    printf '\n%d. %s\n' "$step" "$*"
}
indent() { sed 's/^/   /'; }
fail() {
    printf '\nThe demonstration failed: %s\n' "$*" >&2
    exit 1
}

# Runs a command quietly; its output is shown when it fails.
quietly() {  # name command...
    local log=$folder/$1.log
    shift
    if ! "$@" >"$log" 2>&1 </dev/null; then
        tail -n 40 "$log" >&2
        fail "$*"
    fi
}

clean_up() {
    [[ -z $wine_runs ]] || scripts/wine.sh --stop >/dev/null 2>&1 || true
    [[ -z $authority_pid ]] || kill "$authority_pid" 2>/dev/null || true
    [[ -z $xvfb_pid ]] || kill "$xvfb_pid" 2>/dev/null || true
}
trap clean_up EXIT

# The screen of the machine, or else a virtual one.
start_screen() {
    [[ -z ${DISPLAY:-} ]] || return 0
    rm -f "$folder/display"
    Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp 3>"$folder/display" >"$folder/xvfb.log" 2>&1 &
    xvfb_pid=$!
    for _ in $(seq 100); do
        [[ ! -s $folder/display ]] || break
        sleep 0.1
    done
    [[ -s $folder/display ]] || fail "no virtual screen could be started; see $folder/xvfb.log"
    DISPLAY=:$(cat "$folder/display")
    export DISPLAY
}

set_up() {  # group...
    [[ -z ${VT_NO_SETUP:-} ]] || return 0
    say "Installing what this machine lacks"
    scripts/setup.sh "$@" || fail "something could not be installed"
}

build() {  # preset target...
    local preset=$1
    shift
    say "Building ($preset)"
    quietly "configure-$preset" cmake --preset "$preset"
    quietly "build-$preset" cmake --build --preset "$preset" -j "${VT_JOBS:-$(nproc)}" --target "$@"
}

start_authority() {
    say "Starting the demonstration authority"
    rm -f "$folder/address"
    (cd demo && exec python3 -B -m authority --state "$folder/authority") >"$folder/address" 2>"$folder/authority.log" &
    authority_pid=$!
    for _ in $(seq 300); do
        grep -qs 'http://' "$folder/address" && break
        kill -0 "$authority_pid" 2>/dev/null || fail "the authority did not start; see $folder/authority.log"
        sleep 0.1
    done
    address=$(grep -o 'http://[^ ]*' "$folder/address") || fail "the authority did not start; see $folder/authority.log"
    printf '   The page is at %s\n' "$address"
}

# The window has a home folder of its own, and so has everything that the plug-in stores. The driver's report comes
# through a channel of its own, beside the plug-in's diagnostics.
window() {  # argument...
    (
        cd "$results"
        HOME=$home XDG_RUNTIME_DIR=$home MOZ_PLUGIN_PATH=$top/build/native LC_ALL=C.UTF-8 \
            "$top/build/native/bin/certenroll_window" --storage "$home/page" --report /dev/fd/9 "$@" "$address"
    ) 9>&1 >>"$folder/plugin-output.log" 2>"$folder/window.log"
}

authority_client() { (cd demo && python3 -B -m authority.client "$@"); }

certificate_as_pem() {
    tr -d '\r\n' <"$results/certificate.txt" | openssl base64 -d -A |
        openssl x509 -inform DER -out "$results/certificate.pem" || fail "openssl cannot read the certificate"
}

request_as_pem() {
    {
        echo "-----BEGIN CERTIFICATE REQUEST-----"
        { tr -d '\r' <"$results/request.txt" && echo; } | sed '/^$/d'
        echo "-----END CERTIFICATE REQUEST-----"
    } >"$results/request.pem"
}

store_listing() {
    {
        certutil -L -d "sql:$home/.pki/nssdb"
        certutil -K -d "sql:$home/.pki/nssdb"
    } >"$results/store.txt" 2>&1 || fail "the store could not be listed; see $results/store.txt"
}

check_request_and_certificate() {
    say "What openssl says of the request and the certificate"
    openssl req -in "$results/request.pem" -noout -verify -subject >"$folder/openssl.log" 2>&1 || true
    indent <"$folder/openssl.log"
    grep -q 'verify OK' "$folder/openssl.log" || fail "the request's signature does not fit its key"
    openssl verify -CAfile "$folder/authority/root.pem" -untrusted "$folder/authority/issuing.pem" \
        "$results/certificate.pem" | indent
    cmp -s <(openssl req -in "$results/request.pem" -noout -pubkey) <(openssl x509 -in "$results/certificate.pem" -noout -pubkey) ||
        fail "the certificate is for another key than the request"
}

where_the_results_lie() {
    say "The results are in $results"
    local name
    for name in "$@"; do
        [[ -e $results/$name ]] || fail "$name is missing"
        printf '   %s\n' "$name"
    done
    printf '\nDone.\n'
}

start_afresh() {
    rm -rf "$home" "$results" "$folder/authority"
    mkdir -p "$home" "$results"
    chmod 700 "$home"
}

play_on_the_page() {  # script
    window --script "$top/demo/scripts/$1" | indent || fail "$(tail -n 3 "$folder/window.log")"
}

enrol_by_the_page() {
    set_up build demo
    build native npvemtrel_certenroll certenroll_window
    start_afresh
    start_screen
    start_authority
    say "Making a request on the page"
    play_on_the_page page_request.txt
    request_as_pem
    authority_client latest "$address" "$results" >/dev/null || fail "the authority has issued nothing"
    certificate_as_pem
    say "Installing the certificate with its chain"
    play_on_the_page page_install.txt
    check_request_and_certificate
    say "What NSS finds in the store (\"u\" is a certificate with its key)"
    store_listing
    indent <"$results/store.txt"
    grep -q 'u,u,u' "$results/store.txt" || fail "the store holds no certificate with its key"
    [[ $(grep -c ' ,, *$' "$results/store.txt") == 2 ]] || fail "the store does not hold the two authorities, untrusted"
    say "Trusting the authority, which only the user can decide (here with certutil)"
    certutil -M -d "sql:$home/.pki/nssdb" -n "Vemtrel Demonstration Root" -t C,,
    play_on_the_page page_known.txt
    where_the_results_lie request.txt certificate.txt certificate.pem store.txt 1-choose.png 2-requested.png \
        3-issued.png 4-installed.png 5-page.png
}

# Plays a script of the host program against the Windows build.
play_on_the_host() {  # script
    (cd "$results" && "$top/scripts/wine.sh" "$top/build/windows/bin/vt_host.exe" \
        "Z:$top/build/windows/npvemtrel_certenroll.dll" "Z:$top/demo/scripts/$1") >"$folder/host.log" 2>&1 ||
        fail "$(tail -n 3 "$folder/host.log")"
    cut -c 1-110 "$folder/host.log" | tr -d '\r' | grep -v '^=*$' | indent
}

list_windows_store() {  # store
    scripts/wine.sh "$top/build/windows/bin/vt_stores.exe" list "$1" 2>"$folder/wine.log" | tr -d '\r' ||
        fail "the store could not be listed; see $folder/wine.log"
}

fingerprint() {  # PEM file
    openssl x509 -in "$1" -noout -fingerprint -sha1 | tr -d : | sed 's/.*=//'
}

enrol_under_wine() {
    set_up build windows demo
    build windows npvemtrel_certenroll vt_host vt_stores
    export VT_WINEPREFIX=$folder/wine
    start_afresh
    rm -rf "$VT_WINEPREFIX"
    start_screen
    start_authority
    say "Making a scratch prefix for Wine"
    wine_runs=1
    quietly wine scripts/wine.sh --start
    say "Making a request, with the calls that a page makes"
    play_on_the_host host_request.txt
    python3 demo/tools/bmp_to_png.py "$results/window.bmp" "$results/window.png"
    request_as_pem
    say "Sending it to the authority"
    printf '   Order number '
    authority_client order "$address" "$results/request.txt" "$results" || fail "the authority has issued nothing"
    certificate_as_pem
    say "Installing the certificate with its chain"
    play_on_the_host host_install.txt
    check_request_and_certificate
    say "What CryptoAPI finds in the store (\"key\":true is a certificate with its own key)"
    list_windows_store MY >"$results/store.txt"
    indent <"$results/store.txt"
    grep -i "$(fingerprint "$results/certificate.pem")" "$results/store.txt" | grep -q '"key":true' ||
        fail "the certificate is not there with its key"
    say "What CryptoAPI finds in the stores of authorities"
    list_windows_store ROOT | grep -i "$(fingerprint "$folder/authority/root.pem")" | tee -a "$results/store.txt" | indent ||
        fail "the root is not there"
    list_windows_store CA | grep -i "$(fingerprint "$folder/authority/issuing.pem")" | tee -a "$results/store.txt" |
        indent || fail "the issuing authority is not there"
    where_the_results_lie request.txt certificate.txt certificate.pem store.txt window.png
}

leave_the_page_to_the_person() {
    [[ -n ${DISPLAY:-} ]] || fail "there is no screen (DISPLAY is not set) to open a window on"
    set_up build demo
    build native npvemtrel_certenroll certenroll_window
    mkdir -p "$home" "$results"
    chmod 700 "$home"
    start_authority
    say "The window is yours; close it to end. What you store lies in $home"
    window || fail "$(tail -n 3 "$folder/window.log")"
    if [[ -d $home/.pki/nssdb ]]; then
        say "What NSS finds in the store"
        store_listing
        indent <"$results/store.txt"
    fi
}

main() {
    mkdir -p "$folder"
    case ${1:-} in
        "") enrol_by_the_page ;;
        --interactive) leave_the_page_to_the_person ;;
        --windows) enrol_under_wine ;;
        *)
            usage
            exit 2
            ;;
    esac
}

main "$@"

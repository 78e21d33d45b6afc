#!/usr/bin/env bash
# Makes the reference of the toolkit's public headers with Doxygen: build/api/html/index.html.
#
#   scripts/api.sh            the pages
#   scripts/api.sh --check    no pages: only whether every name is documented and every reference leads somewhere
#
# Exit status: 0 when there is nothing to complain of. VT_NO_SETUP=1: install nothing.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
out=build/api
pages=YES
case ${1:-} in
    '') ;;
    --check)
        pages=NO
        out=build/api/check
        ;;
    *)
        sed -n '2,/^set /{/^#/s/^# \{0,1\}//p}' "$0"
        exit 2
        ;;
esac
[[ -n ${VT_NO_SETUP:-} ]] || bash scripts/setup.sh test

rm -rf "$out/headers" "$out/html"
mkdir -p "$out"
# The classes of the schema are made from tables; this takes no compiler.
mkdir -p "$out/generated/schema"
cmake -D FAMILIES=x509,pkcs,directory -D "OUT=$PWD/$out/generated/schema" -P schema/generate.cmake
python3 docs/api/headers.py "$out/headers" . "$out/generated"

version=$(sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
VT_API_VERSION=$version VT_API_OUT=$out VT_API_HEADERS=$PWD/$out/headers VT_API_PAGES=$pages doxygen docs/api/Doxyfile
[[ $pages == NO ]] || printf 'api: %s\n' "$out/html/index.html"

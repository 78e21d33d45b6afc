#!/usr/bin/env bash
# Makes the reference of the toolkit's public headers with Doxygen: build/api/html/index.html.
#
#   scripts/api.sh
#
# Exit status: 0 when every name is documented and every reference leads somewhere; else the complaints name the members.
# VT_NO_SETUP=1: install nothing.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
out=$PWD/build/api
if [[ $# -gt 0 ]]; then
    sed -n '2,/^set /{/^#/s/^# \{0,1\}//p}' "$0"
    exit 2
fi
[[ -n ${VT_NO_SETUP:-} ]] || bash scripts/setup.sh build test

rm -rf "$out"
mkdir -p "$out/generated/schema"
# The classes of the schema are made from tables; this takes no compiler.
cmake -D FAMILIES=x509,pkcs,directory -D "OUT=$out/generated/schema" -P schema/generate.cmake
python3 docs/api/headers.py "$out/headers" . "$out/generated"

version=$(sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
VT_API_VERSION=$version VT_API_OUT=$out VT_API_HEADERS=$out/headers doxygen docs/api/Doxyfile
printf 'api: %s\n' build/api/html/index.html

#!/usr/bin/env bash
# Makes the Windows installer, vemtrel-certenroll-VERSION-setup.exe.
#
#   packaging/windows/make.sh [plugin.dll [folder]]
#
# Without a DLL the preset windows builds it; without a folder the installer goes to build/packages. Prints the file's
# name. The same DLL gives the same installer, byte for byte, as long as SOURCE_DATE_EPOCH (else the time of the last
# commit) is the same. VT_JOBS: how many compilers at once (else the number of processors).
set -euo pipefail
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
dll=${1:-}
output=${2:-$top/build/packages}
version=$(sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' "$top/CMakeLists.txt")

if [[ -z $dll ]]; then
    dll=$top/build/windows/npvemtrel_certenroll.dll
    (cd "$top" && cmake --preset windows &&
        cmake --build --preset windows -j "${VT_JOBS:-$(nproc)}" --target npvemtrel_certenroll) >&2
fi
if [[ -z ${SOURCE_DATE_EPOCH:-} ]]; then
    SOURCE_DATE_EPOCH=$(git -C "$top" log -1 --format=%ct 2>/dev/null || stat -c %Y "$top/CHANGELOG.md")
fi
export SOURCE_DATE_EPOCH

# What is installed, in one folder, with the line ends of Windows.
files=$(mktemp -d)
trap 'rm -rf "$files"' EXIT
i686-w64-mingw32-strip --strip-all --preserve-dates -o "$files/npvemtrel_certenroll.dll" "$dll"
sed 's/$/\r/' "$top/LICENSE" >"$files/LICENSE.txt"
sed "s/@VERSION@/$version/; s/\$/\r/" "$top/packaging/windows/readme.txt" >"$files/README.txt"
touch --date="@$SOURCE_DATE_EPOCH" "$files"/*
size=$(du --apparent-size --block-size=1K --summarize "$files" | cut -f1)

mkdir -p "$output"
setup=$(cd "$output" && pwd)/vemtrel-certenroll-$version-setup.exe
TZ=UTC makensis -V2 -WX -INPUTCHARSET UTF8 "-DVERSION=$version" "-DFILES=$files" "-DSIZE=$size" "-DOUTPUT=$setup" \
    "$top/packaging/windows/installer.nsi" >&2
printf '%s\n' "$setup"

#!/usr/bin/env bash
# Runs a Windows program under Wine in a scratch prefix (VT_WINEPREFIX, else build/wine), never in the user's own.
#
#   scripts/wine.sh program.exe [argument]...
#   scripts/wine.sh --start     makes the prefix if there is none, and keeps its server running between programs
#   scripts/wine.sh --stop      ends everything that runs in the prefix
set -euo pipefail
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export WINEPREFIX=${VT_WINEPREFIX:-$top/build/wine}
export WINEARCH=win32
export WINEDEBUG=${WINEDEBUG:--all}
# No Mono or Gecko: nothing here needs them, and Wine would stop to ask for them.
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml=;winemenubuilder.exe=d}

# The server and its prefix are of the account that made them; a folder of somebody else's is refused by Wine.
mkdir -p "$(dirname "$WINEPREFIX")"

# Wine links the prefix's Documents, Desktop and so on to the home folder; give it one of its own. The browser's X
# cookie stays where it is.
export XAUTHORITY=${XAUTHORITY:-${HOME:-/}/.Xauthority}
export HOME=$WINEPREFIX.home
mkdir -p "$HOME"

case ${1:-} in
    --start)
        mkdir -p "$WINEPREFIX"
        wineserver -p
        # Wine's services begin here, and not below the first program: they would hold its output open for as long as
        # the server runs, and whoever reads it (ctest) would wait for its end.
        wine wineboot --init >/dev/null 2>&1 </dev/null
        ;;
    --stop)
        wineserver -k >/dev/null 2>&1 || true
        ;;
    *)
        exec wine "$@"
        ;;
esac

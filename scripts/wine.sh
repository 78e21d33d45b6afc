#!/usr/bin/env bash
# Runs a Windows program under Wine in a scratch prefix (VT_WINEPREFIX, else build/wine), never in the user's own.
set -euo pipefail
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export WINEPREFIX=${VT_WINEPREFIX:-$top/build/wine}
export WINEARCH=win32
export WINEDEBUG=${WINEDEBUG:--all}
# No Mono or Gecko: nothing here needs them, and Wine would stop to ask for them.
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml=}
mkdir -p "$(dirname "$WINEPREFIX")"
exec wine "$@"

#!/usr/bin/env bash
# Every C and C++ file of ours is as clang-format leaves it.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
mapfile -t files < <(git ls-files --cached --others --exclude-standard -- '*.h' '*.cpp' '*.c' ':!fuzz/corpus' | sort -u)
exec clang-format --dry-run --Werror "${files[@]}"

#!/usr/bin/env bash
# Every shell script of ours passes shellcheck.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
mapfile -t files < <(git ls-files --cached --others --exclude-standard -- '*.sh' '.ci/run' | sort -u)
exec shellcheck --external-sources "${files[@]}"

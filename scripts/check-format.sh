#!/usr/bin/env bash
# Fails (exit 1) when a tracked C++ source is not formatted by the repository's .clang-format,
# listing the files; `scripts/check-format.sh --fix` reformats them in place.
set -euo pipefail
cd "$(dirname "$0")/.."
mapfile -t files < <(git ls-files '*.cpp' '*.h')
if [[ "${1:-}" == "--fix" ]]; then
  clang-format -i "${files[@]}"
  exit 0
fi
# One clang-format run over every file; its warnings name the files that would change.
mapfile -t bad < <(clang-format --dry-run "${files[@]}" 2>&1 | sed -nE 's/^([^:]+):[0-9]+:[0-9]+: (warning|error):.*/\1/p' | sort -u)
if [[ ${#bad[@]} -gt 0 ]]; then
  echo "check-format: ${#bad[@]} file(s) not formatted (scripts/check-format.sh --fix):" >&2
  printf '  %s\n' "${bad[@]}" >&2
  exit 1
fi
echo "check-format: ${#files[@]} files formatted"

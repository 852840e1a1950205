#!/usr/bin/env bash
# Formats every C++ file of the tree in place; with --check, changes nothing and fails on the first difference.
set -euo pipefail
cd "$(dirname "$0")/.."

mode=(-i)
[ "${1-}" = --check ] && mode=(--dry-run -Werror)
git ls-files -z --cached --others --exclude-standard '*.h' '*.cpp' | xargs -0 clang-format "${mode[@]}"

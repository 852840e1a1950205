#!/usr/bin/env bash
# Writes the lists of what the libraries export, tests/shared/*.symbols, from the debug build. What the difference means
# for the version of the interface stands in docs/releases.md.
set -euo pipefail
cd "$(dirname "$0")/.."

cmake --preset debug >/dev/null
cmake --build --preset debug --target VeltrandCore VeltrandGL
tests/shared/check-exports.sh --update build/debug/lib/libVeltrand{Core,GL}.so
git diff --stat -- tests/shared

#!/usr/bin/env bash
# Builds the release preset and runs the benchmarks on an X server of their own; with --peers first, beside those
# of other libraries (scripts/setup.sh --peers). Further arguments go to the benchmark program, such as
# --benchmark_filter=upload.
set -euo pipefail
cd "$(dirname "$0")/.."

program=gl-benchmarks
setup=()
if [ "${1-}" = --peers ]; then
    program=peer-benchmarks
    setup=(--peers)
    shift
fi
scripts/setup.sh "${setup[@]}"
cmake --preset release >/dev/null
cmake --build --preset release --target "$program"
exec xvfb-run -a -s "-screen 0 1280x1024x24 -noreset" "build/release/bin/$program" "$@"

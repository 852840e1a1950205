#!/usr/bin/env bash
# Builds the release preset and runs the benchmarks on an X server of their own. Arguments go to the benchmark
# program, such as --benchmark_filter=upload.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release --target gl-benchmarks
exec xvfb-run -a -s "-screen 0 1280x1024x24 -noreset" build/release/bin/gl-benchmarks "$@"

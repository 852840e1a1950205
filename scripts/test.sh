#!/usr/bin/env bash
# Builds everything and runs the tests on an X server of their own.
#
#   scripts/test.sh          debug build, all tests, formatting
#   scripts/test.sh --all    also clang-tidy, a build with clang, the tests under the address,
#                            undefined-behaviour and thread sanitizers, and the Debian packages in a clean tree
set -euo pipefail
cd "$(dirname "$0")/.."

all=no
case "${1-}" in
    "") ;;
    --all) all=yes ;;
    *) echo "usage: scripts/test.sh [--all]" >&2; exit 2 ;;
esac

step() { printf '\n== %s (%d s)\n' "$*" "$SECONDS"; }

# Without -noreset the server forgets everything whenever its last client leaves; each context is a client.
with_display() {
    xvfb-run -a -s "-screen 0 1280x1024x24 -noreset -maxclients 2048" "$@"
}

# build PRESET [--target TARGET...]
build() {
    cmake --preset "$1" >/dev/null
    cmake --build --preset "$1" "${@:2}"
}

step "Packages"
scripts/setup.sh

step "Debug build"
build debug

step "Tests"
with_display ctest --test-dir build/debug --output-on-failure

step "Formatting"
scripts/format.sh --check

if [ "$all" = yes ]; then
    step "Build with clang"
    build clang

    step "clang-tidy"
    run-clang-tidy -quiet -p build/clang -j "$(nproc)" "$PWD/(Veltrand|apps|tests|benchmarks)/.*\.cpp$" \
        2>/dev/null | { grep -vE '^(clang-tidy|[0-9]+ warnings)|^$' || true; } | tee build/tidy.log
    ! grep -q 'error:\|warning:' build/tidy.log

    step "Address and undefined-behaviour sanitizers"
    build asan
    LSAN_OPTIONS=suppressions=$PWD/tests/sanitizers/lsan.supp:print_suppressions=0 \
    ASAN_OPTIONS=max_free_fill_size=65536:free_fill_byte=165 \
        with_display ctest --test-dir build/asan --output-on-failure

    step "Thread sanitizer"
    build tsan --target core-tests gl-tests context-tests
    TSAN_OPTIONS="suppressions=$PWD/tests/sanitizers/tsan.supp history_size=4 exitcode=66" \
        with_display ctest --test-dir build/tsan --output-on-failure --label-regex threads

    step "Debian packages"
    scripts/package.sh
    scripts/test-packages.sh || [ $? -eq 77 ] # it has said why it was skipped
fi
step "Done"

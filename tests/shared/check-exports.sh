#!/usr/bin/env bash
# Fails when a shared library exports anything outside the namespace Veltrand: OpenGL entry points, C symbols,
# pieces of the libraries it is built from.
set -euo pipefail

status=0
for library in "$@"; do
    symbols=$(nm --dynamic --defined-only --demangle --format=posix "$library" | sed 's/ [A-Za-z] [0-9a-f]* *[0-9a-f]*$//')
    count=$(wc -l <<<"$symbols")
    foreign=$(grep -vE '^((vtable|typeinfo|typeinfo name|VTT|guard variable|non-virtual thunk|virtual thunk) (for|to) )?Veltrand::' \
        <<<"$symbols" || true)
    # The name of a template follows its return type.
    foreign=$(grep -vE '^[^(<]+ Veltrand::' <<<"$foreign" || true)
    echo "$(basename "$library"): $count symbols"
    if [ -n "$foreign" ]; then
        echo "not in Veltrand:"
        echo "$foreign"
        status=1
    fi
done
exit $status

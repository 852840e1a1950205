#!/usr/bin/env bash
# Builds the gallery and makes its pictures under a virtual display of its own, which ends with it.
# Arguments go to veltrandgl-gallery; the pictures and index.html, the page that shows them, land in gallery/ of this
# checkout unless --out says otherwise.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$root/build/demo

"$root/scripts/setup.sh"
cmake -S "$root" -B "$build" -G Ninja --log-level=WARNING -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DVELTRAND_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" --target veltrandgl-gallery

# Without -noreset the server resets whenever its last client leaves, and connections fail meanwhile.
exec xvfb-run -a -s "-screen 0 1280x1024x24 -noreset" \
    "$build/bin/veltrandgl-gallery" --out "$root/gallery" "$@"

#!/usr/bin/env bash
# check-install.sh BUILD FOLDER: installs the libraries of a build into FOLDER, moves the installed tree, and has a
# user's project find them there.
set -euo pipefail

build=$1
folder=$2
here=$(cd "$(dirname "$0")" && pwd)
fail() { echo "$*" >&2; exit 1; }

rm -rf "$folder"
for component in runtime development; do
    cmake --install "$build" --prefix "$folder/first" --component $component >/dev/null
done
prefix=$folder/prefix
mv "$folder/first" "$prefix"

[ ! -e "$prefix/include/Veltrand/GL/detail" ] || fail "private headers are installed"

# What users read names neither this machine's folders nor what only the libraries themselves are made of.
mapfile -t found < <(find "$prefix" -name '*.cmake' -o -name '*.pc')
[ ${#found[@]} -eq 10 ] || fail "10 files for CMake and pkg-config expected, not: ${found[*]}"
root=$(cd "$here/../.." && pwd)
private="VeltrandOptions|Objects|Glad|-W|X11::|OpenGL::|Freetype|Boost|zstd|sodium|utf8cpp"
if grep -nE "$build|$root|$private" "${found[@]}"; then
    fail "private parts are visible"
fi

libraries=$(dirname "$(find "$prefix" -name libVeltrandGL.so)")
export CMAKE_PREFIX_PATH=$prefix PKG_CONFIG_PATH=$libraries/pkgconfig LD_LIBRARY_PATH=$libraries

# The headers do without those that are not installed.
(cd "$prefix/include" && find Veltrand -name '*.h' -printf '#include <%p>\n') >"$folder/headers.cpp"
read -ra flags < <(pkg-config --cflags veltrandgl)
"$CXX" -std=c++20 -fsyntax-only "$folder/headers.cpp" "${flags[@]}"

"$here/consumer.sh" build "$folder/consumer"
"$here/consumer.sh" run "$folder/consumer"

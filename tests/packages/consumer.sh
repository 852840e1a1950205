#!/usr/bin/env bash
# consumer.sh build FOLDER  builds the consumer with what CMake finds and with what pkg-config finds
# consumer.sh run FOLDER    runs its programs and compares what they print
#
# Where to look is up to the environment: CMAKE_PREFIX_PATH, PKG_CONFIG_PATH, LD_LIBRARY_PATH, DISPLAY.
set -euo pipefail

source=$(cd "$(dirname "$0")/consumer" && pwd)
out=$2
: "${CXX:=g++}"

build() {
    rm -rf "$out"
    cmake -S "$source" -B "$out/cmake"
    cmake --build "$out/cmake"

    mkdir "$out/pkg-config"
    local flags=(-std=c++20 -Wall -Wextra -Wpedantic -Werror)
    local core gl
    read -ra core < <(pkg-config --cflags --libs veltrandcore)
    read -ra gl < <(pkg-config --cflags --libs veltrandgl)
    "$CXX" "${flags[@]}" "$source/core.cpp" "${core[@]}" -o "$out/pkg-config/core-consumer"
    "$CXX" "${flags[@]}" "$source/gl.cpp" "${gl[@]}" -o "$out/pkg-config/gl-consumer"
    # For a CPU with wider vectors.
    if [ "$(uname -m)" = x86_64 ]; then
        "$CXX" -std=c++20 -mavx -fsyntax-only "$source/gl.cpp" "${gl[@]}"
    fi
}

run() {
    local folder
    for folder in "$out/cmake" "$out/pkg-config"; do
        echo "$folder"
        "$folder/core-consumer" | diff - <(echo "there and back")
        "$folder/gl-consumer" | tee "$folder/letter.txt"
        diff "$source/letter.txt" "$folder/letter.txt"
    done
}

"$1"

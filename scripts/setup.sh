#!/usr/bin/env bash
# Installs every package that building, testing and the gallery need on Debian 12, as root or through sudo.
# With --peers also the libraries that the benchmarks can be compared with, a large download. Silent and quick
# when all are there.
set -euo pipefail

peers=()
case "${1-}" in
    "") ;;
    --peers) peers=(libftgl-dev libopenscenegraph-dev libvtk9-dev) ;;
    *) echo "usage: setup.sh [--peers]" >&2; exit 2 ;;
esac

packages=(
    # compilers and tools
    ccache clang clang-format clang-tidy cmake doxygen git g++ ninja-build pkg-config python3 python3-glad
    # libraries
    libboost-regex-dev libeigen3-dev libfreetype-dev libgl-dev libglx-dev libpng-dev libsodium-dev
    libutfcpp-dev libx11-dev libzstd-dev zlib1g-dev
    # tests and benchmarks
    libbenchmark-dev libgtest-dev
    # windows of toolkits that the tests draw into
    libglfw3-dev libqt6opengl6-dev libsdl2-dev qt6-base-dev
    # OpenGL without a screen
    libgl1-mesa-dri libglx-mesa0 xauth xvfb
    # the fonts that the library carries
    fonts-dejavu-core fonts-dejavu-extra
    # the gallery's volume
    mricron-data
    # Debian packages and a clean tree to test them in
    debootstrap dpkg-dev file
    "${peers[@]}"
)

missing=()
for package in "${packages[@]}"; do
    status=$(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$status" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "setup.sh: run this as root, or install sudo" >&2; exit 1; }
    as_root=(sudo)
fi
echo "Installing: ${missing[*]}"
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"

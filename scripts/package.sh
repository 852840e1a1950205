#!/usr/bin/env bash
# Builds the Debian packages of a release into build/package/packages, as Debian compiles its own: hardened, stripped,
# and the same bytes from the same commit. Arguments go to CMake, such as -DVELTRAND_PACKAGE_MAINTAINER="Name <address>".
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
eval "$(DEB_BUILD_MAINT_OPTIONS=hardening=+bindnow dpkg-buildflags --export=sh)"
CFLAGS+=" $CPPFLAGS"
CXXFLAGS+=" $CPPFLAGS"
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export CFLAGS CXXFLAGS LDFLAGS ASMFLAGS="$CFLAGS" SOURCE_DATE_EPOCH

# A build folder keeps the flags and the dates of its first configuration.
cmake --preset package --fresh "$@" >/dev/null
cmake --build --preset package
rm -rf build/package/packages
cpack --config build/package/CPackConfig.cmake >/dev/null
ls -l build/package/packages/*.deb

#!/usr/bin/env bash
# Installs the packages that scripts/package.sh has built into a clean tree of this Debian release, one after the other,
# and proves there that each brings what it needs; builds a user's project by CMake and by pkg-config, and runs it and
# the tools on a virtual display without a network.
#
# Needs root, for a tree of its own to change into; without, it ends with status 77: skipped. The bare tree is kept in
# build/package-tree for the next time.
set -euo pipefail
cd "$(dirname "$0")/.."

skip() {
    echo "test-packages.sh: skipped: $*" >&2
    exit 77
}
fail() {
    echo "test-packages.sh: $*" >&2
    exit 1
}
step() { printf -- '-- %s (%d s)\n' "$*" "$SECONDS"; }

[ "$(id -u)" -eq 0 ] || skip "needs root"
unshare --mount --pid --net --fork true 2>/dev/null || skip "needs namespaces of its own, which this machine denies"
packages=build/package/packages
[ -d $packages ] || fail "no packages; scripts/package.sh builds them"

# The packages are for the release that they were built on.
suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
sources=$(apt-get indextargets --format 'deb $(REPO_URI) $(RELEASE) $(COMPONENT)' 'Identifier: Packages' |
    grep -E " $suite(-updates|-security)? main$") || fail "the sources of apt name no mirror of $suite"
mirror=$(awk -v suite="$suite" '$3 == suite { print $2; exit }' <<<"$sources")

bare=build/package-tree/$suite.tar
if [ ! -f "$bare" ]; then
    step "A bare $suite"
    mkdir -p build/package-tree
    log=build/package-tree/debootstrap.log
    fresh=$(mktemp -d build/package-tree/fresh.XXXXXX)
    trap 'rm -rf "$fresh"' EXIT
    debootstrap --variant=minbase "$suite" "$fresh" "$mirror" >$log 2>&1 || { tail $log >&2; exit 1; }
    tar -C "$fresh" --one-file-system -cf "$bare.part" .
    mv "$bare.part" "$bare"
    rm -rf "$fresh"
fi

tree=$(mktemp -d "$PWD/build/package-tree/tree.XXXXXX")
trap 'rm -rf "$tree"' EXIT
chmod 755 "$tree"
tar -C "$tree" -xf "$bare"
echo "$sources" >"$tree/etc/apt/sources.list"
cp /etc/resolv.conf "$tree/etc/resolv.conf"
echo force-unsafe-io >"$tree/etc/dpkg/dpkg.cfg.d/quick" # the tree need not survive a power failure
mkdir "$tree/packages"
cp $packages/*.deb "$tree/packages"
cp -r tests/packages "$tree/tests"

# What runs in the tree has mounts and processes of its own, which end with it however it ends.
environment=(PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive)
isolation=()
inside() {
    unshare --mount --pid --fork --kill-child --mount-proc="$tree/proc" "${isolation[@]}" \
        chroot "$tree" env -i "${environment[@]}" "$@"
}
# An X server does not tell process 1 that it is ready, so that xvfb-run has to be another.
on_display() {
    local isolation=(--net)
    inside timeout 120 xvfb-run -a -s "-screen 0 1280x1024x24 -noreset" "$@"
}
# Says what it said only when it fails.
quietly() { "$@" >"$tree/log" 2>&1 || { cat "$tree/log" >&2; exit 1; }; }
apt() { quietly inside apt-get --yes -qq -o Dpkg::Use-Pty=0 --no-install-recommends "$@"; }
install_package() { apt install "/packages/$(basename "$tree/packages/$1"_*.deb)"; }
is_installed() { inside dpkg-query --show --showformat='${db:Status-Status}' "$1" 2>/dev/null | grep -qx installed; }
# Fails when the loader misses a library.
loads() {
    local file
    for file in "$@"; do
        ! inside ldd "$file" | grep "not found" || fail "$file does not load"
    done
}

apt update
step "The libraries alone"
install_package libveltrandgl
mapfile -t libraries < <(inside dpkg -L libveltrandgl | grep '\.so\.[0-9.]*$')
[ ${#libraries[@]} -eq 4 ] || fail "two libraries under two names each expected, not: ${libraries[*]}"
loads "${libraries[@]}"
[ "$(inside ldconfig -p | grep -c libVeltrand)" -eq 2 ] || fail "ldconfig does not know the libraries"

step "The tools"
install_package veltrandgl-tools
mapfile -t tools < <(inside dpkg -L veltrandgl-tools | grep '^/usr/bin/.')
loads "${tools[@]}"
version=$(inside dpkg-query --show --showformat='${Version}' libveltrandgl)
for tool in "${tools[@]}"; do
    inside "$tool" --help >/dev/null || fail "$tool --help fails"
    inside "$tool" --version | grep " $version\$" >/dev/null || fail "$tool tells another version"
done

step "A user's project"
install_package libveltrandgl-dev
apt install cmake dpkg-dev g++ make pkg-config
for package in libx11-dev libgl-dev libglx-dev libfreetype-dev libboost-dev libzstd-dev libsodium-dev; do
    ! is_installed $package || fail "$package is there, so that nobody would notice if users needed it"
done
quietly inside /tests/consumer.sh build /consumer
# Its own package would depend on any release with this interface.
depends=$(inside sh -c 'mkdir -p /mine/debian && cd /mine && >debian/control &&
    dpkg-shlibdeps -O /consumer/cmake/gl-consumer 2>/dev/null')
for bound in ">=" "<<"; do
    grep -q "libveltrandgl ($bound" <<<"$depends" || fail "programs of users depend on: $depends"
done

step "On a display"
apt install mricron-data xauth xvfb
quietly on_display /tests/consumer.sh run /consumer
on_display veltrandgl-info | grep "Veltrand GL *$version" || fail "veltrandgl-info tells another version"
mkdir "$tree/shaders"
printf '#version 330\nvoid main() {}\n' >"$tree/shaders/good.frag"
printf '#version 330\nvoid main() { oops }\n' >"$tree/shaders/bad.frag"
on_display veltrandgl-shadercheck --dir My=/shaders My/good.frag || fail "veltrandgl-shadercheck refuses a good shader"
if on_display veltrandgl-shadercheck --dir My=/shaders My/bad.frag; then
    fail "veltrandgl-shadercheck passes a bad shader"
fi
quietly on_display veltrandgl-gallery --out /gallery slices
[ -s "$tree/gallery/slices.png" ] || fail "veltrandgl-gallery makes no picture"

step "Without the development files"
apt purge libveltrandgl-dev
quietly on_display /tests/consumer.sh run /consumer

step "Without any of it"
apt purge veltrandgl-tools libveltrandgl
left=$(find "$tree/usr" "$tree/etc" "$tree/var/lib" -xdev -ipath '*veltrand*')
[ -z "$left" ] || fail "left behind: $left"
step "Packages are good"

#!/usr/bin/env bash
# check-exports.sh [--update] LIBRARY...
#
# Compares what each shared library exports with the list of its name beside this script, and shows what has come and
# gone; with --update, writes the lists. A name outside the namespace Veltrand passes neither way: OpenGL entry points,
# C symbols, pieces of the libraries it is built from.
set -euo pipefail
here=$(dirname "$0")

# Each line is the letter that nm gives for the kind of symbol, and the name.
exported() {
    nm --dynamic --defined-only --demangle --format=posix "$1" |
        sed -E 's/^(void )?(.*) ([A-Za-z]) [0-9a-f]+( [0-9a-f]*)?$/\3 \2/'
}
ours='^. ((vtable|typeinfo|typeinfo name|VTT|guard variable) for |(non-)?virtual thunk to )?Veltrand::'

# One line for each name much as it reads in the source: without the namespace, the templates of the standard library
# and of Eigen by their short names, constructors and destructors once. Inline variables and the tables of classes are
# left out, since each compiler and build type has its own mind about where they are needed.
list() {
    sed -E '
        /^([Vv] |. (typeinfo|vtable|VTT) )/d
        s/^. //
        s/\[abi:cxx11\]//
        s/std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >/std::string/g
        s/std::basic_string_view<char, std::char_traits<char> >/std::string_view/g
        s/std::span<([^<>]+), 18446744073709551615ul>/std::span<\1>/g
        s/Eigen::Matrix<(([a-z])[a-z ]*), (.), 1, 0, \3, 1>/Eigen::Vector\3\2/g
        s/Eigen::Matrix<(([a-z])[a-z ]*), (.), \3, 0, \3, \3>/Eigen::Matrix\3\2/g
        s/std::unique_ptr<(.+), std::default_delete<\1> >/std::unique_ptr<\1>/g
        s/std::vector<(.+), std::allocator<\1 ?> >/std::vector<\1>/g
        s/, std::less<(.+)>, std::allocator<std::pair<\1 ?const, .+> > >/>/
        s/std::(filesystem::)__cxx11::/std::\1/g
        s/> >/>>/g
        s/Veltrand::(GL::)?//g
    ' | LC_ALL=C sort --unique
}

update=no
if [ "$1" = --update ]; then
    update=yes
    shift
fi

status=0
for library in "$@"; do
    name=$(basename "${library%%.so*}")
    expected=$here/${name#lib}.symbols
    if foreign=$(exported "$library" | grep -vE "$ours"); then
        printf '%s exports names outside of Veltrand:\n%s\n' "$name" "$foreign"
        status=1
    elif [ "$update" = yes ]; then
        exported "$library" | list >"$expected"
    elif ! exported "$library" | list | diff --unified=0 --label "$expected" --label "$library" "$expected" -; then
        echo "If this is meant: scripts/update-symbols.sh, and docs/releases.md on the version of the interface."
        status=1
    fi
done
exit $status

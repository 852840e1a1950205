#!/bin/sh
# standard-output.sh PROGRAM VERSION STATUS: fails unless the program tells its version and ends with that status and
# a message when standard output is full, closed, or a pipe that nobody reads.
name=$(basename "$1")
[ "$("$1" --version)" = "$name $2" ] || { echo "another version"; exit 1; }

run() {
    "$@" --help
    [ $? = "$status" ] || echo "another status" >&2
}
status=$3
expect() {
    [ "$2" = "$name: cannot write to standard output: $1." ] || { echo "wrong for '$1': $2"; exit 1; }
}
expect "No space left on device" "$(run "$1" 2>&1 >/dev/full)"
expect "Bad file descriptor" "$(run "$1" 2>&1 >&-)"
expect "Broken pipe" "$( { { sleep 0.3; run "$1" 2>&3; } | true; } 3>&1)"

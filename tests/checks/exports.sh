#!/bin/sh
# Compares header, version script, built library and the sources of the C program that calls every
# function, so that a name can be neither forgotten nor leaked.
# Usage: exports.sh HEADER VERSION-SCRIPT LIBRARY CALLER...
set -eu

header=$1 version_script=$2 library=$3
shift 3

sorted() { LC_ALL=C sort; }
# Functions, and data with a number of entries.
declared=$(sed -n 's/^ORVANE_API [^([]*[ *]\([A-Za-z_0-9]*\)[([].*/\1/p' "$header" | sorted)
scripted=$(sed -n '/^global:/,/^local:/s/^ *\([A-Za-z_0-9]*\);$/\1/p' "$version_script" | sorted)
# The version node itself is an absolute symbol.
exported=$(nm -D --defined-only "$library" | sed -n 's/^[0-9a-f]* [^A] \(.*\)@@ORVANE_1\.0$/\1/p' | sorted)
defined=$(nm -D --defined-only "$library" | sed -n 's/^[0-9a-f]* [^A] //p' | sed 's/@.*//' | sorted)

status=0
same() {
    [ "$2" = "$3" ] && return
    printf 'These differ: %s\n--- first\n%s\n--- second\n%s\n' "$1" "$2" "$3"
    status=1
}
[ -n "$declared" ] || { echo "no declaration found in $header"; exit 1; }
same "header and version script" "$declared" "$scripted"
same "header and library" "$declared" "$exported"
same "symbols with and without the version node" "$exported" "$defined"
for name in $declared; do
    cat "$@" | grep -q "\b${name}[([,)]" || { echo "not used by $*: $name"; status=1; }
done
exit $status

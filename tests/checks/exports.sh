#!/bin/sh
# Holds header, version script, built library and the C program that calls everything against each
# other, so that a name can be neither forgotten nor leaked.
# Usage: exports.sh HEADER VERSION-SCRIPT LIBRARY CALLER
set -eu

sorted() { LC_ALL=C sort; }
# Functions, and data with a number of entries.
declared=$(sed -n 's/^ORVANE_API [^([]*[ *]\([A-Za-z_0-9]*\)[([].*/\1/p' "$1" | sorted)
scripted=$(sed -n '/^global:/,/^local:/s/^ *\([A-Za-z_0-9]*\);$/\1/p' "$2" | sorted)
# The version node itself is an absolute symbol.
exported=$(nm -D --defined-only "$3" | sed -n 's/^[0-9a-f]* [^A] \(.*\)@@ORVANE_1\.0$/\1/p' | sorted)
defined=$(nm -D --defined-only "$3" | sed -n 's/^[0-9a-f]* [^A] //p' | sed 's/@.*//' | sorted)

status=0
same() {
    [ "$2" = "$3" ] && return
    printf 'These differ: %s\n--- first\n%s\n--- second\n%s\n' "$1" "$2" "$3"
    status=1
}
[ -n "$declared" ] || { echo "no declaration found in $1"; exit 1; }
same "header and version script" "$declared" "$scripted"
same "header and library" "$declared" "$exported"
same "symbols with and without the version node" "$exported" "$defined"
for name in $declared; do
    grep -q "\b${name}[([]" "$4" || { echo "not used by $4: $name"; status=1; }
done
exit $status

#!/bin/sh
# Compares header, version script, built library, manual pages, the package's symbols and the sources
# of the C program that calls every function, so that a name can be neither forgotten nor leaked.
# Usage: exports.sh HEADER VERSION-SCRIPT LIBRARY MANUAL SYMBOLS CALLER...
set -eu

header=$1 version_script=$2 library=$3 manual=$4 symbols=$5
shift 5
work=$(mktemp -d)
trap 'rm -r "$work"' EXIT
export LC_ALL=C

# Functions, and data with a number of entries.
sed -n 's/^ORVANE_API [^([]*[ *]\([A-Za-z_0-9]*\)[([].*/\1/p' "$header" >"$work/header"
sed -n '/^global:/,/^local:/s/^ *\([A-Za-z_0-9]*\);$/\1/p' "$version_script" >"$work/script"
# The version node itself is an absolute symbol.
nm -D --defined-only "$library" | sed -n 's/^[0-9a-f]* [^A] //p' >"$work/defined"
sed -n 's/@@ORVANE_1\.0$//p' "$work/defined" >"$work/library"
# The overview names no function.
find "$manual" -name '*.3' ! -name liborvane.3 -exec \
    sed -n '/^\.Sh NAME$/,/^\.Sh SYNOPSIS$/s/^\.Nm \([A-Za-z_0-9]*\).*/\1/p' {} + >"$work/pages"
sed -n '/^ *ORVANE_1\.0@/d; s/^ \([A-Za-z_0-9]*\)@ORVANE_1\.0 .*/\1/p' "$symbols" >"$work/symbols"

status=0
violation() {
    echo "$1"
    status=2
}
# violations PREFIX: one for each name that is read.
violations() {
    while read -r name; do
        violation "$1: $name"
    done
}
# compare NAMES PLACE: the names that the library exports with others
compare() {
    comm -23 "$work/library.sorted" "$work/$1.sorted" >"$work/lacking"
    violations "exported, and not in $2" <"$work/lacking"
    comm -13 "$work/library.sorted" "$work/$1.sorted" >"$work/unknown"
    violations "not exported, and in $2" <"$work/unknown"
}

for names in header script library pages symbols; do
    [ -s "$work/$names" ] || { echo "no names found: $names"; exit 2; }
    sort "$work/$names" >"$work/$names.sorted"
    uniq -d "$work/$names.sorted" >"$work/twice"
    violations "twice in the $names" <"$work/twice"
done
grep -v '@@ORVANE_1\.0$' "$work/defined" >"$work/unversioned" || :
violations "exported without the version ORVANE_1.0" <"$work/unversioned"
compare header "$header"
compare script "$version_script"
compare pages "the section NAME of a page in $manual"
compare symbols "$symbols"
while read -r name; do
    cat "$@" | grep -q "\b${name}[([,)]" || violation "not used by $*: $name"
done <"$work/header"
exit $status

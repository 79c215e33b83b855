#!/bin/sh
# Draws the storage layouts and shows that a picture came of each, and that the documents hold the
# present ones.
# Usage: pictures.sh SOURCE-DIR WORK-DIR DOCUMENT...
set -eu

source=$1 work=$2/layouts
shift 2
rm -rf "$work"
"$source/scripts/pictures" "$work"
drawn=0
for scenario in $(cd "$source/tests/vm/scenarios" && grep -l '^\[picture\]' ./*); do
    grep -q '</svg>' "$work/$scenario.svg"
    drawn=$((drawn + 1))
done
[ $drawn -gt 0 ]

for document; do
    copy=$work/$(basename "$document")
    cp "$source/$document" "$copy"
    # shellcheck disable=SC2016 # the backquotes are the document's
    grep -q '^```text picture=' "$copy" || { echo "no picture in $document"; exit 1; }
    "$source/scripts/pictures" --renew "$copy"
    diff -u "$source/$document" "$copy" || {
        echo "to draw them again: scripts/pictures --renew $*"
        exit 1
    }
done

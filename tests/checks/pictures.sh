#!/bin/sh
# Draws the storage layouts and shows that a picture came of each.
# Usage: pictures.sh SOURCE-DIR WORK-DIR
set -eu

rm -rf "$2/layouts"
"$1/scripts/pictures" "$2/layouts"
drawn=0
for scenario in $(cd "$1/tests/vm/scenarios" && grep -l '^\[picture\]' ./*); do
    grep -q '</svg>' "$2/layouts/$scenario.svg"
    drawn=$((drawn + 1))
done
[ $drawn -gt 0 ]

#!/bin/sh
# Shows that a document lists the names that the library exports and no other, and their number.
# Usage: library_names.sh VERSION-SCRIPT DOCUMENT
set -eu

exported=$(sed -n '/^global:/,/^local:/s/^ *\([A-Za-z_0-9]*\);$/\1/p' "$1" | sort)
# shellcheck disable=SC2016 # the quotes are the document's
listed=$(sed -n '/^```names$/,/^```$/{/^```/d;p}' "$2" | tr -s ' ' '\n' | sort)
[ "$exported" = "$listed" ] || {
    echo "$2 and $1 differ in these names:"
    printf '%s\n' "$exported" "$listed" | sort | uniq -c | sed -n 's/^ *[013-9] //p'
    exit 1
}
functions=$(echo "$exported" | grep -vc '^manufacturerType$')
grep -q "exports $functions functions and one table" "$2" || {
    echo "$2 does not say that there are $functions functions and one table"
    exit 1
}

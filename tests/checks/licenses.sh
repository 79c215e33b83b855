#!/bin/sh
# Shows that the license of every file is known as REUSE demands it: by .reuse/dep5, which is
# debian/copyright, and by the line of its own that each C and C++ source has.
# Usage: licenses.sh SOURCE-DIR WORK-DIR
set -eu

source=$1 work=$2/licenses
rm -rf "$work"
mkdir -p "$work"
# Without git what is built would count as well, and root may not ask git about others' folders.
tar -C "$source" -c --exclude ./build --exclude ./.git . | tar -C "$work" -x
reuse --root "$work" lint >"$work.log" 2>&1 || {
    cat "$work.log"
    exit 1
}
unmarked=$(find "$work" -regex '.*\.\(c\|h\|cpp\)' \
    -exec grep -L '^/[/*] SPDX-[L]icense-Identifier: LGPL-2.1-or-later' {} + || true)
[ -z "$unmarked" ] || {
    echo "without the line of the license: $unmarked"
    exit 1
}
rm -r "$work"

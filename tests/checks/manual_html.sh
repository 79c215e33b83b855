#!/bin/sh
# Makes the HTML manual, shows that each page of it is whole, and that a failure leaves it as it was.
# Usage: manual_html.sh SOURCE-DIR WORK-DIR
set -eu

manual=$1/scripts/manual work=$2/manual_html
rm -rf "$work"
mkdir -p "$work/bin"
"$manual" "$work/manual"
pages=0
for page in "$1"/man/*.[1-8]; do
    tail -n 1 "$work/manual/${page##*/}.html" | grep -qx '</html>'
    pages=$((pages + 1))
done
[ $pages -gt 0 ]

# expect STATUS LINE FOLDER
expect() {
    status=0
    "$manual" "$3" 2>"$work/error" || status=$?
    if [ "$status" != "$1" ] || [ "$(cat "$work/error")" != "$2" ]; then
        echo "status $status, not $1 and '$2':"
        cat "$work/error"
        exit 1
    fi
}

# A converter that ends in the middle of a page.
cp -R "$work/manual" "$work/before"
printf '#!/bin/sh\necho "<html>"\necho "no space" >&2\nexit 6\n' >"$work/bin/mandoc"
chmod +x "$work/bin/mandoc"
(
    PATH=$work/bin:$PATH
    expect 1 'manual: mandoc: no space' "$work/manual"
    expect 1 'manual: mandoc: no space' "$work/none"
)
diff -r "$work/before" "$work/manual"
[ "$(ls -A "$work")" = "$(printf 'before\nbin\nerror\nmanual')" ]

expect 2 "manual: $work/bin is there, and is no manual" "$work/bin"
for tool in cat python3; do
    ln -s "$(command -v $tool)" "$work/bin/$tool"
done
rm "$work/bin/mandoc"
(
    PATH=$work/bin
    expect 2 'manual: mandoc is missing: install mandoc, or run scripts/setup all' "$work/manual"
)
diff -r "$work/before" "$work/manual"

#!/bin/bash
# Shows what scripts/abi lets pass and what it refuses, by changes that are planted one at a time in a
# copy of the project. For these processes alone the copy stands in the place of the project, so that
# the objects which scripts/abi has made there remain valid. As root.
# Usage: planted.sh
set -euo pipefail

unset CC CXX
project=$(realpath "$(dirname "$0")/../..")
if [ "${1-}" != in-copy ]; then
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    cd "$project"
    scripts/abi >"$work/output" || {
        cat "$work/output" >&2
        exit 1
    }
    mkdir -p "$work/project/build"
    find . -maxdepth 1 -mindepth 1 ! -name build ! -name .git -exec cp -a -t "$work/project" {} +
    cp -a -t "$work/project/build" build/abi
    cp -a "$work/project/include" "$work/project/src" "$work"
    unshare --mount "$project/tests/abi/planted.sh" in-copy "$work"
    exit
fi
work=$2
mount --bind "$work/project" "$project"
cd "$project"

header=include/orvane.h
file=src/foundation/file.cpp
table=src/machine/manufacturer_table.cpp
script=src/liborvane.map
failures=0

# Applies a sed command to files. A header's time stays what it was, so that of the sources that
# include it only those are compiled again which are changed or touched.
edit() {
    local command=$1 name
    shift
    for name in "$@"; do
        cp "$name" "$work/before"
        sed -Ei "$command" "$name"
        ! cmp -s "$work/before" "$name" || {
            echo "planted.sh: $command changes nothing in $name" >&2
            exit 1
        }
        [ "$name" != "$header" ] || touch -r "$work/$header" "$header"
    done
}

undo() {
    cp "$work/$file" "$file"
    cp "$work/$table" "$table"
    cp "$work/$script" "$script"
    cp -p "$work/$header" "$header"
}

# Runs scripts/abi, which has to end with the status and to print the line.
# Usage: expect STATUS LINE [--record]
expect() {
    local status=0
    scripts/abi "${@:3}" >"$work/output" 2>&1 || status=$?
    if [ "$status" -ne "$1" ] || ! grep -qxF -- "$2" "$work/output"; then
        echo "planted.sh: $change: status $status, and not $1 with the line \"$2\":" >&2
        cat "$work/output" >&2
        failures=$((failures + 1))
    fi
}

nothing_else="Building in build/abi"

change="an added function"
edit '/^ORVANE_API int file_stat/i ORVANE_API int file_time(const char *path);' "$header"
edit '/^extern "C" int file_stat/i extern "C" int file_time(const char *path) { return path != nullptr; }' "$file"
edit 's/^    file_stat;/&\n    file_time;/' "$script"
expect 0 "added: int file_time(const char*)"
cp -r tests/abi "$work/records"
expect 0 "$nothing_else" --record
expect 0 "$nothing_else"
undo
change="a function removed that was added and recorded"
expect 1 "removed: int file_time(const char*)"
cp "$work/records/"*.abi tests/abi

change="a removed function"
edit '/^ORVANE_API void redirect_stdio/d' "$header"
edit '/^    redirect_stdio;/d' "$script"
edit '/^extern "C" void redirect_stdio/,/^}/d' "$file"
expect 1 "removed: void redirect_stdio()"
expect 1 "removed: void redirect_stdio()" --record
undo

change="a changed type of a parameter"
edit 's/(int file_stat\(const char \*path, )int mask/\1long mask/' "$header" "$file"
expect 1 "changed: int file_stat(const char*, int)"
undo

change="a changed type of a result"
edit 's/int (file_stat\(const char)/long \1/' "$header" "$file"
expect 1 "changed: int file_stat(const char*, int)"
undo

change="an added member"
edit '/^struct orvane_manufacturer_type/,/^}/s/int type;/&\n    int rank;/' "$header"
edit 's/^(    \{"[^"]*", orvane::[a-z0-9]*)\}/\1, 0}/' "$table"
expect 1 "changed: const orvane_manufacturer_type manufacturerType[24]"
undo

change="members in another order"
edit '/^struct orvane_manufacturer_type/,/^}/{
    /identification;/d
    s/int type;/&\n    const char *identification;/
}' "$header"
edit 's/^    \{("[^"]*"), (orvane::[a-z0-9]*)\}/    {\2, \1}/' "$table"
expect 1 "changed: const orvane_manufacturer_type manufacturerType[24]"
undo

change="another value of a result code"
edit 's/(ORVANE_GPG_SIGNATURE_RED = )50/\154/' "$header"
expect 1 "changed: orvane_result orvane_result"
undo

change="a removed result code"
edit '/ORVANE_GPG_NO_OUTPUT = 100/d' "$header"
expect 1 "changed: orvane_result orvane_result"
undo

change="an added result code"
edit 's/^    ORVANE_OK = 0,/&\n    ORVANE_BUSY = 101,/' "$header"
expect 0 "$nothing_else"
undo

change="a table with one entry more"
edit 's/manufacturerType\[24\]/manufacturerType[25]/' "$header"
edit 's/^    \{"Haier", .*/&\n    {"Acme", orvane::haier},/' "$table"
expect 1 "changed: const orvane_manufacturer_type manufacturerType[24]"

change="the same table under a new SONAME"
edit 's/(#define ORVANE_VERSION ")[0-9]+/\12/' "$header"
expect 1 "scripts/abi: tests/abi/liborvane.so.2.abi is missing: scripts/abi --record writes it"
expect 0 "$nothing_else" --record
expect 0 "$nothing_else"
undo

change="no change at all"
expect 0 "$nothing_else"

change="a missing tool"
mkdir "$work/tools"
find /usr/bin ! -name 'abi*' -exec ln -s -t "$work/tools" {} +
PATH=$work/tools expect 2 "scripts/abi: abidw is missing: install abigail-tools"

[ "$failures" -eq 0 ]

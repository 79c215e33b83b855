#!/bin/sh
# Builds the library and the command once more in another folder, and compares what both install.
# Usage: identical_builds.sh SOURCE-DIR BUILD-DIR SIGNING-KEY COMPILER WORK-DIR
set -eu

source=$1 build=$2 key=$3 compiler=$4 work=$5/identical_builds
elsewhere="$work/another folder"
rm -rf "$work"
mkdir -p "$elsewhere"
tar -C "$source" -c CMakeLists.txt SECURITY.md cli cmake completions docs include man src | tar -C "$elsewhere" -x

export CCACHE_DISABLE=1 # an object out of a cache is identical in any case
CXX=$compiler cmake -S "$elsewhere" -B "$work/b" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DBUILD_TESTING=OFF "-DORVANE_SIGNING_KEY=$key" >"$work/log"
cmake --build "$work/b" >>"$work/log" || {
    cat "$work/log"
    exit 1
}
DESTDIR=$work/here cmake --install "$build" --prefix /usr >>"$work/log"
DESTDIR=$work/there cmake --install "$work/b" --prefix /usr >>"$work/log"

diff -r "$work/here" "$work/there"
! grep -rlF -e "$source" -e "$build" -e "$work" "$work/here" "$work/there"

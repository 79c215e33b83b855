#!/bin/sh
# Builds a project that finds the library with find_package() and calls every function from C.
# Usage: cmake_package.sh PROJECT PREFIX WORK-DIR
set -eu

work=$3/cmake_package
rm -rf "$work"
cmake -S "$1" -B "$work" -G Ninja -DCMAKE_PREFIX_PATH="$2" >"$3/cmake_package.log"
cmake --build "$work" >>"$3/cmake_package.log" || { cat "$3/cmake_package.log"; exit 1; }
"$(dirname "$0")/privately.sh" "$work/every_function" "$work/scratch"
"$work/from_cxx"

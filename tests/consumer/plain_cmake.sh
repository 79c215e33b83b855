#!/bin/sh
# Builds as a user does who gives cmake no generator, build type or option, and shows that nothing
# warns.
# Usage: plain_cmake.sh SOURCE-DIR SIGNING-KEY WORK-DIR
set -eu

work=$3/plain_cmake
rm -rf "$work"
mkdir -p "$work"
cd "$work"
# The key alone is given, because to make one takes a while.
{
    cmake -S "$1" -B with_tests "-DORVANE_SIGNING_KEY=$2"
    cmake -S "$1" -B without_tests "-DORVANE_SIGNING_KEY=$2" -DBUILD_TESTING=OFF
    cmake --build without_tests --parallel "$(nproc)"
} >log 2>&1 || { cat log; exit 1; }
if grep -i warning log; then exit 1; fi
grep -qx 'CMAKE_GENERATOR:INTERNAL=Unix Makefiles' without_tests/CMakeCache.txt
grep -qx 'CMAKE_BUILD_TYPE:STRING=' without_tests/CMakeCache.txt
without_tests/cli/orvane --version

#!/bin/sh
# Compiles and runs the first program of the README as printed there: with the command that it names,
# in a project of the CMake commands that it names, and in Python. Each prints what the command does.
# Usage: readme_program.sh README PREFIX LIBDIR WORK-DIR
set -eu

readme=$1 prefix=$2 libdir=$2/$3 work=$4/readme_program
rm -rf "$work"
mkdir -p "$work"
cd "$work"

# The first block that is marked with a language.
block() {
    sed -n "/^\`\`\`$1\$/,/^\`\`\`\$/p" "$readme" | sed '1d;/^```$/,$d'
}
# What stands between backquotes and begins with these words.
quoted() {
    tr '\n' ' ' <"$readme" | grep -oE "\`$1[^\`]*\`" | head -n 1 | tr -d '`'
}
known=$("$prefix/bin/orvane" show system_uuid || echo none)
expect() {
    echo "$1: $2, command: $known"
    [ -n "$2" ] && [ "$2" = "$known" ]
}
export LD_LIBRARY_PATH="$libdir"

block c >uuid.c
compile=$(quoted 'cc uuid\.c ')
[ -s uuid.c ] && [ -n "$compile" ]
PKG_CONFIG_PATH=$libdir/pkgconfig sh -ec "$compile"
expect C "$(./uuid)"

{
    printf 'cmake_minimum_required(VERSION 3.18)\nproject(uuid LANGUAGES C)\n'
    quoted find_package
    echo 'add_executable(uuid uuid.c)'
    quoted target_link_libraries
} >CMakeLists.txt
[ "$(wc -l <CMakeLists.txt)" = 5 ]
{ cmake -S . -B build "-DCMAKE_PREFIX_PATH=$prefix" && cmake --build build; } >log 2>&1 || {
    cat log
    exit 1
}
expect CMake "$(build/uuid)"

block python >uuid.py
[ -s uuid.py ]
expect Python "$(python3 uuid.py)"

#!/bin/sh
# Compiles and runs the first program of the README as printed there.
# Usage: readme_program.sh README PREFIX LIBDIR WORK-DIR
set -eu

readme=$1 libdir=$2/$3 work=$4/readme_program
rm -rf "$work"
mkdir -p "$work"
cd "$work"

# The first block marked c, and the command that compiles it.
# shellcheck disable=SC2016 # the backquotes are the README's
sed -n '/^```c$/,/^```$/p' "$readme" | sed '1d;/^```$/,$d' >uuid.c
compile=$(sed -n 's/^\(cc uuid\.c .*\)$/\1/p' "$readme")
[ -s uuid.c ] && [ -n "$compile" ]

PKG_CONFIG_PATH=$libdir/pkgconfig sh -ec "$compile"
answer=$(LD_LIBRARY_PATH=$libdir ./uuid)
known=$("$2/bin/orvane" show system_uuid || echo none)
echo "program: $answer, command: $known"
[ -n "$answer" ] && [ "$answer" = "$known" ]

#!/bin/sh
# Builds, runs and judges the examples with the staged library and the build's own signing key.
# Usage: examples.sh EXAMPLES PREFIX LIBDIR PRIVATE-SIGNING-KEY WORK-DIR
set -eu

# Not in /tmp, where nothing may be executed on some hosts.
work=$5/examples
rm -rf "$work"
mkdir -p "$work"
export TMPDIR="$work" PATH="$2/bin:$PATH" CMAKE_PREFIX_PATH="$2" \
    PKG_CONFIG_PATH="$2/$3/pkgconfig" LD_LIBRARY_PATH="$2/$3"
"$(dirname "$0")/run_examples.sh" "$1" "$4"
[ -z "$(ls -A "$work")" ] || { echo "left: $(ls -A "$work")"; exit 1; }

#!/bin/sh
# Installs under DESTDIR with a prefix chosen at that moment, and under a prefix alone.
# Usage: destination.sh BUILD-DIR LIBDIR MANDIR WORK-DIR
set -eu

build=$1 libdir=$2 mandir=$3 work=$4/destination
rm -rf "$work"
mkdir -p "$work"
version=$(sed -n 's/^#define ORVANE_VERSION "\(.*\)"$/\1/p' "$(dirname "$0")/../../include/orvane.h")
soname=liborvane.so.${version%%.*}

expect() {
    for path in bin/orvane include/orvane.h "$libdir/liborvane.so" "$libdir/$soname" \
        "$libdir/liborvane.so.$version" "$libdir/pkgconfig/liborvane.pc" \
        "$libdir/cmake/orvane/orvaneConfig.cmake" \
        "$libdir/cmake/orvane/orvaneConfigVersion.cmake" \
        "$libdir/cmake/orvane/orvaneTargets.cmake" "$mandir/man1/orvane.1" \
        "$mandir/man3/liborvane.3orvane" "$mandir/man5/orvane-trace.5"; do
        [ -e "$1/$path" ] || { echo "missing: $1/$path"; exit 1; }
    done
    grep -qx "prefix=$2" "$1/$libdir/pkgconfig/liborvane.pc"
    "$1/bin/orvane" --version
}

DESTDIR=$work/root cmake --install "$build" --prefix /opt/product >/dev/null
expect "$work/root/opt/product" /opt/product
cmake --install "$build" --prefix "$work/prefix" >/dev/null
expect "$work/prefix" "$work/prefix"

# Nothing outside the prefix.
[ "$(ls -A "$work/root")" = opt ] && [ "$(ls -A "$work/root/opt")" = product ]
# A link of the shared library leads to the file beside it.
[ "$(readlink "$work/prefix/$libdir/liborvane.so")" = "$soname" ]
[ "$(readlink "$work/prefix/$libdir/$soname")" = "liborvane.so.$version" ]
# man finds the page of a function by each name.
[ "$(readlink "$work/prefix/$mandir/man3/system_uuid.3orvane")" = orvane_get_system_uuid.3orvane ]
man -M "$work/prefix/$mandir" system_uuid >"$work/page"
grep -q 'orvane_get_system_uuid, system_uuid' "$work/page"

# The dynamic linker finds a library of /usr by itself, and that of another prefix beside the command.
has_run_path() { readelf -dW "$1/bin/orvane" | grep -q RUNPATH; }
DESTDIR=$work/system cmake --install "$build" --prefix /usr >/dev/null
! has_run_path "$work/system/usr" || { echo "a run path in /usr"; exit 1; }
LD_LIBRARY_PATH=$work/system/usr/$libdir "$work/system/usr/bin/orvane" --version
DESTDIR=$work/system cmake --install "$build" --prefix /usr/local >/dev/null
has_run_path "$work/system/usr/local"
"$work/system/usr/local/bin/orvane" --version

# The folders where the shells of Debian look.
for path in usr/share/zsh/vendor-completions/_orvane usr/local/share/zsh/site-functions/_orvane \
    usr/share/bash-completion/completions/orvane usr/share/fish/vendor_completions.d/orvane.fish; do
    [ -e "$work/system/$path" ] || { echo "missing: $path"; exit 1; }
done
[ ! -e "$work/system/usr/share/zsh/site-functions" ]

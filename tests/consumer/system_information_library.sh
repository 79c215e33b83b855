#!/bin/sh
# Builds the library where the operating system has libzusysinfo: it is found, needed and called.
# Usage: system_information_library.sh SOURCE-DIR WORK-DIR
set -eu

here=$(cd "$(dirname "$0")" && pwd)
source=$1 work=$2/system_information_library
rm -rf "$work"
mkdir -p "$work"
cd "$work"

cat >scene.c <<'C'
#include <string.h>
char *zdk_system_get_appScene(void) { return strdup("EDU-SCHOOL"); }
C
cc -shared -fPIC -Wl,-soname,libzusysinfo.so.1 -o libzusysinfo.so scene.c
ln -s libzusysinfo.so libzusysinfo.so.1

cmake -S "$source" -B build -G Ninja -DBUILD_TESTING=OFF \
    -DZUSYSINFO_LIBRARY="$work/libzusysinfo.so" >log
cmake --build build --target orvane >>log || { cat log; exit 1; }
readelf -d build/src/liborvane.so | grep -q 'NEEDED.*libzusysinfo\.so\.1'

cat >ask.c <<'C'
#include <orvane.h>
int main(void) { return orvane_get_os_version() == 2 ? 0 : 1; }
C
cc -I"$source/include" -o ask ask.c -Lbuild/src -lorvane -Wl,-rpath-link,"$work"
LD_LIBRARY_PATH=$work/build/src:$work "$here/privately.sh" ./ask

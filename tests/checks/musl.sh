#!/bin/bash
# Shows that the sources of the library use only what musl 1.2.4 declares. The C++ headers are those
# of g++ for glibc, without the three parts that name internals of glibc.
# Usage: musl.sh SOURCE-DIR WORK-DIR
set -euo pipefail

work=$2/musl
processor=$(g++ -print-multiarch)
musl=/usr/include/${processor%-gnu}-musl
[ -e "$musl/features.h" ] || {
    echo "skipped: there is no musl-dev"
    exit 77
}
cd "$1"
rm -rf "$work"
mkdir -p "$work/parts/bits" "$work/parts/sys" "$work/libraries/openssl"

cat >"$work/parts/bits/c++config.h" <<'H'
#include_next <bits/c++config.h>
#undef _GLIBCXX_USE_PTHREAD_COND_CLOCKWAIT
#define __locale_t locale_t
H
echo '#define __NO_CTYPE 1' >"$work/parts/bits/os_defines.h"
cat >"$work/parts/bits/ctype_base.h" <<'H'
namespace std {
struct ctype_base {
    typedef const int *__to_type;
    typedef unsigned short mask;
    static const mask upper = 1, lower = 2, alpha = 4, digit = 8, xdigit = 16, space = 32,
                      print = 64, cntrl = 128, punct = 256, blank = 512, alnum = alpha | digit,
                      graph = alnum | punct;
};
}
H
# Missing from 1.2.3, which Debian 12 has.
cat >"$work/parts/sys/stat.h" <<'H'
#include_next <sys/stat.h>
#ifndef STATX_TYPE
#include <linux/stat.h>
extern "C" int statx(int, const char *, int, unsigned, struct statx *);
#endif
H

# The headers of other libraries and of the kernel that stand among those of glibc.
for name in gpgme.h gpg-error.h gpgrt.h linux asm asm-generic; do
    for folder in /usr/include "/usr/include/$processor"; do
        [ ! -e "$folder/$name" ] || ln -s "$folder/$name" "$work/libraries"
    done
done
ln -s /usr/include/openssl/* "/usr/include/$processor/openssl/"* "$work/libraries/openssl"

options=(-std=c++20 -fsyntax-only -Wall -Wextra -Werror -nostdinc -D_GNU_SOURCE
    -DOPENSSL_API_COMPAT=0x10100000L -I src -I include -isystem "$work/parts")
# A folder of the compiler's own comes after musl, whose limits.h includes no other.
own=()
while read -r folder; do
    case $folder in
    */c++/*) options+=(-isystem "$folder") ;;
    */gcc/*) own+=(-isystem "$folder") ;;
    esac
done < <(g++ -E -v -x c++ /dev/null 2>&1 | sed -n '/^#include </,/^End/p')
options+=(-isystem "$musl" "${own[@]}" -isystem "$work/libraries")
read -ra flags < <(pkg-config --cflags-only-I glib-2.0 blkid libcjson)
options+=("${flags[@]/#-I/-isystem}")

find src -name '*.cpp' -print0 | xargs -0 -n 6 -P "$(nproc)" g++ "${options[@]}"

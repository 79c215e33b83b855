#!/bin/sh
# Compiles the header in each dialect that it promises: alone and twice, and before and after the
# headers of GLib and OpenSSL, whose types it declares. Dialects that only later compilers have are
# tried where the compiler has them.
# Usage: header.sh gcc|clang|g++|clang++ INCLUDE-DIR
set -eu

compiler=$1 include=$2
warnings="-pedantic -Wall -Wextra -Wundef -Wconversion -Wcast-qual -Wredundant-decls -Werror"
case $compiler in
*++)
    language=c++ dialects_of_glib="c++11 c++17 c++20"
    dialects="c++98 c++03 c++11 c++14 c++17 c++20 c++2b gnu++98 gnu++20" later="c++23 c++26"
    warnings="$warnings -Wold-style-cast -Wzero-as-null-pointer-constant"
    ;;
*)
    language=c dialects_of_glib="c99 c17 gnu17"
    dialects="c99 c11 c17 c2x gnu99 gnu17 gnu2x" later="c23 gnu23 c2y"
    warnings="$warnings -Wc++-compat -Wstrict-prototypes"
    ;;
esac
# What there is to warn of inside their headers, and that OpenSSL 3 calls RSA keys out of date, is
# not ours.
libraries="$(pkg-config --cflags glib-2.0 libcrypto | sed 's/-I/-isystem /g')"
libraries="$libraries -Wno-deprecated-declarations"
own='#include <orvane.h>'
of_libraries='#include <glib.h>
#include <openssl/rsa.h>'
callers='void use(GKeyFile *key_file, const char *path);
void use(GKeyFile *key_file, const char *path)
{
    RSA *key = load_public_key(path);
    RSA_free(key);
    key_file_save_to_file(key_file, path);
}'

status=0
# Usage: compile DIALECT WHAT OPTIONS TEXT...
compile() {
    dialect=$1 what=$2 options=$3
    shift 3
    # shellcheck disable=SC2086 # several
    printf '%s\n' "$@" | "$compiler" -x $language -std="$dialect" $warnings $options \
        -fsyntax-only "-I$include" - || {
        echo "$compiler -std=$dialect: the header $what"
        status=1
    }
}

for dialect in $later; do
    "$compiler" -x $language -std="$dialect" -fsyntax-only /dev/null 2>/dev/null &&
        dialects="$dialects $dialect"
done
for dialect in $dialects; do
    compile "$dialect" "alone and twice" "" "$own" "$own"
done
for dialect in $dialects_of_glib; do
    compile "$dialect" "before those of libraries" "$libraries" "$own" "$of_libraries" "$callers"
    compile "$dialect" "after those of libraries" "$libraries" "$of_libraries" "$own" "$callers"
done
exit $status

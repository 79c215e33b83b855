#!/bin/sh
# Compiles the examples of the header as they are printed there, and runs them.
# Usage: header_examples.sh PREFIX LIBDIR WORK-DIR
set -eu

privately=$(realpath "$(dirname "$0")/privately.sh")
header=$1/include/orvane.h libdir=$1/$2 work=$3/header_examples
rm -rf "$work"
mkdir -p "$work"
mkdir -m 700 "$work/home"
cd "$work"

# The indented lines from "Example" to the end of the comment.
{
    printf '#include <orvane.h>\n#include <stdio.h>\n#include <stdlib.h>\n#include <string.h>\n'
    sed -n '/^ \* Example,/,/^ \*\//{
        s/^ \*    //p
        /^ \*$/s/.*//p
    }' "$header"
    cat <<'END'
int main(void)
{
    char bytes[8];
    unsigned int count = 0;
    char *url = for_url("\xfb\xff", 2);

    if (url == NULL || strcmp(url, "%2B%2F8%3D") != 0)
        return 1;
    free(url);
    if (bytes_of("+/8=", bytes, &count) != 0 || count != 2 || memcmp(bytes, "\xfb\xff", 2) != 0)
        return 2;
    if (bytes_of("+/8", bytes, &count) != -1)
        return 3;
    if (class_of_this_machine() < -1 || class_of_this_machine() > 12)
        return 4;
    if (print_signed_settings("/nonexistent") != -1)
        return 5;
    return print_encrypted("text") == 0 ? 0 : 6;
}
END
} >examples.c

PKG_CONFIG_PATH=$libdir/pkgconfig sh -ec 'cc -std=c99 -Wall -Wextra -Wpedantic -Werror \
    examples.c -o examples $(pkg-config --cflags --libs liborvane glib-2.0)'
"$privately" env LD_LIBRARY_PATH="$libdir" GNUPGHOME="$work/home" ./examples >output
grep -q 'BEGIN PGP MESSAGE' output

# A verdict that is not looked at is a warning.
printf '#include <orvane.h>\nvoid f(void) { file_check_sha256("", ""); }\n' >ignored.c
if cc -Werror -c -o ignored.o "-I$(dirname "$header")" ignored.c 2>warning; then
    echo "the result of a check may be ignored"
    exit 1
fi
grep -q unused-result warning

#!/bin/sh
# Shows that a program's own compute_sha256() takes the place of the library's, unless it is hidden.
# Usage: replaced_name.sh LIBRARY WORK-DIR
set -eu

# Not in /tmp, where nothing may be executed on some hosts.
work=$2/replaced_name
mkdir -p "$work"
cat >"$work/program.c" <<'END'
#include <stdbool.h>
#include <stdio.h>

bool verify_signature(const char *message, const char *signature);

bool compute_sha256(const char *text, unsigned char *digest)
{
    puts("the program's own");
    return text == NULL && digest != NULL;
}

int main(void)
{
    return verify_signature("text", "YWJj");
}
END

# What the program prints, and whether its dynamic symbol table has the name.
shows() {
    gcc "$1" "$work/program.c" "$2" -Wl,-rpath,"$(dirname "$2")" -o "$work/program"
    "$work/program" 2>"$work/errors" | grep -c "^the program's own$" || true
    nm -D --defined-only "$work/program" | grep -c ' compute_sha256$' || true
}
[ "$(shows -fvisibility=default "$1" | xargs)" = '1 1' ]
[ "$(shows -fvisibility=hidden "$1" | xargs)" = '0 0' ]

#!/bin/sh
# Shows that a program may hold a copy of manufacturerType, which has the size of the header that it
# was compiled with: another size would break it.
# Usage: copied_table.sh INCLUDE-FOLDER LIBRARY
set -eu

work=$(mktemp -d)
trap 'rm -r "$work"' EXIT
cat >"$work/program.c" <<'END'
#include <orvane.h>
int main(void)
{
    return manufacturerType[23].type;
}
END
gcc -fno-pie -no-pie -I"$1" "$work/program.c" "$2" -o "$work/program"
readelf -Wr "$work/program" | grep -q '_COPY .* manufacturerType@'
for file in "$work/program" "$2"; do
    size=$(readelf -W --dyn-syms "$file" | awk '$8 ~ /^manufacturerType@/ { print $3 }')
    # 24 entries of a pointer and a number.
    [ "$size" = $((24 * 2 * $(getconf LONG_BIT) / 8)) ] || {
        echo "manufacturerType has $size bytes in $file"
        exit 1
    }
done

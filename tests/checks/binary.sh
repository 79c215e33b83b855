#!/bin/sh
# Shows that the library needs what it should and nothing more, and that it is hardened.
# Usage: binary.sh LIBRARY NEEDED-LIBRARY...
set -eu

library=$1
shift
wanted=$(printf '%s\n' "$@" | LC_ALL=C sort)
status=0
complain() { echo "$1"; status=1; }
dynamic=$(readelf -dW "$library")
segments=$(readelf -lW "$library")

needed=$(echo "$dynamic" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | LC_ALL=C sort)
[ "$needed" = "$wanted" ] || complain "needs $needed instead of $wanted"
echo "$dynamic" | grep -q '(SONAME).*\[liborvane\.so\.1\]' || complain "no SONAME liborvane.so.1"
echo "$dynamic" | grep -q 'BIND_NOW' || complain "binds lazily"
echo "$dynamic" | grep -Eq '\((RPATH|RUNPATH)\)' && complain "has a run path"
echo "$dynamic" | grep -q '(TEXTREL)' && complain "writes to its code"
# -Bsymbolic would take calls inside the library away from the programs that interpose them.
echo "$dynamic" | grep -q 'SYMBOLIC' && complain "is bound to itself"
echo "$segments" | grep -q 'GNU_RELRO' || complain "no RELRO"
echo "$segments" | grep -q 'GNU_STACK.* RW ' || complain "executable stack"
undefined=$(nm -D --undefined-only "$library")
echo "$undefined" | grep -q '__stack_chk_fail' || complain "no stack protector"
echo "$undefined" | grep -q '__vsnprintf_chk' || complain "not fortified"
# Nobody releases the key that a text is encrypted to.
echo "$undefined" | grep -q 'gpgme_key_' && complain "releases a key"
# A length of 4 bytes and a buffer of 1024, to be written.
nm --defined-only --print-size "$library" | grep -Eq ' 0*404 d .*builtin_key' ||
    complain "no built-in key of a fixed size in writable data"
if [ "$(uname -m)" = x86_64 ]; then
    # Indirect branches land on endbr64 alone.
    objdump -d --disassemble=orvane_trace "$library" | grep -q endbr64 || complain "no CET"
fi
exit $status

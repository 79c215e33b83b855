#!/bin/sh
# Shows that the library needs what it should and nothing more, and that it and the command are
# hardened.
# Usage: binary.sh SOURCE-DIR BUILD-DIR COMPILER LIBRARY COMMAND NEEDED-LIBRARY...
set -eu

source=$1 build=$2 compiler=$3 library=$4 program=$5
shift 5
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
# No code of the start files, which may have no landing pads; one object without them takes the mark
# from the library.
echo "$dynamic" | grep -Eq '\((INIT|FINI)\)' && complain "runs the start files"
case $(uname -m) in
x86_64) marks='IBT, SHSTK' ;;
aarch64) marks='BTI, PAC' ;;
*) marks= ;;
esac
readelf -nW "$library" | grep -q "feature: .*$marks" || complain "not marked with $marks"
nm -D --undefined-only "$program" | grep -q 'glibcxx_assert_fail' ||
    complain "the command is without the assertions of libstdc++"

# Every option that the compiler has. It warns of a level of fortification that it does not have.
accepts() {
    "$compiler" -O2 -Werror -U_FORTIFY_SOURCE "$1" -x c++ -include cstdlib -c /dev/null \
        -o /dev/null 2>/dev/null
}
level=2
! accepts -D_FORTIFY_SOURCE=3 || level=3
commands=$(grep -E "\"command\": .* -c $source/(src|cli)/" "$build/compile_commands.json")
for option in -D_FORTIFY_SOURCE=$level -ftrivial-auto-var-init=zero -fstrict-flex-arrays=3 \
    -fstack-protector-strong -fstack-clash-protection -fcf-protection -mbranch-protection=standard; do
    accepts "$option" || continue
    without=$(echo "$commands" | grep -Fcv -e " $option " || true)
    [ "$without" -eq 0 ] || complain "$without sources are compiled without $option"
done
exit $status

#!/bin/bash
# What `orvane check-names` prints of programs and libraries, as compilers and linkers make them. Of
# a library's own compute_sha256() it has to say what the dynamic linker does with it.
# Usage: check_names.sh ORVANE LIBRARY INCLUDE-FOLDER WORK-DIR
set -euo pipefail

orvane=$1 library=$2 include=$3
# Not in /tmp, where nothing may be executed on some hosts.
work=$4/check_names
rm -rf "$work"
mkdir -p "$work"
cd "$work"

status=0
complain() {
    echo "$1"
    status=1
}

# The lines of one file and the exit status have to be these.
prints() {
    local file=$1 wanted=$2 wanted_status=$3 printed printed_status=0
    printed=$("$orvane" check-names "$file" 2>"$file.errors") || printed_status=$?
    [ "$printed" = "$wanted" ] || complain "$file: printed '$printed' in the place of '$wanted'"
    [ $printed_status = "$wanted_status" ] || complain "$file: the exit status is $printed_status"
}
prints_none() { prints "$1" '' 0; }
prints_name() { prints "$1" "$1: $2" 1; }

with_library() { gcc -I"$include" "$@" "$library" -Wl,-rpath,"$(dirname "$library")"; }
has_symbol() { readelf -W --dyn-syms "$1" | grep -Eq "$2"; }

# A library's function that another one calls: in every form that a linker gives it, it is named if
# the program below calls it.
cat >caller.c <<'END'
#include <orvane.h>
int main(void)
{
    return verify_signature("text", "YWJj") ? 1 : 0;
}
END
with_library caller.c -o caller
prints_none caller
cat >own.c <<'END'
#include <stdio.h>
ATTRIBUTES int compute_sha256(const char *text, unsigned char *digest)
{
    puts("the other one");
    return text == NULL && digest != NULL;
}
END
for version in OTHER_1.0 ORVANE_1.0; do
    echo "$version { global: compute_sha256; local: *; };" >$version
done
echo '{ global: compute_sha256; local: *; };' >no_version
echo '{ local: *; };' >local
echo 'OTHER_1.0 { global: something; };' >beside
called=0
compared() {
    local name=$1 visibility=$2
    shift 2
    gcc -shared -fPIC "-DATTRIBUTES=__attribute__(($visibility))" own.c -o "$name.so" "$@"
    if LD_PRELOAD=$work/$name.so ./caller 2>/dev/null | grep -q 'the other one'; then
        called=$((called + 1))
        prints_name "$name.so" compute_sha256
    else
        prints_none "$name.so"
    fi
}
linkers=0
for linker in bfd lld; do
    command -v ld.$linker >/dev/null || continue
    linkers=$((linkers + 1))
    compared plain_$linker 'visibility("default")' -fuse-ld=$linker
    compared weak_$linker weak -fuse-ld=$linker
    compared protected_$linker 'visibility("protected")' -fuse-ld=$linker
    compared hidden_$linker 'visibility("hidden")' -fuse-ld=$linker
    for script in OTHER_1.0 ORVANE_1.0 no_version local beside; do
        compared ${script}_$linker 'visibility("default")' -fuse-ld=$linker \
            -Wl,--version-script=$script -Wl,--undefined-version
    done
    compared stripped_$linker 'visibility("default")' -fuse-ld=$linker -s
    compared bound_$linker 'visibility("default")' -fuse-ld=$linker -Wl,-Bsymbolic
    compared old_hash_$linker 'visibility("default")' -fuse-ld=$linker -Wl,--hash-style=sysv
done
[ $called = $((9 * linkers)) ] || complain "$called libraries were called, through $linkers linkers"

# Programs.
cat >own_stat.c <<'END'
LINKAGE int file_stat(void)
{
    return 0;
}
END
cat >program.c <<'END'
#include "own_stat.c"
int main(void)
{
    return file_stat();
}
END
cat >linked.c <<'END'
#include "own_stat.c"
const char *time_string(void);
int main(void)
{
    return file_stat() + (time_string() == 0);
}
END
gcc -DLINKAGE= program.c -o alone
prints_none alone # nothing finds the name
gcc -DLINKAGE= -rdynamic program.c -o with_rdynamic
prints_name with_rdynamic file_stat
gcc -DLINKAGE= -rdynamic -s program.c -o stripped
prints_name stripped file_stat
gcc -DLINKAGE=static -rdynamic program.c -o with_static
prints_none with_static
gcc -DLINKAGE= -rdynamic -static program.c -o static_program
prints_none static_program
gcc -DLINKAGE= -static-pie program.c -o static_pie
prints_none static_pie
for pie in -no-pie -pie; do
    with_library -DLINKAGE= $pie linked.c -o linked$pie
    prints_name linked$pie file_stat
    with_library -DLINKAGE= -fvisibility=hidden $pie linked.c -o hidden$pie
    prints_none hidden$pie
done
gcc -DLINKAGE= -c program.c -o object
prints object '' 3
grep -qx 'orvane: object: it is neither a program nor a shared library' object.errors ||
    complain "object: $(cat object.errors)"
objcopy --remove-section .dynsym with_rdynamic no_section 2>/dev/null
prints no_section '' 3

# What a program has of the library's: the address of a function, and a copy of its table.
cat >user.c <<'END'
#include <orvane.h>
static const void *volatile function = (const void *)orvane_trace;
int main(void)
{
    return function == 0 || manufacturerType[23].type == 99;
}
END
cat >table.c <<'END'
const void *const manufacturerType[48] = {manufacturerType};
int main(void)
{
    return manufacturerType[0] == 0;
}
END
for linker in bfd lld; do
    command -v ld.$linker >/dev/null || continue
    with_library -fno-pie -no-pie -fuse-ld=$linker user.c -o user_$linker
    prints_none user_$linker
    ./user_$linker || complain "user_$linker fails"
    gcc -rdynamic -fuse-ld=$linker table.c -o table_$linker
    prints_name table_$linker manufacturerType
done
has_symbol user_bfd ' UND orvane_trace' || complain "user_bfd has no address of a function"
has_symbol user_bfd 'OBJECT .* [0-9]+ manufacturerType' || complain "user_bfd has no copy"

# What is made to be replaced is named, and no fault.
echo 'char *get_machine_info_simulate(void) { return 0; }' >simulate.c
gcc -shared -fPIC simulate.c -o simulate.so
prints simulate.so 'simulate.so: get_machine_info_simulate (made to be replaced)' 0
gcc -shared -fPIC -DLINKAGE= own_stat.c simulate.c -o both.so
prints both.so "both.so: file_stat
both.so: get_machine_info_simulate (made to be replaced)" 1
prints "$library" "$library: (the library itself)" 0

# Other architectures, where their compilers are: both sizes and byte orders.
echo 'extern const char *const manufacturerType[48];
const char *_start(void) { return manufacturerType[0]; }' >copy.c
for compiler in i686-linux-gnu aarch64-linux-gnu arm-linux-gnueabihf powerpc64le-linux-gnu \
    s390x-linux-gnu riscv64-linux-gnu; do
    command -v $compiler-gcc >/dev/null || continue
    $compiler-gcc -shared -nostdlib -fPIC -DLINKAGE= own_stat.c -o own.$compiler
    prints_name own.$compiler file_stat
    $compiler-gcc -shared -nostdlib -fPIC -x c - -o table.$compiler \
        <<<'const void *const manufacturerType[48] = {manufacturerType};'
    prints_name table.$compiler manufacturerType
    $compiler-gcc -nostdlib -fno-pie -no-pie -O1 copy.c ./table.$compiler -o copy.$compiler
    prints_none copy.$compiler
done
exit $status

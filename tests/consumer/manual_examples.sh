#!/bin/bash
# Compiles the programs of the installed manual pages' EXAMPLES as they are printed there, runs each
# without arguments, and runs those of the table below with arguments. None may leak.
# Usage: manual_examples.sh PREFIX LIBDIR MANDIR PRIVATE-SIGNING-KEY WORK-DIR
set -euo pipefail

# In a /etc and a /var/log of its own, so that keys and trace lines stay away from the host.
if [ "${1-}" != inside ]; then
    exec unshare --mount sh -euc '
        mount -t tmpfs tmpfs /mnt
        mkdir /mnt/upper /mnt/work
        mount -t overlay -o lowerdir=/etc,upperdir=/mnt/upper,workdir=/mnt/work overlay /etc
        mount -t tmpfs tmpfs /var/log
        exec "$@"' sh "$0" inside "$@"
fi
shift
libdir=$1/$2 manual=$1/$3/man3 private_key=$4 work=$5/manual_examples
trace_log=/var/log/orvane/liborvane.log

rm -rf "$work"
mkdir -p "$work"
cd "$work"
# The socket of gpg's agent needs a short path.
GNUPGHOME=$(mktemp -d /tmp/orvane-manual.XXXXXX)
export GNUPGHOME
trap 'gpgconf --kill gpg-agent || :; rm -rf "$GNUPGHOME"' EXIT
trap 'exit 1' HUP INT TERM

export PKG_CONFIG_PATH=$libdir/pkgconfig LD_LIBRARY_PATH=$libdir
# GPGME keeps the key that a text is encrypted to. Its frames are found by the slow unwinder alone.
echo leak:gpgme_get_key >accepted_leaks
export G_SLICE=always-malloc LSAN_OPTIONS=suppressions=$PWD/accepted_leaks:print_suppressions=0
export ASAN_OPTIONS=detect_leaks=1:exitcode=99:fast_unwind_on_malloc=0

fail() {
    echo "$1" >&2
    [ $# -lt 2 ] || cat "$2" >&2
    exit 1
}

# Writes the programs of a page to PAGE.1.c, PAGE.2.c and so on.
extract() {
    awk -v page="$2" '
        /^\.Sh / { in_examples = $0 == ".Sh EXAMPLES" }
        in_examples && /^\.Bd -literal -offset indent/ { in_block = 1; text = ""; next }
        in_block && /^\.Ed/ {
            in_block = 0
            if (text ~ /int main\(/) {
                file = page "." ++count ".c"
                printf "%s", text >file
                close(file)
            }
        }
        in_block {
            gsub(/\\&/, "")
            gsub(/\\e/, "\\")
            text = text $0 "\n"
        }' "$1"
}

compile() {
    local program=$1 modules=(liborvane) flags
    ! grep -q '#include <glib' "$program.c" || modules+=(glib-2.0)
    ! grep -q '#include <openssl/' "$program.c" || modules+=(libcrypto)
    read -ra flags < <(pkg-config --cflags --libs "${modules[@]}")
    gcc -std=c99 -Wall -Wextra -Werror "$program.c" -o "$program.gcc" "${flags[@]}" &&
        clang -std=c99 -Wall -Wextra -Werror -g -fsanitize=address "$program.c" -o "$program" \
            "${flags[@]}"
}

# run PROGRAM ARGUMENT...: its output and its lines in the trace log
run() {
    local program=$1 status=0
    shift
    rm -f "$trace_log"
    "./$program" "$@" >output 2>&1 || status=$?
    [ $status -le 1 ] || fail "$program $* ends with $status:" output
    echo $status >status
}

# prints PROGRAM STATUS PATTERN ARGUMENT...: a line of the output is as the pattern
prints() {
    local program=$1 status=$2 pattern=$3
    shift 3
    [ -x "$program" ] || fail "no page has the program $program"
    run "$program" "$@"
    [ "$(cat status)" = "$status" ] || fail "$program $* ends with $(cat status), not $status:" output
    grep -qxe "$pattern" output || fail "$program $* prints no line '$pattern', but:" output
    ran=$((ran + 1))
}

# traces PROGRAM PATTERN ARGUMENT...: a line of the trace log ends as the pattern
traces() {
    local program=$1 pattern=$2
    shift 2
    [ -x "$program" ] || fail "no page has the program $program"
    run "$program" "$@"
    grep -qe "]: $pattern\$" "$trace_log" || fail "$program $* traces no '$pattern', but:" "$trace_log"
    ran=$((ran + 1))
}

for page in "$manual"/*.3orvane; do
    [ -L "$page" ] || extract "$page" "$(basename "$page" .3orvane)"
done
ran=0
# Those that print nothing unless something fails; each is in the table.
silent=' orvane_trace.1 log_write.1 '
for source in *.c; do
    program=${source%.c}
    compile "$program"
    run "$program"
    [ -s output ] || [[ $silent == *" $program "* ]] || fail "$program prints nothing"
    ran=$((ran + 1))
done
programs=$ran
for page in "$manual"/*.3orvane; do
    page=$(basename "$(realpath "$page")" .3orvane)
    [ "$page" = liborvane ] || [ -e "$page.1.c" ] || fail "$page(3) has no program in EXAMPLES"
done

# The table: each line is one program with arguments.
printf abc >abc
abc=ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad
prints file_check_sha256.1 0 'abc: intact' abc " ${abc^^}"
prints file_check_sha256.1 1 'abc: unreadable, or another file' abc "${abc/b/c}"
prints base64_encode.1 0 'https://example.org/register?id=%2B%2F8%3D'
prints base64_encode.1 0 '+/8=: 2 bytes, fb ff'
prints toLowerCase.1 0 'field: "QL  V1"'
prints toLowerCase.1 0 'qlv1: same'
prints toLowerCase.1 0 'qlv1: other' qlv2
mkdir -m 755 private
mkdir -m 775 shared
prints file_stat.1 0 'private: private' private
prints file_stat.1 1 'shared: others may write it' shared
prints file_stat.1 1 'abc: no directory.*' abc
printf '# by hand\n[statistics]\nruns=41\n' >counted.ini
prints key_file_load_from_file.1 0 '42 runs' counted.ini
grep -qx '# by hand' counted.ini
prints key_file_load_from_file.1 1 'abc: no key file.*' abc
rm backup.log
prints log_write.1 1 'missing/backup: see backup.log' missing/backup
grep -q '^(EE) Time: .*Message: the backup cannot be written$' backup.log
prints orvane_get_system_uuid.1 1 'another machine\|not known.*' no-uuid
traces orvane_trace.1 "$work/missing: No such file or directory" "$work/missing"

openssl genrsa -out private.pem 2048 2>openssl.log
openssl rsa -in private.pem -RSAPublicKey_out -out public.pem 2>>openssl.log
mkdir -p /etc/orvane
echo 'Valid until: 2030' >licence.txt
openssl dgst -sha256 -sign private.pem -out licence.bin licence.txt
openssl base64 -in licence.bin -out licence.sig
prints verify_signature.1 1 'not valid' licence.txt licence.sig
cp public.pem /etc/orvane/public.pem
prints verify_signature.1 0 valid licence.txt licence.sig
prints verify_signature.1 1 'not valid' abc licence.sig
signature=$(printf abc | openssl dgst -sha256 -sign private.pem | openssl base64 -A)
prints verify_signature.2 0 valid public.pem abc "$signature"
prints verify_signature.2 1 'not valid' public.pem abd "$signature"

if [ -e "$private_key" ]; then
    gpg --batch --quiet --import "$private_key"
    echo 'Channel: stable' >settings
    gpg --batch --quiet --output settings.gpg --sign settings
    prints gpg_verify.1 0 'Channel: stable' settings.gpg
    prints gpg_verify.1 1 'settings: not signed as it should be: .*' settings
    prints gpg_verify.2 0 '-----BEGIN PGP MESSAGE-----' 'A report'
    [ "$(gpg --batch --quiet --decrypt output)" = 'A report' ] || fail 'the message is another one'
else
    echo "skipped: the build was given a key, and its private half is not here"
fi

# A verdict that is not looked at is a warning.
printf '#include <orvane.h>\nvoid f(void) { file_check_sha256("", ""); }\n' >ignored.c
read -ra flags < <(pkg-config --cflags liborvane)
! gcc -Werror -c -o ignored.o "${flags[@]}" ignored.c 2>warning ||
    fail 'the result of a check may be ignored'
grep -q unused-result warning
echo "programs: $programs, calls: $ran"

#!/bin/bash
# Builds the examples outside the tree, as a reader does, with each compiler that is there, runs them
# and judges what they print, leak and leave. The library is the one that the environment finds:
# PKG_CONFIG_PATH, CMAKE_PREFIX_PATH, LD_LIBRARY_PATH and PATH, or the installed packages. It works
# below TMPDIR and in mounts of its own, for which it has to be root; status 77 is "skipped".
# Usage: run_examples.sh EXAMPLES [PRIVATE-SIGNING-KEY]
# Without the private half of the library's signing key no good licence can be made, and none is
# tried.
set -euo pipefail

if [ $# -lt 1 ] || [ $# -gt 2 ] || [ ! -e "$1/identity.c" ]; then
    echo "usage: run_examples.sh EXAMPLES [PRIVATE-SIGNING-KEY]" >&2
    exit 2
fi
if [ -z "${IN_MOUNTS_OF_ITS_OWN-}" ]; then
    unshare --mount true 2>/dev/null || {
        echo "skipped: mounts of its own need root"
        exit 77
    }
    IN_MOUNTS_OF_ITS_OWN=yes exec unshare --mount "$0" "$@"
fi

examples=$(realpath "$1")
private_key=${2-}
work=$(mktemp -d)
# The socket of gpg's agent needs a short path.
stores=$(mktemp -d /tmp/orvane-examples.XXXXXX)
children=()
clean() {
    [ ${#children[@]} -eq 0 ] || kill -KILL "${children[@]}" 2>/dev/null || true
    for store in "$stores"/*; do
        gpgconf --homedir "$store" --kill gpg-agent || true
    done
    cd /
    umount "$work/mounts" || true
    rm -rf "$work" "$stores"
}
trap clean EXIT
trap 'exit 1' HUP INT TERM

fail() {
    echo "$*" >&2
    [ ! -e "$work/errors" ] || tail -n 30 "$work/errors" >&2
    exit 1
}

# A machine whose UUID is known, with a public key of the test's and a trace log of its own.
uuid=4c4c4544-0042-3510-8052-b4c04f4d3132
mkdir "$work/mounts"
mount -t tmpfs tmpfs "$work/mounts"
mkdir "$work/mounts/upper" "$work/mounts/work"
mount -t overlay -o "lowerdir=/etc,upperdir=$work/mounts/upper,workdir=$work/mounts/work" \
    overlay /etc
mount -t tmpfs tmpfs /var/log
dmi=/sys/devices/virtual/dmi/id
if [ -d $dmi ]; then
    mount -t tmpfs tmpfs $dmi
else
    mount -t tmpfs tmpfs /sys/devices/virtual
    mkdir -p $dmi
fi
echo $uuid >$dmi/product_uuid
[ "$(orvane show system_uuid)" = $uuid ] || fail "the machine of the test has another UUID"

# ---- Builds: one of them with sanitizers, whose programs are judged ------------------------------

compilers=(gcc:g++)
! command -v clang++ >/dev/null || compilers+=(clang:clang++)
strict="-O1 -g -Wall -Wextra -Wpedantic -Werror"
for pair in "${compilers[@]}"; do
    c=${pair%:*} cxx=${pair#*:}
    cp -R "$examples" "$work/make-$c"
    make --directory "$work/make-$c" CC="$c" CXX="$cxx" CFLAGS="$strict" >"$work/errors" 2>&1 ||
        fail "make with $c"
    CC=$c CXX=$cxx CFLAGS=$strict CXXFLAGS=$strict cmake -S "$examples" -B "$work/cmake-$c" \
        >"$work/errors" 2>&1 || fail "CMake with $c"
    cmake --build "$work/cmake-$c" >"$work/errors" 2>&1 || fail "CMake's build with $c"
done
cp -R "$examples" "$work/judged"
cd "$work/judged"
make CC=gcc CXX=g++ CFLAGS="$strict -fsanitize=address,undefined -fno-sanitize-recover=all" \
    >"$work/errors" 2>&1 || fail "make with sanitizers"

# The command at the head of each example.
mkdir "$work/headed"
cp -- *.c *.cpp "$work/headed"
sed -n 's,^\( \*\|//\) Build:  ,,p' -- *.c *.cpp >"$work/commands"
[ "$(wc -l <"$work/commands")" -eq "$(cat -- *.c *.cpp | grep -c '[*/] Shows:')" ]
(cd "$work/headed" && sh -ex "$work/commands") >"$work/errors" 2>&1 || fail "commands of the headers"

# expect STATUS TEXT COMMAND...: its status, and a regular expression of what it prints.
expect() {
    local status=0 wanted=$1 text=$2
    shift 2
    "$@" >"$work/output" 2>"$work/errors" || status=$?
    [ "$status" -eq "$wanted" ] || fail "$*: status $status, not $wanted"
    grep -q -e "$text" "$work/output" "$work/errors" || fail "$*: does not print '$text'"
}

# ---- The reports on the machine: what the command knows -------------------------------------------

# same_facts FORM <REPORT
same_facts() {
    orvane show --json >"$work/facts.json" 2>/dev/null
    python3 - "$work/facts.json" "$1" "$2" <<'PYTHON' || fail "$2: other facts than orvane show"
import json
import sys

facts = {name: fact["value"] for name, fact in json.load(open(sys.argv[1]))["facts"].items()}
report = open(sys.argv[3], encoding="utf-8")
if sys.argv[2] == "json":
    found = {name: value or None for name, value in json.load(report).items()}
    wanted = lambda value: value or None
else:
    found = dict(line.rstrip("\n").split(None, 1) for line in report)
    wanted = lambda value: "".join(
        chr(c) if 0x20 <= c < 0x7F else "?" for c in ("-" if value in (None, "") else str(value)).encode()
    )
assert len(found) >= 7 and found["system_uuid"] == facts["system_uuid"] != None, found
for name, value in found.items():
    # The command has no number, and no class, for what it cannot know.
    if name in ("lenovo", "manufacturer") and facts[name] is None:
        assert value in ("0", "TYPE_UNKNOWN"), (name, value)
    else:
        assert value == wanted(facts[name]), (name, value, facts[name])
PYTHON
}
expect 0 "^system_uuid  *$uuid\$" ./identity
same_facts text "$work/output"
expect 0 "^system_uuid $uuid\$" ./identity_cpp
same_facts text "$work/output"
expect 0 "\"system_uuid\": \"$uuid\"" ./identity.py
same_facts json "$work/output"
if command -v valgrind >/dev/null; then
    PYTHONMALLOC=malloc valgrind --quiet --leak-check=full --show-leak-kinds=definite,possible \
        --log-file="$work/valgrind" \
        /usr/bin/python3 identity.py >/dev/null 2>&1 || fail "Python in valgrind"
    ! grep -B 4 -A 4 liborvane "$work/valgrind" || fail "identity.py leaks an answer"
fi
for program in identity identity_cpp; do
    expect 1 'standard output' sh -c "./$program >/dev/full"
done
# Every other build, the readers' own included, prints the same.
./identity >"$work/wanted" 2>/dev/null
for folder in "$work"/make-* "$work"/cmake-* "$work/headed"; do
    "$folder/identity" 2>/dev/null | cmp - "$work/wanted" || fail "$folder/identity prints something else"
done

# ---- verify_download ------------------------------------------------------------------------------

mkdir -p /etc/orvane "$work/download"
openssl genrsa -out "$work/private.pem" 2048 2>/dev/null
openssl genrsa -out "$work/other.pem" 2048 2>/dev/null
openssl rsa -in "$work/private.pem" -RSAPublicKey_out -out /etc/orvane/public.pem 2>/dev/null
sign() { openssl dgst -sha256 -sign "$1" SHA256SUMS | openssl base64 >SHA256SUMS.sig; }
verify() { expect "$1" "$2" "$work/judged/verify_download" SHA256SUMS SHA256SUMS.sig "$3"; }

cd "$work/download"
head -c 300000 /dev/zero >image
echo text >'a text'
echo unlisted >unlisted
sha256sum 'a text' >SHA256SUMS
sha256sum --binary image >>SHA256SUMS
sign "$work/private.pem"
verify 0 '^image: OK$' image
verify 0 '/download/a text: OK$' "$PWD/a text"
verify 1 'not on the list' unlisted
verify 3 'No such file' "$work/nowhere/image"
echo altered >>image
verify 1 '^image: altered$' image
sha256sum --binary image >>SHA256SUMS
verify 1 'not signed by the distributor' image
sha256sum 'a text' unlisted >SHA256SUMS
sign "$work/other.pem"
verify 1 'not signed by the distributor' unlisted
sign "$work/private.pem"
verify 0 '^unlisted: OK$' unlisted
# A digest behind the end of the signed text would be nobody's.
printf '\0%s  image\n' "$(sha256sum <image | cut -d ' ' -f 1)" >>SHA256SUMS
verify 3 'no text' image
rm SHA256SUMS
verify 3 'No such file' image
expect 2 '^usage: ' "$work/judged/verify_download"

# ---- licence --------------------------------------------------------------------------------------

cd "$work"
mkdir -m 700 "$stores/vendor" "$stores/stranger" "$stores/user"
export GNUPGHOME=$stores/user
gpg_of() { gpg --homedir "$stores/$1" --batch --quiet "${@:2}" 2>>"$work/errors"; }
# licence_by SIGNER LINE...
licence_by() {
    rm -f licence.asc
    printf '%s\n' "${@:2}" | gpg_of "$1" --output licence.asc --clear-sign || fail "gpg signs nothing"
}
licence() { expect "$1" "$2" judged/licence licence.asc; }

gpg_of stranger --passphrase '' --quick-generate-key 'A stranger' rsa2048 sign never
licence_by stranger "system_uuid=$uuid"
licence 1 'not signed by the vendor'
expect 3 'cannot be read' judged/licence missing
expect 1 'not signed by the vendor' judged/licence judged/README.md
expect 2 '^usage: ' judged/licence
if [ -n "$private_key" ]; then
    gpg_of vendor --import "$private_key"
    licence_by vendor "product=Example" "system_uuid=$uuid"
    licence 0 '^licensed$'
    echo 00000000-0000-4000-8000-000000000001 >$dmi/product_uuid
    licence 1 'for another machine: the system_uuid differs'
    # Firmware without a UUID is nobody's, and a licence for none is for no machine.
    echo >$dmi/product_uuid
    licence 3 'the system_uuid of this machine is not known'
    licence_by vendor system_uuid=
    licence 3 'the system_uuid of this machine is not known'
    echo $uuid >$dmi/product_uuid
    licence_by vendor "product=Example" "system_uuid=$uuid"
    sed -i s/Example/Better/ licence.asc
    licence 1 'altered (50)'
    licence_by vendor product=Example
    licence 1 'names no machine'
    disk=$(orvane show disk 2>/dev/null) || true
    licence_by vendor "system_uuid=$uuid" "disk=$disk"
    if [ -n "$disk" ]; then licence 0 licensed; else licence 3 'the disk .* not known'; fi
    licence_by vendor "system_uuid=$uuid" 'disk=another one'
    if [ -n "$disk" ]; then licence 1 'the disk differs'; else licence 3 'the disk .* not known'; fi
    licence_by vendor "$(printf 'x%.0s' {1..5000})"
    licence 1 'more than 4096 bytes'
else
    echo "left out: licences that the vendor has signed"
fi

# ---- identityd ------------------------------------------------------------------------------------

# Until a command succeeds, for as long as a busy computer may take.
until_true() {
    local attempts=0
    until "$@"; do
        ((++attempts < 600)) || fail "in vain: $*"
        sleep 0.1
    done
}
# start PROGRAM [PATH]: in the empty directory "state", with its messages in "errors"
start() {
    rm -rf state
    mkdir state
    # Whoever starts it may ignore the end of children.
    PATH=${2-$PATH} /usr/bin/env --ignore-signal=CHLD "$1" state >errors 2>&1 &
    daemon=$!
    children=("$daemon")
}
# stop: by a signal, with status 0 and nothing left but the file
stop() {
    local status=0
    kill -TERM "$daemon"
    wait "$daemon" || status=$?
    children=()
    [ $status -eq 0 ] || fail "identityd: status $status"
    [ ! -e state/identity.json.new ] || fail "identityd left a part of a file"
}
cd "$work"
start judged/identityd
until_true [ -e state/identity.json ]
orvane show --json 2>/dev/null | cmp - state/identity.json || fail "identityd: other facts than orvane show"
[ "$(stat -c %a state/identity.json)" = 600 ] || fail "others may read what identityd writes"
first=$(stat -c %i state/identity.json)
# While the old file has a name, no new one can have its number.
ln state/identity.json state/first
kill -HUP "$daemon"
renewed() { [ "$(stat -c %i state/identity.json)" != "$first" ]; }
until_true renewed
stop
[ "$(grep -c 'identity.json is written' errors)" -ge 2 ] || fail "identityd does not print it"

# A query that hangs is killed with its tools, and the file stays.
sed 's/TIME_LIMIT = 30/TIME_LIMIT = 1/' judged/identityd.c >impatient.c
grep -q 'TIME_LIMIT = 1 ' impatient.c
gcc -o impatient impatient.c
mkdir hanging
# shellcheck disable=SC2016
printf '#!/bin/sh\necho part\nsleep 100 &\necho $! >tool\nwait\n' >hanging/orvane
chmod +x hanging/orvane
ends() { ! kill -0 "$1" 2>/dev/null || grep -q '^State:.*Z' "/proc/$1/status"; }
start ./impatient "$work/hanging:$PATH"
echo old >state/identity.json
until_true grep -q 'takes too long and is killed' errors
until_true grep -q 'identity.json is left as it was' errors
until_true ends "$(cat state/tool)"
[ "$(cat state/identity.json)" = old ] || fail "a part of the facts is in the file"
# One that hangs is killed with the daemon.
rm state/tool
kill -HUP "$daemon"
until_true [ -s state/tool ]
stop
until_true ends "$(cat state/tool)"
start judged/identityd /nonexistent
until_true grep -q 'cannot be run: No such file' errors
stop
expect 2 '^usage: ' judged/identityd
expect 1 'No such file' judged/identityd nowhere

# The unit is one that systemd takes, and no less of a sandbox than docs/orvane-show.service.
if command -v systemd-analyze >/dev/null && [ -d /usr/lib/systemd/system ]; then
    root=$work/root
    mkdir -p "$root/usr/local/sbin" "$root/usr/bin" "$root/etc/systemd/system" \
        "$root/usr/lib/systemd"
    ln -s usr/bin "$root/bin"
    cp judged/identityd "$root/usr/local/sbin"
    cp /bin/kill "$root/usr/bin"
    cp -R /usr/lib/systemd/system "$root/usr/lib/systemd"
    cp judged/identityd.service "$root/etc/systemd/system"
    systemd-analyze verify --man=no --root="$root" identityd.service >errors 2>&1 ||
        fail "systemd does not take the unit"
    [ ! -s errors ] || fail "systemd complains about the unit"
    systemd-analyze security --offline=yes --threshold=21 judged/identityd.service \
        >errors || fail "the unit's exposure is above 2.1"
else
    echo "left out: the unit, for want of systemd"
fi

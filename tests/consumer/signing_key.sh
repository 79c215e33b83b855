#!/bin/sh
# Configures with -DORVANE_SIGNING_KEY=FILE and without: what is built in, what is refused, and what
# is left alone.
# Usage: signing_key.sh SOURCE-DIR WORK-DIR
set -eu

# Goes on where the source is read-only, where /tmp holds only what the test and the configurations
# leave there, and where nothing outlives the test.
if [ $# -eq 2 ]; then
    mkdir -p "$2/signing_key"
    # shellcheck disable=SC2016 # the inner shell's
    exec unshare --mount --pid --fork --kill-child --mount-proc sh -ec '
        mount -t tmpfs tmpfs "$2"
        mkdir -p "$2/work/the source"
        mount --bind "$1" "$2/work/the source"
        mount -o remount,ro,bind "$2/work/the source"
        mount --rbind "$2" /tmp
        exec "/tmp/work/the source/tests/consumer/signing_key.sh"' sh "$1" "$2/signing_key"
fi

cd /tmp/work
source='the source'
# Longer than the path of an agent's socket may be.
build='the build in a folder with a path so long that gpg cannot reach an agent that has its socket in it'
cmake=$(command -v cmake)
mkdir home store
chmod 700 home store
export HOME="$PWD/home"
unset GNUPGHOME
umask 0

fail() {
    echo "$1" >&2
    exit 1
}

not() {
    ! "$@" || fail "unexpected success: $*"
}

# configure FOLDER ARGUMENT...
configure() {
    folder=$1
    shift
    "$cmake" -S "$source" -B "$folder" -G Ninja -DBUILD_TESTING=OFF "$@" >"$folder.log" 2>&1
}
accepted() {
    configure "$@" || { cat "$folder.log"; fail "not configured"; }
}

# Whether the last configuration of the build printed the sentence, in lines of whatever length.
printed() {
    tr -s ' \n' ' ' <"$build.log" | grep -qF -- "$1"
}
expect_output() {
    printed "$1" || { cat "$build.log"; fail "not printed: $1"; }
}

# refused FILE REASON REMEDY
refused() {
    not configure "$build" -DORVANE_SIGNING_KEY="$1"
    expect_output "The signing key $PWD/$1 $2. "
    expect_output "$3 docs/keys.md "
    cmp "$build/builtin_key.cpp" before.cpp
}

cat >show.cpp <<'C'
#include "integrity/builtin_key.h"
#include <cstdio>
int main(int, char **arguments)
{
    std::printf("%s %s %u\n", orvane::builtin_fingerprint, orvane::builtin_long_key_id,
                orvane::builtin_creation_time);
    std::FILE *const file = std::fopen(arguments[1], "w");
    std::fwrite(orvane::builtin_key.bytes, 1, orvane::builtin_key.length, file);
    return std::fclose(file);
}
C

# builds_in FOLDER FILE: the file's bytes, and its packets' fields.
builds_in() {
    c++ -std=c++20 -I "$source/src" -o show show.cpp "$1/builtin_key.cpp"
    ./show bytes >facts
    cmp bytes "$2"
    in_store --list-packets "$2" >packets
    {
        sed -n 's/.*(issuer fpr v4 \([0-9A-F]*\))$/\1/p' packets
        sed -n 's/^\tkeyid: //p' packets
        sed -n 's/^\tversion 4, algo 1, created \([0-9]*\), expires 0$/\1/p' packets
    } | paste -sd ' ' | diff - facts
}

in_store() {
    gpg --homedir store --batch --quiet --passphrase '' --faked-system-time '20200102T030405!' \
        "$@" 2>>store.log || { cat store.log; fail "gpg $*"; }
}

key_fingerprint() {
    in_store --with-colons --show-keys "$1" | awk -F: '/^fpr/ {print $10; exit}'
}

# make_key USER-ID ALGORITHM USAGE FILE
make_key() {
    in_store --quick-generate-key "$1" "$2" "$3" never
    in_store --export "=$1" >"$4"
}

# Makes a key that takes so many bytes. The first attempt shows how far off it is; a signature that
# happens to be a byte shorter takes another one.
make_key_of_size() {
    bytes=0 length=400 attempt=0
    until [ "$bytes" -eq "$1" ]; do
        length=$((length + (attempt > 0) * ($1 - bytes))) attempt=$((attempt + 1))
        make_key "$(printf "%-${length}s" "$1-$attempt" | tr ' ' x)" rsa2048 sign,encr "$1.gpg"
        bytes=$(wc -c <"$1.gpg")
    done
}

# Without the option: two builds at the same time, one of a user whose key store is elsewhere.
configure "$build" &
(export GNUPGHOME="$HOME" && accepted other)
wait $! || { cat "$build.log"; fail "not configured"; }
[ "$(grep -c "^-- Signing key: made for this build alone, in $PWD/$build/signing_key; " \
    "$build.log")" -eq 1 ]
[ "$(cd "$build/signing_key" && stat -c '%a %n' -- *)" = "600 private.gpg
600 public.gpg" ]
not cmp -s "$build/signing_key/public.gpg" other/signing_key/public.gpg
cp -R "$build/signing_key" first
accepted "$build"
diff -r "$build/signing_key" first
builds_in "$build" first/public.gpg

# The halves belong together.
mkdir -m 700 signer reader
gpg --homedir signer --batch --quiet --import first/private.gpg
echo text | gpg --homedir signer --batch --quiet --sign >signed
gpg --homedir reader --batch --quiet --import first/public.gpg
gpg --homedir reader --batch --quiet --trust-model always --decrypt signed 2>/dev/null |
    grep -qx text

# Keys that fit, named as the caller's directory has them.
make_key good rsa3072 sign,encr 'the [good key.gpg'
accepted "$build" -DORVANE_SIGNING_KEY='the [good key.gpg'
builds_in "$build" 'the [good key.gpg'
grep -q ' 1577934245$' facts # 2020-01-02 03:04:05 UTC
not printed 'made for this build alone'
not printed 'CMake Warning'

make_key_of_size 1024
accepted "$build" -DORVANE_SIGNING_KEY=1024.gpg
builds_in "$build" 1024.gpg

# One that can sign alone is built in, with a warning.
make_key 'signs alone' rsa1024 sign signs_alone.gpg
accepted "$build" -DORVANE_SIGNING_KEY=signs_alone.gpg
expect_output "The signing key $PWD/signs_alone.gpg cannot be encrypted to: "
builds_in "$build" signs_alone.gpg

# Files that do not.
cp "$build/builtin_key.cpp" before.cpp
export_it='Export it: gpg --export FINGERPRINT >FILE'
mkdir directory
: >empty
head -c 300 /dev/zero >zeros
echo text >text
printf '\231\001\015\004text' >start_of_a_key
refused missing 'is missing' "$export_it"
refused directory 'is a directory' "$export_it"
refused empty 'is empty' "$export_it"
for nonsense in zeros text start_of_a_key signed; do
    refused "$nonsense" 'is no OpenPGP key' "$export_it"
done

make_key_of_size 1025
refused 1025.gpg 'has 1025 bytes, too many' \
    'no signature of others fit: gpg --export-options export-minimal --export FINGERPRINT >FILE'
in_store --quick-add-uid =good 'The same person under another, somewhat longer name'
in_store --quick-add-uid =good 'And once more'
in_store --export =good >two_more_names.gpg
in_store --export --armor =good >armoured
refused two_more_names.gpg "has $(wc -c <two_more_names.gpg) bytes, too many" \
    '--export FINGERPRINT >FILE'
refused armoured 'is armoured' 'Take the armour off: gpg --dearmor <ARMOURED >FILE'
{ echo 'As sent by mail:'; in_store --export --armor '=signs alone'; } >quoted
refused quoted 'is armoured' 'gpg --dearmor <ARMOURED >FILE'

make_one="Make one: gpg --quick-generate-key 'NAME <ADDRESS>' rsa3072 sign,encr never"
for algorithm in ed25519 nistp256 dsa1024; do
    make_key "$algorithm" "$algorithm" sign "$algorithm.gpg"
    refused "$algorithm.gpg" 'is not an RSA key' "$make_one"
done

# Keys of which gpg_verify() would accept no signature.
in_store --quick-generate-key expired rsa1024 sign,encr 1d
in_store --export =expired >expired.gpg
refused expired.gpg 'is expired' \
    'Extend it and export it again: gpg --quick-set-expire FINGERPRINT never gpg --export FINGERPRINT >FILE'
make_key 'to be revoked' rsa1024 sign,encr revoked.gpg
sed 's/^:---/---/' "store/openpgp-revocs.d/$(key_fingerprint revoked.gpg).rev" >revocation
in_store --import revocation
in_store --export '=to be revoked' >revoked.gpg
refused revoked.gpg 'is revoked' "$make_one"
make_key 'certifies' rsa1024 cert,encr certifies.gpg
refused certifies.gpg 'does not sign with its primary key' "$make_one"
in_store --quick-add-key "$(key_fingerprint certifies.gpg)" rsa1024 sign never
in_store --export =certifies >signing_subkey.gpg
refused signing_subkey.gpg 'does not sign with its primary key' "$make_one"

# A bracket in a user ID has no say in how many keys there are.
make_key 'one [of two' rsa1024 sign,encr bracket.gpg
in_store --export-secret-keys '=one [of two' >private_bracket.gpg
in_store --export-secret-keys =good >private.gpg
in_store --export-secret-keys --armor =good >private_armoured
in_store --export-secret-subkeys '=one [of two' >private_stub.gpg
in_store --export-secret-keys =ed25519 >private_ed25519.gpg
cat bracket.gpg private.gpg >public_then_private.gpg
[ "$(wc -c <private.gpg)" -gt 1024 ]
[ "$(wc -c <private_bracket.gpg)" -lt 1024 ]
for private in private_bracket.gpg private.gpg private_armoured private_stub.gpg \
    private_ed25519.gpg public_then_private.gpg; do
    refused "$private" 'holds a private key' \
        'Export the public half alone: gpg --export FINGERPRINT >FILE'
done

cat bracket.gpg signs_alone.gpg >two.gpg
cat signs_alone.gpg signs_alone.gpg >twice.gpg
cat bracket.gpg ed25519.gpg signs_alone.gpg >three.gpg
refused two.gpg 'holds 2 keys' 'Export one of them: gpg --export FINGERPRINT >FILE'
refused twice.gpg 'holds 2 keys' 'Export one of them: gpg --export FINGERPRINT >FILE'
refused three.gpg 'holds 3 keys' 'Export one of them: gpg --export FINGERPRINT >FILE'

# The signature is for another name.
LC_ALL=C sed 's/signs alone/signs along/' signs_alone.gpg >renamed.gpg
refused renamed.gpg 'cannot be imported by gpg' \
    'Export it again: gpg --export FINGERPRINT >FILE'

# What a search that found nothing hands on.
not configure "$build" -DORVANE_SIGNING_KEY=KEY-NOTFOUND
expect_output 'KEY-NOTFOUND is missing'
# CMake does not know the caller's directory once the path has a type.
not configure "$build" -DORVANE_SIGNING_KEY:FILEPATH=1024.gpg
expect_output "The signing key $PWD/$source/1024.gpg is missing."
cp 1024.gpg 'semi;colon.gpg'
accepted "$build" -DORVANE_SIGNING_KEY:FILEPATH="$PWD/semi;colon.gpg"
builds_in "$build" 1024.gpg

# Another key in the same file is built in at the next build, or stops it.
cp 1024.gpg changing.gpg
accepted "$build" -DORVANE_SIGNING_KEY=changing.gpg
cmake --build "$build" --target build.ninja | grep -qF 'no work to do'
cp bracket.gpg changing.gpg
cmake --build "$build" --target build.ninja >build.log
builds_in "$build" bracket.gpg
cp private.gpg changing.gpg
not cmake --build "$build" --target build.ninja >build.log 2>&1
grep -qF 'holds a private key' build.log

# Without the option again: the build's own key is still there.
accepted "$build" -DORVANE_SIGNING_KEY=
diff -r "$build/signing_key" first
builds_in "$build" first/public.gpg

# gpg is the one that runs here, not the one of the machine that is built for.
path_of_gpg=$(command -v gpg)
mkdir -p "root$(dirname "$path_of_gpg")"
printf '#!/bin/sh\nexit 2\n' >"root$path_of_gpg"
cat >interrupting <<'SH'
#!/bin/sh
case $* in *' --export') echo half; kill -TERM $PPID ;; esac
SH
chmod +x "root$path_of_gpg" interrupting
accepted "$build" -UGPG_PROGRAM -DCMAKE_FIND_ROOT_PATH="$PWD/root"
builds_in "$build" first/public.gpg

# A pair that could not be made leaves no public half, by which the next configuration would go.
for program in "root$path_of_gpg" interrupting; do
    rm -r "$build/signing_key"
    not configure "$build" -DGPG_PROGRAM="$PWD/$program"
    not printed 'is missing'
    [ ! -e "$build/signing_key/public.gpg" ]
    [ ! -e "$build/signing_key/key_store" ]
done

# Nor does one that is killed while there is a private half, and the next one makes a pair.
cat >killing <<'SH'
#!/bin/sh
gpg "$@"
case $* in *--quick-generate-key*) kill -KILL $PPID ;; esac
SH
chmod +x killing
rm -r "$build/signing_key"
not configure "$build" -DGPG_PROGRAM="$PWD/killing"
[ ! -e "$build/signing_key/public.gpg" ]
[ "$(find /tmp /var/tmp /run -path '*/private-keys-v1.d/*' -newer killing |
    sed "s:^$PWD/$build/signing_key/.*:in the build folder:")" = 'in the build folder' ]
accepted "$build" -DGPG_PROGRAM="$path_of_gpg"
[ "$(ls "$build/signing_key")" = "private.gpg
public.gpg" ]
not configure "$build" -DGPG_PROGRAM="$PWD/nowhere" -DORVANE_SIGNING_KEY=1024.gpg
expect_output "$PWD/nowhere, which reads the signing key, does not run: "
(
    export PATH=/nowhere # and what an earlier configuration found is known
    not configure "$build" -UGPG_PROGRAM -DCMAKE_FIND_USE_CMAKE_SYSTEM_PATH=OFF
)
expect_output 'gpg, which reads and makes the signing key, is missing.'

# The runs of gpg left nothing behind, nor did anything outside the build folders.
[ ! -e "$build/CMakeFiles/signing_key" ]
[ "$(ls -A home)" = '' ]
[ "$(ls -A /tmp)" = work ]
for store in store signer reader; do
    gpgconf --homedir "$PWD/$store" --kill gpg-agent
done
for process in /proc/[0-9]*; do
    ! tr '\0' ' ' 2>/dev/null <"$process/cmdline" | grep -q '^[^ ]*gpg-agent ' ||
        timeout 10 tail --pid="${process#/proc/}" -f /dev/null || fail 'an agent is left running'
done

#!/bin/bash
# Runs a command on a host that has, installed and configured, what a test might depend on: another
# liborvane, a public key, a trace log, a key store, tools, files where tests put theirs, and an
# unusual environment, limits, signals and descriptors. The computer itself stays as it is.
# Usage: hostile_host.sh make DIRECTORY LOCALES
#        hostile_host.sh run DIRECTORY COMMAND...
#        hostile_host.sh run-as-root DIRECTORY COMMAND... in the environment that sudo gives
set -euo pipefail

project=$(realpath "$(dirname "$0")/../..")
covered=(etc opt root srv usr)

make_tool() {
    mkdir -p "${1%/*}"
    printf '#!/bin/sh\necho "%s of the host"\necho "%s of the host" >&2\nexit 9\n' "$1" "$1" >"$1"
    chmod 755 "$1"
}

# The source of a library that exports the same names.
print_library() {
    printf '#include <stdlib.h>\n#include <unistd.h>\n'
    sed -n '/^global:/,/^local:/s/^ *\([A-Za-z_0-9]*\);$/\1/p' "$project/src/liborvane.map" |
        while read -r name; do
            case $name in
            manufacturerType) echo "const void *${name}[48];" ;;
            *) echo "void $name(void) { if (write(2, \"the host\", 8)) abort(); }" ;;
            esac
        done
}

# make_library PREFIX LIBDIR
make_library() {
    mkdir -p "$1/include" "$2/pkgconfig" "$2/cmake/orvane"
    print_library | gcc -shared -fPIC -x c -o "$2/liborvane.so.1" - \
        -Wl,-soname,liborvane.so.1 -Wl,--version-script="$project/src/liborvane.map"
    ln -s liborvane.so.1 "$2/liborvane.so"
    echo "#error \"the host's header\"" >"$1/include/orvane.h"
    printf '%s\n' 'Name: liborvane' "Description: the host's" 'Version: 0.1' \
        'Libs: -lof_the_host' >"$2/pkgconfig/liborvane.pc"
    echo "message(FATAL_ERROR \"the host's package\")" >"$2/cmake/orvane/orvaneConfig.cmake"
    make_tool "$1/bin/orvane"
}

make_key_store() {
    mkdir "$1"
    chmod 700 "$1"
    printf 'armor\nno-such-option\n' >"$1/gpg.conf"
    echo no-such-option >"$1/gpg-agent.conf"
    echo 'not a keyring' >"$1/pubring.kbx"
}

make() {
    local tool name
    rm -rf "$made"
    mkdir -p "${covered[@]/#/$made/}" "$made/log/orvane"

    make_library "$made/usr" "$made/usr/lib/$(gcc -print-multiarch)"
    make_library "$made/usr/local" "$made/usr/local/lib"
    for tool in bin/lsblk sbin/dmidecode sbin/dmsetup sbin/lvdisplay sbin/pvdisplay sbin/smartctl; do
        make_tool "$made/usr/local/$tool"
    done
    for tool in gpg gpgconf gpg-agent ip cat sh readlink; do
        make_tool "$made/opt/tools/$tool"
    done
    mkdir -p "$made/usr/lib/locale"
    cp -a "$1/." "$made/usr/lib/locale"

    mkdir "$made/etc/orvane" "$made/etc/gnupg" "$made/etc/keys"
    openssl genrsa 2048 2>/dev/null |
        openssl rsa -pubout -out "$made/etc/orvane/public.pem" 2>/dev/null
    echo 'not a key' >"$made/etc/keys/one.pem"
    echo 'VARIANT=EDU' | tee "$made/etc/os-release" >"$made/usr/lib/os-release"
    echo no-such-option | tee "$made/etc/gnupg/gpg.conf" >"$made/etc/gnupg/gpg-agent.conf"
    make_key_store "$made/root/.gnupg"
    echo 'Zone Odd 13:45 - ODD' | zic -d "$made/zones" -
    mv "$made/zones/Odd" "$made/etc/localtime"
    echo 'the log of the host' >"$made/log/orvane/liborvane.log"
    # The names that tests use most.
    for name in calls directory file link log missing output settings text; do
        mkdir "$made/srv/$name"
        echo 'of the host' >"$made/srv/$name/file"
    done
    mkdir "$made/opt/orvane"

    # The dynamic linker finds the library.
    unshare --mount "$0" lay "$made" ldconfig -C "$made/ld.so.cache"
    mv "$made/ld.so.cache" "$made/etc"
}

# Lays what was made over this computer's directories.
lay() {
    local top written=$made/written
    mkdir -p "$written"
    mount -t tmpfs tmpfs "$written"
    for top in "${covered[@]}"; do
        mkdir -p "$written/$top/upper" "$written/$top/work"
        mount -t overlay overlay "/$top" -o \
            "lowerdir=$made/$top:/$top,upperdir=$written/$top/upper,workdir=$written/$top/work"
    done
    mount -t tmpfs tmpfs /var/log
    cp -a "$made/log/." /var/log
    # As on a hardened host. The project may stand below it.
    [[ $project == /tmp/* ]] ||
        mount -t tmpfs -o noexec,nosuid,nodev,mode=1777 tmpfs /tmp
}

be_unusual() {
    export HOME=/root GNUPGHOME=/root/.gnupg TMPDIR=/var/log
    export XDG_RUNTIME_DIR=/nonexistent XDG_CONFIG_HOME=/nonexistent XDG_CACHE_HOME=/nonexistent
    export LC_ALL=tr_TR.ISO-8859-9 LANG=de_DE.ISO-8859-1 LANGUAGE=de TZ='<+1345>-13:45'
    export PATH=/opt/tools:/usr/local/sbin:/usr/local/bin:$PATH LD_LIBRARY_PATH=/usr/local/lib
    export POSIXLY_CORRECT=1 COLUMNS=20 NO_COLOR=1 G_MESSAGES_DEBUG=all G_SLICE=debug-blocks \
        GPGME_DEBUG=9 LIBBLKID_DEBUG=all LIBSMARTCOLS_DEBUG=all OPENSSL_CONF=/nonexistent
    export GTEST_SHUFFLE=1
    umask 077
    ulimit -S -n 64 -f 1000000 -s 2048 -u 20
    cd /srv
    exec 0<&- 3</ 4</etc/passwd 7>>/dev/null
}

nothing_is_left() {
    local left
    left=$(ls -A /tmp)
    [ -z "$left" ] || echo "left in /tmp: $left"
    [ -z "$left" ]
}

[ $# -ge 3 ] || {
    echo "usage: hostile_host.sh make DIRECTORY LOCALES | run|run-as-root DIRECTORY COMMAND..." >&2
    exit 2
}
mode=$1 made=$2
shift 2
case $mode in
make) make "$1" ;;
run) exec unshare --mount "$0" unusual "$made" "$@" ;;
run-as-root)
    umask 077
    exec unshare --mount "$0" lay "$made" env -i HOME=/root LANG=C.UTF-8 \
        PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin "$@"
    ;;
# In mounts of its own.
lay)
    lay
    exec "$@"
    ;;
unusual)
    lay
    env=$(command -v env)
    be_unusual
    status=0
    "$env" --ignore-signal=CHLD,HUP,PIPE,USR1,XFSZ --block-signal=ALRM,TERM,USR2 "$@" || status=$?
    [[ $project == /tmp/* ]] || nothing_is_left || exit 1
    exit $status
    ;;
esac

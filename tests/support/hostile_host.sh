#!/bin/bash
# Runs a command on a host that has, installed and configured, whatever a test might depend on: another
# liborvane, a public key, a trace log, a key store, other tools, and an environment, limits and
# descriptors that are unusual. The host itself stays as it is.
# Usage: hostile_host.sh make DIRECTORY LOCALES
#        hostile_host.sh run DIRECTORY COMMAND...
set -euo pipefail

project=$(realpath "$(dirname "$0")/../..")
covered=(etc opt root srv usr)

# Lays what was made over this host's directories.
lay() {
    local made=$1 layer
    mount -t tmpfs tmpfs /mnt
    for layer in "${covered[@]}"; do
        mkdir -p "/mnt/$layer/upper" "/mnt/$layer/work"
        mount -t overlay overlay "/$layer" -o \
            "lowerdir=$made/$layer:/$layer,upperdir=/mnt/$layer/upper,workdir=/mnt/$layer/work"
    done
    mount -t tmpfs tmpfs /var/log
    cp -a "$made/log/." /var/log
    # As hardened hosts have it. The project may stand below it.
    case $project in
    /tmp/*) ;;
    *) mount -t tmpfs -o noexec,nosuid,nodev,mode=1777 tmpfs /tmp ;;
    esac
}

# A library whose functions end the process, with its header, its package files and its command.
make_library() {
    local prefix=$1/$2 libdir=$1/$3
    mkdir -p "$prefix/bin" "$prefix/include" "$libdir/pkgconfig" "$libdir/cmake/orvane"
    gcc -shared -fPIC -fno-builtin -Wl,-soname,liborvane.so.1 \
        -Wl,--version-script="$project/src/liborvane.map" -o "$libdir/liborvane.so.1" "$made/library.c"
    ln -s liborvane.so.1 "$libdir/liborvane.so"
    echo '#error "the header of the host"' >"$prefix/include/orvane.h"
    printf 'Name: liborvane\nDescription: of the host\nVersion: 0.1\nCflags: -DOF_THE_HOST=\nLibs: -lorvane\n' \
        >"$libdir/pkgconfig/liborvane.pc"
    echo 'message(FATAL_ERROR "the package of the host")' >"$libdir/cmake/orvane/orvaneConfig.cmake"
    make_tool "$prefix/bin/orvane"
}

make_tool() {
    mkdir -p "${1%/*}"
    printf '#!/bin/sh\necho "%s of the host"\necho "%s of the host" >&2\nexit 9\n' "$1" "$1" >"$1"
    chmod 755 "$1"
}

make_library_source() {
    echo '#include <stdlib.h>'
    echo '#include <unistd.h>'
    echo 'static void used(void) { if (write(2, "the library of the host is used\n", 32)) abort(); }'
    sed -n '/^global:/,/^local:/s/^ *\([A-Za-z_0-9]*\);$/\1/p' "$project/src/liborvane.map" |
        while read -r name; do
            case $name in
            manufacturerType) echo "struct { const char *name; int type; } $name[24];" ;;
            *) echo "void $name(void) { used(); }" ;;
            esac
        done
}

make_key_store() {
    mkdir -m 700 -p "$1"
    printf 'armor\nno-such-option\ndefault-key nobody\n' >"$1/gpg.conf"
    printf 'no-such-option\n' >"$1/gpg-agent.conf"
    echo 'no keyring' >"$1/pubring.kbx"
}

make() {
    local locales=$1 multiarch tool
    rm -rf "$made"
    mkdir -p "${covered[@]/#/$made/}" "$made/log/orvane"
    multiarch=$(gcc -print-multiarch)
    make_library_source >"$made/library.c"
    make_library "$made/usr" . "lib/$multiarch"
    make_library "$made/usr" local local/lib
    for tool in bin/gpg bin/gpgconf bin/ip bin/lsblk sbin/dmidecode sbin/dmsetup sbin/lvdisplay sbin/pvdisplay sbin/smartctl; do
        make_tool "$made/usr/local/$tool"
    done
    mkdir -p "$made/usr/lib/locale"
    cp -a "$locales/." "$made/usr/lib/locale"

    mkdir -p "$made/etc/orvane" "$made/etc/keys"
    openssl genrsa 2048 2>/dev/null | openssl rsa -pubout -out "$made/etc/orvane/public.pem" 2>/dev/null
    echo 'not a key' >"$made/etc/keys/one.pem"
    printf 'NAME="Of the host"\nVARIANT="EDU"\nVARIANT_ID=edu\n' >"$made/etc/os-release"
    printf 'VARIANT=EDU\n' >"$made/usr/lib/os-release"
    printf 'Zone Odd 13:45 - ODD\n' >"$made/zone"
    zic -d "$made/zones" "$made/zone"
    cp "$made/zones/Odd" "$made/etc/localtime"
    mkdir -p "$made/etc/gnupg"
    printf 'no-such-option\n' | tee "$made/etc/gnupg/gpg.conf" >"$made/etc/gnupg/gpg-agent.conf"
    make_key_store "$made/root/.gnupg"
    printf '2020-01-01 00:00:00.000 [1]: of the host\n' >"$made/log/orvane/liborvane.log"
    # Where tests put their files.
    mkdir -p "$made/opt/orvane" "$made/opt/tools"
    for name in file output settings content made log missing; do
        mkdir -p "$made/srv/$name"
        echo "of the host" >"$made/srv/$name/name"
    done
    (
        export -f lay
        export project
        unshare --mount bash -euc "covered=(${covered[*]})"'; lay "$1"; ldconfig -C "$1/ld.so.cache"' \
            bash "$made"
    )
    mv "$made/ld.so.cache" "$made/etc"
}

run_here() {
    export HOME=/root GNUPGHOME=/root/.gnupg TMPDIR=/var/log XDG_RUNTIME_DIR=/nonexistent \
        XDG_CONFIG_HOME=/nonexistent XDG_CACHE_HOME=/nonexistent
    export LC_ALL=tr_TR.ISO-8859-9 LANG=de_DE.ISO-8859-1 LANGUAGE=de LC_NUMERIC=de_DE.ISO-8859-1
    export TZ='<+1345>-13:45'
    export PATH=/usr/local/sbin:/usr/local/bin:$PATH LD_LIBRARY_PATH=/usr/local/lib
    export POSIXLY_CORRECT=1 COLUMNS=20 TERM=dumb IFS=x ENV=/nonexistent NO_COLOR=1
    export G_MESSAGES_DEBUG=all G_SLICE=debug-blocks LIBBLKID_DEBUG=all LIBSMARTCOLS_DEBUG=all \
        LSBLK_DEBUG=all GPGME_DEBUG=9 OPENSSL_CONF=/nonexistent MALLOC_PERTURB_=165
    export GTEST_SHUFFLE=1
    umask "${HOSTILE_UMASK-077}"
    ulimit -S -n 64
    ulimit -S -c unlimited
    ulimit -S -f 1000000
    ulimit -S -s 2048
    ulimit -S -u 20
    cd /srv
    exec 3</etc/passwd 4</ 7>>/dev/null <&-
    exec env --ignore-signal=PIPE,CHLD,XFSZ,HUP,USR1 --block-signal=TERM,USR2,ALRM "$@"
}

case ${1-} in
make)
    made=$2
    make "$3"
    ;;
run)
    made=$2
    shift 2
    exec unshare --mount "$0" run-here "$made" "$@"
    ;;
run-here)
    made=$2
    shift 2
    lay "$made"
    run_here "$@"
    ;;
esac

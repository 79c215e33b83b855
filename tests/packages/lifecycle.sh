#!/bin/sh
# Installs, upgrades, removes and purges the packages in a root that has what they depend on, as
# root, and compares the files of the root before and after: in a root with systemd-tmpfiles, and in
# one without. It changes the root.
# Usage: lifecycle.sh OLDER-PACKAGES NEWER-PACKAGES FOREIGN-LIBRARY FOREIGN-ARCHITECTURE
#   each a folder of packages; of the foreign architecture, liborvane1 alone
set -eu

older=$1 newer=$2 foreign=$3 foreign_architecture=$4
here=$PWD
work=$(mktemp -d)
log=/var/log/orvane/liborvane.log
upstream=$(dpkg-deb --field "$newer"/orvane_*.deb Version)
upstream=${upstream%-*}

fail() {
    echo "failed: $*"
    exit 1
}

# Finds in the whole root, but not what dpkg and ldconfig write about their own work.
# Usage: walk FIND-ACTION...
walk() {
    find / -xdev \( -path "$here" -o -path /tmp -o -path /proc -o -path /sys -o -path /dev \
        -o -path /var/log/dpkg.log -o -path '/var/lib/dpkg/*-old' \
        -o -path /var/cache/ldconfig/aux-cache \) -prune -o "$@"
}

list_files() {
    {
        walk -printf '%p %y %m %U:%G %l\n'
        walk -type f -print0 | xargs -0 sha256sum
    } | LC_ALL=C sort
}

list_paths() {
    walk -print | LC_ALL=C sort
}

# What is there of the packages, but for what dpkg keeps for itself.
left_of_packages() {
    list_paths | LC_ALL=C comm -13 "$work/paths" - | grep -v '^/var/lib/dpkg/' || :
}

quietly() {
    "$@" >"$work/log" 2>&1 || {
        cat "$work/log"
        fail "$*"
    }
}

versions() {
    # shellcheck disable=SC2016 # dpkg-query expands it
    dpkg-query --show --showformat='${Package}=${Version} ' liborvane-dev liborvane1 orvane
}

packaged() {
    for package in liborvane-dev liborvane1 orvane; do
        printf '%s=%s ' $package "$(dpkg-deb --field "$1/$package"_*.deb Version)"
    done
}

expect_directory() {
    [ "$(stat --format='%F %a %U:%G' /var/log/orvane)" = "directory 755 root:root" ] ||
        fail "$1: $(stat --format='%F %a %U:%G' /var/log/orvane)"
}

# One life of the packages, from nothing to nothing.
live() {
    list_files >"$work/before"
    list_paths >"$work/paths"

    # Another user could make the directory his own, and an old library made it with any umask.
    mkdir -m 777 /var/log/orvane
    quietly dpkg --install "$older"/*.deb
    [ "$(versions)" = "$(packaged "$older")" ] || fail "installed: $(versions)"
    expect_directory "an older directory is not corrected"
    [ "$(orvane --version | head -n 1)" = "orvane $upstream" ] || fail "the command does not run"
    orvane show --trace >/dev/null 2>&1 || fail "orvane show"
    [ -s $log ] || fail "there is no trace log"
    cp $log "$work/trace"
    echo '# edited' >>/etc/logrotate.d/liborvane1

    # A question about the edited file would end dpkg, which has no terminal.
    quietly dpkg --install "$newer"/*.deb </dev/null
    [ "$(versions)" = "$(packaged "$newer")" ] || fail "upgraded: $(versions)"
    [ -z "$(dpkg --audit)" ] || fail "$(dpkg --audit)"
    cmp $log "$work/trace"
    grep -q '^# edited$' /etc/logrotate.d/liborvane1 || fail "the edited file is replaced"
    quietly ldconfig --print-cache
    grep -q 'liborvane\.so\.1 ' "$work/log" || fail "the dynamic linker does not know the library"

    rm -rf /var/log/orvane
    quietly dpkg-reconfigure --frontend=noninteractive liborvane1
    expect_directory "the directory is not made again"
    cp "$work/trace" $log

    quietly dpkg --remove orvane liborvane-dev liborvane1
    cmp $log "$work/trace"
    left_of_packages >"$work/left"
    printf '%s\n' /etc/logrotate.d/liborvane1 /var/log/orvane $log | diff - "$work/left" ||
        fail "after removal other files are left, or fewer"

    quietly dpkg --purge orvane liborvane-dev liborvane1
    list_files | diff "$work/before" - || fail "after purging the root is another one"
}

# The log belongs to the library of all architectures.
live_beside_another_architecture() {
    dpkg --add-architecture "$foreign_architecture"
    quietly dpkg --install "$newer"/liborvane1_*.deb
    # What it depends on is not there for that architecture.
    quietly dpkg --install --force-depends "$foreign"/*.deb
    echo "a line" >$log
    quietly dpkg --purge --force-depends liborvane1:"$foreign_architecture"
    [ -s $log ] || fail "purging one architecture removes the log of another"
    quietly dpkg --install --force-depends "$foreign"/*.deb
    quietly dpkg --purge --force-depends liborvane1:"$(dpkg --print-architecture)"
    [ -s $log ] || fail "purging one architecture removes the log of another"
    quietly dpkg --purge --force-depends liborvane1:"$foreign_architecture"
    [ ! -e /var/log/orvane ] || fail "purging the last architecture leaves the log"
    dpkg --remove-architecture "$foreign_architecture"
}

command -v systemd-tmpfiles >/dev/null || fail "there is no systemd-tmpfiles to begin with"
live
quietly dpkg --purge systemd-standalone-tmpfiles
live
live_beside_another_architecture
rm -rf "$work"
echo "installed, upgraded, removed and purged, with systemd-tmpfiles and without: nothing is left"

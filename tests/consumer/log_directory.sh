#!/bin/sh
# Installs the trace log's directory, which nothing else installs and which root alone may write.
# Usage: log_directory.sh BUILD-DIR WORK-DIR
set -eu

build=$1 work=$2/log_directory
rm -rf "$work"
install() { DESTDIR=$work/root cmake --install "$build" "$@" >/dev/null; }

install
[ ! -e "$work/root/var" ]

rm -r "$work/root"
umask 077
install --component log-directory
(cd "$work/root" && find . -type d | LC_ALL=C sort) >"$work/made"
printf '%s\n' . ./var ./var/log ./var/log/orvane | diff - "$work/made"
expect() { [ "$(stat -c '%a %u' "$work/root/var/log/orvane")" = "$1" ] || exit 1; }
expect "755 $(id -u)"
# One that the library has made without a umask.
chmod 777 "$work/root/var/log/orvane"
install --component log-directory
expect "755 $(id -u)"

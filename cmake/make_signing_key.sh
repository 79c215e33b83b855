#!/bin/sh
# Makes a key pair for one build: DIRECTORY/public.gpg and, for the owner alone,
# DIRECTORY/private.gpg.
# Usage: make_signing_key.sh GPG DIRECTORY
set -eu

umask 077
# The key store is in the build folder too, where the next run removes what a killed one left.
mkdir -p "$2"
cd "$2"
rm -rf key_store
mkdir key_store
cd key_store
# The sockets of gpg's agent need a short path.
GNUPGHOME=/proc/$$/cwd
export GNUPGHOME

agent=$(gpgconf --list-components | sed -n 's/^gpg-agent:[^:]*://p')
# An agent that starts a program ends with it, even where the program is killed.
# shellcheck disable=SC2016 # the inner shell's
exec "$agent" --quiet --daemon -- sh -euc '
    trap "gpgconf --kill gpg-agent || :; gpgconf --remove-socketdir 2>/dev/null || :
        cd .. && rm -rf key_store" EXIT
    # A shell that a signal ends does not come by EXIT on its own.
    trap "exit 1" HUP INT TERM
    "$1" --batch --quiet --passphrase "" \
        --quick-generate-key "Signing key of one liborvane build" rsa3072 sign,encr never
    "$1" --batch --export-secret-keys >../private.gpg
    # Last, because where it stands both halves do.
    "$1" --batch --export >new
    mv new ../public.gpg' sh "$1"

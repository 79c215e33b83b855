#!/bin/sh
# Makes a key pair for one build: DIRECTORY/public.gpg and, for the owner alone,
# DIRECTORY/private.gpg.
# Usage: make_signing_key.sh GPG DIRECTORY
set -eu

gpg=$1
umask 077
mkdir -p "$2"
cd "$2"
# The socket of gpg's agent needs a short path.
GNUPGHOME=$(mktemp -d /tmp/orvane-key.XXXXXX)
export GNUPGHOME
trap 'gpgconf --kill gpg-agent || :; rm -rf "$GNUPGHOME"' EXIT
# A shell that a signal ends does not come by EXIT on its own.
trap 'exit 1' HUP INT TERM

"$gpg" --batch --quiet --passphrase '' \
    --quick-generate-key 'Signing key of one liborvane build' rsa3072 sign,encr never
"$gpg" --batch --export-secret-keys >private.gpg
# Last, because where it stands both halves do.
"$gpg" --batch --export >new
mv new public.gpg

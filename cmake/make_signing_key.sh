#!/bin/sh
# Makes a key pair for one build: DIRECTORY/public.gpg and, for the owner alone,
# DIRECTORY/private.gpg.
# Usage: make_signing_key.sh DIRECTORY
set -eu

umask 077
mkdir -p "$1"
cd "$1"
# The socket of gpg's agent needs a short path.
GNUPGHOME=$(mktemp -d /tmp/orvane-key.XXXXXX)
export GNUPGHOME
trap 'gpgconf --kill gpg-agent; rm -rf "$GNUPGHOME"' EXIT

gpg --batch --quiet --passphrase '' \
    --quick-generate-key 'Signing key of one liborvane build' rsa3072 sign,encr never
gpg --batch --export-secret-keys >private.gpg
# Last, because where it stands both halves do.
gpg --batch --export >new
mv new public.gpg

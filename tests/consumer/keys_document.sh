#!/bin/sh
# Runs the commands of the document about keys as they are printed, and looks at what they leave.
# Usage: keys_document.sh DOCUMENT SOURCE-DIR WORK-DIR
set -eu

document=$1 SOURCE=$2 work=$3/keys_document
export SOURCE
rm -rf "$work"
mkdir -p "$work/bin"
# shellcheck disable=SC2016 # the quotes are the document's
sed -n '/^```sh$/,/^```$/{/^```/d;p}' "$document" >"$work/commands.sh"
[ "$(wc -l <"$work/commands.sh")" -gt 15 ] || { echo "no commands in $document"; exit 1; }

# The socket of gpg's agent needs a short path.
GNUPGHOME=$(mktemp -d /tmp/orvane-keys.XXXXXX)
export GNUPGHOME
trap 'gpgconf --kill gpg-agent || :; rm -rf "$GNUPGHOME"' EXIT
trap 'exit 1' HUP INT TERM
# It is root that runs the tests.
printf '#!/bin/sh\nexec "$@"\n' >"$work/bin/sudo"
chmod +x "$work/bin/sudo"

cd "$work"
# In a /etc of its own, so that the key stays away from the host.
PATH=$work/bin:$PATH unshare --mount sh -eu >log 2>&1 <<'SH' || { cat log; exit 1; }
mount -t tmpfs tmpfs /mnt
mkdir /mnt/upper /mnt/work
mount -t overlay -o lowerdir=/etc,upperdir=/mnt/upper,workdir=/mnt/work overlay /etc
. ./commands.sh
SH

expect() { grep -qx "$1" log || { echo "not printed: $1"; cat log; exit 1; }; }
expect 'release.txt.gpg: valid; only the signed content of 16 bytes is vouched for'
expect 'licence.txt: valid'
cmp content.txt release.txt
echo 'A report' | cmp - report.txt
if cmp -s /etc/orvane/public.pem public.pem; then
    echo "the host has the key of the test"
    exit 1
fi

#!/bin/bash
# Makes a release of the sources as they are, in a repository of its own with a key of its own: what
# scripts/release refuses, what a dry run leaves alone, what a release consists of, and what is left
# of one that fails. For these processes alone the repository stands in the place of the project, so
# that the objects which scripts/abi has made there remain valid. As root.
# Usage: release.sh
set -euo pipefail

project=$(realpath "$(dirname "$0")/../..")
if [ "${1-}" != in-repository ]; then
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    cd "$project"
    scripts/abi >"$work/output" || {
        cat "$work/output" >&2
        exit 1
    }
    mkdir -p "$work/repository/build"
    find . -maxdepth 1 -mindepth 1 ! -name build ! -name .git -exec cp -a -t "$work/repository" {} +
    cp -a -t "$work/repository/build" build/abi
    unshare --mount "$project/tests/release/release.sh" in-repository "$work"
    exit
fi
work=$2
mount --bind "$work/repository" "$project"
cd "$project"
export GNUPGHOME=$work/keys
trap 'gpgconf --kill all' EXIT
export GIT_CONFIG_GLOBAL=/dev/null GIT_CONFIG_NOSYSTEM=1

now=$(sed -n 's/^#define ORVANE_VERSION "\(.*\)"$/\1/p' include/orvane.h)
version=${now%.*}.$((${now##*.} + 1))
sed -i "0,/^## /s/^## .*/## $version (not yet released)\n\n- Mended.\n\n&/" CHANGELOG.md
git init --quiet --initial-branch main
git config user.name Releaser
git config user.email releaser@localhost
git add --all
git commit --quiet --message sources
mkdir -m 700 "$GNUPGHOME"

state() {
    git rev-parse HEAD
    git for-each-ref
    git status --porcelain --ignored
    ls -A build 2>/dev/null || true
}
failures=0
# Runs scripts/release, which has to refuse with one line and to leave everything as it was.
# Usage: refuses LINE ARGUMENT...
refuses() {
    local line=$1 status=0
    shift
    state >"$work/before"
    scripts/release "$@" >"$work/output" 2>&1 || status=$?
    state >"$work/after"
    if [ "$status" -ne 2 ] || [ "$(cat "$work/output")" != "scripts/release: $line" ] ||
        ! diff "$work/before" "$work/after"; then
        echo "release.sh: scripts/release $*: status $status, and not 2 with the line \"$line\":" >&2
        cat "$work/output" >&2
        failures=$((failures + 1))
    fi
}

scripts/abi >/dev/null
state >"$work/before"
# A developer who signs every commit, with a key that the dry run does not have.
GIT_CONFIG_COUNT=2 GIT_CONFIG_KEY_0=commit.gpgSign GIT_CONFIG_VALUE_0=true \
    GIT_CONFIG_KEY_1=user.signingKey GIT_CONFIG_VALUE_1=nobody \
    scripts/release --dry-run "$version" >"$work/output"
grep -qx "liborvane $version can be released" "$work/output"
state >"$work/after"
diff "$work/before" "$work/after"

# The rest takes less time without most of the files.
git rm -r --quiet tests/machines tests/fuzz
git commit --quiet --message less

refuses "1.0 is no version, which is MAJOR.MINOR.PATCH" 1.0
refuses "v$version is no version, which is MAJOR.MINOR.PATCH" "v$version"
refuses "unrecognized arguments: --now" "$version" --now
git checkout --quiet -b other
refuses "the branch is other and not main: --allow-branch allows it" "$version"
git checkout --quiet main
touch stray
refuses "the working tree is not clean: ?? stray" "$version"
rm stray
echo >>README.md
refuses "the working tree is not clean: M README.md" "$version"
git checkout --quiet README.md
git tag "v$version"
refuses "the tag v$version is there already" "$version"
git tag --delete "v$version" >/dev/null
git tag v99.10.0
refuses "$version is less than 99.10.0, which is released" "$version"
git tag --delete v99.10.0 >/dev/null
next=$((${now%%.*} + 1)).0.0
refuses "include/orvane.h has the version $now: another major version is another SONAME, which is \
set and recorded there before (scripts/abi)" "$next"
other=${version%.*}.$((${version##*.} + 1))
refuses "CHANGELOG.md has no section \"## $other (not yet released)\"" "$other"
git mv debian/changelog debian/moved
git commit --quiet --message moved
refuses "debian/changelog is missing" "$version"
git reset --quiet --hard HEAD~
refuses "there is no secret key to sign with, the default one: --key KEYID names one" "$version"
gpg --batch --quiet --passphrase '' --quick-generate-key "Releaser <releaser@localhost>" ed25519 sign
refuses "there is no secret key to sign with, nobody: --key KEYID names one" "$version" --key nobody
mkdir -p "build/release-$version"
refuses "build/release-$version is there already" "$version"
rmdir "build/release-$version"

# A function that nobody has recorded. The header's time stays, so that one source is compiled.
sed -i '/^ORVANE_API int file_stat/i ORVANE_API int file_time(const char *path);' include/orvane.h
sed -i '/^extern "C" int file_stat/i extern "C" int file_time(const char *) { return 0; }' \
    src/foundation/file.cpp
sed -i 's/^    file_stat;/&\n    file_time;/' src/liborvane.map
touch -d yesterday include/orvane.h
git commit --quiet --all --message added
refuses "the binary interface is not as recorded (scripts/abi): added: int file_time(const char*)" \
    "$version"
git reset --quiet --hard HEAD~
touch -d yesterday include/orvane.h
scripts/abi >/dev/null

# A key that signs the tag and then no more, as one on a card that is pulled. What is built and what
# it needs is not what fails here, and is left out.
mkdir "$work/bin"
cat >"$work/bin/gpg" <<'SHELL'
#!/bin/sh
case " $* " in
*" --detach-sign "*)
    echo "gpg: signing failed: No secret key" >&2
    exit 2
    ;;
esac
exec /usr/bin/gpg "$@"
SHELL
printf '#!/bin/sh\n' | tee "$work/bin/cmake" >"$work/bin/readelf"
chmod +x "$work/bin/"*
PATH=$work/bin:$PATH refuses "gpg --local-user fails: gpg: signing failed: No secret key" "$version"

# One that is ended, from its checks to its last steps.
rm "$work/bin/gpg"
for seconds in 0.4 1 1.8; do
    state >"$work/before"
    if PATH=$work/bin:$PATH timeout "$seconds" scripts/release --dry-run "$version" >/dev/null; then
        break
    fi
    state >"$work/after"
    diff "$work/before" "$work/after"
done

# One that is ended while its build writes.
cp -a "$work/bin" "$work/writing"
cat >"$work/writing/cmake" <<'SHELL'
#!/bin/sh
[ "$1" = --build ] || exit 0
sh -c 'n=0; while [ $n -lt 20000 ] && mkdir -p "$1/$n"; do n=$((n + 1)); done' sh "$2" &
wait
SHELL
state >"$work/before"
PATH=$work/writing:$PATH scripts/release --dry-run "$version" >"$work/output" 2>&1 &
until compgen -G "build/release-$version.*/build/9" >/dev/null; do
    kill -0 $! || {
        cat "$work/output" >&2
        exit 1
    }
    sleep 0.1
done
kill -TERM $!
status=0
wait $! || status=$?
[ "$status" -eq 143 ] && [ ! -s "$work/output" ]
sleep 0.2
state >"$work/after"
diff "$work/before" "$work/after"

before=$(git rev-parse HEAD)
PATH=$work/bin:$PATH scripts/release "$version" >"$work/output"
grep -qx "liborvane $version is in build/release-$version: push the branch and v$version" "$work/output"
[ -z "$(git status --porcelain)" ]
[ "$(git rev-parse HEAD~)" = "$before" ]
[ "$(git rev-parse "v$version^{commit}")" = "$(git rev-parse HEAD)" ]
git verify-tag "v$version" 2>/dev/null
git diff --name-only HEAD~ | diff - <(printf '%s\n' CHANGELOG.md debian/changelog include/orvane.h)
grep -qx "#define ORVANE_VERSION \"$version\"" include/orvane.h
today=$(TZ=UTC git log -1 --format=%cd --date=format-local:%Y-%m-%d)
grep -qx "## $version ($today)" CHANGELOG.md
head -n 1 debian/changelog | grep -qx "liborvane ($version-1) unstable; urgency=medium"
grep -m 1 '^ -- ' debian/changelog | grep -qE ">  [A-Z][a-z]{2}, [ 0-9]{2} [A-Z][a-z]{2} [0-9: ]{13} \+0000$"

cd "build/release-$version"
archive=liborvane-$version.tar.xz
find . -type f | LC_ALL=C sort | diff - <(printf './%s\n' "liborvane-$version.sha256" \
    "liborvane-$version.spdx.json" "$archive" "$archive.asc")
sha256sum --check --strict --quiet "liborvane-$version.sha256"
gpg --batch --quiet --verify "$archive.asc" "$archive" 2>/dev/null
# Anybody makes the same archive of the tag.
git -C "$project" archive --format=tar --prefix="liborvane-$version/" "v$version" |
    xz -9 --threads=1 | cmp - "$archive"
"$project/tests/release/sbom.py" "liborvane-$version.spdx.json" "$archive" GLib libblkid cJSON \
    "OpenSSL libcrypto" GPGME "GNU C Library" libsmartcols CLI11 nlohmann-json libstdc++

cd "$project"
refuses "the tag v$version is there already" "$version"
[ "$failures" -eq 0 ]

#!/bin/bash
# Installs with the commands of the README, as they are printed, in a Debian with nothing but sudo
# beside what Debian itself requires: the packages first, with the README's program linked, then from
# source. Each is removed again with the README's command.
# Usage: readme_install.sh [RELEASE]
set -euo pipefail

cd "$(dirname "$0")/../.."
release=${1:-bookworm}
folder=$PWD/build/readme_install
root=$(scripts/root --name "readme-$release" "$release" "$(dpkg --print-architecture)" sudo)
scripts/as-root rm -rf "$folder"
mkdir -p "$folder/upper" "$folder/work" "$folder/merged"

# The block that begins with these words.
block_of() {
    sed -n "/^$1/,/^\`\`\`$/{/^\`\`\`$/d;p}" README.md
}

# The command in the text that begins with these words.
command_of() {
    tr '\n' ' ' <README.md | grep -oE "\`$1[^\`]*\`" | head -n 1 | tr -d '\`'
}

packages=$(block_of 'sudo apt update')
packages_removed=$(command_of 'sudo apt purge ')
linked=$(command_of 'cc uuid.c ')
source_build=$(block_of 'sudo apt install --no-install-recommends')
source_removed=$(command_of 'sudo xargs rm ')
[[ $packages = *dpkg-buildpackage* && $source_build = *'cmake --install'* ]]
[[ -n $packages_removed && -n $linked && -n $source_removed ]]

# What is installed stays in a layer of its own, so that the root serves again.
# shellcheck disable=SC2016 # the inner shell expands it
scripts/as-root unshare --mount bash -euo pipefail -c '
    root=$1 folder=$2 commands=$3
    mount -t overlay -o "lowerdir=$root,upperdir=$folder/upper,workdir=$folder/work" overlay \
        "$folder/merged"
    source=$folder/merged/root/liborvane
    mkdir -p "$source"
    tar -c --exclude ./build --exclude ./.git . | tar -C "$source" -x
    echo "APT::Get::Assume-Yes true;" >"$folder/merged/etc/apt/apt.conf.d/yes"
    seconds=$SECONDS
    scripts/in-root "$folder/merged" env DEBIAN_FRONTEND=noninteractive bash -euo pipefail \
        -c "$commands" >"$folder/log" 2>&1 || {
        tail -n 40 "$folder/log"
        exit 1
    }
    echo "README: $((SECONDS - seconds)) s, $(du -sxm "$folder/upper" | cut -f 1) MB"' \
    bash "$PWD/$root" "$folder" "
        cd /root/liborvane
        $packages
        orvane --version
        [ -z \"\$(find . -maxdepth 1 -name 'obj-*')\" ]
        sed -n '/^\`\`\`c$/,/^\`\`\`$/{/^\`\`\`/d;p}' README.md >/root/uuid.c
        (cd /root && $linked && ./uuid)
        $packages_removed
        [ -z \"\$(find /usr /etc /var/log -name '*orvane*')\" ]
        hash -r
        $source_build
        orvane --version
        $source_removed
        [ -z \"\$(find /usr/local -type f)\" ]"
scripts/as-root rm -rf "$folder"

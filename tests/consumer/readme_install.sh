#!/bin/bash
# Installs from source with the commands of the README, as they are printed, in a Debian 12 with nothing
# but sudo beside what Debian itself requires; removes it again with the README's command.
# Usage: readme_install.sh
set -euo pipefail

cd "$(dirname "$0")/../.."
folder=$PWD/build/readme_install
root=$(scripts/root --name readme bookworm "$(dpkg --print-architecture)" sudo)
scripts/as-root rm -rf "$folder"
mkdir -p "$folder/upper" "$folder/work" "$folder/merged"

# From the line that installs packages to the end of its block.
# shellcheck disable=SC2016 # the backquotes are the README's
commands=$(sed -n '/^sudo apt install --no-install-recommends/,/^```$/{/^```$/d;p}' README.md)
# shellcheck disable=SC2016
removal=$(tr '\n' ' ' <README.md | grep -oE '`sudo xargs rm [^`]*`' | tr -d '`')
[[ $commands = *'cmake --install'* && -n $removal ]]

# What is installed stays in a layer of its own, so that the root serves again.
# shellcheck disable=SC2016 # the inner shell expands it
scripts/as-root unshare --mount bash -euo pipefail -c '
    root=$1 folder=$2 commands=$3 removal=$4
    mount -t overlay -o "lowerdir=$root,upperdir=$folder/upper,workdir=$folder/work" overlay \
        "$folder/merged"
    source=$folder/merged/root/liborvane
    mkdir -p "$source"
    tar -c --exclude ./build --exclude ./.git . | tar -C "$source" -x
    echo "APT::Get::Assume-Yes true;" >"$folder/merged/etc/apt/apt.conf.d/yes"
    log=$folder/log
    seconds=$SECONDS
    scripts/in-root "$folder/merged" env DEBIAN_FRONTEND=noninteractive bash -euo pipefail -c "
        cd /root/liborvane
        apt-get -qq update
        $commands
        orvane --version
        $removal
        [ -z \"\$(find /usr/local -type f)\" ]" >"$log" 2>&1 || {
        tail -n 40 "$log"
        exit 1
    }
    echo "README: $((SECONDS - seconds)) s, $(du -sxm "$folder/upper" | cut -f 1) MB"'  \
    bash "$PWD/$root" "$folder" "$commands" "$removal"
scripts/as-root rm -rf "$folder"

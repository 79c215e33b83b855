#!/bin/sh
# Every function by which the library opens or reads a file or runs a tool is one that the command
# observes: a new one would leave a gap in what `orvane explain` tells.
# Usage: observed.sh LIBRARY COMMAND
set -eu

names() {
    nm -D "$@" | awk '{ print $NF }' | sed 's/@.*//' | sort -u
}

wanted=$(names --undefined-only "$1" |
    grep -xE '(__)?(access|faccessat|open(at)?(64)?|fopen(64)?|fdopen|popen|pclose|exec[lv]p?e?|posix_spawnp?|fgets|fread|getdelim|getline)(_2|_chk)?')
[ "$(echo "$wanted" | wc -l)" -ge 8 ] || { echo "hardly any function is found: $wanted"; exit 1; }
observed=$(names --defined-only "$2")
for name in $wanted; do
    echo "$observed" | grep -qx "$name" || { echo "not observed: $name"; exit 1; }
done

#!/bin/sh
# Runs one of the source checkers over the project.
# Usage: sources.sh format|shell|python SOURCE-DIR
set -eu

cd "$2"
# The files under the directories whose paths match the regular expression.
files() {
    pattern=$1
    shift
    find "$@" -regex "$pattern" -print0
}

case $1 in
format)
    files '.*\.\(c\|h\|cpp\)' include src cli tests bench examples debian |
        xargs -0 clang-format --dry-run -Werror
    ;;
shell)
    {
        grep -rlE '^#!/bin/(ba)?sh' scripts cmake tests debian .ci
        echo completions/bash/orvane
    } | xargs shellcheck
    ;;
python)
    {
        find scripts tests examples -name '*.py'
        grep -rl '^#!/usr/bin/python3' scripts tests examples
    } | xargs sh -c 'black --quiet --check --line-length 100 "$@" && pyflakes3 "$@"' sh
    ;;
esac

#!/bin/sh
# Shows that a document names no test that is not there: "suite.case", "check.NAME", "consumer.NAME"
# and "scripts/NAME" between backquotes, and a scenario between asterisks.
# Usage: named_tests.sh PROJECT DOCUMENT
set -eu

cd "$1"
document=$2
status=0
missing() {
    echo "$document names $1, which is not there"
    status=1
}

# shellcheck disable=SC2016 # backquotes of the document
for name in $(grep -oE '`[a-z0-9_]+\.[a-z0-9_]+`' "$document" | tr -d '`' | sort -u); do
    suite=${name%.*} case=${name#*.}
    if [ "$suite" = check ] || [ "$suite" = consumer ]; then
        grep -rqE --include CMakeLists.txt "^ *$suite\(${case}[ )]" tests || missing "$name"
    else
        grep -rqE "^TEST(_F|_P)?\($suite, $case\)" tests || missing "$name"
    fi
done
# shellcheck disable=SC2016
for script in $(grep -oE '`scripts/[a-z-]+' "$document" | tr -d '`' | sort -u); do
    [ -x "$script" ] || missing "$script"
done
for scenario in $(grep -oE '[(, ]\*[a-z0-9-]+\*' "$document" | tr -d '(, *' | sort -u); do
    [ -e "tests/vm/scenarios/$scenario" ] || missing "the scenario $scenario"
done
exit $status

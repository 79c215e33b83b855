#!/bin/sh
# Shows that a document has one section for each reason of the command but "answered", and no other
# section of that form: the command prints DOCUMENT#CODE. A title of several words is a symptom.
# Usage: reasons.sh SOURCE DOCUMENT
set -eu

# The code may stand in the line below the start of its definition.
codes=$(tr '\n' ' ' <"$1" | grep -oE 'constexpr reason [a-z_]+ = \{ *"[a-z-]+"' |
    sed 's/.*"\(.*\)"/\1/' | sort)
sections=$({
    echo answered
    sed -n 's/^## \([^ ]*\)$/\1/p' "$2"
} | sort)

found=$(echo "$codes" | grep -c . || true)
defined=$(grep -c '^constexpr reason ' "$1" || true)
[ "$found" = "$defined" ] || {
    echo "$1 defines $defined reasons, and $found codes were found"
    exit 1
}
[ "$codes" = "$sections" ] || {
    echo "the codes of $1 and the sections of $2 differ in these:"
    printf '%s\n' "$codes" "$sections" | sort | uniq -c | sed -n 's/^ *[013-9] //p'
    exit 1
}

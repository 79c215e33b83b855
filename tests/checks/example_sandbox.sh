#!/bin/sh
# Shows that the example's unit has the sandbox of the documented one: every setting of [Service] but
# how the service is started, and the trace log's directory, which the example does not need.
# Usage: example_sandbox.sh DOCUMENTED EXAMPLE
set -eu

sandbox() {
    sed -n '/^\[Service\]$/,/^\[Install\]$/p' "$1" | grep -E '^[A-Za-z]+=' |
        grep -vE '^(Type|Exec(Start|Reload)|Restart|TimeoutStartSec|(Logs|State)Directory(Mode)?)='
}
wanted=$(sandbox "$1")
found=$(sandbox "$2")
[ "$(echo "$wanted" | wc -l)" -ge 30 ] || { echo "hardly any setting in $1"; exit 1; }
[ "$wanted" = "$found" ] || {
    echo "the sandbox of $2 is not that of $1:"
    printf '%s\n' "$wanted" "$found" | sort | uniq -u
    exit 1
}

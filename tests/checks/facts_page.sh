#!/bin/sh
# Compares the page about facts with what the command prints.
# Usage: facts_page.sh ORVANE DOCUMENT
set -eu

"$1" help facts | diff -u "$2" - || {
    echo "to renew it: build/release/cli/orvane help facts >docs/facts.md"
    exit 1
}

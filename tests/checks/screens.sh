#!/bin/bash
# The command in a terminal of 40 columns, as tmux shows it, and in a pipe: no line is cut by the
# terminal, and the words are the same. An interrupted bar leaves an empty line behind.
# Usage: screens.sh ORVANE WORK-DIR
set -euo pipefail

orvane=$1
work=$2/screens
rm -rf "$work"
mkdir -p "$work"
columns=40
export LC_ALL=C.UTF-8

in_terminal() {
    tmux -S "$work/socket" -f /dev/null "$@"
}
trap 'in_terminal kill-server 2>/dev/null || true' EXIT

# Waits until a command of the terminal has made this file.
wait_for() {
    local left=300
    until [ -e "$1" ]; do
        sleep 0.1
        left=$((left - 1))
        [ $left -gt 0 ] || { echo "nothing came of $1"; exit 1; }
    done
}

# What stands on the screen after a command: lines that the terminal broke are joined.
screen_of() {
    rm -f "$work/done"
    in_terminal new-session -d -s screen -x $columns -y 500 "$*; touch $work/done; sleep 60"
    wait_for "$work/done"
    in_terminal capture-pane -p -J -t screen | sed -e :a -e '/^\n*$/{$d;N;ba' -e '}'
    in_terminal kill-session -t screen
}

# Without what depends on the width.
words_of() {
    sed 's/[├└│─]/ /g; s/ \\$//' | tr -s '[:space:]' '\n' | grep -v '^$' || true
}

for words in "explain" "help" "help show" "help explain" "help digest" "help gpg verify" "show" \
    "explain disk"; do
    # shellcheck disable=SC2086 # each is a word
    "$orvane" $words >"$work/pipe" 2>/dev/null || true
    screen_of "$orvane $words 2>/dev/null" >"$work/screen"
    [ -s "$work/screen" ] || { echo "orvane $words: the screen is empty"; exit 1; }
    words_of <"$work/pipe" >"$work/pipe.words"
    words_of <"$work/screen" >"$work/screen.words"
    diff -u "$work/pipe.words" "$work/screen.words" || { echo "orvane $words differs"; exit 1; }
done

# What has no word that is longer than a line fits.
for words in "show" "help show"; do
    screen_of "$orvane $words 2>/dev/null" >"$work/screen"
    awk -v columns=$columns -v words="$words" \
        'length($0) > columns { print "orvane " words ": too long: " $0; bad = 1 }
         END { exit bad }' "$work/screen"
done

truncate -s 4G "$work/large"
rm -f "$work/done"
in_terminal new-session -d -s screen -x $columns -y 20 \
    "bash --norc -c 'trap true INT; $orvane digest sha256 $work/large; touch $work/done; sleep 60'"
left=100
until in_terminal capture-pane -p -t screen | grep -q '%'; do
    sleep 0.1
    left=$((left - 1))
    [ $left -gt 0 ] || { echo "there is no bar"; exit 1; }
done
[ "$(in_terminal capture-pane -p -t screen | grep -c '%')" = 1 ] || { echo "the bar breaks"; exit 1; }
in_terminal send-keys -t screen C-c
wait_for "$work/done"
rm "$work/large"
if in_terminal capture-pane -p -t screen | sed 's/\^C//' | grep -q '[^ ]'; then
    echo "an interrupted bar leaves something behind:"
    in_terminal capture-pane -p -t screen
    exit 1
fi

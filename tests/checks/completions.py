#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""What a shell offers on a command line of orvane is held against the help: each subcommand, option
and fact, and no other, with the same descriptions. The shell runs no orvane meanwhile.

Usage: completions.py bash|zsh|fish ORVANE DATA-FOLDER WORK-FOLDER
"""

import os
import pty
import re
import shutil
import signal
import subprocess
import sys
from pathlib import Path

SKIPPED = 77
TIME = 60
BASH_COMPLETION = Path("/usr/share/bash-completion/bash_completion")

# Asks for the completions of each line of the file $QUESTIONS. A line of the answer is the number
# of the question, the word, and its description.
BASH = r"""
source "$BASH_COMPLETION"
_completion_loader orvane
function=$(complete -p orvane | sed 's/.*-F \([^ ]*\) .*/\1/')
number=0
while IFS= read -r COMP_LINE; do
    COMP_POINT=${#COMP_LINE}
    # "=" is a word to readline.
    read -ra COMP_WORDS <<<"${COMP_LINE//=/ = }"
    [[ $COMP_LINE != *[\ =] || $COMP_LINE = *= ]] || COMP_WORDS+=("")
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    COMPREPLY=()
    "$function" orvane "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
    for word in "${COMPREPLY[@]}"; do
        printf '%d\t%s\t\n' $number "$word"
    done
    number=$((number + 1))
done <"$QUESTIONS" >"$ANSWERS"
"""
ZSH = r"""
autoload -Uz compinit
compinit -u -D
zstyle ':completion:*' list-grouped false
COLUMNS=1000 # for whole descriptions
integer number=0
compadd() {
    local -a matches descriptions words=("$@")
    if [[ " ${words[1,(i)(-|--)]} " == *\ -(O|A|D)* ]]; then
        builtin compadd "$@"
        return
    fi
    integer at=${words[(I)-d]}
    if ((at)); then
        [[ ${words[at+1]} == \(* ]] && eval "descriptions=${words[at+1]}" ||
            descriptions=("${(@P)words[at+1]}")
    fi
    builtin compadd -A matches -D descriptions "$@"
    for ((at = 1; at <= $#matches; ++at)); do
        printf '%d\t%s\t%s\n' $number "$IPREFIX$matches[at]" "${descriptions[at]#* -- }" \
            >>$ANSWERS
    done
    builtin compadd "$@"
}
answer() {
    local line
    while IFS= read -r line; do
        BUFFER=$line CURSOR=$#line
        zle list-choices
        number+=1
    done <$QUESTIONS
    exit
}
zle -N zle-line-init answer
"""
FISH = r"""
set number 0
while read --local line
    complete -C $line | while read --local answer
        printf '%d\t%s\n' $number $answer
    end
    set number (math $number + 1)
end <$QUESTIONS >$ANSWERS
"""


def run_in_terminal(words, folder, environment):
    """Runs a program that needs a terminal, and throws away what it prints."""
    pid, terminal = pty.fork()
    if pid == 0:
        os.chdir(folder)
        signal.alarm(TIME)
        os.execvpe(words[0], words, environment)
    try:
        while os.read(terminal, 65536):
            pass
    except OSError:  # of a terminal that nobody has open any more
        pass
    os.waitpid(pid, 0)


class Shell:
    def __init__(self, name, data, work):
        self.name = name
        self.files = work / "files"
        self.work = work
        shutil.rmtree(work, ignore_errors=True)
        (self.files / "folder").mkdir(parents=True)
        (self.files / "text").touch()
        orvane = work / "bin/orvane"
        orvane.parent.mkdir()
        orvane.write_text(f"#!/bin/sh\necho ran >>{work}/ran\n")
        orvane.chmod(0o755)
        self.environment = {
            "PATH": f"{orvane.parent}:{os.environ['PATH']}",
            "LC_ALL": "C.UTF-8",
            "TERM": "dumb",
            "HOME": str(work),
            "ZDOTDIR": str(work),
            "XDG_DATA_DIRS": f"{data}:/usr/share",
            "BASH_COMPLETION": str(BASH_COMPLETION),
            "QUESTIONS": str(work / "questions"),
            "ANSWERS": str(work / "answers"),
        }
        functions = data / "zsh/site-functions"
        (work / ".zshrc").write_text(f"fpath=({functions} $fpath)\n{ZSH}")

    def complete(self, lines):
        """What is offered on each line: the words, each with its description."""
        (self.work / "questions").write_text("".join(line + "\n" for line in lines))
        (self.work / "answers").write_text("")
        if self.name == "zsh":
            run_in_terminal(["zsh", "-d", "-i"], self.files, self.environment)
        else:
            words = {"bash": ["bash", "--norc", "-c", BASH], "fish": ["fish", "-c", FISH]}
            subprocess.run(
                words[self.name],
                cwd=self.files,
                env=self.environment,
                timeout=TIME,
                stderr=subprocess.DEVNULL,
                check=True,
            )
        offered = {line: {} for line in lines}
        for answer in (self.work / "answers").read_text().splitlines():
            number, word, *description = answer.split("\t")
            offered[lines[int(number)]][word] = " ".join(description)
        return offered


class Page:
    """A page of the help."""

    def __init__(self, orvane, subcommand):
        run = subprocess.run(
            [orvane, "help", *subcommand.split()], stdout=subprocess.PIPE, text=True, check=True
        )
        self.text = run.stdout
        self.subcommand = subcommand
        self.subcommands = self.items("Subcommands")
        self.arguments = self.items("Arguments")
        self.options = {}
        self.takes_file = set()  # options, and "" for arguments
        for names, description in self.items("Options").items():
            for name in re.findall(r"-[\w-]+", names):
                self.options[name] = description
                if re.search(r" (FILE|SUMS)$", names):
                    self.takes_file.add(name)
        if any(re.search("FILE|BINARY", name) for name in self.arguments):
            self.takes_file.add("")

    def items(self, heading):
        """The words of a list, each with its description."""
        found = {}
        match = re.search(rf"^{heading}:\n((?:  .*\n)+)", self.text, re.M)
        for line in match.group(1).splitlines() if match else []:
            item = re.match(r"  (\S.*?)(?:  +(.*))?$", line)
            if item:
                found[item.group(1)] = item.group(2) or ""
            else:
                last = list(found)[-1]
                found[last] = f"{found[last]} {line.strip()}".strip()
        return found


class Check:
    def __init__(self, name, orvane, data, work):
        self.name = name
        self.shell = Shell(name, data, work)
        self.pages = {}
        waiting = [""]
        for subcommand in waiting:  # which grows
            self.pages[subcommand] = Page(orvane, subcommand)
            waiting += [
                f"{subcommand} {word}".strip() for word in self.pages[subcommand].subcommands
            ]
        self.facts = self.pages["show"].items("Facts")
        self.algorithms = re.findall(r"\w+\d", self.pages["digest"].arguments["ALGORITHM"])
        formats = re.search(r"--format=([\w|]+)", self.pages["show"].text).group(1)
        self.formats = formats.split("|")
        self.wanted = {}  # what a line has to offer, with descriptions where they are not None
        self.faults = []

    def want(self, line, words, prefix=""):
        words = words if isinstance(words, dict) else dict.fromkeys(words)
        self.wanted[line] = {prefix + word: text for word, text in words.items()}

    def want_all(self):
        files = ["folder/", "text"]
        for subcommand, page in self.pages.items():
            line = f"orvane {subcommand}".strip() + " "
            self.want(line + "-", page.options)
            if page.subcommands:
                self.want(line, page.subcommands)
            elif page.arguments.keys() & {"NAME", "FACT"}:
                self.want(line, self.facts)
            else:
                self.want(line, files if "" in page.takes_file else [])
            for option in page.takes_file - {""}:
                self.want(f"{line}{option} ", files)
        topics = {**self.pages[""].subcommands, "facts": None}
        self.want("orvane help ", topics)
        self.want("orvane help gpg ", self.pages["gpg"].subcommands)
        self.want("orvane help base64 ", self.pages["base64"].subcommands)
        self.want("orvane help show ", [])
        self.want("orvane sh", ["show"])
        self.want("orvane --help sh", ["show"])
        self.want("orvane digest ", self.algorithms)
        for line in ("digest md5 ", "digest md5 text ", "save --trace ", "check-names text "):
            self.want(f"orvane {line}", files)
        self.want("orvane show disk ma", ["mac", "manufacturer"])
        self.want("orvane show --format ", self.formats)
        self.want("orvane show --require ", self.facts)
        for option in ("require ", "require="):
            # bash replaces the value alone, fish the whole word.
            prefix = "--require=" if option.endswith("=") and self.name != "bash" else ""
            self.want(f"orvane show --{option}ma", ["mac", "manufacturer"], prefix)
            self.want(f"orvane show --{option}disk,ma", ["mac", "manufacturer"], prefix + "disk,")
        self.want("orvane show --format=", self.formats, "" if self.name == "bash" else "--format=")

    def compare(self, line, offered):
        wanted = self.wanted[line]
        words = {self.plain(word): text for word, text in offered.items()}
        if line.endswith(" ") and self.name == "zsh":
            words = {word: text for word, text in words.items() if not word.startswith("-")}
        for word in sorted(wanted.keys() - words.keys()):
            self.faults.append(f"'{line}' does not offer {word}")
        for word in sorted(words.keys() - wanted.keys()):
            self.faults.append(f"'{line}' offers {word}")
        for word in sorted(words.keys() & wanted.keys()):
            text = words[word]
            if self.name != "bash" and wanted[word] is not None and text != wanted[word]:
                self.faults.append(f"'{line}' describes {word}: {text}")

    def plain(self, word):
        """The word without what a shell appends to options with values, and to folders."""
        if word.rstrip("/") == "folder":
            return "folder/"
        return word[:-1] if word.endswith("=") else word

    def run(self):
        self.want_all()
        for line, offered in self.shell.complete(list(self.wanted)).items():
            self.compare(line, offered)
        if (self.shell.work / "ran").exists():
            self.faults.append("the shell runs orvane")
        return self.faults


def main():
    name, orvane, data, work = sys.argv[1:]
    if name == "bash" and not BASH_COMPLETION.exists():
        print("skipped: there is no bash-completion")
        sys.exit(SKIPPED)
    faults = Check(name, orvane, Path(data), Path(work) / "completions" / name).run()
    for fault in faults:
        print(f"{name}: {fault}")
    sys.exit(1 if faults else 0)


main()

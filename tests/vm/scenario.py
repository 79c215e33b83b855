# SPDX-License-Identifier: LGPL-2.1-or-later
"""Reads a scenario: a machine, how its disks are laid out, and what the library says on it.

A scenario is a text of sections:

    What is special about the machine.

    [hardware]
    disk a 64M 16M rest       an image with partitions of 16 MiB and of what is left
    modules e1000 dummy       drivers to load first, in this order
    cmdline root=/dev/sda2    words for the kernel's command line
    -device ide-hd,drive=a    anything else: options of QEMU

    [layout]
    filesystem /dev/sda2      shell commands, with the functions of guest/init
    root_on /dev/sda2

    [answers]
    harddisk_id("/dev/sda2") = "QEMUHARDDISK_1"
        device :sda2
    $ mv /usr/sbin/smartctl /tmp
    nobody: harddisk_id("/dev/sda2") = NULL

Behind each question stand its answer, the lines that it leaves in the trace log, and what it says on
standard error. A scenario says only in what it differs from the usual machine: the hardware of that
is there, too, and its questions are asked unless the scenario answers them.
"""

import re
from dataclasses import dataclass, field
from pathlib import Path

FOLDER = Path(__file__).parent
SECTIONS = ("hardware", "layout", "picture", "answers")


class ScenarioError(Exception):
    """The text is no scenario."""


@dataclass
class Answer:
    """A question or a command, with everything that has to follow it."""

    question: str
    lines: list = field(default_factory=list)

    @property
    def is_command(self):
        return self.question.startswith("$ ")


@dataclass
class Scenario:
    name: str
    description: str
    sections: dict

    def lines(self, section):
        return self.sections.get(section, [])

    def layout(self):
        return "\n".join(self.lines("layout")) + "\n"

    def options(self):
        return [line for line in self.lines("hardware") if line.startswith("-")]

    def words(self, keyword):
        """What stands behind each occurrence of a keyword in the hardware section."""
        return [line.split()[1:] for line in self.lines("hardware") if line.split()[0] == keyword]

    def answers(self):
        result = []
        for line in self.lines("answers"):
            if line.startswith(" "):
                result[-1].lines.append(line)
            else:
                question = line if line.startswith("$ ") else line.partition(" = ")[0]
                question = re.sub(r" ended by \w+$", "", question)
                result.append(Answer(question, [line]))
        return result


def parse(name, text):
    head, *rest = re.split(r"^\[(\w+)\]\n", text, flags=re.M)
    sections = {}
    for section, body in zip(rest[::2], rest[1::2]):
        if section not in SECTIONS:
            raise ScenarioError(f"{name}: no section is named '{section}'")
        lines = (line.rstrip("\n") for line in body.splitlines())
        sections[section] = [line for line in lines if line and not line.startswith("#")]
    if not head.strip():
        raise ScenarioError(f"{name}: a scenario begins with a sentence that says what it shows")
    return Scenario(name, " ".join(head.split()), sections)


def paths(folder, wanted=()):
    """The files of the scenarios that are wanted by name, or of all."""
    names = sorted(path.name for path in folder.iterdir())
    for name in wanted:
        if name not in names:
            raise ScenarioError(f"no scenario is named '{name}': they are {', '.join(names)}")
    return [folder / name for name in dict.fromkeys(wanted) or names]


def load(path):
    return parse(path.name, path.read_text())


def usual():
    """The machine that every scenario starts from."""
    return load(FOLDER / "usual")


DEVICE_ON_ROOT = r"""sed -n 's,^\(/dev/[^ ]*\) / .*,\1,p' /proc/mounts"""


def layers_as_drawn(scenario):
    """A command that fails where the kernel's layers below "/" are not the picture's: none where
    the picture, if any, has no device on "/"."""
    below = {}
    for line in scenario.lines("picture"):
        name, _, text = line.partition(": ")
        below[name] = [lower for lower in text.partition(" on ")[2].split(", ") if lower]
    found = list(below.get("/", []))
    for name in found:  # which grows
        found += below[name]
    if not found:
        return []
    names = " ".join(sorted(set(found)))
    command = f'lsblk -nsro NAME "$({DEVICE_ON_ROOT})" | sort -u | xargs'
    line = f'$ test "$({command})" = "{names}"'
    return [Answer(line, [line])]


def expected_answers(scenario):
    """The usual answers that the scenario does not give, and then its own behind its picture."""
    own = scenario.answers()
    answered = {answer.question for answer in own}
    others = [answer for answer in usual().answers() if answer.question not in answered]
    return others + layers_as_drawn(scenario) + own

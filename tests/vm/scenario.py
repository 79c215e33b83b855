# SPDX-License-Identifier: LGPL-2.1-or-later
"""Reads a scenario: a machine, how its disks are laid out, and the library's answers on it.

A scenario is a text of sections:

    What is special about the machine.

    [hardware]
    disk a 64M 16M rest       an image with partitions of 16 MiB and of what is left
    modules e1000 dummy       drivers to load first, in this order
    cmdline root=/dev/sda2    words for the kernel's command line
    systemd                   systemd is the first process when the queries begin, on root_on's root
    architecture arm64        for this architecture alone
    release trixie sid        for these releases of Debian alone
    device-tree               booted without firmware, which arm64 alone can be
    -device ide-hd,drive=a    options of QEMU

    [layout]
    filesystem /dev/sda2      shell commands, with the functions of guest/init
    root_on /dev/sda2

    [picture]
    /: file system on sda2    each layer of the storage with those that it stands on,
    sda2: partition on sda    for scripts/pictures; compared with the kernel's layers
    sda: SATA disk
    source: identify request queries sda2

    [answers]
    harddisk_id("/dev/sda2") = "QEMUHARDDISK_1"
    harddisk_id_lvm("/dev/sda2") = NULL
        stderr:   Volume group "sda2" not found
    $ mv /usr/sbin/smartctl /tmp
    nobody: harddisk_id("/dev/sda2") = NULL

    [reasons]
    disk: tool-missing        the reason that "orvane explain" prints when all queries are done
    mac: answered             a fact that is known here, and not on the usual machine
    nobody: disk: permission-denied
    arm64: serial: no-firmware-tables

Behind each query stand its answer and its standard error; "$" is a command that changes the
machine, or fails where the machine is not as expected. In a scenario with the section [answers and
trace] the lines that a query leaves in the trace log follow, too, behind "trace: "; elsewhere the
trace is not compared. The command runs as nobody as well where a query does, and what stands behind
"nobody: " is for that user alone, as behind the name of an architecture is what differs there. A
reason is what is true of the machine, whatever the command prints. A scenario states only in what
it differs from the usual machine: the hardware of that is there, too, its queries are run unless
the scenario answers them, and its reasons hold.
"""

import re
from dataclasses import dataclass, field
from pathlib import Path

from target import ARCHITECTURES

FOLDER = Path(__file__).parent
ANSWERS_AND_TRACE = "answers and trace"
SECTIONS = ("hardware", "layout", "picture", "answers", ANSWERS_AND_TRACE, "reasons")
KEYWORDS = "disk modules cmdline systemd architecture release device-tree".split()
TRACE = "    trace: "
STDERR = "    stderr: "
ALL_DONE = "All queries are done."  # the last line of the probe
USUAL = "usual"
NOBODY = "nobody: "
FACTS = (
    "root_device disk mac system_uuid vendor model serial oem_info manufacturer lenovo "
    "huawei_9x0 os_version"
).split()
ANSWERED = "answered"
REASONS = (
    ANSWERED,
    *"permission-denied tool-missing tool-failed file-absent no-firmware-tables".split(),
    *"not-in-firmware empty placeholder not-a-block-device device-missing".split(),
    *"form-not-followed mapping-not-followed several-devices array-not-followed".split(),
    *"disk-unsupported no-serial-number no-interface usb-adapter no-device-behind".split(),
    "library-ended",
)


class ScenarioError(Exception):
    """The text is no scenario."""


@dataclass
class Answer:
    """A query or a command, with everything that has to follow it."""

    query: str
    lines: list = field(default_factory=list)


@dataclass
class Layer:
    kind: str
    below: list


@dataclass
class Picture:
    """The layers by name, "/" among them, and the source that answers."""

    layers: dict
    source: str

    def all_below(self, name):
        """The layer and everything that it stands on."""
        found = [name]
        for upper in found:  # which grows
            found += self.layers[upper].below
        return sorted(set(found))

    def checks(self):
        """Commands that fail where the kernel's layers are others."""
        root, *names = self.layers
        device = self.layers[root].below
        mounted = f"/dev/\\(mapper/\\)\\?{device[0]}" if device else "[^/ ]*"
        yield f"$ grep -q '^{mounted} / ' /proc/mounts"
        for name in names:
            layers = " ".join(self.all_below(name))
            yield f'$ test "$(layers {name} | sort -u | xargs)" = "{layers}"'


@dataclass
class Scenario:
    name: str
    description: str
    sections: dict

    def lines(self, section):
        return self.sections.get(section, [])

    def error(self, text):
        return ScenarioError(f"{self.name}: {text}")

    def options(self):
        return [line for line in self.lines("hardware") if line.startswith("-")]

    def words(self, keyword):
        """The words behind each occurrence of a keyword in the hardware section."""
        return [line.split()[1:] for line in self.lines("hardware") if line.split()[0] == keyword]

    def is_for(self, target):
        allowed = (("architecture", target.architecture), ("release", target.release))
        return all(word in words for keyword, word in allowed for words in self.words(keyword))

    def has_trace(self):
        return ANSWERS_AND_TRACE in self.sections

    def answer_lines(self):
        return self.lines(ANSWERS_AND_TRACE if self.has_trace() else "answers")

    def answers(self):
        result = []
        for line in self.answer_lines():
            if line.startswith(" "):
                result[-1].lines.append(line)
            else:
                query = line if line.startswith("$ ") else line.partition(" = ")[0]
                query = re.sub(r" ended by \w+$", "", query)
                result.append(Answer(query, [line]))
        return result

    def picture(self):
        """The picture, or None."""
        layers = {}
        for line in self.lines("picture"):
            name, _, text = line.partition(": ")
            kind, _, below = text.partition(" on ")
            layers[name] = Layer(kind, [lower for lower in below.split(", ") if lower])
        if not layers:
            return None
        source = self.lines("picture")[-1].removeprefix("source: ")
        if layers.pop("source", None) is None or next(iter(layers), None) != "/":
            raise self.error('a picture begins with the layer "/" and ends with the source')
        for layer in layers.values():
            for lower in layer.below:
                if lower not in layers:
                    raise self.error(f"the picture has no layer '{lower}'")
        return Picture(layers, source)

    def reasons(self):
        """The reason by the fact, which stands behind its condition where it has one."""
        result = {}
        for line in self.lines("reasons"):
            fact, _, reason = line.rpartition(": ")
            if without_condition(fact) not in FACTS or reason not in REASONS:
                raise self.error(f"no fact and its reason are '{line}'")
            if fact in result:
                raise self.error(f"the reason of '{fact}' is there twice")
            result[fact] = reason
        return result

    def queries_as_nobody(self):
        return any(answer.query.startswith(NOBODY) for answer in self.answers())

    def check(self):
        """Refuses what would be ignored."""
        if not self.description:
            raise self.error("a scenario begins with a sentence that states what it shows")
        for line in self.lines("hardware"):
            word = line.split()[0]
            if not word.startswith("-") and word not in KEYWORDS:
                raise self.error(f"no keyword of the hardware is '{word}'")
        if any(len(words) < 2 for words in self.words("disk")):
            raise self.error("a disk has a name and a size")
        answers = self.answer_lines()
        if not answers or answers[0].startswith(" "):
            raise self.error("the answers begin with a query")
        if not self.has_trace() and any(line.startswith(TRACE) for line in answers):
            raise self.error(f"the trace stands in a section [{ANSWERS_AND_TRACE}]")
        self.picture()
        if self.name == USUAL:
            self.reasons()
        else:
            self.check_reasons()

    def check_reasons(self):
        """Refuses what holds anyway, and reasons for nobody where no query is run as nobody."""
        own = self.reasons()
        for line, reason in own.items():
            fact = without_condition(line)
            condition = line.removesuffix(fact)
            if condition == NOBODY and not self.queries_as_nobody():
                raise self.error(f"no query is run as nobody, and '{line}' is of no use")
            others = {other: own[other] for other in own if other != line}
            if merged_reasons([usual().reasons(), others], condition)[fact] == reason:
                raise self.error(f"'{line}: {reason}' holds anyway")


def sections(name, text):
    """The text before the first section, and the lines of each section."""
    head, *rest = re.split(r"^\[(.*)$", text, flags=re.M)
    found = {}
    for title, body in zip(rest[::2], rest[1::2]):
        section = title.removesuffix("]")
        if section not in SECTIONS or not title.endswith("]"):
            raise ScenarioError(f"{name}: no section is '[{title}'")
        if section in found:
            raise ScenarioError(f"{name}: the section '{section}' is there twice")
        lines = (line for line in body.split("\n") if line.strip())
        found[section] = [line for line in lines if not line.startswith("#")]
    return head, found


def load(path):
    head, found = sections(path.name, path.read_text(encoding="utf-8"))
    scenario = Scenario(path.name, " ".join(head.split()), found)
    scenario.check()
    return scenario


def usual():
    """The machine that every scenario starts from."""
    return load(FOLDER / USUAL)


def without_condition(fact):
    """The fact behind the user or the architecture that it is stated for."""
    conditions = (NOBODY, *(f"{architecture}: " for architecture in ARCHITECTURES))
    return next((fact.removeprefix(one) for one in conditions if fact.startswith(one)), fact)


def merged_reasons(stated, *conditions):
    """The reason of each fact: what is stated later stands, and so does what is for a condition."""
    result = dict.fromkeys(FACTS, ANSWERED)
    for condition in ("", *conditions):
        for reasons in stated:
            own = {fact: reasons.get(condition + fact) for fact in FACTS}
            result.update({fact: reason for fact, reason in own.items() if reason})
    return result


def load_all(folder, wanted=(), target=None):
    """The scenarios that are wanted by name, or all; those of a target, or of each."""
    names = sorted(path.name for path in folder.iterdir())
    for name in wanted:
        if name not in names:
            raise ScenarioError(f"no scenario is named '{name}' in {folder}")
    found = [load(folder / name) for name in dict.fromkeys(wanted) or names]
    others = [scenario for scenario in found if target and not scenario.is_for(target)]
    if wanted and others:
        raise others[0].error(f"this is no scenario for {target}")
    return [scenario for scenario in found if scenario not in others]


def other_words(target):
    """What the target's tools print on standard error, by Debian 12's words for it."""
    found = {}
    is_for_target = False
    for line in (FOLDER / "words").read_text(encoding="utf-8").splitlines():
        if line.startswith("["):
            titles = line.strip("[]").split()
            is_for_target = target.release in titles or target.architecture in titles
        elif is_for_target and line.startswith("    "):
            found[next(reversed(found))].append(line[4:])
        elif is_for_target and line and not line.startswith("#"):
            found[line] = []
    return found


def in_other_words(answer, words):
    """The answer as the target's tools make it; a line that repeats is printed once."""
    lines = []
    for line in answer.lines:
        text = line.removeprefix(STDERR)
        others = words.get(text) if line.startswith(STDERR) else None
        found = [line] if others is None else [STDERR + other for other in others]
        lines += [new for new in found if not (new.startswith(STDERR) and new in lines[-1:])]
    return Answer(answer.query, lines)


def expected_answers(scenario, target):
    """The usual answers that the scenario does not give, and then its own behind its picture."""
    own = scenario.answers()
    answered = {answer.query for answer in own}
    others = [answer for answer in usual().answers() if answer.query not in answered]
    picture = scenario.picture()
    checks = [Answer(check, [check]) for check in picture.checks()] if picture else []
    words = other_words(target)
    return [in_other_words(answer, words) for answer in others + checks + own]

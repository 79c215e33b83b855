#!/usr/bin/python3 -B
# SPDX-License-Identifier: LGPL-2.1-or-later
"""Holds the manual pages against what they describe; one line for each violation.

Usage: manual.py pages PROJECT MANUAL      mandoc's and man's warnings, sections, tables, references
       manual.py prototypes PROJECT        SYNOPSIS and the header's declarations
       manual.py comments PROJECT          the length of the header's comments
       manual.py trace PROJECT             orvane-trace(5) and the trace lines in src/
       manual.py command PROJECT COMMAND   orvane(1) and what `orvane help` prints
MANUAL is the folder of the pages as they are installed.
"""

import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

# The pages of other projects that ours refer to, which need not be installed here.
OTHER_PROJECTS = """
    abort.3 awk.1 base64.1 cat.1 dmidecode.8 dmsetup.8 ethtool.8 fcntl.2 findmnt.8 fork.2 free.3
    getifaddrs.3 gpg.1 grep.1 inode.7 libblkid.3 locale.7 localtime.3 logrotate.8 lsblk.8
    lvdisplay.8 lvm.conf.5 netdevice.7 openssl.1 os-release.5 perror.3 pkg-config.1 printf.3
    proc.5 pthread_atfork.3 pthread_setcancelstate.3 pthreads.7 pvdisplay.8 readlink.1
    setlocale.3 setpgid.2 sh.1 sha256sum.1 smartctl.8 stat.2 syslog.3 systemd.link.5 tolower.3 udev.7
    write.2
""".split()

# Each kind of page with the sections that it has to have, in this order among others.
FUNCTIONS = ["NAME", "SYNOPSIS", "DESCRIPTION", "RETURN VALUES", "EXAMPLES", "ERRORS", "ATTRIBUTES"]
FUNCTIONS += ["SEE ALSO"]
REQUIRED = {
    "1": ["NAME", "SYNOPSIS", "DESCRIPTION", "ENVIRONMENT", "FILES", "EXIT STATUS", "EXAMPLES"],
    "3": FUNCTIONS,
    "5": ["NAME", "DESCRIPTION", "FILES", "EXAMPLES"],
}
REQUIRED["1"].append("SEE ALSO")
REQUIRED["5"].append("SEE ALSO")
OVERVIEW = ["NAME", "SYNOPSIS", "DESCRIPTION", "SEE ALSO"]

# Of the header's comments: that at the top, and every other.
TOP_LINES = 30
COMMENT_LINES = 12


class Page:
    """A page's sections, in order, each with its lines."""

    def __init__(self, path):
        self.path = path
        self.name, self.number = path.stem, path.suffix[1:]
        self.sections = {}
        lines = []
        for line in path.read_text(encoding="utf-8").splitlines():
            if line.startswith(".Sh "):
                lines = self.sections.setdefault(line[4:], [])
            else:
                lines.append(line)

    def __str__(self):
        return f"man/{self.path.name}"

    def section(self, name):
        return self.sections.get(name, [])

    def names(self):
        """What the page describes."""
        return [words(line)[1] for line in self.section("NAME") if line.startswith(".Nm ")]

    @property
    def has_functions(self):
        return self.number == "3" and self.name != "liborvane"


def pages_of(project):
    pages = [Page(path) for path in sorted((project / "man").glob("*.[1-8]"))]
    if not pages:
        sys.exit(f"no pages in {project}/man")
    return pages


def words(line):
    """The words of a macro line; one in quotation marks may have blanks."""
    return [quoted or bare for quoted, bare in re.findall(r'"([^"]*)"|(\S+)', line)]


def tokens(text):
    return " ".join(re.findall(r"\w+|\.\.\.|[^\s\w]", text))


def tool_output(command, **environment):
    """What a tool says about a page, all of which is a complaint."""
    if shutil.which(command[0]) is None:
        return [f"{command[0]} is missing: scripts/setup test installs it"]
    done = subprocess.run(
        command,
        env=dict(os.environ, LC_ALL="C.UTF-8", **environment),
        stdin=subprocess.DEVNULL,
        stdout=subprocess.DEVNULL if "--warnings" in command else subprocess.PIPE,
        stderr=subprocess.PIPE,
        text=True,
        check=False,
    )
    complaints = ((done.stdout or "") + done.stderr).splitlines()
    if done.returncode != 0 and not complaints:
        complaints = [f"{' '.join(command)} fails: {done.returncode}"]
    return complaints


def lint(pages):
    # Not the level "base", which holds a page to what a BSD requires of its own manual. References
    # are looked up here: mandoc finds only pages that are installed.
    paths = [str(page.path) for page in pages]
    known = {f"{name}.{page.number}" for page in pages for name in page.names()}
    known.update(OTHER_PROJECTS)
    for complaint in tool_output(["mandoc", "-Tlint", "-Wstyle", *paths], MANPATH="/nonexistent"):
        reference = re.search(r"referenced manual not found: Xr (\S+) (\d)", complaint)
        if not reference or f"{reference[1]}.{reference[2]}" not in known:
            yield complaint
    # Not justified: a line of one long name cannot be.
    command = ["man", "--no-justification", "--warnings", "-l"]
    for path in paths:
        for complaint in tool_output([*command, path], MANWIDTH="80"):
            yield f"{path}: man: {complaint}"


def missing_files(page, manual):
    """Each name is found by man."""
    for name in page.names():
        suffix = "orvane" if page.number == "3" else ""
        file = Path(manual, f"man{page.number}", f"{name}.{page.number}{suffix}")
        if not file.exists():
            yield f"{page}: {file} is not installed"
        elif file.read_bytes() != page.path.read_bytes():
            yield f"{page}: {file} is another page"


def missing_sections(page):
    required = REQUIRED[page.number] if page.name != "liborvane" else OVERVIEW
    there = list(page.sections)
    for name in required:
        if name not in there:
            yield f"{page}: the section {name} is missing"
    known = [name for name in there if name in required]
    if known != [name for name in required if name in there]:
        yield f"{page}: the sections are in another order than {', '.join(required)}"


def missing_entries(page):
    """The tables of a page about functions."""
    for name in ("ERRORS", "ATTRIBUTES"):
        if not any(re.match(r"\.Bl -(column|tag)", line) for line in page.section(name)):
            yield f"{page}: the section {name} has no table"
    listed = set()
    for line in page.section("ATTRIBUTES"):
        if line.startswith(".It "):
            listed.update(re.findall(r"\b(?:Fn|Va) (\w+)", line.split(" Ta ")[0]))
    for name in page.names():
        if name not in listed:
            yield f"{page}: {name} is not in the table of ATTRIBUTES"
    for name in sorted(listed - set(page.names())):
        yield f"{page}: the table of ATTRIBUTES has {name}, which the page does not describe"


def missing_from_overview(pages):
    (overview,) = [page for page in pages if page.path.name == "liborvane.3"]
    listed = re.findall(r"^\.Xr (\w+) 3", overview.path.read_text(encoding="utf-8"), re.M)
    for page in pages:
        for name in page.names() if page.has_functions else []:
            if name not in listed:
                yield f"{overview}: {name} of {page} is missing"


def check_pages(project, manual):
    pages = pages_of(project)
    yield from lint(pages)
    for page in pages:
        if page.names()[:1] != [page.name]:
            yield f"{page}: the first name of the section NAME is not {page.name}"
        # groff 1.22 puts "BSD" in front of the manual's name otherwise.
        if "\n.ds doc-volume-operating-system\n.Dt " not in page.path.read_text(encoding="utf-8"):
            yield f"{page}: '.ds doc-volume-operating-system' is missing before .Dt"
        yield from missing_files(page, manual)
        yield from missing_sections(page)
        for document in re.findall(
            r"\bPa ([\w/-]+\.md)", "\n".join(sum(page.sections.values(), []))
        ):
            if not (project / document).exists():
                yield f"{page}: there is no {document}"
        if page.has_functions:
            yield from missing_entries(page)
    yield from missing_from_overview(pages)


def header_of(project):
    return (project / "include/orvane.h").read_text(encoding="utf-8")


def declared(header):
    """The declarations of the header, by name."""
    found = {}
    for text in re.findall(r"^ORVANE_API (.*?);", header, re.M | re.S):
        text = re.sub(r"ORVANE_PRINTF\(.*?\)|\b(ORVANE_VERDICT|extern)\b", "", text)
        found[re.search(r"(\w+)[(\[]", text)[1]] = tokens(text)
    return found


def described(page):
    """The declarations of a page's SYNOPSIS, as pairs of a name and a text."""
    kind, name, arguments = "", None, []
    for line in page.section("SYNOPSIS"):
        macro, *rest = words(line) or [""]
        if macro == ".Ft":
            kind = " ".join(rest)
        elif macro == ".Fn":
            yield rest[0], tokens(f"{kind} {rest[0]}({', '.join(rest[1:])})")
        elif macro == ".Fo":
            name, arguments = rest[0], []
        elif macro == ".Fa":
            arguments += rest
        elif macro == ".Fc":
            yield name, tokens(f"{kind} {name}({', '.join(arguments)})")
        elif macro == ".Vt" and "extern" in rest:
            text = re.sub(r"\bextern\b|;", "", " ".join(rest))
            yield re.search(r"(\w+)\s*(\[|$)", text)[1], tokens(text)


def check_prototypes(project):
    header = declared(header_of(project))
    for page in pages_of(project):
        if not page.has_functions:
            continue
        seen = []
        for name, text in described(page):
            seen.append(name)
            if name not in header:
                yield f"{page}: SYNOPSIS declares {name}, which the header does not"
            elif text != header[name]:
                yield f"{page}: SYNOPSIS has '{text}', and the header '{header[name]}'"
        for name in page.names():
            if seen.count(name) != 1:
                yield f"{page}: SYNOPSIS declares {name} {seen.count(name)} times"
        for name in sorted(set(seen) - set(page.names())):
            yield f"{page}: SYNOPSIS declares {name}, which the section NAME does not have"


def check_comments(project):
    """The manual is the reference: what one reads beside code is short."""
    text = header_of(project)
    limit = TOP_LINES
    for comment in re.finditer(r"^/\*(?! SPDX)(.*?)\*/", text, re.M | re.S):
        first = text.count("\n", 0, comment.start()) + 1
        lines = comment[1].strip("\n* ").count("\n") + 1
        if lines > limit:
            yield f"include/orvane.h:{first}: a comment of {lines} lines, of at most {limit}"
        limit = COMMENT_LINES


def check_trace(project):
    """A conversion in a message is a word in italics in the page."""
    written = {}
    for path in sorted((project / "src").rglob("*.cpp")):
        text = path.read_text(encoding="utf-8")
        for call in re.finditer(
            r'\b(?:orvane_trace|trace_outside_text)\(((?:\s*"(?:[^"\\]|\\.)*")+)', text
        ):
            message = "".join(re.findall(r'"((?:[^"\\]|\\.)*)"', call[1]))
            message = re.sub(r"%[a-z]", "%", message).replace("\\n", "")
            written.setdefault(message, path.relative_to(project))
        if path.name not in ("trace.cpp", "outside_text.cpp"):
            for call in re.finditer(r"\b(orvane_trace|trace_outside_text)\((?!\s*\")", text):
                yield f"{path.relative_to(project)}: {call[1]}() without the text of its line"
    if not written:
        yield "no trace line found in src"
    (page,) = [page for page in pages_of(project) if page.path.name == "orvane-trace.5"]
    explained = set()
    for line in page.section("MESSAGES"):
        if line.startswith(".It "):
            explained.add(re.sub(r"\\fI.*?\\fR", "%", line[4:].strip('"')))
    for message in sorted(set(written) - explained):
        yield f"{page}: the line of {written[message]} is missing: {message}"
    for message in sorted(explained - set(written)):
        yield f"{page}: no source writes this line: {message}"


def help_of(command, subcommand):
    """The usages of a subcommand without blanks, and the words that each section describes."""
    text = subprocess.run(
        [command, "help", *subcommand.split()], check=True, capture_output=True, text=True
    ).stdout
    usages = [
        squeezed(part)
        for part in re.split(r"^(?:Usage: | {7}(?=orvane))", text.split("\n\n")[0], flags=re.M)
    ]
    found = {"Options": [], "Arguments": [], "Subcommands": [], "Facts": [], "Examples": []}
    section = None
    for line in text.splitlines():
        if line.endswith(":") and not line.startswith(" "):
            section = line[:-1]
        elif section in found and re.match(r"  \S", line):
            found[section].append(re.split(r"  +", line.strip())[0])
    return usages[1:], found


def squeezed(text):
    return re.sub(r"\s", "", text)


def synopsis_of(page):
    """The lines of the section SYNOPSIS as they are printed, without blanks."""
    text = subprocess.run(
        ["mandoc", "-Tascii", "-Owidth=500", page.path], check=True, capture_output=True, text=True
    ).stdout
    text = re.sub(r".\x08", "", text)
    lines = re.search(r"^SYNOPSIS\n(.*?)^[A-Z]", text, re.M | re.S)[1].splitlines()
    return [squeezed(line) for line in lines if line.strip()]


def option_names(text):
    return re.findall(r"(?<![\w-])--?[a-zA-Z][a-z-]*", text)


def described_in(page):
    """What each subsection "orvane SUBCOMMAND" lists: options, arguments and facts."""
    found = {}
    subcommand = None
    for line in page.section("DESCRIPTION"):
        if line.startswith(".Ss "):
            subcommand = line[4:].removeprefix("orvane").strip()
            found.setdefault(subcommand, set())
        elif line.startswith(".It Fl "):
            found[subcommand].update(option_names(line.replace("Fl ", "-")))
        elif line.startswith(".It "):
            found[subcommand].add(words(line)[2])
    return found


def check_command(project, command):
    (page,) = [page for page in pages_of(project) if page.path.name == "orvane.1"]
    described_there = described_in(page)
    synopsis = synopsis_of(page)
    existing = [""]
    usages, examples = [], set()
    for subcommand in existing:
        usage, by_help = help_of(command, subcommand)
        existing += [f"{subcommand} {name}".strip() for name in by_help["Subcommands"]]
        examples.update(by_help["Examples"])
        if subcommand == "" or not by_help["Subcommands"]:
            usages += usage
        if subcommand not in described_there:
            yield f"{page}: the subsection 'orvane {subcommand}' is missing"
            continue
        expected = set(by_help["Arguments"] + by_help["Facts"])
        for option in by_help["Options"]:
            expected.update(option_names(option))
        if subcommand != "":  # --help is described once
            expected -= {"-h", "--help"}
        found = described_there[subcommand]
        for name in sorted(expected - found):
            yield f"{page}: orvane {subcommand}: {name} of the help is missing"
        for name in sorted(found - expected):
            yield f"{page}: orvane {subcommand}: the help has no {name}"
    if len(existing) < 2:
        yield "orvane help lists no subcommand"
    for subcommand in sorted(set(described_there) - set(existing)):
        yield f"{page}: the command has no subcommand '{subcommand}'"
    for usage in sorted(set(usages) - set(synopsis)):
        yield f"{page}: SYNOPSIS lacks this usage of the help: {usage}"
    for usage in sorted(set(synopsis) - set(usages)):
        yield f"{page}: SYNOPSIS has a usage that the help lacks: {usage}"
    # The tests run those of the help.
    for line in page.section("EXAMPLES"):
        if line.startswith(".Dl ") and line[4:].removeprefix("sudo ") not in examples:
            yield f"{page}: the help has no example '{line[4:]}'"


CHECKS = {
    "pages": check_pages,
    "prototypes": check_prototypes,
    "comments": check_comments,
    "trace": check_trace,
    "command": check_command,
}


def main():
    if len(sys.argv) < 3 or sys.argv[1] not in CHECKS:
        sys.exit(__doc__.partition("\n\n")[2])
    which, project, *more = sys.argv[1:]
    violations = list(CHECKS[which](Path(project), *more))
    print("\n".join(violations))
    sys.exit(1 if violations else 0)


if __name__ == "__main__":
    main()

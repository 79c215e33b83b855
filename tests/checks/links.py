#!/usr/bin/python3 -B
# SPDX-License-Identifier: LGPL-2.1-or-later
"""Shows that each link of a document to a file of the project, or to a heading in it, leads there.

Usage: links.py PROJECT
"""

import re
import sys
from pathlib import Path


def without_code(text):
    text = re.sub(r"^```.*?^```$", "", text, flags=re.MULTILINE | re.DOTALL)
    return re.sub(r"`[^`]*`", "", text)


def anchors_of(document):
    """What forges make of the headings of a document."""
    found = set()
    for title in re.findall(r"^#+ (.*)$", document.read_text(), re.MULTILINE):
        title = re.sub(r"\[([^]]*)\]\([^)]*\)", r"\1", title)
        found.add(re.sub(r"[^\w\- ]", "", title.lower()).replace(" ", "-"))
    return found


def broken_links(document):
    for target in re.findall(r"\]\(([^)\s]+)\)", without_code(document.read_text())):
        name, _, anchor = target.partition("#")
        if "://" in name or name.startswith("mailto:"):
            continue
        linked = document.parent / name if name else document
        if not linked.exists():
            yield f"{target}: there is no {name}"
        elif anchor and linked.suffix == ".md" and anchor not in anchors_of(linked):
            yield f"{target}: there is no such heading"


def main():
    project = Path(sys.argv[1])
    documents = [*project.glob("*.md"), *project.glob("docs/*.md"), *project.glob("*/*/*.md")]
    links = 0
    broken = []
    for document in sorted(set(documents)):
        if project / "build" in document.parents:
            continue
        links += document.read_text().count("](")
        broken += [f"{document.relative_to(project)}: {link}" for link in broken_links(document)]
    print("\n".join(broken) or f"{links} links")
    sys.exit(1 if broken or not links else 0)


if __name__ == "__main__":
    main()

# SPDX-License-Identifier: LGPL-2.1-or-later
"""Debian's packages, downloaded with a package state of our own."""

import re
from pathlib import Path

from target import own_release
from tools import Missing, ToolError, run

MIRROR = Path(__file__).parents[2] / "scripts/mirror"
KEYRING = "/usr/share/keyrings/debian-archive-keyring.gpg"


class Packages:
    """The packages of a release and an architecture, in a folder that is there for them alone."""

    def __init__(self, folder, target):
        self.folder = folder
        self.target = target
        for name in ("state/lists/partial", "cache/archives/partial", "downloads"):
            (folder / name).mkdir(parents=True, exist_ok=True)
        (folder / "status").touch()  # as if nothing were installed
        settings = [
            f"Dir::State={folder}/state",
            f"Dir::State::status={folder}/status",
            f"Dir::Cache={folder}/cache",
            "Debug::NoLocking=1",
            "APT::Install-Recommends=0",
            "APT::Sandbox::User=",
            f"APT::Architecture={target.architecture}",
            f"APT::Architectures={target.architecture}",
        ]
        if target.release != own_release():
            settings += self.source()
        self.options = ["-qq", *(word for setting in settings for word in ("-o", setting))]

    def source(self):
        """The settings for another release than those that apt uses here."""
        path = self.folder / "sources.list"
        mirror = run([MIRROR]).strip()
        path.write_text(f"deb [signed-by={KEYRING}] {mirror} {self.target.release} main\n")
        return [
            f"Dir::Etc::sourcelist={path}",
            "Dir::Etc::sourceparts=-",
            # The development release's index is good for a week, and a mirror may be older.
            "Acquire::Check-Valid-Until=false",
        ]

    def apt(self, tool, *arguments):
        return run([tool, *self.options, *arguments], cwd=self.folder / "downloads")

    def with_exact_dependencies(self, *packages):
        """The packages with those of which they need exactly one version: from the same source."""
        found = list(packages)
        for package in found:  # which grows
            shown = self.apt("apt-cache", "show", "--no-all-versions", package)
            dependencies = re.search(r"^Depends: (.*)", shown, re.M)
            exact = re.findall(r"([^\s,|]+) \(= ", dependencies.group(1)) if dependencies else []
            found += [name for name in dict.fromkeys(exact) if name not in found]
        return found

    def libraries(self, development_packages):
        """The packages of the libraries themselves, whose names end with a number."""
        found = self.with_exact_dependencies(*development_packages)
        return [name for name in found if re.fullmatch(r"lib.*\d(t64)?", name)]

    @staticmethod
    def reason(error):
        """What apt prints first as an error."""
        reasons = re.findall(r"^E: (.*)", str(error), re.M)
        return reasons[0] if reasons else str(error)

    def fetch(self, packages, development_packages):
        try:
            self.apt("apt-get", "update")
            wanted = [*packages, *self.libraries(development_packages)]
            self.apt("apt-get", "--yes", "--download-only", "install", *wanted)
            # What the kernel depends on besides would make it start on this computer.
            kernel = f"linux-image-{self.target.architecture}"
            self.apt("apt-get", "download", *self.with_exact_dependencies(kernel))
        except ToolError as error:
            raise Missing(f"no packages of {self.target}: {self.reason(error)}") from error
        return [
            *(self.folder / "cache/archives").glob("*.deb"),
            *(self.folder / "downloads").glob("*.deb"),
        ]

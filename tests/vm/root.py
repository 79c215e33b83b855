# SPDX-License-Identifier: LGPL-2.1-or-later
"""A folder into which Debian's packages are unpacked, and what programs need there."""

import json
import re

from tools import ToolError, run


def needed_libraries(program):
    return re.findall(r"\(NEEDED\).*\[(.*)\]", run(["readelf", "-d", program]))


def optional_libraries(program):
    """Those that the program opens where they are there, as its notes list them."""
    notes = run(["readelf", "-p", ".note.dlopen", program])
    return [
        name
        for note in re.findall(r"\[\{.*\}\]", notes)
        for feature in json.loads(note)
        for name in feature["soname"]
    ]


def first_known(names, is_known, what):
    """The first of the names between "|" that is known: newer releases have other ones."""
    for name in names.split("|"):
        if is_known(name):
            return name
    raise ToolError(f"{what} {names.replace('|', ' or ')}")


class Root:
    """The packages of a target, in a root whose /bin, /lib and /sbin are links into /usr."""

    def __init__(self, path, target):
        self.path = path
        self.target = target

    def make_folders(self):
        for name in ("bin", "lib", "lib64", "sbin"):
            (self.path / "usr" / name).mkdir(parents=True)
            (self.path / name).symlink_to(f"usr/{name}")

    def unpack(self, packages):
        self.make_folders()
        # dpkg -x would put folders in the place of the links.
        command = 'dpkg --fsys-tarfile "$1" | tar -x --keep-directory-symlink -C "$2"'
        for package in packages:
            run(["bash", "-o", "pipefail", "-c", command, "bash", package, self.path])

    def programs(self, names):
        folder = self.path / "usr"
        is_known = lambda name: (folder / name).exists()
        return [folder / first_known(name, is_known, "no package has") for name in names]

    def library(self, name):
        """The path of a library, or None."""
        triplet = self.target.machine.triplet
        folders = (triplet, f"{triplet}/systemd", "")
        places = (self.path / "usr/lib" / folder / name for folder in folders)
        return next((place for place in places if place.exists()), None)

    def needed_library(self, name):
        path = self.library(name)
        if path is None:
            raise ToolError(f"no package of {self.target} has {name}")
        return path

    def with_libraries(self, programs):
        """The programs with every library that they or their libraries need."""
        found = list(programs)
        for program in found:  # which grows
            needed = [self.needed_library(name) for name in needed_libraries(program)]
            optional = [self.library(name) for name in optional_libraries(program)]
            found += [
                path for path in dict.fromkeys(needed + optional) if path and path not in found
            ]
        return found

    def loader(self):
        """The program that loads libraries, by the name that programs carry."""
        name = re.search(
            r"interpreter: /(.*)\]", run(["readelf", "-l", self.path / "usr/bin/cat"])
        ).group(1)
        return self.path / "usr" / name

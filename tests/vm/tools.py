# SPDX-License-Identifier: LGPL-2.1-or-later
"""Running programs, and packing what they made."""

import fcntl
import hashlib
import os
import subprocess
from contextlib import contextmanager


class ToolError(Exception):
    """A program failed; the text names it."""


class Missing(ToolError):
    """What the scenarios need is not there, and they are skipped."""


def run(command, text=True, **options):
    """What a program prints. The message of a failure has its standard error."""
    try:
        return subprocess.run(command, check=True, text=text, capture_output=True, **options).stdout
    except FileNotFoundError as error:
        raise Missing(f"'{command[0]}' is missing: scripts/setup vm installs it") from error
    except subprocess.CalledProcessError as error:
        raise ToolError(f"{error}\n{error.stderr}") from error


def fingerprint(*paths):
    """A name for the names and contents of files."""
    digest = hashlib.sha256()
    for path in sorted(paths):
        digest.update(path.name.encode())
        digest.update(path.read_bytes())
    return digest.hexdigest()[:16]


def archive(tree, path):
    """Packs a tree as the kernel unpacks it: a cpio archive, owned by root."""
    names = [
        os.path.relpath(os.path.join(folder, name), tree)
        for folder, folders, files in os.walk(tree)
        for name in sorted(folders) + sorted(files)
    ]
    run(
        ["cpio", "--quiet", "-o", "-0", "-H", "newc", "-R", "0:0", "-O", path],
        input="\0".join(names),
        cwd=tree,
    )


@contextmanager
def locked(path):
    """Keeps other runs, which may have the same cache, out meanwhile."""
    with open(path, "w", encoding="utf-8") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        yield

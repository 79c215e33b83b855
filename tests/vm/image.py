# SPDX-License-Identifier: LGPL-2.1-or-later
"""The kernel and the root of the virtual machines, both Debian's own.

Packages are downloaded and unpacked below the cache folder; nothing is installed on this computer
and no rights are needed.
"""

import os
import shutil
from pathlib import Path

from kernel import Kernel
from packages import Packages
from root import Root
from tools import archive, fingerprint, locked

FOLDER = Path(__file__).parent
GUEST = FOLDER / "guest"
SOURCES = [FOLDER / f"{name}.py" for name in "image kernel packages root".split()]

# The programs that the library runs are the packages' own; busybox is for guest/init. systemd 262
# only recommends libseccomp2, and grants every system call and address family without it.
PACKAGES = (
    "busybox-static coreutils cryptsetup-bin dash dmidecode dmsetup e2fsprogs grep kmod "
    "libseccomp2 lvm2 mawk mdadm smartmontools systemd udev util-linux"
).split()
# Each release has its own names for the packages of the libraries themselves.
DEVELOPMENT_PACKAGES = (
    "libblkid-dev libcjson-dev libelf-dev libglib2.0-dev libgpgme-dev libsmartcols-dev libssl-dev"
).split()
PROGRAMS = (
    "bin/busybox bin/cat bin/dash bin/grep bin/kmod bin/lsblk bin/readlink bin/udevadm "
    "bin/mawk sbin/cryptsetup sbin/dmidecode sbin/dmsetup sbin/lvm sbin/mdadm sbin/mke2fs "
    "sbin/smartctl lib/udev/ata_id lib/udev/dmi_memory_id lib/udev/scsi_id"
).split()
FOLDERS = ("lib/udev/rules.d", "lib/systemd/network")
LINKS = {
    "bin/sh": "dash",
    "bin/awk": "mawk",
    "lib/systemd/systemd-udevd": "../../bin/udevadm",
    "sbin/modprobe": "../bin/kmod",
    "sbin/lvdisplay": "lvm",
    "sbin/pvdisplay": "lvm",
}
GUEST_FILES = {"init": 0o755, "etc/group": 0o644, "etc/passwd": 0o644, "usr/bin/layers": 0o755}
# What a scenario with the line "systemd" has besides.
SYSTEMD_PROGRAMS = (
    "bin/systemctl bin/systemd-analyze lib/systemd/systemd "
    "lib/systemd/systemd-executor|lib/systemd/systemd"
).split()
SYSTEMD_UNITS = "basic local-fs paths shutdown slices sockets swap sysinit timers".split()
SYSTEMD_GUEST_FILES = {
    "usr/bin/in_sandbox": 0o755,
    "usr/lib/systemd/system/queries.service": 0o644,
}


def copy(source, root, target):
    place = target / source.relative_to(root)
    place.parent.mkdir(parents=True, exist_ok=True)
    shutil.copy2(source, place)


def copy_guest_files(files, tree):
    for name, mode in files.items():
        place = tree / name
        place.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(GUEST / place.name, place)
        place.chmod(mode)  # whatever the clone's are


def copy_loader(root, tree):
    name = root.loader()
    file = root.library(name.name)
    place = tree / name.relative_to(root.path)
    if not place.exists():
        place.symlink_to(os.path.relpath(file, name.parent))


def base_tree(root, tree, files):
    """The part of the root that the machines need, which is less than a tenth."""
    shutil.rmtree(tree, ignore_errors=True)
    Root(tree, root.target).make_folders()
    for path in files:
        copy(path, root.path, tree)
    copy_loader(root, tree)
    Kernel(root.path).copy_modules(tree)
    for name in FOLDERS:
        shutil.copytree(root.path / "usr" / name, tree / "usr" / name)
    for name, goal in LINKS.items():
        place = tree / "usr" / name
        place.parent.mkdir(parents=True, exist_ok=True)
        place.symlink_to(goal)
    copy_guest_files(GUEST_FILES, tree)


def systemd_tree(root, tree, in_base):
    """What is laid over the base for a machine whose first process is systemd."""
    shutil.rmtree(tree, ignore_errors=True)
    for path in root.with_libraries(root.programs(SYSTEMD_PROGRAMS)):
        if path not in in_base:
            copy(path, root.path, tree)
    for name in SYSTEMD_UNITS:
        copy(root.path / f"usr/lib/systemd/system/{name}.target", root.path, tree)
    copy_guest_files(SYSTEMD_GUEST_FILES, tree)


class Image:
    """The files that every machine boots from, with the libraries of these names."""

    def __init__(self, cache, target, libraries):
        self.cache = Path(cache).resolve()
        self.target = target
        self.libraries = libraries
        self.root = Root(self.cache / "root", target)
        self.kernel = self.cache / "kernel"
        self.base = self.cache / "base.cpio"
        self.systemd = self.cache / "systemd.cpio"

    def fingerprint(self):
        files = (GUEST / Path(name).name for name in [*GUEST_FILES, *SYSTEMD_GUEST_FILES])
        return " ".join([str(self.target), *self.libraries, fingerprint(*SOURCES, *files)])

    def is_made(self):
        stamp = self.cache / "fingerprint"
        return stamp.exists() and stamp.read_text() == self.fingerprint()

    def make(self):
        """Makes what is missing or older than what it is made from, once for runs side by side."""
        is_new = not self.cache.exists()
        self.cache.mkdir(parents=True, exist_ok=True)
        try:
            with locked(self.cache / "lock"):
                if not self.is_made():
                    self.make_anew()
        except BaseException:
            if is_new:
                shutil.rmtree(self.cache)
            raise

    def fetch(self):
        """Unpacks the packages, unless the same packages are unpacked already."""
        unpacked = self.cache / "unpacked"
        wanted = " ".join([str(self.target), *PACKAGES, *DEVELOPMENT_PACKAGES])
        if unpacked.exists() and unpacked.read_text() == wanted:
            return
        unpacked.unlink(missing_ok=True)
        packages = self.cache / "packages"
        for old in (self.root.path, packages):
            shutil.rmtree(old, ignore_errors=True)
        print(f"Downloading Debian's kernel and tools, {self.target}", flush=True)
        files = Packages(packages, self.target).fetch(PACKAGES, DEVELOPMENT_PACKAGES)
        self.root.unpack(files)
        shutil.rmtree(packages)
        unpacked.write_text(wanted)

    def make_anew(self):
        # An interrupted run leaves no fingerprint, and is repeated.
        (self.cache / "fingerprint").unlink(missing_ok=True)
        self.fetch()
        # A machine that starts meanwhile has the old files, whole.
        new = self.cache / "new"
        new.write_bytes(Kernel(self.root.path).image())
        new.rename(self.kernel)
        libraries = [self.root.needed_library(name) for name in self.libraries]
        files = self.root.with_libraries(self.root.programs(PROGRAMS) + libraries)
        base_tree(self.root, self.cache / "tree", files)
        archive(self.cache / "tree", new)
        new.rename(self.base)
        systemd_tree(self.root, self.cache / "systemd", files)
        archive(self.cache / "systemd", new)
        new.rename(self.systemd)
        (self.cache / "fingerprint").write_text(self.fingerprint())

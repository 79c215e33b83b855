# SPDX-License-Identifier: LGPL-2.1-or-later
"""The kernel and the root of the virtual machines, both Debian's own.

Packages are downloaded and unpacked below the cache folder; nothing is installed on this computer
and no rights are needed.
"""

import lzma
import re
import shutil
from pathlib import Path

from tools import Missing, ToolError, archive, fingerprint, locked, run

GUEST = Path(__file__).parent / "guest"

# The programs that the library runs are the packages' own; busybox is for guest/init.
PACKAGES = (
    "busybox-static coreutils cryptsetup-bin dash dmidecode dmsetup e2fsprogs grep kmod lvm2 mawk "
    "mdadm smartmontools udev util-linux "
    "libblkid1 libcjson1 libglib2.0-0 libgpgme11 libsmartcols1 libssl3 systemd"
).split()
PROGRAMS = (
    "bin/busybox bin/cat bin/dash bin/grep bin/kmod bin/lsblk bin/readlink bin/udevadm "
    "bin/mawk sbin/cryptsetup sbin/dmidecode sbin/dmsetup sbin/lvm sbin/mdadm sbin/mke2fs "
    "sbin/smartctl lib/udev/ata_id lib/udev/dmi_memory_id lib/udev/scsi_id"
).split()
LIBRARIES = (
    "libblkid.so.1 libcjson.so.1 libcrypto.so.3 libglib-2.0.so.0 libgpgme.so.11 libsmartcols.so.1"
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
SYSTEMD_PROGRAMS = "bin/systemctl bin/systemd-analyze lib/systemd/systemd".split()
SYSTEMD_UNITS = "basic local-fs paths shutdown slices sockets swap sysinit timers".split()
SYSTEMD_GUEST_FILES = {
    "usr/bin/in_sandbox": 0o755,
    "usr/lib/systemd/system/queries.service": 0o644,
}
MODULES = (
    "ahci e1000 e1000e sd_mod nvme virtio_pci virtio_blk virtio_scsi virtio_net usb_storage "
    "xhci_pci cdc_ether sdhci_pci mmc_block dm_mod dm_crypt raid1 ext4 overlay "
    "bonding dummy ip6_gre macvlan veth 8021q aes_generic xts ecb sha256_generic crc32c_generic"
).split()


class Packages:
    """Debian's packages, fetched with a package state of our own."""

    def __init__(self, folder):
        self.folder = folder
        for name in ("state/lists/partial", "cache/archives/partial", "downloads"):
            (folder / name).mkdir(parents=True, exist_ok=True)
        (folder / "status").touch()  # as if nothing were installed
        settings = (
            f"Dir::State={folder}/state",
            f"Dir::State::status={folder}/status",
            f"Dir::Cache={folder}/cache",
            "Debug::NoLocking=1",
            "APT::Install-Recommends=0",
            "APT::Sandbox::User=",
        )
        self.options = ["-qq", *(word for setting in settings for word in ("-o", setting))]

    def apt(self, tool, *arguments):
        return run([tool, *self.options, *arguments], cwd=self.folder / "downloads")

    def fetch(self):
        try:
            return self.downloaded()
        except ToolError as error:
            raise Missing(f"Debian's packages cannot be downloaded: {error}") from error

    def downloaded(self):
        self.apt("apt-get", "update")
        self.apt("apt-get", "--yes", "--download-only", "install", *PACKAGES)
        newest = self.apt("apt-cache", "show", "--no-all-versions", "linux-image-amd64")
        kernel = re.search(r"^Depends: (\S+)", newest, re.M)
        if kernel is None:
            raise Missing("apt knows no package linux-image-amd64: this needs Debian 12 on amd64")
        self.apt("apt-get", "download", kernel.group(1))
        return [
            *(self.folder / "cache/archives").glob("*.deb"),
            *(self.folder / "downloads").glob("*.deb"),
        ]


def unpack(packages, root):
    """Unpacks the packages into a root whose /bin, /lib and /sbin are links into /usr."""
    for name in ("bin", "lib", "lib64", "sbin"):
        (root / "usr" / name).mkdir(parents=True)
        (root / name).symlink_to(f"usr/{name}")
    # dpkg -x would put folders in the place of the links.
    command = 'dpkg --fsys-tarfile "$1" | tar -x --keep-directory-symlink -C "$2"'
    for package in packages:
        run(["bash", "-o", "pipefail", "-c", command, "bash", package, root])


def unpacked_kernel(compressed):
    """The ELF file inside a kernel image: booting it spares the emulated machine the unpacking."""
    start = compressed.find(b"\xfd7zXZ\x00")
    if start < 0:
        raise ToolError("the kernel image is not compressed with xz")
    return lzma.LZMADecompressor().decompress(compressed[start:])


def library(root, name):
    for folder in ("usr/lib/x86_64-linux-gnu", "usr/lib/x86_64-linux-gnu/systemd", "usr/lib"):
        if (root / folder / name).exists():
            return root / folder / name
    raise ToolError(f"no package holds {name}")


def needed_libraries(program):
    return re.findall(r"\(NEEDED\).*\[(.*)\]", run(["readelf", "-d", program]))


def with_libraries(root, programs):
    """The programs with every library that they or their libraries need."""
    found = list(programs)
    for program in found:  # which grows
        for name in needed_libraries(program):
            path = library(root, name)
            if path not in found:
                found.append(path)
    return found


def module_name(path):
    return Path(path).name.split(".")[0].replace("-", "_")


def module_files(root, version):
    """The modules with those that they depend on, and the tables that modprobe and udev read."""
    folder = root / "usr/lib/modules" / version
    run(["/usr/sbin/depmod", "-b", root, version])
    wanted = {module_name(path): [] for path in (folder / "modules.builtin").read_text().split()}
    for line in (folder / "modules.dep").read_text().splitlines():
        path, needed = line.split(":")
        wanted[module_name(path)] = [path, *needed.split()]
    unknown = [name for name in MODULES if name not in wanted]
    if unknown:
        raise ToolError(f"the kernel has no module {', '.join(unknown)}")
    paths = {path for name in MODULES for path in wanted[name]}
    tables = [path.name for path in folder.glob("modules.*.bin")]
    return [folder / path for path in sorted(paths) + tables]


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


def base_programs(root):
    """The programs and libraries that every machine needs."""
    programs = [root / "usr" / name for name in PROGRAMS]
    return with_libraries(root, programs + [library(root, name) for name in LIBRARIES])


def base_tree(root, tree, version):
    """The part of the root that the machines need, which is less than a tenth."""
    shutil.rmtree(tree, ignore_errors=True)
    for name in ("bin", "lib", "lib64", "sbin"):
        (tree / "usr" / name).mkdir(parents=True)
        (tree / name).symlink_to(f"usr/{name}")
    for path in base_programs(root) + module_files(root, version):
        copy(path, root, tree)
    copy(library(root, "ld-linux-x86-64.so.2"), root, tree)
    # The linker's own name for itself, which programs carry.
    loader = tree / "usr/lib64/ld-linux-x86-64.so.2"
    loader.symlink_to("../lib/x86_64-linux-gnu/ld-linux-x86-64.so.2")
    for name in FOLDERS:
        shutil.copytree(root / "usr" / name, tree / "usr" / name)
    for name, goal in LINKS.items():
        place = tree / "usr" / name
        place.parent.mkdir(parents=True, exist_ok=True)
        place.symlink_to(goal)
    copy_guest_files(GUEST_FILES, tree)


def systemd_tree(root, tree):
    """What is laid over the base for a machine whose first process is systemd."""
    shutil.rmtree(tree, ignore_errors=True)
    in_base = base_programs(root)
    for path in with_libraries(root, [root / "usr" / name for name in SYSTEMD_PROGRAMS]):
        if path not in in_base:
            copy(path, root, tree)
    for name in SYSTEMD_UNITS:
        copy(root / f"usr/lib/systemd/system/{name}.target", root, tree)
    copy_guest_files(SYSTEMD_GUEST_FILES, tree)


class Image:
    """The files that every machine boots from."""

    def __init__(self, cache):
        self.cache = Path(cache).resolve()
        self.kernel = self.cache / "vmlinux"
        self.base = self.cache / "base.cpio"
        self.systemd = self.cache / "systemd.cpio"

    def fingerprint(self):
        files = (GUEST / Path(name).name for name in [*GUEST_FILES, *SYSTEMD_GUEST_FILES])
        return fingerprint(Path(__file__), *files)

    def is_made(self):
        stamp = self.cache / "fingerprint"
        return stamp.exists() and stamp.read_text() == self.fingerprint()

    def make(self):
        """Makes what is missing or older than what it is made from, once for runs side by side."""
        self.cache.mkdir(parents=True, exist_ok=True)
        with locked(self.cache / "lock"):
            if not self.is_made():
                self.make_anew()

    def fetch(self, root):
        """Unpacks the packages, unless the same packages are unpacked already."""
        unpacked = self.cache / "unpacked"
        if unpacked.exists() and unpacked.read_text() == " ".join(PACKAGES):
            return
        unpacked.unlink(missing_ok=True)
        packages = self.cache / "packages"
        for old in (root, packages):
            shutil.rmtree(old, ignore_errors=True)
        print("Downloading Debian's kernel and tools", flush=True)
        unpack(Packages(packages).fetch(), root)
        shutil.rmtree(packages)
        unpacked.write_text(" ".join(PACKAGES))

    def make_anew(self):
        # An interrupted run leaves no fingerprint, and is repeated.
        (self.cache / "fingerprint").unlink(missing_ok=True)
        root = self.cache / "root"
        self.fetch(root)
        # A machine that starts meanwhile has the old files, whole.
        new = self.cache / "new"
        compressed = next((root / "boot").glob("vmlinuz-*"))
        new.write_bytes(unpacked_kernel(compressed.read_bytes()))
        new.rename(self.kernel)
        base_tree(root, self.cache / "tree", compressed.name.removeprefix("vmlinuz-"))
        archive(self.cache / "tree", new)
        new.rename(self.base)
        systemd_tree(root, self.cache / "systemd")
        archive(self.cache / "systemd", new)
        new.rename(self.systemd)
        (self.cache / "fingerprint").write_text(self.fingerprint())

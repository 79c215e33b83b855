# SPDX-License-Identifier: LGPL-2.1-or-later
"""The kernel of a root, and its modules."""

import lzma
import shutil
import struct
from pathlib import Path

from root import first_known
from tools import ToolError, run

# As the kernel of some release has them built in, so do newer ones name them by what stands before
# the "|".
MODULES = (
    "ahci e1000 e1000e sd_mod nvme virtio_pci virtio_blk virtio_scsi virtio_net usb_storage "
    "xhci_pci cdc_ether sdhci_pci mmc_block dm_mod dm_crypt raid1 ext4 overlay "
    "bonding dummy ip6_gre macvlan veth 8021q aes|aes_generic xts ecb sha256|sha256_generic "
    "crc32c_cryptoapi|crc32c_generic"
).split()
XZ = b"\xfd7zXZ\x00"
ZSTD = b"\x28\xb5\x2f\xfd"


def unpacked_image(image):
    """The ELF file inside a bzImage: booting it spares the emulated machine the unpacking.

    Other images are returned as they are.
    """
    if image[0x202:0x206] != b"HdrS":
        return image
    # As the kernel's Documentation/arch/x86/boot.rst has it.
    sectors = image[0x1F1]
    offset, length = struct.unpack_from("<II", image, 0x248)
    start = (sectors + 1) * 512 + offset
    payload = image[start : start + length - 4]  # the last four bytes are the unpacked size
    if payload.startswith(XZ):
        return lzma.decompress(payload)
    if payload.startswith(ZSTD):
        return run(["zstd", "-dqc"], text=False, input=payload)
    raise ToolError("the kernel image is compressed with neither xz nor zstd")


def module_name(path):
    return Path(path).name.split(".")[0].replace("-", "_")


class Kernel:
    def __init__(self, root):
        self.root = root
        self.version = next((root / "usr/lib/modules").iterdir()).name
        self.modules = root / "usr/lib/modules" / self.version

    def image(self):
        places = (self.root / f"boot/vmlinuz-{self.version}", self.modules / "vmlinuz")
        return unpacked_image(next(place for place in places if place.exists()).read_bytes())

    def module_files(self):
        """The modules with those that they depend on, by their paths in the modules' folder."""
        builtin = (self.modules / "modules.builtin").read_text().split()
        files = {module_name(path): [] for path in builtin}
        for line in (self.modules / "modules.dep").read_text().splitlines():
            path, needed = line.split(":")
            files[module_name(path)] = [path, *needed.split()]
        names = [
            first_known(name, files.__contains__, "the kernel has no module") for name in MODULES
        ]
        return sorted({path for name in names for path in files[name]})

    def copy_modules(self, tree):
        """Copies the modules, unpacked, and makes the tables that modprobe and udev read."""
        run(["/usr/sbin/depmod", "-b", self.root, self.version])
        target = tree / self.modules.relative_to(self.root)
        for name in self.module_files():
            place = target / name.removesuffix(".xz")
            place.parent.mkdir(parents=True, exist_ok=True)
            content = (self.modules / name).read_bytes()
            place.write_bytes(lzma.decompress(content) if name.endswith(".xz") else content)
        for name in ("modules.order", "modules.builtin", "modules.builtin.modinfo"):
            shutil.copyfile(self.modules / name, target / name)
        run(["/usr/sbin/depmod", "-b", tree, self.version])

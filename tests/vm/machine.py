# SPDX-License-Identifier: LGPL-2.1-or-later
"""One boot of one scenario."""

import os
import shlex
import shutil
import subprocess

import scenario as scenarios
from tools import archive, locked, run

# Emulated throughout, because acceleration is not available everywhere and shows nothing more here.
QEMU = "-nodefaults -no-user-config -display none -no-reboot -accel tcg -m 512M".split()
# The second line spares the emulated processor work that no scenario shows.
KERNEL_WORDS = (
    "loglevel=5 panic=-1 "
    "mitigations=off nokaslr cryptomgr.notests apparmor=0 audit=0 random.trust_cpu=on"
)
# It ends with the run that waits for it, however that ends.
ENDING_WITH_US = "setpriv --pdeathsig KILL --".split()
QUERIES_BEGIN = "The queries begin."  # as the guest prints before the library is called
BOOT_SECONDS = 240  # of 10 to 25 on an idle computer, 40 with systemd


def patience():
    """How long a machine may take: a busy computer gives it a share of its time."""
    return BOOT_SECONDS * max(1, os.getloadavg()[0] / os.cpu_count())


def text_lines(path):
    if not path.exists():
        return []
    text = path.read_text(encoding="utf-8", errors="backslashreplace").rstrip("\n")
    return text.split("\n") if text else []


def disk(folder, name, size, *partitions):
    """Makes an image and returns QEMU's options for it."""
    path = folder / f"{name}.img"
    run(["truncate", "-s", size, path])
    if partitions:
        # Fixed identifiers, so that a scenario can name them.
        table = ["label: gpt", "label-id: 0F0E0D0C-0B0A-0908-0706-050403020100"]
        for number, partition in enumerate(partitions, start=1):
            size = "" if partition == "rest" else f"size={partition}, "
            table.append(f"{size}uuid=00000000-0000-0000-0000-{number:012}")
        run(["/usr/sbin/sfdisk", "--quiet", path], input="\n".join(table))
    return ["-drive", f"if=none,format=raw,cache=unsafe,id={name},file={path}"]


class Machine:
    """What a scenario boots, with its files in a folder of its own, which keeps the last boot's."""

    def __init__(self, scenario, image, installation, folder):
        self.scenario = scenario
        self.image = image
        self.installation = installation
        self.folder = folder

    def initial_root(self, queries):
        """What the image has, the installation, and the scenario."""
        tree = self.folder / "tree"
        (tree / "scenario").mkdir(parents=True)
        modules = [name for names in self.scenario.words("modules") for name in names]
        for name, lines in (
            ("layout", self.scenario.lines("layout")),
            ("modules", modules),
            ("queries", queries),
        ):
            text = "".join(f"{line}\n" for line in lines)
            (tree / "scenario" / name).write_text(text, encoding="utf-8")
        archive(tree, self.folder / "scenario.cpio")
        path = self.folder / "initial_root"
        parts = [self.image.base, self.installation, self.folder / "scenario.cpio"]
        if self.scenario.words("systemd"):
            parts.append(self.image.systemd)
        path.write_bytes(b"".join(part.read_bytes() for part in parts))
        return path

    def command_line(self):
        own = self.image.target.machine.kernel_words
        words = [word for given in self.scenario.words("cmdline") for word in given]
        return " ".join([own, KERNEL_WORDS, *words])

    def hardware(self):
        own = self.scenario.options()
        usual = scenarios.usual().options()
        # The firmware's tables are the scenario's or the usual machine's, not a mixture.
        if any(option.startswith("-smbios") for option in own):
            usual = [option for option in usual if not option.startswith("-smbios")]
        options = [word for line in usual + own for word in shlex.split(line)]
        for words in self.scenario.words("disk"):
            options += disk(self.folder, *words)
        return options

    def boot(self, queries):
        """Runs the queries, and returns whether the machine turned itself off in time."""
        machine = self.image.target.machine
        command = [*ENDING_WITH_US, machine.emulator, *QEMU]
        for port in ("console", "answers"):
            command += ["-chardev", f"file,id={port},path={self.folder / port}"]
        command += ["-serial", "chardev:console", *machine.hardware.split()]
        if machine.firmware and not self.scenario.words("device-tree"):
            command += ["-bios", machine.firmware]
        command += ["-kernel", self.image.kernel, "-initrd", self.initial_root(queries)]
        command += ["-append", self.command_line(), *self.hardware()]
        try:
            run(command, timeout=patience())
        except subprocess.TimeoutExpired:
            return False
        return True

    def boot_anew(self, queries):
        """Boots in an empty folder, where only what the machine prints is kept."""
        shutil.rmtree(self.folder)
        self.folder.mkdir()
        try:
            return self.boot(queries)
        finally:
            for large in [*self.folder.glob("*.img"), self.folder / "initial_root"]:
                large.unlink(missing_ok=True)

    def answers(self, queries):
        """The answers, line by line, and remarks where the machine did not end well."""
        self.folder.mkdir(parents=True, exist_ok=True)
        with locked(self.folder.with_name(f"{self.folder.name}.lock")):
            ended = self.boot_anew(queries)
            # The emulator hangs once in some hundred boots; from the first query on, a hang may be
            # the library's.
            if not ended and QUERIES_BEGIN not in text_lines(self.folder / "console"):
                print(f"booted again: {self.scenario.name} hung while it started", flush=True)
                ended = self.boot_anew(queries)
            found = text_lines(self.folder / "answers")
            if not ended:
                found.append("The machine did not end in time.")
            if not ended or scenarios.ALL_DONE not in found:
                found.append("The end of its console:")
                found += text_lines(self.folder / "console")[-30:]
            return found

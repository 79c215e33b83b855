# SPDX-License-Identifier: LGPL-2.1-or-later
"""The release and the architecture of Debian that the machines run."""

import platform
import shutil
from dataclasses import dataclass
from pathlib import Path

from tools import Missing, run


@dataclass(frozen=True)
class Architecture:
    """How machines of an architecture are emulated, and how programs for them are compiled."""

    triplet: str  # of the libraries' folder
    compiler: str
    compiler_package: str
    emulator: str
    emulator_package: str
    hardware: str
    kernel_words: str
    firmware: str = ""  # where the emulator does not have one of its own
    firmware_package: str = ""


ARCHITECTURES = {
    "amd64": Architecture(
        triplet="x86_64-linux-gnu",
        compiler="x86_64-linux-gnu-g++",
        compiler_package="g++",
        emulator="qemu-system-x86_64",
        emulator_package="qemu-system-x86",
        # The plain processor is emulated faster than "max". Its random numbers spare the guest the
        # wait for its own.
        hardware="-machine q35 -cpu qemu64,+rdrand -serial chardev:answers",
        # On a busy computer the emulated timer is too late for the kernel's test of it.
        kernel_words="console=ttyS0 answers=ttyS1 no_timer_check",
    ),
    "arm64": Architecture(
        triplet="aarch64-linux-gnu",
        compiler="aarch64-linux-gnu-g++",
        compiler_package="g++-aarch64-linux-gnu",
        emulator="qemu-system-aarch64",
        emulator_package="qemu-system-arm",
        # The other machine has a SATA controller and a second serial port, too.
        hardware="-machine virt -cpu cortex-a57 -device ahci,id=ide,addr=1f "
        "-device pci-serial,chardev=answers,addr=1e",
        kernel_words="console=ttyAMA0 answers=ttyS0",
        firmware="/usr/share/qemu-efi-aarch64/QEMU_EFI.fd",
        firmware_package="qemu-efi-aarch64",
    ),
}


def own_release():
    return platform.freedesktop_os_release()["VERSION_CODENAME"]


def own_architecture():
    return run(["dpkg", "--print-architecture"]).strip()


@dataclass(frozen=True)
class Target:
    release: str
    architecture: str

    @property
    def machine(self):
        return ARCHITECTURES[self.architecture]

    def check(self):
        """Whether this computer has what is needed, before anything is made."""
        machine = self.machine
        for program, package in (
            (machine.emulator, machine.emulator_package),
            (machine.compiler, machine.compiler_package),
        ):
            if shutil.which(program) is None:
                raise Missing(f"'{program}' is missing: the package {package} has it")
        if machine.firmware and not Path(machine.firmware).exists():
            package = machine.firmware_package
            raise Missing(f"'{machine.firmware}' is missing: the package {package} has it")

    def __str__(self):
        return f"{self.release} {self.architecture}"

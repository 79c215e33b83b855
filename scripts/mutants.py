# SPDX-License-Identifier: LGPL-2.1-or-later
"""The library with a fault, and the tests that look for it."""

import json
import os
import re
import select
import shlex
import shutil
import signal
import subprocess
import tempfile
import threading
import time
from contextlib import contextmanager
from dataclasses import dataclass, field
from pathlib import Path

from faults import Fault

ROOT = Path(__file__).resolve().parent.parent

# A case that takes so many seconds does not end; hardly any takes one.
CASE_SECONDS = 20
LONGEST_RUN = 300
UNIT_TESTS = "tests/unit/unit_tests"
SYSTEM_TESTS = {
    subsystem: f"tests/system/{subsystem}_tests"
    for subsystem in ("foundation", "disk", "machine", "integrity", "gpg", "scene")
}
# Words in the names of tests that do not name their subject.
NO_SUBJECT = {"test", "id", "machine"}

# Runs a program where nothing that it does, starts or leaves behind outlives it, with some files in
# the place of others. The project may stand below /tmp, which is covered.
ISOLATED = r"""
project=$1 count=$2
shift 2
mount --make-rprivate /
exec 3<"$project"
mount -t tmpfs -o size=1g tmpfs /tmp
if [ ! -d "$project" ]; then
    mkdir -p "$project"
    mount --no-canonicalize --bind /proc/self/fd/3 "$project"
fi
exec 3<&-
mount -t tmpfs -o size=256m tmpfs /var/log
while [ "$count" -gt 0 ]; do
    mount --bind "$1" "$2"
    count=$((count - 1))
    shift 2
done
ulimit -v 16777216
status=0
"$@" || status=$?
exit $status
"""


class MutateError(Exception):
    """Nothing can be tried; the text is the reason."""


class Stopped(Exception):
    """The user wants no more of it."""


def kill(process):
    """With all of its group."""
    if process.poll() is None:
        os.killpg(process.pid, signal.SIGKILL)


class Processes:
    """What runs at the moment. All of it can be ended at once."""

    def __init__(self):
        self.lock = threading.Lock()
        self.running = set()
        self.stopped = False

    def start(self, command, **options):
        with self.lock:
            if self.stopped:
                raise Stopped
            process = subprocess.Popen(
                command,
                stdin=subprocess.DEVNULL,
                stdout=subprocess.PIPE,
                stderr=subprocess.STDOUT,
                start_new_session=True,
                **options,
            )
            self.running.add(process)
            return process

    def end(self, process):
        """Kills it if it still runs."""
        with self.lock:
            kill(process)
            self.running.discard(process)
        process.stdout.close()
        process.wait()
        if self.stopped:
            raise Stopped

    def stop(self):
        with self.lock:
            self.stopped = True
            for process in self.running:
                kill(process)


@dataclass(frozen=True)
class Batch:
    """Tests that one process runs one after the other."""

    program: str
    wanted: str = "*"

    def command(self, program):
        options = ["--gtest_fail_fast", "--gtest_color=no", f"--gtest_filter={self.wanted}"]
        return [program, *options, "--jobs=1", f"--timeout={CASE_SECONDS}"]


@dataclass(frozen=True)
class Failure:
    """What the tests printed; the test's name if it can be run again."""

    text: str
    output: str
    test: str | None = None


@dataclass
class Mutant:
    """The library with a fault: the objects that differ, by the names of those they replace."""

    fault: Fault
    folder: Path
    objects: dict = field(default_factory=dict)
    state: str = "valid"


class Build:
    """A build of the project, and how things are compiled and linked in it."""

    def __init__(self, folder, processes):
        self.folder = folder
        self.processes = processes
        try:
            commands = json.loads((folder / "compile_commands.json").read_text())
            self.staged = self.installed_library()
            self.links = {
                "library": self.link_command("orvane", "src/" + self.staged.name),
                UNIT_TESTS: self.link_command("unit_tests", UNIT_TESTS),
            }
            self.sources = self.included_sources()
            self.suites = {program: self.suites_of(program) for program in SYSTEM_TESTS.values()}
        except (OSError, subprocess.CalledProcessError) as error:
            raise MutateError(f"{folder} is no build of the tests: {error}") from error
        self.compilations = {}
        for entry in commands:
            command = shlex.split(entry["command"])
            self.compilations[command[command.index("-o") + 1]] = command

    def ninja(self, *arguments):
        command = ["ninja", "-C", self.folder, *arguments]
        return subprocess.run(command, check=True, text=True, capture_output=True).stdout

    def installed_library(self):
        libraries = [
            path
            for path in self.folder.glob("stage/**/liborvane.so.*")
            if path.is_file() and not path.is_symlink()
        ]
        if len(libraries) != 1:
            raise MutateError(f"{self.folder} has {len(libraries)} installed libraries, not one")
        return libraries[0]

    def link_command(self, target, output):
        for line in self.ninja("-t", "commands", target).splitlines():
            words = shlex.split(line)
            if "-o" in words and words[words.index("-o") + 1] == output:
                words = words[words.index("&&") + 1 :]
                return words[: words.index("&&")]
        raise MutateError(f"{self.folder} does not show how {output} is linked")

    def included_sources(self):
        """The files of src/ and the tests that each object is made of."""
        sources = {}
        for paragraph in self.ninja("-t", "deps").split("\n\n"):
            name, *files = paragraph.split("\n")
            sources[name.partition(":")[0]] = {file.strip() for file in files}
        return sources

    def suites_of(self, program):
        """The suites of a test program, by the file that they stand in."""
        suites = {}
        with tempfile.NamedTemporaryFile() as listing:
            subprocess.run(
                [
                    self.folder / program,
                    "--gtest_list_tests",
                    f"--gtest_output=json:{listing.name}",
                ],
                check=True,
                capture_output=True,
            )
            for suite in json.load(listing)["testsuites"]:
                for test in suite["testsuite"]:
                    suites.setdefault(Path(test["file"]).stem, set()).add(suite["name"])
        return suites

    def objects_of(self, file, below):
        """The objects that a source goes into."""
        return sorted(
            name
            for name in self.compilations
            if name.startswith(below) and str(ROOT / file) in self.sources.get(name, ())
        )

    def is_old(self, name):
        """Whether an object is older than one of the project's files that it is made of."""
        built = (self.folder / name).stat().st_mtime
        own = [file for file in self.sources[name] if file.startswith(str(ROOT))]
        return any(Path(file).stat().st_mtime > built for file in own)

    def run(self, command):
        process = self.processes.start(command, cwd=self.folder)
        try:
            output, _ = process.communicate()
            return process.returncode, output.decode(errors="replace")
        finally:
            self.processes.end(process)

    def compile(self, name, tree, output):
        """Compiles an object from a copy of the sources. Warnings catch nothing here."""
        command = [word for word in self.compilations[name] if word != "-Werror"]
        command[command.index("-o") + 1] = str(output)
        for part in ("src", "include"):
            command = [word.replace(str(ROOT / part), str(tree / part)) for word in command]
        return self.run([*command, "-w"])

    def link(self, what, objects, output):
        command = [str(objects.get(word, word)) for word in self.links[what]]
        command[command.index("-o") + 1] = str(output)
        return self.run(command)[0] == 0


class Workshop:
    """Makes mutants, and chooses those that are worth a test."""

    def __init__(self, build, folder):
        self.build = build
        self.folder = folder
        self.local = threading.local()
        self.lock = threading.Lock()
        self.originals = {}

    def tree(self):
        """This thread's copy of the sources."""
        if not hasattr(self.local, "tree"):
            self.local.tree = Path(tempfile.mkdtemp(prefix="sources.", dir=self.folder))
            for part in ("src", "include"):
                shutil.copytree(ROOT / part, self.local.tree / part)
        return self.local.tree

    def original(self, name):
        """The object without a fault, compiled as those with one are."""
        with self.lock:
            content = self.originals.get(name)
        if content is None:
            if self.build.is_old(name):
                raise MutateError(f"{name} is older than its sources")
            output = self.tree() / "original.o"
            status, complaint = self.build.compile(name, self.tree(), output)
            if status != 0:
                raise MutateError(f"{name} does not compile:\n{complaint}")
            content = output.read_bytes()
            with self.lock:
                self.originals[name] = content
        return content

    def make(self, number, fault):
        mutant = Mutant(fault, self.folder / f"mutant.{number}")
        names = self.build.objects_of(fault.file, "src/")
        if not names:
            raise MutateError(f"{fault.file} is in no object of {self.build.folder}")
        originals = {name: self.original(name) for name in names}
        mutant.folder.mkdir()
        with self.faulty_tree(fault) as tree:
            for name in names:
                output = mutant.folder / f"{len(mutant.objects)}.o"
                if self.build.compile(name, tree, output)[0] != 0:
                    mutant.state = "invalid"
                    return mutant
                if output.read_bytes() != originals[name]:
                    mutant.objects[name] = output
        if not mutant.objects:
            mutant.state = "equivalent"
        elif not self.build.link("library", mutant.objects, mutant.folder / "library"):
            mutant.state = "invalid"
        return mutant

    @contextmanager
    def faulty_tree(self, fault):
        """This thread's copy of the sources, with a fault for as long as it is used."""
        path = self.tree() / fault.file
        text = path.read_text(encoding="utf-8")
        path.write_text(fault.in_text(text), encoding="utf-8")
        try:
            yield self.tree()
        finally:
            path.write_text(text, encoding="utf-8")

    def make_unit_tests(self, mutant):
        """Links them, after compiling those anew that include what is faulty."""
        objects = dict(mutant.objects)
        with self.faulty_tree(mutant.fault) as tree:
            for name in self.build.objects_of(mutant.fault.file, "tests/unit/"):
                output = mutant.folder / f"{len(objects)}.o"
                if self.build.compile(name, tree, output)[0] != 0:
                    return None
                objects[name] = output
        program = mutant.folder / "unit_tests"
        return program if self.build.link(UNIT_TESTS, objects, program) else None


class Trial:
    """Runs the tests with a mutant, or with the library as it is."""

    def __init__(self, build, workshop):
        self.build = build
        self.workshop = workshop

    def batches(self, file):
        """Every test once, those first that the file's folder and name lead to."""
        subject = set(Path(file).stem.split("_")) - NO_SUBJECT
        own = SYSTEM_TESTS.get(Path(file).parent.name)
        fitting = sorted(
            f"{suite}.*"
            for stem, suites in self.build.suites.get(own, {}).items()
            if subject & set(stem.split("_"))
            for suite in suites
        )
        system = []
        if fitting:
            system = [Batch(own, ":".join(fitting)), Batch(own, "-" + ":".join(fitting))]
        elif own:
            system = [Batch(own)]
        system += [Batch(program) for program in SYSTEM_TESTS.values() if program != own]
        unit = Batch(UNIT_TESTS)
        # The unit tests of a header are compiled first, which takes longer than all else.
        return [*system, unit] if file.endswith(".h") else [*system[:2], unit, *system[2:]]

    def failure_with(self, mutant):
        """How the fault is noticed, or nothing."""
        instead = [(mutant.folder / "library", self.build.staged)]
        for batch in self.batches(mutant.fault.file):
            program = self.build.folder / batch.program
            if batch.program == UNIT_TESTS:
                program = self.workshop.make_unit_tests(mutant)
                if program is None:
                    continue  # that they do not link shows no test that notices
            failure = self.failure_of(batch, program, instead)
            if failure:
                return failure
        return None

    def failure_without(self, batch):
        return self.failure_of(batch, self.build.folder / batch.program, [])

    def failure_of(self, batch, program, instead):
        """What failed, and did so twice."""
        failure = self.run(batch, program, instead)
        if not failure or failure.test is None:
            return failure
        alone = Batch(batch.program, failure.test)
        if self.run(alone, program, instead) or self.run(batch, program, instead):
            return failure
        return None

    def run(self, batch, program, instead):
        mounts = [str(path) for pair in instead for path in pair]
        process = self.build.processes.start(
            ["unshare", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc"]
            + ["sh", "-euc", ISOLATED, "sh", str(ROOT), str(len(instead)), *mounts]
            + batch.command(str(program)),
            cwd=program.parent,
        )
        try:
            output = self.output_of(process)
        finally:
            self.build.processes.end(process)
        if process.returncode == 0 and re.search(r"^\[  PASSED  \]", output, re.MULTILINE):
            return None
        begun = re.findall(r"^\[ RUN      \] (\S+)", output, re.MULTILINE)
        failed = re.findall(r"^\[  FAILED  \] (\S+?),? ", output, re.MULTILINE)
        test = (failed[:1] or begun[-1:] or [None])[0]
        name = f"{Path(batch.program).name} {test}"
        if process.returncode == -signal.SIGKILL:
            return Failure(f"{name} hangs", output, test)
        return Failure(f"{name} fails", output, test)

    def output_of(self, process):
        """All that it prints, until it ends or takes too long."""
        output = bytearray()
        last_moment = time.monotonic() + LONGEST_RUN
        while (left := last_moment - time.monotonic()) > 0:
            if not select.select([process.stdout], [], [], left)[0]:
                break
            piece = os.read(process.stdout.fileno(), 65536)
            if not piece:
                process.wait()
                break
            output += piece
        return output.decode(errors="replace")

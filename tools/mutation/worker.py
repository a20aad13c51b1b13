"""Builds the product with one change and runs the tests of its folder on it.

Most of a mutant's time goes into compiling the changed file and linking; the quick tests take seconds. A header that many
tests include costs a minute, as all of them are compiled again."""

import filecmp
import os
import shutil
import signal
import subprocess
import sys
import time
import uuid

from results import HUNG, KILLED, REFUSED, SURVIVED

HERE = os.path.dirname(os.path.abspath(__file__))
ENDED_BY_LIMIT = {-signal.SIGXCPU, -signal.SIGKILL}
# The same as in the preset debug, as far as ccache compares it.
SETTINGS = ["-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_COMPILE_WARNING_AS_ERROR=ON", "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld",
            f"-DCMAKE_CXX_COMPILER_LAUNCHER={HERE}/compile"]


def end_marked(mark):
    """Ends what a run has left, also programs that its tests have started: all have the mark in their environment."""
    for pid in [int(name) for name in os.listdir("/proc") if name.isdigit()]:
        try:
            with open(f"/proc/{pid}/environ", "rb") as environment:
                marked = mark.encode() in environment.read().split(b"\0")
            if marked:
                os.kill(pid, signal.SIGKILL)
        except OSError:  # has ended, or is somebody else's
            pass


class Worker:
    """A copy of the tree with a build folder of its own, where one mutant after the other is tried.

    What an earlier run has built is used again."""

    def __init__(self, root, files, tree):
        self.tree = tree
        for file in files:
            source, target = os.path.join(root, file), os.path.join(tree, file)
            if not os.path.exists(target) or not filecmp.cmp(source, target, shallow=False):
                os.makedirs(os.path.dirname(target), exist_ok=True)
                shutil.copy(source, target)
        self.build_folder = os.path.join(tree, "build", "debug")
        self.checked = set()  # folders whose unchanged sources pass their tests
        self.changed = None  # the file whose objects in the build folder are those of a mutant
        configure = ["cmake", "-S", tree, "-B", self.build_folder, "-G", "Ninja", *SETTINGS]
        subprocess.run(configure, check=True, stdout=subprocess.DEVNULL, env=self.environment())

    def environment(self, **more):
        return dict(os.environ, CCACHE_BASEDIR=self.tree, CCACHE_NOHASHDIR="1", **more)

    def check(self, folder):
        if folder.name in self.checked:
            return
        self.restore()
        if self.outcome(folder) != SURVIVED:
            raise RuntimeError(f"the unchanged sources in {self.tree} do not build or pass the tests of {folder.name}")
        self.checked.add(folder.name)

    def outcome(self, folder, **environment):
        for program in folder.programs:
            if not self.build(*([program.name, "own_namespaces"] if program.isolated else [program.name]), **environment):
                return REFUSED
            result = self.test(program)
            if result != SURVIVED:
                return result
        return SURVIVED

    def build(self, *targets, **environment):
        command = ["cmake", "--build", self.build_folder, "--parallel", "1", "--target", *targets]
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False,
                              env=self.environment(**environment))
        if done.returncode != 0 and not environment:
            sys.stderr.buffer.write(done.stdout)
        return done.returncode == 0

    def test(self, program):
        """Runs all parts of a program at once, up to the first that fails."""
        mark = f"POE_MUTATION_RUN={uuid.uuid4()}"
        parts = [self.start(program, part, mark) for part in range(program.parts)]
        # The time for one that waits and does nothing is generous, as the machine may be busy.
        end = time.monotonic() + 30 + 3 * program.seconds
        result = SURVIVED
        running = list(parts)
        while running and result == SURVIVED:
            time.sleep(0.02)
            for process in [process for process in running if process.poll() is not None]:
                running.remove(process)
                if process.returncode in ENDED_BY_LIMIT:
                    result = HUNG
                elif process.returncode != 0:
                    result = KILLED
            if running and time.monotonic() > end:
                result = HUNG
        end_marked(mark)
        for process in running:
            process.wait()
        return result

    def start(self, program, part, mark):
        binaries = os.path.join(self.build_folder, "bin")
        command = ["prlimit", f"--cpu={program.seconds}", os.path.join(binaries, program.name), *program.arguments]
        if program.isolated:
            command.insert(0, os.path.join(binaries, "own_namespaces"))
        command[0:0] = ["env", mark]
        if program.parts > 1:
            command[1:1] = [f"GTEST_TOTAL_SHARDS={program.parts}", f"GTEST_SHARD_INDEX={part}"]
        return subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def restore(self):
        """Compiles again, without the change, what the last mutant has left."""
        if self.changed:
            file, folder = self.changed
            for target in [program.name for program in folder.programs] if file.endswith(".h") else [folder.library]:
                self.build(target)
        self.changed = None

    def try_mutant(self, mutant, folder):
        self.check(folder)
        if self.changed != (mutant.file, folder):
            self.restore()
        path = os.path.join(self.tree, mutant.file)
        with open(path, "rb") as file:
            original = file.read()
        self.changed = (mutant.file, folder)
        try:
            with open(path, "wb") as file:
                file.write(original[:mutant.start] + mutant.new.encode() + original[mutant.end:])
            if not self.build(folder.library, POE_MUTANT="1"):
                return REFUSED
            return self.outcome(folder, POE_MUTANT="1")
        finally:
            with open(path, "wb") as file:
                file.write(original)

"""Builds the service with one change and runs the unit tests and the quick tests with faults on it.

Most of a mutant's time goes into compiling the changed file, 0.3 to 0.7 s; linking takes 0.1 s with lld, not 0.3 s as
with the usual linker, and the unit tests, which stop at the first failure, 0.1 s. A header that the tests include costs a
minute, as all of them are compiled again."""

import filecmp
import os
import shutil
import signal
import subprocess

from results import HUNG, KILLED, REFUSED, SURVIVED

LIBRARY = "poe_driver"  # without the process entry
# The test programs in the order of what they cost: processor time in s above which a mutant hangs, and arguments. Of the
# tests with every fault, those that take 6 s in all; each of the others takes longer than that.
QUICK_FAULTS = "--gtest_filter=-EveryFault.*:*Cycle*:*Recovery:*ByForce:*HasLost*:*ConsoleReports"
PROGRAMS = [("poe_main_tests", 2), ("poe_unit_tests", 2), ("poe_random_run", 5, "--cycles", "2000", "--seed", "1"),
            ("poe_reliability_tests", 40, QUICK_FAULTS)]
ENDED_BY_LIMIT = {-signal.SIGXCPU, -signal.SIGKILL}
# An index beyond its array ends the program, as in the preset asan.
SETTINGS = ["-DCMAKE_CXX_FLAGS=-O0 -w -fsanitize=bounds -fsanitize-undefined-trap-on-error",
            "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld"]


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
        self.build_folder = os.path.join(tree, "build")
        subprocess.run(["cmake", "-S", tree, "-B", self.build_folder, "-G", "Ninja", *SETTINGS], check=True,
                       stdout=subprocess.DEVNULL)
        if self.outcome() != SURVIVED:
            raise RuntimeError(f"the unchanged service in {tree} does not build or pass its tests")

    def outcome(self):
        for program, seconds, *arguments in PROGRAMS:
            if not self.build(program):
                return REFUSED
            result = self.test(program, seconds, arguments)
            if result != SURVIVED:
                return result
        return SURVIVED

    def build(self, target):
        command = ["cmake", "--build", self.build_folder, "--parallel", "1", "--target", target]
        return subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode == 0

    # The time for one that waits and does nothing is generous, as the machine may be busy.
    def test(self, program, seconds, arguments):
        command = ["prlimit", f"--cpu={seconds}", os.path.join(self.build_folder, "bin", program),
                   *(arguments if "--cycles" in arguments else ["--gtest_fail_fast", "--gtest_brief=1", *arguments])]
        try:
            status = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                    stderr=subprocess.DEVNULL, timeout=15 + 2 * seconds).returncode
        except subprocess.TimeoutExpired:
            return HUNG
        if status in ENDED_BY_LIMIT:
            return HUNG
        return SURVIVED if status == 0 else KILLED

    def try_mutant(self, mutant):
        path = os.path.join(self.tree, mutant.file)
        with open(path, "rb") as file:
            original = file.read()
        try:
            with open(path, "wb") as file:
                file.write(original[:mutant.start] + mutant.new.encode() + original[mutant.end:])
            # What the compiler refuses in the library costs no compiling of tests.
            return self.outcome() if self.build(LIBRARY) else REFUSED
        finally:
            with open(path, "wb") as file:
                file.write(original)

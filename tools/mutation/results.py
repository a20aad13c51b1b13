"""What became of each mutant, kept over runs.

The end of a mutant is kept while the file that it changes is the same and the tests of its folder have only grown: what
some tests have noticed, more tests notice too. A survivor is tried again as soon as the tests differ, and a line of a
test that was changed or taken away makes all of the folder be forgotten. That a change of another file of the product
may matter is left to whoever makes it."""

import collections
import hashlib
import os

# What becomes of a mutant.
REFUSED = "refused"  # by the compiler
KILLED = "killed"  # a test has failed
HUNG = "hung"  # the tests did not end, which a person would notice
SURVIVED = "survived"


def read(root, file):
    with open(os.path.join(root, file), encoding="utf-8") as content:
        return content.read()


def digest(text):
    return hashlib.sha256(text.encode()).hexdigest()[:16]


def lines_of(texts):
    return collections.Counter(line for text in texts for line in text.split("\n") if line)


class Results:
    """Of one folder of sources, kept in a folder: results.tsv, and tests.txt with the tests that the results are of."""

    def __init__(self, folder, root, test_files):
        os.makedirs(folder, exist_ok=True)
        self.root = root
        self.of = {}  # by the mutant's name
        self.path = os.path.join(folder, "results.tsv")
        self.digests = {}  # of the changed files
        tests = [read(root, file) for file in test_files]
        self.tests = digest("\n".join(tests))
        tests_path = os.path.join(folder, "tests.txt")
        if os.path.exists(tests_path) and os.path.exists(self.path):
            if lines_of([read(folder, "tests.txt")]) <= lines_of(tests):
                self.keep_what_holds()
        with open(tests_path, "w", encoding="utf-8") as file:
            file.write("\n".join(tests))
        self.file = open(self.path, "a" if self.of else "w", encoding="utf-8")

    def digest_of(self, file):
        if file not in self.digests:
            exists = os.path.exists(os.path.join(self.root, file))
            self.digests[file] = digest(read(self.root, file)) if exists else "none"
        return self.digests[file]

    def keep_what_holds(self):
        with open(self.path, encoding="utf-8") as lines:
            for line in lines:
                result, source, tests, name = line.rstrip("\n").split("\t")
                self.of.pop(name, None)
                same = source == self.digest_of(name.split(" ")[0])
                if same and (result != SURVIVED or tests == self.tests):
                    self.of[name] = result

    def add(self, mutant, result):
        self.of[mutant.name()] = result
        self.file.write(f"{result}\t{self.digest_of(mutant.file)}\t{self.tests}\t{mutant.name()}\n")
        self.file.flush()

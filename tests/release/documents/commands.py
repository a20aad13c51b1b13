#!/usr/bin/env python3
"""Runs the commands that a document shows, in order, and compares their output with what the document shows.

The scene is that of ./run: the service on a simulated card with two devices and the example configuration. In code
blocks, indented or fenced:

  $ COMMAND            is run by a shell; the lines up to the next command or the end of the block are its output
  poectl or poe_card   at the start of a line is run too; only its exit status is looked at
  ./SCRIPT             is not run here: it must be executable, and .ci/run must run it

Every page of the project is among the documents, or in NOT_RUN with the reason.

A poectl or poe_card command in `backticks` names a command with placeholders: its --help must know the command and the
options.

Usage: commands.py BIN_FOLDER SOURCE_FOLDER DOCUMENT...
"""

import difflib
import json
import os
import re
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

PLUGGED = ("0 class=2 watts=6", "1 class=4 watts=22")
CARD_IS_READY = 20  # s: until both devices have their power
COMMAND_ENDS = 30  # s
VARIES = ((re.compile(r"(last fed \(ms ago\) +: )\d+"), r"\1..."),)

NOT_RUN = {
    "CHANGELOG.md": "names commands as they were in each version",
    "CONTRIBUTING.md": "its commands build, debug and test; .ci/run runs those that check",
    "docs/fleet.md": "its commands start a fleet that runs for minutes; .ci/run starts a small one",
    "docs/monitoring.md": "its commands install packages and run until they are ended; tests/system/publish runs them",
    "docs/page.md": "its commands serve until they are ended; tests/system/page runs them",
    "docs/performance.md": "benchmarks/measure writes it",
    "docs/reliability.md": "its commands run for minutes to hours; .ci/run runs their short forms",
    "docs/scenarios.md": "its commands are two ends of one session; tests/system/scenarios plays its language",
    "docs/simulator.md": "its commands start services of their own that run until they are ended",
}


class Command:
    def __init__(self, where, text, output):
        self.where, self.text, self.output = where, text, output


def blocks(text):
    """Code blocks as lists of (line number, line), without their indentation."""
    block, fence = [], False
    for number, line in enumerate(text.splitlines(), 1):
        if line.startswith("```"):
            fence = not fence
            if not fence:
                yield block
                block = []
        elif fence:
            block.append((number, line))
        elif line.startswith("    "):
            block.append((number, line[4:]))
        elif block and not line.strip():
            block.append((number, ""))
        elif block:
            yield block
            block = []
    if block:
        yield block


def commands(document, text):
    """What is to be run, and the scripts that are not run here."""
    run, scripts = [], []
    for block in blocks(text):
        output = None
        for number, line in block:
            where = f"{document}:{number}"
            if line.startswith("$ ./") or line.startswith("./"):
                scripts.append((where, line.removeprefix("$ ").split()[0]))
                output = None
            elif line.startswith("$ "):
                output = []
                run.append(Command(where, line[2:], output))
            elif re.match(r"(poectl|poe_card)( |$)", line) and output is None:
                run.append(Command(where, line, None))
            elif output is not None:
                output.append(line)
    return run, scripts


def comparable(lines):
    lines = [line.rstrip() for line in lines]
    for pattern, replacement in VARIES:
        lines = [pattern.sub(replacement, line) for line in lines]
    while lines and not lines[-1]:
        lines.pop()
    return lines


class Scene:
    def __init__(self, tools, folder):
        self.folder = folder
        self.environment = dict(os.environ, PATH=f"{tools}:{os.environ['PATH']}")
        self.card = None

    def __enter__(self):
        self.shell("poectl preflight")
        plugs = [word for device in PLUGGED for word in ("--plug", device)]
        self.card = subprocess.Popen(["poe_card", "--log", "log", *plugs, "--", "poe_service"], cwd=self.folder,
                                     env=self.environment, stdout=subprocess.DEVNULL)
        try:
            self.wait_for(lambda status: status["mainOperStatus"] == 1)
            self.shell("poectl example | poectl apply -")
            self.wait_for(lambda status: [port["powerConsumption"] for port in status["port"]] == [6, 22, 0, 0])
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        self.card.send_signal(signal.SIGTERM)
        self.card.wait()
        self.shell("poectl clean")

    def shell(self, command):
        """Runs a command; returns its output, of both streams."""
        try:
            done = subprocess.run(["bash", "-c", command], cwd=self.folder, env=self.environment, text=True,
                                  stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                  timeout=COMMAND_ENDS, check=False)
        except subprocess.TimeoutExpired:
            raise RuntimeError(f"'{command}' has not ended after {COMMAND_ENDS} s") from None
        if done.returncode != 0:
            raise RuntimeError(f"'{command}' has ended with {done.returncode}:\n{done.stdout}")
        return done.stdout

    def wait_for(self, condition):
        deadline = time.monotonic() + CARD_IS_READY
        while not condition(json.loads(self.shell("poectl status --json"))):
            if time.monotonic() > deadline:
                raise RuntimeError(f"the card is not ready after {CARD_IS_READY} s")


def check_shown(scene, command):
    printed = comparable(scene.shell(command.text).splitlines())
    if command.output is None:
        return
    shown = comparable(command.output)
    if printed != shown:
        raise RuntimeError("\n" + "\n".join(difflib.unified_diff(shown, printed, "shown", "printed", lineterm="")))


def check_named(scene, span):
    """A command with placeholders: its help must know it."""
    tool, *rest = span.split()
    name = rest[0] if tool == "poectl" and rest and re.fullmatch(r"[a-z]+", rest[0]) else ""
    usage = f"{tool} {name}".strip()
    text = scene.shell(f"{usage} --help")
    if not re.search(rf"^usage: {usage}( |$)", text, re.I | re.M):
        raise RuntimeError(f"there is no {usage}")
    for option in re.findall(r"--[a-z][a-z-]*", span):
        if not re.search(rf"{option}\b", text):
            raise RuntimeError(f"there is no {option}")


def check_script(root, name):
    if not os.access(root / name, os.X_OK):
        raise RuntimeError(f"{name} cannot be executed")
    if not re.search(rf"(^|\s){re.escape(name)}\b", (root / ".ci/run").read_text()):
        raise RuntimeError(f".ci/run does not run {name}")


def unlisted(root, documents):
    """Pages that are neither run nor listed with a reason, and those that are listed and are both, or none."""
    pages = {str(page.relative_to(root)) for page in [*root.glob("*.md"), *root.glob("docs/*.md")]}
    for page in sorted(pages - set(documents) - set(NOT_RUN)):
        yield f"{page}: is not run; add it to the documents of this test, or to NOT_RUN with the reason"
    for page in sorted(set(NOT_RUN) & set(documents)) + sorted(set(NOT_RUN) - pages):
        yield f"{page}: NOT_RUN has it, and it is run or is no page"


def main():
    tools, root, documents = Path(sys.argv[1]).resolve(), Path(sys.argv[2]), sys.argv[3:]
    faults, checked = list(unlisted(root, documents)), 0

    def check(where, function, *arguments):
        nonlocal checked
        checked += 1
        try:
            function(*arguments)
        except RuntimeError as error:
            faults.append(f"{where}: {error}")

    for document in documents:
        text = (root / document).read_text()
        run, scripts = commands(document, text)
        with tempfile.TemporaryDirectory() as folder, Scene(tools, folder) as scene:
            for command in run:
                check(f"{command.where}: {command.text}", check_shown, scene, command)
            for span in re.findall(r"`((?:poectl|poe_card)(?: [^`]*)?)`", text):
                check(f"{document}: `{span}`", check_named, scene, span)
        for where, name in scripts:
            check(where, check_script, root, name)
    if faults:
        sys.exit("\n\n".join(faults))
    if not checked:
        sys.exit("no command found")
    print(f"{checked} commands checked")


main()

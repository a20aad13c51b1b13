"""The service on a simulated card, its page and other programs, as processes of a test."""

import json
import os
import signal
import subprocess
import tempfile
import time

MAX_WAIT_S = 40


def wait_until(condition, what=None):
    """The first true result of the condition; fails when none comes."""
    end = time.monotonic() + MAX_WAIT_S
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() > end:
            raise AssertionError(what() if callable(what) else what or "what was waited for has not come")
        time.sleep(0.03)


class Desk:
    """A card with the service. `options` are those of poe_card."""

    def __init__(self, binaries, options=()):
        self.binaries = binaries
        self._temporary = tempfile.TemporaryDirectory()
        self.folder = self._temporary.name
        self.control = os.path.join(self.folder, "card.socket")
        self.log = os.path.join(self.folder, "service.log")
        self.record = os.path.join(self.folder, "record")
        for file in (self.log, self.record):
            open(file, "w", encoding="utf-8").close()
        self._children = []
        with open(os.path.join(self.folder, "service.out"), "w", encoding="utf-8") as output:
            self.start([self.path("poe_card"), "--control", self.control, "--log", self.log, "--record", self.record, *options, "--",
                         self.path("poe_service")], stdout=output, stderr=output)
        # In its first cycle, which begins with this register, it takes configurations; while it starts, it drops them.
        wait_until(lambda: "R 0x90 " in self.record_text(), "the service does not start")

    def record_text(self):
        with open(self.record, encoding="utf-8") as file:
            return file.read()

    def log_text(self):
        with open(self.log, encoding="utf-8") as file:
            return file.read()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for child in reversed(self._children):
            self.end(child)
            for pipe in filter(None, (child.stdout, child.stderr)):
                pipe.close()
        self.poectl("clean")
        self._temporary.cleanup()

    def service_signal(self, number):
        """To the service's own process, the child of the card."""
        card = self._children[0].pid
        with open(f"/proc/{card}/task/{card}/children", encoding="utf-8") as file:
            os.kill(int(file.read().split()[0]), number)

    def path(self, program):
        return os.path.join(self.binaries, program)

    def start(self, words, **pipes):
        """A program that ends with the desk."""
        child = subprocess.Popen(words, **pipes)
        self._children.append(child)
        return child

    def end(self, child):
        if child.poll() is None:
            child.send_signal(signal.SIGTERM)
        try:
            return child.wait(MAX_WAIT_S)
        except subprocess.TimeoutExpired:
            child.kill()
            raise

    def poectl(self, *words, text=None):
        """(exit status, standard output, standard error)"""
        done = subprocess.run([self.path("poectl"), *words], input=text, capture_output=True, text=True,
                              timeout=MAX_WAIT_S, check=False)
        return done.returncode, done.stdout, done.stderr

    def card(self, words):
        status, answer, error = self.poectl("card", "--control", self.control, *words.split())
        assert status == 0, error
        return answer

    def device(self, port):
        """What the card says of a port."""
        return next(line for line in self.card("show").split("\n") if line.startswith(f"port {port}: "))

    def apply(self, file):
        status, _, error = self.poectl("apply", file)
        assert status == 0, error

    def apply_example(self):
        status, _, error = self.poectl("apply", "-", text=self.poectl("example")[1])
        assert status == 0, error

    def status(self, *options):
        """What 'poectl status --json' prints now."""
        status, output, error = self.poectl("status", "--json", *options)
        assert status == 0, error
        return json.loads(output)

    def serve(self, *options, port=0):
        return Page(self, self.start([self.path("poectl"), "serve", "--port", str(port), "--control", self.control, *options],
                                      stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True))


class Page:
    def __init__(self, desk, process):
        self.desk = desk
        self.process = process
        self.address = process.stdout.readline().strip()
        assert self.address, process.stderr.read()
        self.host = self.address.split("/")[2]
        self.port = int(self.host.split(":")[1])
        self.token = self.address.split("#")[1]

    def end(self):
        status = self.desk.end(self.process)
        return status, self.process.stderr.read()

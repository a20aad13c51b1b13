"""The real snmpd with poectl as its pass_persist program, on a port of the loopback and with files of its own."""

import os
import socket
import subprocess
import time

EXAMPLE = os.path.join(os.path.dirname(__file__), "../../../packaging/snmpd-poe.conf")
SUBTREES = (".1.3.6.1.2.1.47.1.1.1", ".1.3.6.1.2.1.99", ".1.3.6.1.2.1.105")
MAX_WAIT = 20  # s


def free_port():
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as any_port:
        any_port.bind(("127.0.0.1", 0))
        return any_port.getsockname()[1]


class Agent:
    """Runs while its context is open. `folder` is for its files, `published` is the directory of the snapshot."""

    def __init__(self, poectl, folder, published):
        self.address = f"127.0.0.1:{free_port()}"
        self.log = os.path.join(folder, "snmpd.log")
        self.published = published
        self.environment = dict(os.environ, PATH=f"{os.environ['PATH']}:/usr/sbin", SNMP_PERSISTENT_DIR=os.path.join(folder, "state"),
                                SNMPCONFPATH=folder, MIBS="")
        self.configuration = os.path.join(folder, "agent.conf")
        with open(EXAMPLE, encoding="utf-8") as file:
            example = file.read().replace("/usr/bin/poectl", poectl).replace("/run/poe", published)
        with open(self.configuration, "w", encoding="utf-8") as file:
            file.write(f"agentaddress udp:{self.address}\nrwcommunity writer 127.0.0.1\n"
                       "view systemonly included .1.3.6.1.2.1.1\nrocommunity public default -V systemonly\n" + example)

    def __enter__(self):
        self.process = subprocess.Popen(
            ["snmpd", "-f", "-C", "-c", self.configuration, "-m", "", "-Lf", self.log, "-I", "-smux"],
            env=self.environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.STDOUT)
        end = time.monotonic() + MAX_WAIT
        while self.ask("snmpget", ".1.3.6.1.2.1.1.3.0", wait=0.2).returncode != 0:
            if time.monotonic() > end or self.process.poll() is not None:
                self.__exit__()
                raise RuntimeError(f"snmpd does not answer: {open(self.log, encoding='utf-8').read()}")
        return self

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait(MAX_WAIT)

    def ask(self, program, *words, community="public", wait=MAX_WAIT):
        command = [program, "-m", "", "-On", "-Ox", "-v2c", "-c", community, "-t", str(wait), "-r", "0", self.address, *words]
        return subprocess.run(command, env=self.environment, capture_output=True, text=True, check=False)

    def publish(self, text):
        """Replaces the snapshot; None removes it."""
        path = os.path.join(self.published, "status.json")
        if text is None:
            os.remove(path)
            return
        with open(path + ".new", "w", encoding="utf-8") as file:
            file.write(text)
        os.replace(path + ".new", path)

    def walk(self, program="snmpbulkwalk"):
        """(identifier, type, value) of all objects in the order of the walk: identifiers as tuples, texts as bytes."""
        rows = []
        for subtree in SUBTREES:
            result = self.ask(program, subtree)
            if result.returncode != 0:
                raise RuntimeError(f"{program}: {result.stdout}{result.stderr}")
            lines = result.stdout.replace("\n.", "\0.").replace("\n", "").split("\0")
            rows += [parsed(line) for line in lines if " = No " not in line]
        return rows


def parsed(line):
    """'.1.3 = Gauge32: 5'; texts are in hexadecimal, an empty one is '""'."""
    name, _, answer = line.partition(" = ")
    identifier = tuple(int(number) for number in name[1:].split("."))
    kind, _, value = ("Hex-STRING", "", "") if answer == '""' else answer.partition(": ")
    if kind == "Hex-STRING":
        return identifier, "STRING", bytes.fromhex(value)
    return identifier, kind, value if kind == "OID" else int(value)

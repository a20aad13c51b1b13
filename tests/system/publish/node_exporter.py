#!/usr/bin/env python3
"""node_exporter.py BIN: a real node exporter serves what "poectl publish" writes, and promtool finds nothing wrong.

Runs in namespaces of its own, with the loopback up.
"""
import subprocess
import sys
import tempfile
import time
import urllib.request
from pathlib import Path

PORT = 9100
CARD = ["--plug", "0 class=2 watts=6"]


def samples(text):
    """{metric with its labels in order: value}; an empty label is none, and some labels of a file are served as empty."""
    found = {}
    for line in text.splitlines():
        if line and not line.startswith("#"):
            name, value = line.rsplit(" ", 1)
            if "{" in name:
                metric, labels = name.rstrip("}").split("{", 1)
                name = metric + "{" + ",".join(sorted(label for label in labels.split(",") if not label.endswith('=""'))) + "}"
            found[name] = float(value)
    return found


def served():
    with urllib.request.urlopen(f"http://127.0.0.1:{PORT}/metrics", timeout=10) as reply:
        return reply.read().decode()


def wait_until(condition, what):
    end = time.monotonic() + 20
    while time.monotonic() < end:
        try:
            if condition():
                return
        except OSError:  # not there yet
            pass
        time.sleep(0.05)
    sys.exit(f"not within 20 s: {what}")


def same_is_served(metrics):
    """Nothing of the file is missing or another; both may change between the two looks."""
    for _ in range(20):
        before = metrics.read_text()
        seen = samples(served())
        if before == metrics.read_text():
            break
    expected = samples(before)
    differences = {name: (value, seen.get(name)) for name, value in expected.items() if seen.get(name) != value}
    if differences:
        sys.exit(f"served otherwise than written: {differences}")
    if seen.get("node_textfile_scrape_error") != 0:
        sys.exit("the node exporter finds an error in the file")
    return len(expected)


def main():
    programs = Path(sys.argv[1])
    started = []
    with tempfile.TemporaryDirectory() as folder:
        files = Path(folder, "files")
        files.mkdir()
        metrics = files / "poe.prom"

        def start(*command):
            started.append(subprocess.Popen([str(word) for word in command], stdin=subprocess.DEVNULL,
                                            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL))
            return started[-1]

        def says(line):
            return metrics.exists() and f"\n{line}\n" in metrics.read_text()

        try:
            names = Path(folder, "card.toml")
            names.write_text(subprocess.run([programs / "poectl", "example"], stdout=subprocess.PIPE, check=True).stdout.decode()
                             .replace("[port.0]", "[port.0]\nname = 'door \"A\\1\"'", 1))
            start("prometheus-node-exporter", "--collector.disable-defaults", "--collector.textfile",
                  f"--collector.textfile.directory={files}", f"--web.listen-address=127.0.0.1:{PORT}")
            start(programs / "poe_card", *CARD, "--log", Path(folder, "log"), "--", programs / "poe_service")
            for source in ("queue", "console"):
                publisher = start(programs / "poectl", "publish", "--directory", files, "--from", source, "--file", names)
                wait_until(lambda: says("poe_up 1") and f'"{source}"' in metrics.read_text(), f"values from the {source}")
                if source == "queue":
                    subprocess.run([programs / "poectl", "apply", names], stderr=subprocess.DEVNULL, check=True)
                    wait_until(lambda: "} 3\n" in metrics.read_text(), "power of port 0")
                wait_until(lambda: "poe_up 1" in served(), "the node exporter")
                count = same_is_served(metrics)
                checked = subprocess.run(["promtool", "check", "metrics"], stdin=metrics.open(), capture_output=True, text=True,
                                         check=False)
                if checked.returncode != 0 or checked.stdout + checked.stderr != "":
                    sys.exit(f"promtool: {checked.stdout}{checked.stderr}")
                print(f"{count} values from the {source} are served as they were written")
                publisher.terminate()
                publisher.wait(10)
                wait_until(lambda: "\npoe_up 0\n" in served(), "the end of the publisher")
        finally:
            for process in started:
                process.kill()
                process.wait()


main()

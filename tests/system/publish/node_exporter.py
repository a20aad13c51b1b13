#!/usr/bin/env python3
"""node_exporter.py BIN: a real node exporter serves what "poectl publish" writes, and promtool finds nothing wrong.

Runs in namespaces of its own, with the loopback up.
"""
import subprocess
import sys
import urllib.request
from pathlib import Path

sys.dont_write_bytecode = True  # beside the sources
sys.path.append(str(Path(__file__).parent / "../page"))
from desk import Desk, wait_until

PORT = 9100


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
    """Nothing while the node exporter is not there yet."""
    try:
        with urllib.request.urlopen(f"http://127.0.0.1:{PORT}/metrics", timeout=10) as reply:
            return reply.read().decode()
    except OSError:
        return ""


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
    with Desk(sys.argv[1], ["--plug", "0 class=2 watts=6"]) as desk:
        files = Path(desk.folder, "files")
        files.mkdir()
        metrics = files / "poe.prom"
        names = Path(desk.folder, "card.toml")
        names.write_text(desk.poectl("example")[1].replace("[port.0]", "[port.0]\nname = 'door \"A\\1\"'", 1))

        def start(*command):
            return desk.start([str(word) for word in command], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

        def says(line):
            return metrics.exists() and f"\n{line}\n" in metrics.read_text()

        start("prometheus-node-exporter", "--collector.disable-defaults", "--collector.textfile",
              f"--collector.textfile.directory={files}", f"--web.listen-address=127.0.0.1:{PORT}")
        for source in ("queue", "console"):
            publisher = start(desk.path("poectl"), "publish", "--directory", files, "--from", source, "--file", names)
            wait_until(lambda: says("poe_up 1") and f'"{source}"' in metrics.read_text(), f"no values from the {source}")
            if source == "queue":
                desk.apply(names)
                wait_until(lambda: "} 3\n" in metrics.read_text(), "port 0 gets no power")
            wait_until(lambda: "poe_up 1" in served(), "the node exporter does not serve the values")
            count = same_is_served(metrics)
            checked = subprocess.run(["promtool", "check", "metrics"], stdin=metrics.open(), capture_output=True, text=True,
                                     check=False)
            if checked.returncode != 0 or checked.stdout + checked.stderr != "":
                sys.exit(f"promtool: {checked.stdout}{checked.stderr}")
            print(f"{count} values from the {source} are served as they were written")
            desk.end(publisher)
            wait_until(lambda: "\npoe_up 0\n" in served(), "the end of the publisher is not served")


main()

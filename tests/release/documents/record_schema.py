#!/usr/bin/env python3
"""Records of the real service satisfy docs/record.schema.json, and the schema refuses what poectl refuses.

Usage: record_schema.py BIN_FOLDER SCHEMA REFUSALS"""

import copy
import json
import os
import subprocess
import sys
import tempfile

from jsonschema import Draft202012Validator

SCENES = (  # name, options of watch
    ("queue", "--example --count 3"),
    ("console", "--from console --every 0.2 --count 3"),
    ("console without transfers", "--from console --no-bus --every 0.2 --count 2"),
)


def recorded(tools):
    """Records by the name of their scene."""
    records = {}
    with tempfile.TemporaryDirectory() as folder:
        watches = [f"poectl watch {options} --events --record {number} >/dev/null"
                   for number, (_, options) in enumerate(SCENES)]
        script = " && ".join(["poe_service >/dev/null & service=$!", *watches]) + "; status=$?; kill $service; exit $status"
        script = script.replace("$! && ", "$!; ", 1)
        environment = dict(os.environ, PATH=f"{tools}:{os.environ['PATH']}")
        subprocess.run(["poe_card", "--stepped", "--plug", "0 class=2 watts=6", "--log", "log", "--", "bash", "-c", script],
                       cwd=folder, env=environment, check=True, timeout=60)
        for number, (name, _) in enumerate(SCENES):
            with open(os.path.join(folder, str(number)), encoding="utf-8") as file:
                records[name] = [json.loads(line) for line in file]
    return records


def changed(record, pointer, text):
    """The record with one value replaced, added or removed."""
    record = copy.deepcopy(record)
    *path, last = pointer.strip("/").split("/")
    place = record
    for step in path:
        place = place[int(step) if isinstance(place, list) else step]
    if last == "-":
        place.append(json.loads(text))
    else:
        key = int(last) if isinstance(place, list) else last
        if text == "-":
            del place[key]
        else:
            place[key] = json.loads(text)
    return record


def main():
    tools, schema_file, refusals_file = sys.argv[1:]
    with open(schema_file, encoding="utf-8") as file:
        schema = json.load(file)
    Draft202012Validator.check_schema(schema)
    validator = Draft202012Validator(schema)
    faults = []
    records = recorded(os.path.abspath(tools))
    for name, some in records.items():
        if len(some) < 2:
            faults.append(f"{name}: {len(some)} records")
        for record in some:
            faults += [f"{name}: {list(error.path)}: {error.message}" for error in validator.iter_errors(record)]
    known = set(schema["properties"]) | set(schema["$defs"]["port"]["properties"])
    used = {key for some in records.values() for record in some for place in (record, *record["port"]) for key in place}
    faults += [f"the schema does not describe '{key}'" for key in sorted(used - known)]
    rows = 0
    with open(refusals_file, encoding="utf-8") as file:
        for line in file:
            if not line.startswith("#"):
                pointer, text, _ = line.rstrip("\n").split("\t")
                rows += 1
                if validator.is_valid(changed(records["queue"][-1], pointer, text)):
                    faults.append(f"the schema accepts {pointer} {text}")
    if faults or not rows:
        sys.exit("\n".join(faults) or "no row of refusals")
    print(f"{sum(map(len, records.values()))} records, {rows} refusals")


main()

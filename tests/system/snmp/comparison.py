"""Walks an agent and compares what it answers with the snapshot that it has."""

import copy
import json
from datetime import datetime, timedelta, timezone

import expected
import mib_modules

LONG = 3600000  # ms: a period with which no snapshot of a test gets stale


def stamped(snapshot, age, period=LONG):
    """The snapshot as if it had been published this many seconds ago."""
    snapshot = copy.deepcopy(snapshot)
    when = datetime.now(timezone.utc) - timedelta(seconds=age)
    snapshot["time"] = when.isoformat(timespec="milliseconds").replace("+00:00", "Z")
    snapshot["period_ms"] = period
    return snapshot


class Comparison:
    """Collects what is wrong with the answers of an agent."""

    def __init__(self, agent):
        self.agent = agent
        self.columns = mib_modules.columns()
        self.faults = []
        self.count = 0

    def check(self, name, snapshot, least_age=None):
        """Compares a walk with the objects of the snapshot, None: of no fresh one. `least_age` in s: of its age."""
        rows = self.agent.walk()
        self.count += len(rows)
        identifiers = [row[0] for row in rows]
        if identifiers != sorted(set(identifiers)):
            self.faults.append(f"{name}: the identifiers do not rise")
        found = {identifier: (kind, value) for identifier, kind, value in rows}
        kind, age = found.get(expected.AGE_VALUE, (None, None))
        if (age is None) != (least_age is None) or (age is not None and not least_age <= age / 10 <= least_age + 60):
            self.faults.append(f"{name}: the age is {age}")
        wanted = expected.objects(snapshot, age)
        for identifier in sorted(found.keys() | wanted.keys()):
            if found.get(identifier) != wanted.get(identifier):
                self.faults.append(f"{name}: {identifier} is {found.get(identifier)}, not {wanted.get(identifier)}")
        for identifier, kind, value in rows:
            fault = mib_modules.fault(self.columns, identifier, kind, value)
            if fault:
                self.faults.append(f"{name}: {fault}")
        return rows

    def publish_and_check(self, name, snapshot):
        snapshot = stamped(snapshot, 0)
        self.agent.publish(json.dumps(snapshot) + "\n")
        return self.check(name, snapshot, 0)

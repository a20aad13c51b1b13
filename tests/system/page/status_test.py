#!/usr/bin/env python3
"""status_test.py BIN: the page shows in a browser what 'poectl status --json' prints at the same moment, while scenarios
change the card."""

import os
import sys
import unittest

from browser import Browser
from desk import Desk, wait_until
from shown import READ, STATES, differences, expected

BIN = os.path.abspath(sys.argv.pop(1))
SCENARIOS = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "scenarios")
# Together they bring every state, counter and kind of the chip's trouble; the last check says so.
NAMES = (
    "every_counter_of_every_port_has_its_place",
    "bad_signatures_are_faults",
    "overload_is_counted_and_switched_off",
    "short_of_a_powered_port_is_counted",
    "thermal_shutdown_is_a_fault_of_every_enabled_port",
    "dead_bus_is_reported_and_recovered",
)
# Of a status message; the console has more.
NOT_IN_MESSAGES = ("admin", "limit", "priority", "volts", "current", "detection")
OF_FAILED_TRANSFERS = ("watts", "socketWatts", "share")


class Status(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.browser = cls.enterClassContext(Browser())

    def setUp(self):
        self.desk = self.enterContext(Desk(BIN))
        self.source = ()
        self.seen = set()

    def compare(self, left_out):
        """The same before and after 'poectl status', so that the moment is the same."""
        before = self.browser.run(READ)
        status = self.desk.status(*self.source)
        after = self.browser.run(READ)
        self.lines = differences(after, expected(status), left_out)
        if self.lines or before["port"] != after["port"]:
            return False
        self.seen |= {port["operStatusWord"] for port in status["port"]} | {status["mainOperStatusWord"]}
        self.seen |= {counter for port in status["port"] for counter, value in port.items()
                      if counter.endswith("Counter") and value > 0}
        return True

    def await_same(self, name, left_out):
        message = self.browser.run(READ)["message"] + 2  # the next one may be of before the change
        wait_until(lambda: self.browser.run("return Number(document.body.dataset.message)") >= message)
        wait_until(lambda: self.compare(left_out), lambda: name + ":\n" + "\n".join(self.lines))

    def play(self, name):
        with open(os.path.join(SCENARIOS, name + ".play"), encoding="utf-8") as file:
            steps = [line.split("#")[0].split() for line in file]
        is_changed, is_bus_ok = False, True
        for verb, *words in filter(None, steps):
            if verb == "card":
                self.desk.card(" ".join(words))
                is_bus_ok = is_bus_ok if words[0] != "bus" else words[1] == "ok"
            elif verb == "apply" and words[0] != "again":
                self.desk.apply(os.path.join(SCENARIOS, words[0]))
            is_changed |= verb in ("card", "apply")
            if verb == "expect" and is_changed:
                self.await_same(name, NOT_IN_MESSAGES + (() if is_bus_ok else OF_FAILED_TRANSFERS))
                is_changed = False
        for words in ("bus ok", "thermal off", *(f"unplug {port}" for port in range(4))):
            self.desk.card(words)

    def test_page_shows_the_status_of_the_same_moment_while_scenarios_change_the_card(self):
        self.browser.open(self.desk.serve("--from", "queue").address)
        wait_until(lambda: self.browser.run("return document.body.dataset.message"))
        for name in NAMES:
            self.play(name)
        counters = {"invalidSignatureCounter", "powerDeniedCounter", "overLoadCounter", "underLoadCounter", "shortCounter",
                    "classErrorCounter"}
        self.assertEqual(self.seen, set(STATES) - {"TEST"} | {"running", "UNREACHABLE"} | counters)

    def test_page_shows_all_fields_of_the_console(self):
        self.desk.apply(os.path.join(os.path.dirname(os.path.abspath(__file__)), "named_ports.toml"))
        self.desk.card("plug 1 class=4 watts=22")
        self.desk.card("fault 2 fet")
        self.source = ("--from", "console")
        self.browser.open(self.desk.serve(*self.source, "--every", "0.3").address)
        wait_until(lambda: self.browser.run("return document.body.dataset.message"))
        wait_until(lambda: [port["state"] for port in self.browser.run(READ)["port"]][1:3] == ["Delivering power", "Other fault"])
        self.await_same("console", ("title",))  # of 'poectl status' without the file
        self.assertEqual(self.browser.run(READ)["port"][1]["limit"], "30")


if __name__ == "__main__":
    unittest.main(verbosity=2)

#!/usr/bin/env python3
"""browser_test.py BIN: the page in a browser, beside its data: updates, the simulated card, the keyboard, other sites."""

import base64
import http.server
import os
import re
import signal
import sys
import threading
import unittest

from browser import ENTER, SPACE, TAB, Browser
from desk import Desk, wait_until

BIN = os.path.abspath(sys.argv.pop(1))
FOCUS = """
const element = document.activeElement;
return element === document.body ? "" : element.id || element.dataset.command || element.dataset.draw || element.className + element.dataset.port
  || element.textContent;
"""
CONTROLS = """
return [...document.querySelectorAll("button, select, input, a, [tabindex]")].map((element) => element.id || element.dataset.command ||
  element.dataset.draw || element.className + element.dataset.port || element.textContent);
"""
# A page of another site, which tries what a browser lets it.
OTHER_SITE = """<!DOCTYPE html><title>other</title><script>
const results = [];
const done = (name) => (value) => { results.push(name + " " + value); document.title = results.length === 4 ? results.sort().join("; ") : "other"; };
const page = "http://%s/";
fetch(page + "card", {method: "POST", mode: "no-cors", body: "unplug 0"}).then(() => done("post")("got"), () => done("post")("kept"));
fetch(page + "card", {method: "POST", headers: {"Poe-Token": "%s"}, body: "unplug 0"}).then(() => done("token")("sent"), () => done("token")("kept"));
fetch(page).then(() => done("read")("got"), () => done("read")("kept"));
const source = new EventSource(page + "events");
source.onerror = () => { source.close(); done("events")("kept"); };
source.addEventListener("start", () => { source.close(); done("events")("got"); });
</script><iframe src="http://%s/"></iframe>"""


class Page(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.browser = cls.enterClassContext(Browser())

    def setUp(self):
        self.desk = self.enterContext(Desk(BIN, ["--plug", "0 class=2 watts=6"]))
        self.desk.apply_example()

    def tearDown(self):
        self.assertEqual([line for line in self.browser.messages() if "ERR_" not in line], [])

    def open(self, *options, token=True):
        page = self.desk.serve(*options)
        self.browser.open("about:blank") # else only the part behind # changes
        self.browser.open(page.address if token else page.address.split("#")[0])
        wait_until(lambda: self.browser.run("return document.body.dataset.message"))
        return page

    def text(self, selector):
        return self.browser.run("return document.querySelector(arguments[0]).textContent", selector)

    def is_hidden(self, selector):
        return self.browser.run("return document.querySelector(arguments[0]).checkVisibility() === false", selector)

    def await_state(self, port, word):
        selector = f'.socket[data-port="{port}"] .state'
        wait_until(lambda: self.text(selector) == word, lambda: f"port {port}: {self.text(selector)}, not {word}")

    def test_mouse_plugs_unplugs_and_faults_ports_of_the_simulated_card(self):
        self.open()
        self.await_state(0, "Delivering power")
        self.browser.click('.socket[data-port="2"]')
        wait_until(lambda: not self.is_hidden("#controls"))
        self.browser.click("#plug-form .main")
        wait_until(lambda: "device=good class=2 watts=6" in self.desk.device(2))
        self.await_state(2, "Delivering power")
        self.assertIn("port 2 SEARCHING -> DELIVERINGPOWER", self.text("#events"))
        self.browser.click('[data-draw="1"]')
        wait_until(lambda: "watts=7" in self.desk.device(2))
        self.browser.click('[data-command="fault PORT fet"]')
        wait_until(lambda: "fault=fet" in self.desk.device(2))
        self.await_state(2, "Other fault")
        self.browser.click('[data-command="unplug PORT"]')
        wait_until(lambda: "device=none" in self.desk.device(2))

    def test_page_without_the_token_shows_no_controls(self):
        self.open(token=False)
        self.await_state(0, "Delivering power")
        self.assertTrue(self.is_hidden("#controls"))

    def test_keyboard_reaches_and_works_every_control(self):
        self.open()
        wait_until(lambda: not self.is_hidden("#controls"))
        reached = []
        for _ in range(60):
            self.browser.press(TAB)
            reached.append(self.browser.run(FOCUS))
            if reached[-1] in reached[:-1]:
                break
        self.assertEqual([control for control in self.browser.run(CONTROLS) if control not in reached], [])
        self.browser.press("3")  # chooses the port and puts the focus on it
        for _ in range(2):
            self.browser.press(TAB)
        self.assertEqual(self.browser.run(FOCUS), "mainundefined")
        self.browser.press(ENTER)
        wait_until(lambda: "device=good class=2 watts=6" in self.desk.device(3))
        self.browser.press(TAB * (reached.index("thermal") - reached.index("mainundefined")))
        self.assertEqual(self.browser.run(FOCUS), "thermal")
        self.browser.press(SPACE)
        wait_until(lambda: "thermal=on" in self.desk.card("show"))
        self.await_state(0, "Other fault")

    def test_print_has_all_but_the_controls_in_dark_ink_and_fits_the_paper(self):
        self.open()
        self.await_state(0, "Delivering power")
        wait_until(lambda: not self.is_hidden("#controls"))
        self.browser.emulate("print", "dark")
        try:
            self.assertTrue(self.is_hidden("#controls"))
            for selector in ('.socket[data-port="0"] .state', "#budget-figure", "#events", 'tr[data-port="3"]'):
                self.assertFalse(self.is_hidden(selector), selector)
            style = self.browser.run("const style = getComputedStyle(document.body); return [style.backgroundColor, style.color]")
            self.assertEqual(style, ["rgb(255, 255, 255)", "rgb(0, 0, 0)"])
            paper = self.browser.command("Page.printToPDF", paperWidth=8.27, paperHeight=11.69)["data"]  # A4, in inches
            self.assertIn(len(re.findall(rb"/Type */Page\b", base64.b64decode(paper))), (1, 2))
        finally:
            self.browser.emulate("", "light")

    def test_silence_of_the_service_and_of_the_server_is_said(self):
        page = self.open("--from", "console", "--every", "0.3")
        self.await_state(0, "Delivering power")
        self.assertTrue(self.is_hidden("#banner"))
        self.desk.service_signal(signal.SIGSTOP)
        wait_until(lambda: "STALE: no snapshot for" in self.text("#banner"))
        self.assertIn("STALE", self.text("#events"))
        self.desk.service_signal(signal.SIGCONT)
        wait_until(lambda: self.is_hidden("#banner"))
        page.end()
        wait_until(lambda: "No connection to poectl serve." in self.text("#banner"))
        again = self.desk.serve("--from", "console", "--every", "0.3", port=page.port)
        self.assertEqual(again.port, page.port)
        wait_until(lambda: self.is_hidden("#banner"))

    def test_name_of_a_port_is_text_and_never_markup(self):
        name = "<img src=x onerror=y>"
        file = os.path.join(self.desk.folder, "names.toml")
        with open(file, "w", encoding="utf-8") as output:
            output.write(self.desk.poectl("example")[1].replace("[port.0]", f'[port.0]\nname = "{name}"'))
        self.open("--file", file)
        self.assertEqual(self.text('.socket[data-port="0"] .title'), "Port 0" + name)
        self.assertEqual(self.browser.run("return document.querySelectorAll('img').length"), 0)

    def test_page_of_another_site_reads_nothing_and_changes_nothing(self):
        page = self.desk.serve()
        text = (OTHER_SITE % (page.host, page.token, page.host)).encode()

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                self.send_response(200)
                self.send_header("Content-Type", "text/html")
                self.end_headers()
                self.wfile.write(text if self.path == "/" else b"")

            def log_message(self, *_):
                pass

        with http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler) as server:
            threading.Thread(target=server.serve_forever, daemon=True).start()
            self.browser.open(f"http://127.0.0.1:{server.server_port}/")
            title = lambda: self.browser.run("return document.title")  # noqa: E731
            wait_until(lambda: title() != "other")
            self.assertEqual(title(), "events kept; post kept; read kept; token kept")
            server.shutdown()
        self.assertIn("device=good", self.desk.device(0))
        refused = self.browser.messages()
        self.assertTrue(any("frame" in line.lower() for line in refused), refused)


if __name__ == "__main__":
    unittest.main(verbosity=2)

"""A headless chromium, driven over the W3C WebDriver protocol."""

import json
import subprocess
import time
import urllib.error
import urllib.request

START_S = 30
DRIVER_PORT = 9515
ELEMENT = "element-6066-11e4-a52e-4f735466cecf"  # the protocol's name of an element's id
TAB = "\ue004"
ENTER = "\ue007"
SPACE = " "


class Browser:
    def __init__(self, width=1180, height=1000):
        self._driver = subprocess.Popen(["chromedriver", f"--port={DRIVER_PORT}"], stdout=subprocess.DEVNULL,
                                        stderr=subprocess.DEVNULL)
        self._session = None
        # The sandbox refuses to work for root; --disable-dev-shm-usage: /dev/shm is small in a container.
        arguments = ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                     "--hide-scrollbars", f"--window-size={width},{height}"]
        options = {"args": arguments}
        wanted = {"browserName": "chrome", "goog:chromeOptions": options, "goog:loggingPrefs": {"browser": "ALL"}}
        try:
            self._await_driver()
            value = self._call("POST", "/session", {"capabilities": {"alwaysMatch": wanted}})
            self._session = "/session/" + value["sessionId"]
        except BaseException:
            self.close()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        if self._session:
            self._call("DELETE", self._session)
            self._session = None
        self._driver.terminate()
        self._driver.wait()

    def _await_driver(self):
        end = time.monotonic() + START_S
        while True:
            try:
                self._call("GET", "/status")
                return
            except OSError:
                if time.monotonic() > end:
                    raise
                time.sleep(0.05)

    def _call(self, method, path, body=None):
        request = urllib.request.Request(f"http://127.0.0.1:{DRIVER_PORT}{path}", method=method,
                                         data=None if body is None else json.dumps(body).encode(),
                                         headers={"Content-Type": "application/json"})
        try:
            with urllib.request.urlopen(request, timeout=60) as reply:
                return json.load(reply)["value"]
        except urllib.error.HTTPError as error:
            raise RuntimeError(error.read().decode(errors="replace")[:500]) from None

    def open(self, address):
        self._call("POST", self._session + "/url", {"url": address})

    def run(self, script, *arguments):
        """What the body of a function gives back in the page."""
        return self._call("POST", self._session + "/execute/sync", {"script": script, "args": list(arguments)})

    def click(self, selector):
        element = self._call("POST", self._session + "/element", {"using": "css selector", "value": selector})
        self._call("POST", f"{self._session}/element/{element[ELEMENT]}/click", {})

    def press(self, keys):
        """Keys of the keyboard, to whatever has the focus."""
        actions = [{"type": kind, "value": key} for key in keys for kind in ("keyDown", "keyUp")]
        self._call("POST", self._session + "/actions", {"actions": [{"type": "key", "id": "keys", "actions": actions}]})

    def command(self, name, **parameters):
        """One of chromium's own protocol."""
        return self._call("POST", self._session + "/goog/cdp/execute", {"cmd": name, "params": parameters})

    def emulate(self, media, scheme):
        """`media` is screen or print, empty for the default; `scheme` is light or dark."""
        self.command("Emulation.setEmulatedMedia", media=media,
                     features=[{"name": "prefers-color-scheme", "value": scheme}])

    def messages(self):
        """What the page has written to the console, errors and violations of its policy included."""
        return [entry["message"] for entry in self._call("POST", self._session + "/se/log", {"type": "browser"})]

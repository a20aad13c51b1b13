#!/usr/bin/env python3
"""http_test.py BIN: the server of the page without a browser: what it refuses, its limits, its start and its end."""

import ctypes
import http.client
import os
import random
import re
import socket
import subprocess
import sys
import time
import unittest

from desk import MAX_WAIT_S, Desk, wait_until

BIN = os.path.abspath(sys.argv.pop(1))
MAX_CONNECTIONS = 64
MAX_STREAMS = 32
MAX_SILENCE_S = 10


def queue_exists():
    queue = ctypes.CDLL(None).mq_open(b"/queueToMain", os.O_WRONLY)
    if queue >= 0:
        os.close(queue)
    return queue >= 0


def is_connected(peer):
    """Whether the server still holds its end of the connection."""
    port = peer.getsockname()[1]
    with open("/proc/net/tcp", encoding="ascii") as file:
        rows = [line.split() for line in file]
    return any(row[2] == f"0100007F:{port:04X}" and row[3] == "01" for row in rows)


class Server(unittest.TestCase):
    def setUp(self):
        self.desk = self.enterContext(Desk(BIN, ["--plug", "0 class=2 watts=6"]))

    def request(self, method, path, headers=(), body=None):
        """(status, header fields, body)"""
        connection = http.client.HTTPConnection("127.0.0.1", self.page.port, timeout=20)
        try:
            connection.putrequest(method, path, skip_host=True, skip_accept_encoding=True)
            for name, value in dict(headers).items():
                connection.putheader(name, value)
            if body is not None:
                connection.putheader("Content-Length", str(len(body)))
            connection.endheaders(None if body is None else body.encode())
            reply = connection.getresponse()
            return reply.status, dict(reply.getheaders()), reply.read(1000 if path == "/events" else None).decode()
        finally:
            connection.close()

    def is_served(self):
        try:
            return self.request("GET", "/", {"Host": self.page.host})[0] == 200
        except ConnectionError:
            return False

    def raw(self, text="", receive_buffer=None):
        peer = self.enterContext(socket.socket())
        if receive_buffer:
            peer.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, receive_buffer)
        peer.settimeout(20)
        peer.connect(("127.0.0.1", self.page.port))
        peer.sendall(text.encode())
        return peer

    def stream(self, **options):
        return self.raw(f"GET /events HTTP/1.1\r\nHost: {self.page.host}\r\n\r\n", **options)

    def await_text(self, peer, text):
        received = b""
        end = time.monotonic() + MAX_WAIT_S
        while text.encode() not in received:
            block = peer.recv(65536)
            self.assertTrue(block and time.monotonic() < end, received[-300:])
            received += block
        return received.decode()

    def test_only_the_page_itself_is_answered(self):
        self.page = self.desk.serve()
        wait_until(lambda: "device=good" in self.desk.device(0))
        host = {"Host": self.page.host}
        own = {**host, "Origin": "http://" + self.page.host, "Poe-Token": self.page.token}
        self.await_text(self.stream(), '"card":{"state":{')
        rows = [
            ("GET", "/", host, None, 200),
            ("GET", "/", {"Host": f"localhost:{self.page.port}"}, None, 200),
            ("HEAD", "/", host, None, 200),
            ("GET", "/", {}, None, 400),
            ("GET", "/", {"Host": "127.0.0.1"}, None, 421),
            ("GET", "/", {"Host": f"poe.example:{self.page.port}"}, None, 421),
            ("GET", "/", {"Host": f"127.0.0.1:{self.page.port}0"}, None, 421),
            ("GET", "/events", {**host, "Origin": "http://poe.example"}, None, 403),
            ("GET", "/../page.js", host, None, 404),
            ("GET", "/index.html", host, None, 404),
            ("POST", "/", own, "", 405),
            ("OPTIONS", "/card", own, None, 405),
            ("GET", "/card", own, None, 405),
            ("POST", "/card", host, "unplug 0", 403),
            ("POST", "/card", {**own, "Host": "poe.example"}, "unplug 0", 421),
            ("POST", "/card", {**own, "Origin": "null"}, "unplug 0", 403),
            ("POST", "/card", {**own, "Origin": "https://" + self.page.host}, "unplug 0", 403),
            ("POST", "/card", {**own, "Origin": "http://" + self.page.host + ".example"}, "unplug 0", 403),
            ("POST", "/card", {**host, "Poe-Token": self.page.token}, "unplug 0", 403),
            ("POST", "/card", {**own, "Poe-Token": self.page.token[:-1]}, "unplug 0", 403),
            ("POST", "/card", {**own, "Poe-Token": "0" * 32}, "unplug 0", 403),
            ("POST", "/card", own, "", 400),
            ("POST", "/card", own, "load /etc/passwd", 400),
            ("POST", "/card", own, "reg 0x12 0", 400),
            ("POST", "/card", own, "plug 1\nunplug 0", 400),
            ("POST", "/card", own, "unplug 0" + " " * 200, 413),
            ("GET", "/" + "x" * 20000, host, None, 414),
            ("GET", "/", {**host, "Cookie": "x" * 20000}, None, 431),
        ]
        for method, path, headers, body, expected in rows:
            with self.subTest(method=method, path=path[:30], headers=str(headers)[:150], body=body):
                status, fields, _ = self.request(method, path, headers, body)
                self.assertEqual(status, expected)
                self.assertNotIn("Access-Control-Allow-Origin", fields)
        self.assertIn("device=good", self.desk.device(0))
        self.assertEqual(self.request("POST", "/card", own, "unplug 0")[0], 202)
        wait_until(lambda: "device=none" in self.desk.device(0))

    def test_page_may_run_nothing_but_its_own_script(self):
        self.page = self.desk.serve()
        _, fields, body = self.request("GET", "/", {"Host": self.page.host})
        policy = fields["Content-Security-Policy"]
        self.assertRegex(policy, r"^default-src 'none'; script-src 'sha256-[\w+/]{43}='; style-src 'sha256-[\w+/]{43}='; ")
        self.assertIn("frame-ancestors 'none'", policy)
        self.assertEqual(re.findall(r'(?:src|href)="(?!#|data:)', body), [], "something is loaded from elsewhere")
        self.assertNotIn(self.page.token, body)

    def test_port_is_on_the_loopback_address_only_and_a_taken_one_is_refused(self):
        self.page = self.desk.serve("--from", "console")
        with open("/proc/net/tcp", encoding="ascii") as file:
            listening = [line.split()[1] for line in file if line.split()[3] == "0A"]
        self.assertIn(f"0100007F:{self.page.port:04X}", listening)
        for name in ("/proc/net/tcp6",):
            with open(name, encoding="ascii") as file:
                self.assertNotIn(f":{self.page.port:04X} ", file.read())
        rows = [
            (["--port", str(self.page.port)], 1,
             f"port {self.page.port} of 127.0.0.1 is taken; --port takes another one, and 0 for any that is free"),
            (["--port", "65536"], 2, "--port: '65536' is out of range; 0 to 65535 is accepted"
             "; 'poectl serve --help' lists what is accepted"),
            (["--port", "0", "--from", "main"], 2, "--from: there is no source 'main'; queue and console are accepted"),
        ]
        for words, expected, line in rows:
            status, output, error = self.desk.poectl("serve", *words)
            self.assertEqual((status, output, error), (expected, "", f"poectl: {line}\n"))
            self.assertFalse(queue_exists())

    def test_server_only_reads_from_the_service(self):
        self.desk.apply_example()
        wait_until(lambda: self.desk.status("--from", "console")["port"][0].get("operStatus") == 3)
        self.page = self.desk.serve("--from", "console", "--every", "0.2")
        with open(self.desk.record, encoding="ascii") as file:
            before = sum(line.startswith("W ") for line in file)
        self.await_text(self.stream(), '"message":8,')
        with open(self.desk.record, encoding="ascii") as file:
            self.assertEqual(sum(line.startswith("W ") for line in file), before)

    def test_end_comes_at_once_and_leaves_no_queue(self):
        self.page = self.desk.serve()
        peers = [self.stream() for _ in range(3)]
        for peer in peers:
            self.await_text(peer, "event: start")
        self.assertTrue(queue_exists())
        start = time.monotonic()
        self.assertEqual(self.page.end(), (0, ""))
        self.assertLess(time.monotonic() - start, 1)
        self.assertFalse(queue_exists())

    def test_readers_are_limited_and_a_slow_one_delays_nobody(self):
        self.page = self.desk.serve()
        slow = self.stream(receive_buffer=1)  # never read
        streams = [self.stream() for _ in range(MAX_STREAMS - 1)]
        for peer in streams:
            self.await_text(peer, "event: snapshot")
        self.assertIn(" 503 ", self.await_text(self.stream(), "too many pages are open"))
        self.assertEqual(self.request("GET", "/", {"Host": self.page.host})[0], 200)
        start = time.monotonic()
        for _ in range(3):
            self.await_text(streams[0], "event: snapshot")
        self.assertLess(time.monotonic() - start, 5)
        slow.close()

    def test_reader_that_takes_nothing_is_cut_off_and_one_that_takes_little_is_not(self):
        self.page = self.desk.serve("--from", "console", "--every", "0.1")
        silent = self.stream(receive_buffer=1)
        little = self.stream(receive_buffer=1)
        start = time.monotonic()
        while is_connected(silent):
            self.assertLess(time.monotonic() - start, 4 * MAX_SILENCE_S)
            little.recv(1000)
            time.sleep(0.2)
        self.assertGreater(time.monotonic() - start, MAX_SILENCE_S - 1)
        self.assertTrue(is_connected(little))
        self.await_text(self.stream(), "event: snapshot")

    def test_connections_without_a_whole_request_are_ended(self):
        self.page = self.desk.serve()
        silent = [self.raw() for _ in range(MAX_CONNECTIONS - 1)]
        drip = self.raw("GET / HTTP/1.1\r\n")
        drip.settimeout(0.5)
        start = time.monotonic()
        ended = None
        while ended is None and time.monotonic() - start < 3 * MAX_SILENCE_S:
            try:
                drip.sendall(b"X")
                ended = None if drip.recv(1) else time.monotonic() - start
            except socket.timeout:
                continue
            except OSError:
                ended = time.monotonic() - start
        self.assertTrue(ended and MAX_SILENCE_S - 1 < ended < MAX_SILENCE_S + 5, ended)
        for peer in silent:
            self.assertEqual(peer.recv(1), b"")
        wait_until(self.is_served) # a connection counts for a moment after its end

    def test_no_request_ends_the_server(self):
        self.page = self.desk.serve()
        chance = random.Random(1)
        pieces = ["GET ", "POST ", "/", "/card", "/events", " HTTP/1.1\r\n", " HTTP/1.0\r\n", "Host: " + self.page.host, "\r\n",
                  "Content-Length: 9\r\n", "Content-Length: -1\r\n", "Transfer-Encoding: chunked\r\n", "ffffffff\r\n", "\0", ":", " "]
        for _ in range(500):
            text = "".join(chance.choice(pieces) for _ in range(chance.randrange(1, 12)))
            with socket.create_connection(("127.0.0.1", self.page.port), timeout=20) as peer:
                peer.sendall(text.encode())
        self.assertEqual(self.request("GET", "/", {"Host": self.page.host})[0], 200)
        self.assertEqual(self.page.end(), (0, ""))

    def test_poectl_itself_does_not_link_the_library_of_the_server(self):
        libraries = subprocess.run(["ldd", self.desk.path("poectl")], capture_output=True, text=True, check=True).stdout
        self.assertIn("libstdc++", libraries)
        self.assertNotIn("microhttpd", libraries)


if __name__ == "__main__":
    unittest.main(verbosity=2)

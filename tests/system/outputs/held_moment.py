"""What the service says at one moment, kept, so that every program that asks gets the same."""

import ctypes
import json
import os
import socket
import socketserver
import threading
import time

CONSOLE = ("127.0.0.1", 10001)
QUEUE = b"/queueToMain"
MESSAGE_SIZE = 188
MAX_WAIT = 20  # s
REPORTS = ("device", "info", *(f"{report} {port}" for report in ("channel", "poeport") for port in range(4)))
libc = ctypes.CDLL(None, use_errno=True)


class Attributes(ctypes.Structure):
    _fields_ = [(name, ctypes.c_long) for name in ("flags", "maximum", "size", "waiting", "r1", "r2", "r3", "r4")]


def message():
    """The next status message of the service that runs, as its main process gets it."""
    queue = libc.mq_open(QUEUE, os.O_RDONLY | os.O_CREAT | os.O_EXCL, 0o600, ctypes.byref(Attributes(0, 2, MESSAGE_SIZE)))
    if queue < 0:
        raise OSError(ctypes.get_errno(), "cannot create the queue of the main process")
    try:
        block = ctypes.create_string_buffer(MESSAGE_SIZE)
        end = (ctypes.c_long * 2)(int(time.time()) + MAX_WAIT, 0)
        if libc.mq_timedreceive(queue, block, ctypes.c_size_t(MESSAGE_SIZE), None, end) != MESSAGE_SIZE:
            raise OSError(ctypes.get_errno(), "no status message came")
        return block.raw
    finally:
        libc.mq_close(queue)
        libc.mq_unlink(QUEUE)


def replies():
    """Of the console that runs: from the line of a question to all that the console sends."""
    kept = {}
    for report in REPORTS:
        line = f"PD69104Engine {report}\n"
        with socket.create_connection(CONSOLE, MAX_WAIT) as console:
            console.sendall((line + "quit\n").encode())
            text = b""
            while block := console.recv(65536):
                text += block
        kept[line] = text.decode("latin-1")
    return kept


def keep(path):
    with open(path, "w", encoding="utf-8") as file:
        json.dump({"message": message().hex(), "replies": replies()}, file)


class Console(socketserver.ThreadingTCPServer):
    """Gives the kept replies; a question that none belongs to is remembered."""

    allow_reuse_address = True
    daemon_threads = True

    def __init__(self, kept):
        self.kept = kept
        self.unknown = []
        super().__init__(CONSOLE, Answer)
        threading.Thread(target=self.serve_forever, daemon=True).start()


class Answer(socketserver.StreamRequestHandler):
    def handle(self):
        line = self.rfile.readline().decode()
        if line not in self.server.kept:
            self.server.unknown.append(line)
        self.rfile.readline()
        self.wfile.write(self.server.kept.get(line, "").encode("latin-1"))


class Service:
    """Stands for the service: its console, and the same message again and again to whoever is the main process."""

    def __init__(self, path):
        with open(path, encoding="utf-8") as file:
            moment = json.load(file)
        self.message = bytes.fromhex(moment["message"])
        self.console = Console(moment["replies"])
        threading.Thread(target=self.send, daemon=True).start()

    def send(self):
        while True:
            queue = libc.mq_open(QUEUE, os.O_WRONLY | os.O_NONBLOCK)
            if queue >= 0:
                libc.mq_send(queue, self.message, ctypes.c_size_t(len(self.message)), 0)
                libc.mq_close(queue)
            time.sleep(0.05)

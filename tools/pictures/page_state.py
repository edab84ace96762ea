# SPDX-License-Identifier: GPL-3.0-or-later
"""Asks the page in the viewer how far it is, through the browser's port for debuggers."""

import base64
import json
import os
import socket
import struct
import urllib.error
import urllib.request
from urllib.parse import urlsplit

TIMEOUT_SECONDS = 600  # a page that draws on the processor may be busy for long
TEXT, LAST, MASKED, LENGTH_IN_16_BITS = 0x1, 0x80, 0x80, 126


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def page_state(port):
    """Width and height of the page, and "empty", "busy", "shown" or "failed"; nothing while there is
    no viewer to answer."""
    try:
        with urllib.request.urlopen(f"http://127.0.0.1:{port}/json/list", timeout=60) as answer:
            pages = [page for page in json.load(answer) if page["type"] == "page"]
        if not pages:
            return None
        with _WebSocket(pages[0]["webSocketDebuggerUrl"]) as debugger:
            debugger.send(json.dumps({"id": 1, "method": "Runtime.evaluate", "params": {
                "returnByValue": True,
                "expression": "[innerWidth, innerHeight, SceneStateFromNative()]"}}))
            answer = json.loads(debugger.receive())
    except (urllib.error.URLError, ConnectionError):
        return None  # the browser is about to start
    return answer["result"]["result"].get("value")


class _WebSocket:
    """As much of the protocol as one question and its answer need."""

    def __init__(self, url):
        address = urlsplit(url)
        self.socket = socket.create_connection((address.hostname, address.port), TIMEOUT_SECONDS)
        self.stream = self.socket.makefile("rb")
        key = base64.b64encode(os.urandom(16)).decode()
        self.socket.sendall((f"GET {address.path} HTTP/1.1\r\nHost: {address.netloc}\r\n"
                             "Upgrade: websocket\r\nConnection: Upgrade\r\n"
                             f"Sec-WebSocket-Key: {key}\r\nSec-WebSocket-Version: 13\r\n\r\n").encode())
        if b" 101 " not in self.stream.readline():
            raise ConnectionError("the browser does not talk to debuggers")
        while self.stream.readline().strip():
            pass

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stream.close()
        self.socket.close()

    def send(self, text):
        data = text.encode()
        mask = os.urandom(4)
        masked = bytes(byte ^ mask[i % 4] for i, byte in enumerate(data))
        self.socket.sendall(struct.pack(">BBH", LAST | TEXT, MASKED | LENGTH_IN_16_BITS, len(data))
                            + mask + masked)

    def receive(self):
        _, length = self.stream.read(2)
        if length == LENGTH_IN_16_BITS:
            length = int.from_bytes(self.stream.read(2), "big")
        return self.stream.read(length).decode()

# SPDX-License-Identifier: GPL-3.0-or-later
"""A hub on this machine, over TLS, that sends a file from another host name and fails as it is told."""

import hashlib
import os
import re
import socket
import ssl
import struct
import subprocess
import threading

PATH = "/pearsonkyle/Sharp-onnx/resolve/main/sharp_fp16.onnx"


def make_certificate(folder):
    """One that is its own authority; returns the file to trust and the server's context."""
    certificate, key = os.path.join(folder, "certificate.pem"), os.path.join(folder, "key.pem")
    subprocess.run(
        ["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
         "-days", "2", "-subj", "/CN=Vistrel test", "-addext", "subjectAltName=DNS:localhost,IP:127.0.0.1",
         "-keyout", key, "-out", certificate], check=True, stderr=subprocess.DEVNULL)
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(certificate, key)
    return certificate, context


class Cut(Exception):
    """The connection ends here, without a word."""


class Request:
    def __init__(self, connection, head):
        self.connection = connection
        lines = head.decode("latin-1").split("\r\n")
        self.path = lines[0].split(" ")[1]
        self.headers = {name.lower(): value for name, value in
                        (line.split(": ", 1) for line in lines[1:] if line)}
        self.host = self.headers["host"].split(":")[0]
        found = re.fullmatch(r"bytes=(\d+)-", self.headers.get("range", ""))
        self.start = int(found[1]) if found else None

    def send(self, data):
        self.connection.sendall(data)

    def answer(self, status, headers=(), body=b""):
        head = f"HTTP/1.1 {status} Text\r\n" + "".join(f"{line}\r\n" for line in headers) + "\r\n"
        self.send(head.encode("latin-1") + body)


class Hub:
    """`localhost` is the hub, 127.0.0.1 the host that has the file. `plan` holds what the next requests for
    the file get, as functions of hub and request; all others are answered well."""

    def __init__(self, context):
        self.context = context
        self.content, self.etag = b"", '"first"'
        self.plan, self.requests = [], []
        self.hub_answer = Hub.redirect
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        threading.Thread(target=self._listen, daemon=True).start()

    def close(self):
        """Whoever asks from now on finds nobody."""
        if self.listener.fileno() < 0:
            return
        self.listener.shutdown(socket.SHUT_RDWR)
        self.listener.close()

    @property
    def endpoint(self):
        return f"https://localhost:{self.port}"

    @property
    def file_address(self):
        return f"https://127.0.0.1:{self.port}/file"

    @property
    def sum(self):
        return hashlib.sha256(self.content).hexdigest()

    def file_requests(self):
        return [request for request in self.requests if request.host == "127.0.0.1"]

    def redirect(self, request, status=302):
        request.answer(status, (f"Location: {self.file_address}", f'X-Linked-Etag: "{self.sum}"',
                                f"X-Linked-Size: {len(self.content)}", "Content-Length: 5"), b"moved")

    def send_file(self, request, content=None, most=None):
        """The rest that was asked for, `most` bytes of it."""
        content = self.content if content is None else content
        tag = f"ETag: {self.etag}"
        start = request.start if request.headers.get("if-range", self.etag) == self.etag else None
        if start is None:
            request.answer(200, (f"Content-Length: {len(content)}", tag), content[:most])
        elif start >= len(content):
            request.answer(416, (f"Content-Range: bytes */{len(content)}", "Content-Length: 0"))
        else:
            rest = content[start:]
            request.answer(206, (f"Content-Length: {len(rest)}", tag,
                                 f"Content-Range: bytes {start}-{len(content) - 1}/{len(content)}"), rest[:most])
        if most is not None:
            raise Cut

    def _listen(self):
        while True:
            try:
                accepted, _ = self.listener.accept()
            except OSError:
                return
            accepted.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            threading.Thread(target=self._serve, args=(accepted,), daemon=True).start()

    def _serve(self, accepted):
        try:
            connection = self.context.wrap_socket(accepted, server_side=True)
        except (OSError, ssl.SSLError):
            accepted.close()
            return
        with connection:
            try:
                head = b""
                while not head.endswith(b"\r\n\r\n"):
                    data = connection.recv(1)
                    if not data:
                        return
                    head += data
                request = Request(connection, head[:-4])
                self.requests.append(request)
                if request.host == "localhost":
                    self.hub_answer(self, request)
                else:
                    (self.plan.pop(0) if self.plan else Hub.send_file)(self, request)
                connection.unwrap()
            except Cut:
                pass
            except OSError:
                pass  # the client is gone


def cut_after(most):
    """Ends after so many bytes of the body."""
    return lambda hub, request: hub.send_file(request, most=most)


def cut_before_the_answer(_hub, _request):
    raise Cut


def cut_in_the_headers(_hub, request):
    request.send(b"HTTP/1.1 206 Partial Content\r\nContent-Le")
    raise Cut


def reset(hub, request):
    """The hard way, after a third of what is missing."""
    try:
        hub.send_file(request, most=(len(hub.content) - (request.start or 0)) // 3)
    except Cut:
        request.connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        raise

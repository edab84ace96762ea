# SPDX-License-Identifier: GPL-3.0-or-later
"""The server that the network is fetched from while pictures are taken."""

import threading
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

MEGABYTE = 1 << 20
WHOLE, SENT = 1249 * MEGABYTE, 397 * MEGABYTE


class LocalServer:
    """Answers that there is no such file or, once `has_file` is set, sends a part of it and then
    nothing more. `has_answered` is set as soon as it has nothing more to send."""

    def __init__(self):
        self.has_file = False
        self.has_answered, self.closed = threading.Event(), threading.Event()
        owner = self

        class Handler(BaseHTTPRequestHandler):
            def do_GET(self):
                owner._answer(self)

            def log_message(self, *_):
                pass

        self.server = ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.server.daemon_threads = True
        self.address = f"http://127.0.0.1:{self.server.server_port}/"
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    def _answer(self, request):
        if not self.has_file:
            request.send_error(404)
            self.has_answered.set()
            return
        request.send_response(200)
        request.send_header("Content-Length", str(WHOLE))
        request.end_headers()
        for _ in range(SENT // MEGABYTE):
            request.wfile.write(bytes(MEGABYTE))
        self.has_answered.set()
        self.closed.wait()

    def close(self):
        self.closed.set()
        self.server.shutdown()
        self.server.server_close()

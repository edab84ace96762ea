#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Speaks TLS on a port of its own and passes everything on to a plain port.

Usage: tls_front.py FOLDER NAMES PORT. Makes a certificate for NAMES (as for subjectAltName) in
FOLDER/certificate.pem, which is its own authority, prints the port it listens on, and ends when its
standard input does. A reset of the plain connection becomes one of the other.
"""

import os
import select
import socket
import ssl
import struct
import subprocess
import sys
import threading


def make_certificate(folder, names):
    certificate = os.path.join(folder, "certificate.pem")
    key = os.path.join(folder, "key.pem")
    subprocess.run(
        ["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
         "-nodes", "-days", "2", "-subj", "/CN=Vistrel test", "-addext", f"subjectAltName={names}",
         "-keyout", key, "-out", certificate],
        check=True, stderr=subprocess.DEVNULL)
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(certificate, key)
    return context


def receive(source):
    """What is there, empty at the end, None after a reset."""
    try:
        return source.recv(65536)
    except (ConnectionResetError, ssl.SSLError):
        return None


def pass_on(client, plain):
    """Returns True when the plain side ended in order."""
    while True:
        ready = [client] if client.pending() else select.select([client, plain], [], [])[0]
        for source, target in ((client, plain), (plain, client)):
            if source not in ready:
                continue
            data = receive(source)
            if not data:
                if data is None and source is plain:
                    client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
                return data is not None and source is plain
            target.sendall(data)


def serve(context, accepted, port):
    try:
        client = context.wrap_socket(accepted, server_side=True)
    except (OSError, ssl.SSLError):
        accepted.close()
        return
    with client, socket.create_connection(("127.0.0.1", port)) as plain:
        try:
            if pass_on(client, plain):
                client.unwrap().close()
        except OSError:
            pass  # the client is gone


def listen(context, listener, port):
    while True:
        accepted, _ = listener.accept()
        threading.Thread(target=serve, args=(context, accepted, port), daemon=True).start()


def main():
    folder, names, port = sys.argv[1:]
    context = make_certificate(folder, names)
    listener = socket.create_server(("127.0.0.1", 0))
    threading.Thread(target=listen, args=(context, listener, int(port)), daemon=True).start()
    print(listener.getsockname()[1], flush=True)
    sys.stdin.read()
    os._exit(0)  # connections may still be open


main()

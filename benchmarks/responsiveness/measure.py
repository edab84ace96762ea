#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""How late the window's thread takes events that are posted to it every 10 milliseconds.

Usage: tests/support/with_display benchmarks/responsiveness/measure.py BIN_FOLDER [ROUNDS]
Prints percentiles in milliseconds: idle, during a download at the speed of a gigabit line, while a
photograph of 12 megapixels is read for the preview and converted with the relief demo, and while
the scene is being shown; and the ratio to idle. Run it on a machine that does nothing else.
"""

import multiprocessing
import os
import socket
import subprocess
import sys
import tempfile
import time
from pathlib import Path

from PIL import Image

ROOT = Path(__file__).resolve().parents[2]
PHASES = ("idle", "download", "preview", "conversion", "scene")
SECONDS_OF_DOWNLOAD = 4
BYTES_PER_SECOND = 125_000_000
LARGEST_DOWNLOAD = 3 << 30


def serve(listener):
    """Answers every request with what a gigabit line carries in a few seconds."""
    os.nice(19)  # in life the server is another machine
    chunk = bytes(1 << 20)
    while True:
        connection, _ = listener.accept()
        with connection:
            connection.recv(65536)
            head = f"HTTP/1.1 200 OK\r\nContent-Length: {LARGEST_DOWNLOAD}\r\n\r\n"
            start, sent = time.monotonic(), 0
            end = start + SECONDS_OF_DOWNLOAD
            try:
                connection.sendall(head.encode())
                while time.monotonic() < end and sent < LARGEST_DOWNLOAD:
                    connection.sendall(chunk)
                    sent += len(chunk)
                    ahead = start + sent / BYTES_PER_SECOND - time.monotonic()
                    time.sleep(max(0, ahead))
            except OSError:
                pass
            print(f"download: {sent / SECONDS_OF_DOWNLOAD / 1e6:.0f} MB/s", flush=True)


def run_program(program, url, photograph):
    with tempfile.TemporaryDirectory() as home:
        environment = dict(os.environ, HOME=home, TMPDIR=home, no_proxy="127.0.0.1")
        for name in ("XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR"):
            environment.pop(name, None)
        if os.getuid() == 0:
            environment["QTWEBENGINE_DISABLE_SANDBOX"] = "1"
        model = ROOT / "resources" / "relief" / "vistrel_relief_demo.onnx"
        output = subprocess.run([program, url, model, photograph, f"{home}/scene.ply"],
                                env=environment, check=True, timeout=300, text=True,
                                stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
    lines = [line.split() for line in output.splitlines()]
    return {words[0]: [float(word) for word in words[1:]]
            for words in lines if words and words[0] in PHASES}


def percentile(values, share):
    return values[min(len(values) - 1, int(len(values) * share))]


def main():
    program = Path(sys.argv[1]) / "responsiveness_program"
    rounds = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    delays = {phase: [] for phase in PHASES}
    with tempfile.TemporaryDirectory() as folder, socket.create_server(("127.0.0.1", 0)) as listener:
        photograph = Path(folder) / "photograph.jpg"
        with Image.open(ROOT / "resources" / "sample" / "autumn_lake.jpg") as sample:
            sample.resize((4000, 3000)).save(photograph, quality=92)
        server = multiprocessing.Process(target=serve, args=(listener,), daemon=True)
        server.start()
        for _ in range(rounds):
            url = f"http://127.0.0.1:{listener.getsockname()[1]}/model.onnx"
            for phase, values in run_program(program, url, photograph).items():
                delays[phase] += values
        server.terminate()
    print(f"{'ms':12}{'50 %':>9}{'99 %':>9}{'most':>9}{'99 % / idle':>13}{'events':>8}")
    idle = percentile(sorted(delays["idle"]), 0.99)
    for phase, values in delays.items():
        values.sort()
        half, most = percentile(values, 0.5), percentile(values, 0.99)
        print(f"{phase:12}{half:9.2f}{most:9.2f}{values[-1]:9.2f}{most / idle:13.1f}{len(values):8}")


if __name__ == "__main__":
    main()

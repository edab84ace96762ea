# SPDX-License-Identifier: GPL-3.0-or-later
"""The program's own files: settings, extracted files, saved pictures, the downloaded network."""

import hashlib
import json
import os
import subprocess
import threading
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

from PIL import Image

from operation import Operation

SIZE = 300000  # several writes


class Probe(Operation):
    def probe(self, *words):
        return [self.programs.parent / "tests" / "fault_probe", *words]


class Settings(Probe):
    """Saved over settings with a member of somebody else's. No failure is told."""
    tells = False
    kept = {"outputFilename": "former.ply", "of others": [1, 2, 3]}

    def prepare(self, folder):
        self.file(folder).parent.mkdir()
        self.file(folder).write_text(json.dumps(self.kept))
        self.file(folder).chmod(0o600)

    def file(self, folder):
        return folder / "Vistrel" / "settings.json"

    def command(self, folder):
        return self.probe("settings")

    def options(self, folder):
        return {"env": os.environ | {"XDG_CONFIG_HOME": str(folder), "HOME": str(folder / "home")}}


class LinkedSettings(Settings):
    def prepare(self, folder):
        super().prepare(folder)
        self.file(folder).rename(folder / "elsewhere.json")
        self.file(folder).symlink_to("../elsewhere.json")


class LinkedSettingsWithoutUnnamedFiles(LinkedSettings):
    unnamed_files = False


class FirstSettings(Settings):
    def prepare(self, folder):
        pass


class FirstExtraction(Probe):
    message = "^$"

    def prepare(self, folder):
        (folder / "program").mkdir()

    def command(self, folder):
        return self.probe("extraction", folder / "program")

    def options(self, folder):
        return {"env": os.environ | {"TMPDIR": str(folder / "tmp")}}


class Extraction(FirstExtraction):
    """Over the files of an older version."""
    names = ("program/help_en.html", "program/help_jp.html", "program/WebView2Loader.dll",
             "tmp/VistrelWeb/gaus3d.html", "tmp/VistrelWeb/three.module.js",
             "tmp/VistrelWeb/three.core.js", "tmp/VistrelWeb/spark.module.js",
             "tmp/VistrelWeb/OrbitControls3d.js")

    def prepare(self, folder):
        super().prepare(folder)
        (folder / "tmp/VistrelWeb").mkdir(parents=True, mode=0o700)
        for name in self.names:
            (folder / name).write_bytes(b"older" * 1000)


class Picture(Probe):
    message = "^$"

    def prepare(self, folder):
        (folder / "picture.png").write_bytes(b"older" * 1000)

    def command(self, folder):
        return self.probe("picture", folder / "picture.png", SIZE)


class FirstPicture(Picture):
    def prepare(self, folder):
        pass


class LinkedPicture(Picture):
    def prepare(self, folder):
        (folder / "elsewhere.png").write_bytes(b"older" * 1000)
        (folder / "picture.png").symlink_to("elsewhere.png")


class PictureWithoutUnnamedFiles(Picture):
    unnamed_files = False


class FirstPictureWithoutUnnamedFiles(FirstPicture):
    unnamed_files = False


class DrawnScene(Operation):
    """By vistrel-render."""
    message = (r"^Error: .*(scene\.ply: the file cannot be (opened|read)"
               r"|picture\.png: Cannot open output file: .+|picture\.png could not be written: .+)$")

    def __init__(self, programs):
        super().__init__(programs)
        self.scene = None

    def prepare(self, folder):
        if self.scene is None:
            self.scene = self.make_scene(folder)
        (folder / "scene.ply").write_bytes(self.scene)
        (folder / "picture.png").write_bytes(b"older" * 1000)

    def make_scene(self, folder):
        photo = folder / "photo.png"
        Image.effect_noise((40, 30), 50).save(photo)
        model = self.programs.parent / "tests/models/echo.onnx"
        subprocess.run([self.programs / "vistrel-convert", "--model", model, photo,
                        folder / "scene.ply"], check=True, capture_output=True)
        photo.unlink()
        return (folder / "scene.ply").read_bytes()

    def command(self, folder):
        return [self.programs / "vistrel-render", "--size", "200x200", folder / "scene.ply",
                folder / "picture.png"]


class SharedScene(DrawnScene):
    """By vistrel-share."""
    message = (r"^Error: .*(scene\.ply: the file cannot be (opened|read)"
               r"|page\.html: Cannot open output file: .+|page\.html could not be written: .+)$")
    usual = 4

    def prepare(self, folder):
        super().prepare(folder)
        (folder / "picture.png").rename(folder / "page.html")

    def command(self, folder):
        return [self.programs / "vistrel-share", "--poster", folder / "scene.ply",
                folder / "page.html"]


# Less than is received at once.
NETWORK_SIZE = 12_000


class Answer(BaseHTTPRequestHandler):
    """All in one piece: what arrives in several is written by as many calls as chance will have."""
    def do_GET(self):
        head = f"HTTP/1.0 200 OK\r\nContent-Length: {NETWORK_SIZE}\r\n\r\n"
        self.wfile.write(head.encode() + b"n" * NETWORK_SIZE)

    def log_message(self, *_):
        pass


class FirstDownload(Probe):
    message = (r"^(filesystem error: create_directories: .* \[.*Models\]"
               r"|Cannot create output file: .*\.tmp|Cannot write output file: .*\.tmp: .+"
               r"|Failed to move downloaded file: .*\.onnx)$")

    def __init__(self, programs):
        super().__init__(programs)
        self.server = ThreadingHTTPServer(("127.0.0.1", 0), Answer)
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    def command(self, folder):
        url = f"http://127.0.0.1:{self.server.server_port}/network"
        return self.probe("download", url, folder / "Models/net.onnx")

    def options(self, _folder):
        return {"env": {name: value for name, value in os.environ.items()
                        if not name.lower().endswith("_proxy")}}

    def may_be_left(self, name, _entry, run):
        """What was received is not thrown away when only its new name cannot be had."""
        return name == "Models/net.onnx.tmp" and run.errors.startswith("Failed to move")

    def may_survive_a_kill(self, name, _entry, _call, _good):
        return name == "Models/net.onnx.tmp"


class Download(FirstDownload):
    def prepare(self, folder):
        (folder / "Models").mkdir()
        (folder / "Models/net.onnx").write_bytes(b"older" * 1000)


class HubAnswer(Answer):
    """Sends on to where the file is."""
    def do_GET(self):
        if self.path == "/file":
            super().do_GET()
            return
        self.send_response(302)
        self.send_header("Location", "/file")
        self.send_header("X-Linked-Etag", hashlib.sha256(b"n" * NETWORK_SIZE).hexdigest())
        self.send_header("X-Linked-Size", str(NETWORK_SIZE))
        self.end_headers()


class FetchedNetwork(Operation):
    """By vistrel-fetch, over a file that is another, with settings of others."""
    message = r"^Error: .+"
    tells_of_more = True  # the network may be there when the settings cannot be had
    usual = 4
    usual_kills = 20

    def __init__(self, programs):
        super().__init__(programs)
        self.server = ThreadingHTTPServer(("127.0.0.1", 0), HubAnswer)
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    def prepare(self, folder):
        (folder / "Models").mkdir()
        (folder / "Models/sharp_fp16.onnx").write_bytes(b"older" * 1000)
        (folder / "Vistrel").mkdir()
        (folder / "Vistrel/settings.json").write_text('{"of others": [1, 2, 3]}')

    def command(self, folder):
        return [self.programs / "vistrel-fetch", "model", "--accept-licence", "--to", folder / "Models"]

    def options(self, folder):
        environment = {name: value for name, value in os.environ.items()
                       if not name.lower().endswith("_proxy") and not name.startswith("HF_")}
        return {"env": environment | {"HF_ENDPOINT": f"http://127.0.0.1:{self.server.server_port}",
                                      "XDG_CONFIG_HOME": str(folder), "HOME": str(folder / "home")}}

    def is_part(self, name):
        return name in ("Models/sharp_fp16.onnx.part", "Models/sharp_fp16.onnx.part.origin")

    def may_be_left(self, name, _entry, _run):
        return self.is_part(name)

    def may_survive_a_kill(self, name, entry, call, good):
        return self.is_part(name) or super().may_survive_a_kill(name, entry, call, good)

# SPDX-License-Identifier: GPL-3.0-or-later
"""What is pictured, and how a user gets there. A sitting is a function that takes some pictures
which belong together, in one language."""

import shutil
import subprocess

from PIL import Image

import layout
from display import wait_for
from local_server import LocalServer
from photographer import LANGUAGES, Photographer
from user import RELIEF, SOURCE

SAMPLE = SOURCE / "resources" / "sample" / "autumn_lake.jpg"
OPENING_SIZE = (1200, 700)
PREVIEW_SIZE = (1200, 760)
SCENE_SIZE = (1400, 690)
SMALL_SIZE = (1000, 600)
# From the first view of the sample's scene to one that its house and pumpkins fill.
TO_THE_HOUSE = ["Right"] * 6 + ["Up"] * 4 + ["plus"] * 8
WIDE, NARROW = 1120, 800  # how wide pictures of the whole window are kept


class Studio:
    """Where the sittings take place. Some pictures show the name of the folder."""

    def __init__(self, display, build, folder, album):
        self.display, self.folder, self.album = display, folder, album
        self.present = None
        self.binaries = build / "bin"
        self.local_model = build / "tools" / "liblocal_model.so"
        self.photograph = folder / SAMPLE.name
        shutil.copy(SAMPLE, self.photograph)
        self.scene = folder / "autumn_lake.ply"
        self.run("vistrel-convert", "--model", RELIEF, self.photograph, self.scene)

    def user(self, name):
        """One at a time: the one before leaves."""
        self.send_away()
        self.present = Photographer(self.display, self.binaries, self.folder / f".{name}")
        return self.present

    def send_away(self):
        if self.present and self.present.program:
            self.present.program.kill()

    def run(self, program, *arguments):
        subprocess.run([self.binaries / program, *map(str, arguments)], check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def first_start(studio, language):
    """Nothing is chosen; the network is fetched, first in vain."""
    server = LocalServer()
    user = studio.user(f"first_start_{language}")
    user.set_up(language, OPENING_SIZE, LD_PRELOAD=str(studio.local_model),
                VISTREL_MODEL_ADDRESS=server.address)
    studio.album.add(f"start_{language}.png", user.corner(640, 400))
    for name, has_file in ("download_failed", False), ("downloading", True):
        server.has_file = has_file
        server.has_answered.clear()
        user.press("download")
        question = user.dialog()
        user.display.activate(question)
        user.display.key("space")
        user.wait_for_closing(question)
        wait_for(server.has_answered.is_set, "the program to ask for the network")
        studio.album.add(f"{name}_{language}.png", user.corner(480, 340))
    server.close()


def photograph_to_scene(studio, language):
    user = studio.user(f"scene_{language}")
    user.set_up(language, PREVIEW_SIZE, {"modelPath": str(RELIEF)})
    user.open_photograph(studio.photograph)
    studio.album.add(f"preview_{language}.jpg", user.window(), NARROW)

    user.resize(*SCENE_SIZE)
    before = user.display.picture(user.viewer())
    user.press("generate")
    user.enter_file(user.home / "autumn_lake.ply")
    user.wait_for_scene(before)
    user.change_view(*TO_THE_HOUSE)
    studio.album.add(f"scene_{language}.jpg", user.window(), WIDE)

    controls = user.open_menu(2)
    user.display.key("Down", "Down", "Right")
    wait_for(lambda: [p for p in user.popups() if p.id != controls.id], "the stereo modes")
    studio.album.add(f"menu_controls_{language}.png", user.corner(480, 264))


def hidden_panel(studio, language):
    user = studio.user(f"hidden_{language}")
    user.set_up(language, SMALL_SIZE, {"modelPath": str(RELIEF)})
    before = user.display.picture(user.viewer())
    user.open_file(studio.scene)
    user.wait_for_scene(before)
    user.change_view("c", sidebar=False)
    user.change_view(*TO_THE_HOUSE, sidebar=False)
    studio.album.add(f"hidden_{language}.jpg", user.window(), NARROW)


def failed_conversion(studio, language):
    broken = studio.folder / "broken.onnx"
    broken.write_text("not a network")
    user = studio.user(f"failed_{language}")
    user.set_up(language, PREVIEW_SIZE, {"modelPath": str(broken)})
    user.open_photograph(studio.photograph, download=False)
    user.press("generate", download=False)
    user.enter_file(user.home / "autumn_lake.ply")
    x, y = layout.controls(download=False)["status"]
    second_line = (user.panel[0] + 12, user.panel[1] + y, user.panel[0] + x, user.panel[1] + y + 20)
    wait_for(lambda: len(user.display.picture(second_line).getcolors()) > 1, "a long message")
    studio.album.add(f"failed_{language}.jpg", user.corner(700, 400), 560)


def batch(studio, language):
    photographs, scenes = studio.folder / "photographs", studio.folder / "scenes"
    for folder in photographs, scenes:
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir()
    for number in range(1, 6):
        shutil.copy(SAMPLE, photographs / f"lake_{number}.jpg")
    user = studio.user(f"batch_{language}")
    user.set_up(language, OPENING_SIZE, {"modelPath": str(RELIEF)})
    dialog = user.open_batch()
    dialog.choose_input(photographs)
    dialog.choose_output(scenes)
    dialog.start()
    user.display.point_away()
    wait_for(lambda: dialog.progress_color(0.05) == dialog.progress_color(0.3)
             != dialog.progress_color(0.95), "the second photograph")
    studio.album.add(f"batch_running_{language}.png",
                     user.display.picture(user.display.frame_box(dialog.window)))


def stereo_pair(studio, _):
    """The sample's scene for two eyes."""
    pair = studio.folder / "pair.png"
    studio.run("vistrel-render", "--stereo", "sbs", "--size", "1240x465", studio.scene, pair)
    with Image.open(pair) as picture:
        studio.album.add("sample_side_by_side.jpg", picture.convert("RGB"))


# What is pictured where; {} is the language.
KINDS = [
    (first_start, ["start_{}.png", "download_failed_{}.png", "downloading_{}.png"]),
    (failed_conversion, ["failed_{}.jpg"]),
    (batch, ["batch_running_{}.png"]),
    (photograph_to_scene, ["preview_{}.jpg", "scene_{}.jpg", "menu_controls_{}.png"]),
]
SITTINGS = [(stereo_pair, "en", ["sample_side_by_side.jpg"]),
            (hidden_panel, "en", ["hidden_en.jpg"]),
            *((sitting, language, [kind.format(language) for kind in kinds])
              for language in LANGUAGES for sitting, kinds in KINDS)]

#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Takes the pictures of docs/images, which the documents and the manuals show, with the programs of
a build folder. Without names all of them are taken; what belongs together is taken together."""

import argparse
import contextlib
import shutil
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]
sys.path[:0] = [str(ROOT / "tests" / "end_to_end"), str(ROOT / "tools" / "pictures")]
from album import Album  # noqa: E402
from display import Display  # noqa: E402
from sittings import SITTINGS, Studio  # noqa: E402

# Some pictures show its name, so it is always the same.
FOLDER = Path("/tmp/anna")
SCREEN = (1600, 1000)
# A title bar as dark as the window.
WINDOW_MANAGER = """<openbox_config xmlns="http://openbox.org/3.4/rc"><theme><name>Onyx</name>
<font place="ActiveWindow"><name>Noto Sans</name><size>10</size></font></theme></openbox_config>
"""


def arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--list", action="store_true", help="only tell the names of all pictures")
    parser.add_argument("build", nargs="?", type=Path, help="folder of the build")
    parser.add_argument("names", nargs="*", metavar="NAME", help="of a picture to take")
    given = parser.parse_args()
    if not given.list and given.build is None:
        parser.error("the folder of the build is missing")
    unknown = set(given.names).difference(*(names for _, _, names in SITTINGS))
    if unknown:
        parser.error(f"there is no picture {', '.join(unknown)}")
    return given


def take(build, sittings):
    album = Album(ROOT / "docs" / "images", [name for _, _, names in sittings for name in names])
    FOLDER.mkdir(mode=0o700)
    try:
        with contextlib.ExitStack() as afterwards:
            display = Display(FOLDER / ".display", SCREEN, WINDOW_MANAGER)
            afterwards.callback(display.close)
            studio = Studio(display, build, FOLDER, album)
            afterwards.callback(studio.send_away)
            for sitting, language, names in sittings:
                sitting(studio, language)
                print(*names, sep="\n", flush=True)
    finally:
        shutil.rmtree(FOLDER)
    if album.missing:
        raise RuntimeError(f"nobody took {', '.join(album.missing)}")


def main():
    given = arguments()
    if given.list:
        print(*(name for _, _, names in SITTINGS for name in names), sep="\n")
        return
    take(given.build.resolve(), [sitting for sitting in SITTINGS
                                 if not given.names or set(given.names).intersection(sitting[2])])


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""vistrel-share from outside: pages, options, exit status, messages, and what is left on disk."""

import base64
import gzip
import html.parser
import io
import json
import os
import re
import signal
import struct
import subprocess
import sys
import time
import unittest
from pathlib import Path

import numpy
from PIL import Image

sys.path[:0] = [str(Path(__file__).resolve().parents[1]), str(Path(__file__).resolve().parents[1] / "render")]
from command import CommandTest  # noqa: E402
from render_scenes import FOCAL, HEIGHT, WIDTH, ball, hills, ply  # noqa: E402

BINARIES = Path(os.environ["VISTREL_BIN"])
PROGRAM = BINARIES / "vistrel-share"
TEMPLATE = BINARIES.parent / "share" / "viewer.html"
SMALL = ply([ball((0, 0, 3), 0.5), ball((1, 0, 4), 0.5, (1, 0, 0))])
COLUMNS, ROWS = 100, 75


class Page(html.parser.HTMLParser):
    """What a browser finds in a page."""

    def __init__(self, path):
        super().__init__()
        self.found, self.poster, self.open = {}, None, None
        self.feed(Path(os.fsdecode(path)).read_bytes().decode())
        self.title = self.found.get("title", "")
        self.facts = json.loads(self.found["facts"])
        self.spz = base64.b64decode(self.found["scene"], validate=True)
        _, self.version, self.count = struct.unpack_from("<3I", gzip.decompress(self.spz))

    def handle_starttag(self, tag, attrs):
        attributes = dict(attrs)
        self.open = attributes.get("id") if tag == "script" else tag
        if attributes.get("id") == "poster":
            self.poster = attributes["src"]

    def handle_endtag(self, _tag):
        self.open = None

    def handle_data(self, data):
        self.found[self.open] = self.found.get(self.open, "") + data


class ShareTest(CommandTest):
    program = PROGRAM

    def setUp(self):
        super().setUp()
        self.scene.write_bytes(SMALL)
        self.output = self.folder / "page.html"

    def share(self, *options, scene=None, output=None):
        output = output or self.output
        result = self.run_program(*options, scene or self.scene, output)
        self.assertEqual((result.returncode, result.stdout), (0, b""), result.stderr)
        self.told = os.fsdecode(result.stderr)
        self.assertEqual(self.told.count("\n"), 1, self.told)
        return Page(output)

    def convert(self, *options):
        spz = self.folder / "converted.spz"
        subprocess.run([BINARIES / "vistrel-convert", *options, self.scene, spz], check=True, capture_output=True)
        return spz.read_bytes()

    def drawn_by_the_photographs_camera(self, scene):
        """Also of a scene that does not know it."""
        content = scene.read_bytes()
        if b"element intrinsic" not in content:
            elements, camera = re.search(rb"(element intrinsic.*)end_header\n(.*)", ply([]), re.DOTALL).groups()
            content = content.replace(b"end_header", elements + b"end_header", 1) + camera
        scene = self.folder / "drawn.ply"
        scene.write_bytes(content)
        picture = self.folder / "drawn.png"
        subprocess.run([BINARIES / "vistrel-render", "--no-crop", scene, picture], check=True)
        with Image.open(picture) as image:
            return numpy.asarray(image).astype(int)

    def names(self):
        return sorted(path.name for path in self.folder.iterdir())


class Content(ShareTest):
    def test_page_is_the_template_with_the_scene_that_vistrel_convert_writes(self):
        page = self.share()
        self.assertEqual(page.spz, self.convert("--spz-version", "3"))
        self.assertEqual((page.version, page.count), (3, 2))
        expected = TEMPLATE.read_text()
        for place, text in (("title", "scene"), ("poster", ""), ("facts", page.found["facts"]),
                            ("bytes", page.found["scene"])):
            expected = expected.replace(f"(the scene's {place})", text)
        self.assertEqual(self.output.read_text(), expected)

    def test_what_was_written_is_told(self):
        self.scene.write_bytes(ply(hills(columns=COLUMNS, rows=ROWS)))
        self.share("--keep-ratio", "0.5")
        size = self.output.stat().st_size
        told = re.fullmatch(rf"{re.escape(str(self.output))}: ([0-9.]+) (k|M)B, 3,750 of 7,500 Gaussians\n", self.told)
        self.assertTrue(told, self.told)
        self.assertAlmostEqual(float(told[1]) * {"k": 1e3, "M": 1e6}[told[2]] / size, 1, delta=0.01)

    def test_the_most_important_are_kept_of_a_scene_without_a_photograph(self):
        self.scene.write_bytes(ply(hills(columns=COLUMNS, rows=ROWS), size=None))
        page = self.share("--keep-ratio", "0.3")
        self.assertEqual(page.count, 2250)
        self.assertEqual(page.spz, self.convert("--spz-version", "3", "--keep-ratio", "0.3"))

    def test_a_photographs_scene_has_no_holes_when_it_is_thinned(self):
        self.scene.write_bytes(ply(hills(columns=COLUMNS, rows=ROWS)))
        spz, thinned = self.folder / "thinned.spz", self.folder / "thinned.ply"
        spz.write_bytes(self.share("--keep-ratio", "0.5").spz)
        subprocess.run([BINARIES / "vistrel-convert", spz, thinned], check=True, capture_output=True)
        whole, picture = (self.drawn_by_the_photographs_camera(scene) for scene in (self.scene, thinned))
        self.assertLess(numpy.abs(picture - whole).mean(), 8)
        self.assertGreater(picture.max(axis=2).min(), 8)

    def test_size_limit_is_kept_and_used(self):
        self.scene.write_bytes(ply(hills(columns=COLUMNS, rows=ROWS)))
        whole = self.share()
        viewer = self.output.stat().st_size - len(whole.found["scene"])
        for share in (0.1, 0.5, 0.9):
            limit = viewer + int(share * len(whole.found["scene"]))
            with self.subTest(limit=limit):
                page = self.share("--size-limit", f"{limit}B")
                size = self.output.stat().st_size
                self.assertLessEqual(size, limit)
                self.assertGreater(size, limit - 0.02 * len(whole.found["scene"]))
                self.assertLess(page.count, 7500)
        for limit in ("20MB", "20 MiB"):
            self.assertEqual(self.share("--size-limit", limit).spz, whole.spz)

    def test_both_limits_hold(self):
        self.scene.write_bytes(ply(hills(columns=COLUMNS, rows=ROWS)))
        self.assertEqual(self.share("--keep-ratio", "0.2", "--size-limit", "20MB").count, 1500)

    def test_size_limit_that_is_too_low_tells_the_least(self):
        for limit in ("1kB", f"{TEMPLATE.stat().st_size}B"):
            self.check_failure(self.run_program("--size-limit", limit, self.scene, self.output), "--size-limit",
                               str(self.output))
            self.assertEqual(self.names(), ["scene.ply"])
        result = self.run_program("--size-limit", "1kB", self.scene, self.output)
        least = int(re.search(rb"has ([0-9]+) bytes", result.stderr)[1])
        self.assertEqual(self.share("--size-limit", f"{least}B").count, 1)
        self.assertEqual(self.output.stat().st_size, least)
        self.check_failure(self.run_program("--size-limit", f"{least - 1}B", self.scene, self.output), str(least))

    def test_gaussians_that_cannot_be_written_are_left_out(self):
        gaussians = [ball((0, 0, 3), 0.5), ball((float("nan"), 0, 3), 0.5), ball((0, 1, 3), 0.5)]
        self.scene.write_bytes(ply(gaussians))
        self.assertEqual(self.share().count, 2)
        self.assertIn("2 of 3 Gaussians", self.told)

    def test_scenes_of_all_formats(self):
        self.scene.write_bytes(ply([ball((0, 0, 3), 0.5), ball((1, 0, 4), 0.5, (1, 0, 0))], size=None))
        for ending in (".compressed.ply", ".splat", ".spz", ".sog", ".glb"):
            with self.subTest(ending=ending):
                scene = self.folder / f"other{ending}"
                subprocess.run([BINARIES / "vistrel-convert", self.scene, scene], check=True, capture_output=True)
                page = self.share(scene=scene)
                self.assertEqual((page.title, page.count), ("other", 2))

    def test_frame_of_an_spz_file_is_turned(self):
        spz = self.folder / "other.spz"
        spz.write_bytes(self.convert("--spz-frame", "rub"))
        self.assertEqual(self.share("--spz-frame", "rub", scene=spz).spz, self.share().spz)
        self.assertNotEqual(self.share(scene=spz).spz, self.share().spz)

    def test_two_runs_give_the_same_bytes_and_replace_the_page(self):
        self.output.write_bytes(b"former")
        self.share("--poster")
        first = self.output.read_bytes()
        self.share("--poster")
        self.assertEqual(self.output.read_bytes(), first)


class Facts(ShareTest):
    def test_camera_and_depths_of_a_photograph(self):
        self.scene.write_bytes(ply(hills(columns=COLUMNS, rows=ROWS)))
        page = self.share()
        self.assertEqual(page.facts["camera"], {"focalX": FOCAL, "focalY": FOCAL, "centreX": WIDTH / 2,
                                                "centreY": HEIGHT / 2, "width": WIDTH, "height": HEIGHT})
        depths = page.facts["depths"]
        self.assertAlmostEqual(depths["nearest"], 1.7, delta=0.1)
        self.assertAlmostEqual(depths["farthest"], 8, delta=0.3)
        self.assertAlmostEqual(2 / depths["middle"], 1 / depths["nearest"] + 1 / depths["farthest"], places=4)
        self.assertEqual((page.facts["free"], page.facts["length"]), (False, len(page.found["scene"])))

    def test_scene_without_a_photograph_has_neither(self):
        self.scene.write_bytes(ply([ball((0, 0, 3), 0.5)], size=None))
        facts = self.share().facts
        self.assertEqual((facts["camera"], facts["depths"]), (None, None))

    def test_photograph_that_shows_nothing_has_no_depths(self):
        self.scene.write_bytes(ply([ball((0, 0, -3), 0.5)]))
        facts = self.share().facts
        self.assertNotEqual(facts["camera"], None)
        self.assertEqual(facts["depths"], None)

    def test_free(self):
        self.assertTrue(self.share("--free").facts["free"])


class Titles(ShareTest):
    def test_is_that_of_the_file_where_none_is_given(self):
        for name, title in (("a b.ply", "a b"), ("x.y.PLY", "x.y"), ("lake.compressed.ply", "lake"),
                            (b"\xff\xfe\xe5\x86\x99.ply", "\ufffd\ufffd写"),
                            ("<b>&amp;\"'.ply", "<b>&amp;\"'"), ("line\nend.ply", "line end")):
            scene = os.path.join(os.fsencode(self.folder), os.fsencode(name))
            with open(scene, "wb") as file:
                file.write(SMALL)
            self.assertEqual(self.share(scene=scene).title, title)

    def test_any_text_stays_text(self):
        for text in ("", "</title></script><script>alert(1)</script>", "\"quotes\" & 'more'", "夕方の湖 🏞️", "<!--",
                     "&lt;", "(the scene's bytes)", "$& $1 \\0"):
            page = self.share("--title", text)
            self.assertEqual((page.title, page.count), (text, 2))

    def test_names_that_look_like_options(self):
        (self.folder / "-a.ply").write_bytes(SMALL)
        self.assertEqual(self.run_program("--", "-a.ply", "-b.htm", cwd=self.folder).returncode, 0)
        self.assertEqual(Page(self.folder / "-b.htm").title, "-a")


class Posters(ShareTest):
    def poster(self, *options):
        kind, data = self.share("--poster", *options).poster.split(",")
        self.assertEqual(kind, "data:image/webp;base64")
        with Image.open(io.BytesIO(base64.b64decode(data, validate=True))) as image:
            self.assertEqual(image.format, "WEBP")
            return numpy.asarray(image.convert("RGB")).astype(int)

    def test_is_the_photographs_view(self):
        self.scene.write_bytes(ply(hills(columns=COLUMNS, rows=ROWS)))
        poster = self.poster()
        expected = self.drawn_by_the_photographs_camera(self.scene)
        self.assertEqual(poster.shape, expected.shape)
        self.assertLess(numpy.abs(poster - expected).mean(), 4)

    def test_is_at_most_1280_pixels_on_a_side(self):
        for size, shape in (((2560, 1920), (960, 1280, 3)), ((1000, 4000), (1280, 320, 3)),
                            ((1, 4294967295), (1280, 1, 3))):
            self.scene.write_bytes(ply([ball((0, 0, 3), 0.5)], size=size))
            self.assertEqual(self.poster().shape, shape)

    def test_scene_without_a_photograph_is_seen_from_the_windows_start(self):
        self.scene.write_bytes(ply([ball((0, 0, 0), 0.5)], size=None))
        poster = self.poster()
        self.assertEqual(poster.shape, (1280, 1280, 3))
        self.assertGreater(poster[640, 640].min(), 200)
        self.assertEqual(poster[5, 5].max(), 0)

    def test_counts_in_the_size_limit(self):
        self.scene.write_bytes(ply(hills(columns=COLUMNS, rows=ROWS)))
        self.share("--poster")
        limit = self.output.stat().st_size - 2000
        self.assertLess(self.share("--poster", "--size-limit", f"{limit}B").count, 7500)
        self.assertLessEqual(self.output.stat().st_size, limit)


class Failures(ShareTest):
    def test_what_is_no_scene(self):
        broken = (b"", b"no scene at all", b"ply\nformat ascii 1.0\nend_header\n", SMALL[:10], SMALL[:-40],
                  b"\x1f\x8bbroken", b"PK\3\4broken", b"glTFbroken")
        for content in broken:
            with self.subTest(content=content[:20]):
                self.scene.write_bytes(content)
                self.check_failure(self.run_program(self.scene, self.folder / "new" / "a.html"), str(self.scene))
                self.assertEqual(self.names(), ["scene.ply"])

    def test_missing_scene_and_folder(self):
        self.scene.unlink()
        self.check_failure(self.run_program(self.scene, self.output), str(self.scene))
        self.check_failure(self.run_program(self.folder, self.output), "not a regular file")
        self.assertEqual(self.names(), [])

    def test_photograph_in_place_of_the_scene(self):
        for kind in ("PNG", "JPEG", "WEBP", "TIFF"):
            Image.new("RGB", (20, 20)).save(self.scene, kind)
            self.check_failure(self.run_program(self.scene, self.output), str(self.scene), "is a photograph",
                               "vistrel-convert")
        self.assertEqual(self.names(), ["scene.ply"])

    def test_scene_without_gaussians(self):
        for gaussians, reason in (([], "no Gaussians"), ([ball((float("nan"), 0, 3), 0.5)], "no Gaussian")):
            self.scene.write_bytes(ply(gaussians))
            self.check_failure(self.run_program(self.scene, self.output), str(self.scene), reason)
        self.assertEqual(self.names(), ["scene.ply"])

    def test_output_that_cannot_be_written_is_told_before_the_scene_is_read(self):
        self.scene.write_bytes(b"broken")
        self.output.mkdir()
        self.check_failure(self.run_program(self.scene, self.output), str(self.output), "Cannot open output file")

    def test_folder_that_cannot_be_made(self):
        (self.folder / "file").write_bytes(b"kept")
        wrong = self.folder / "file" / "a.html"
        self.check_failure(self.run_program(self.scene, wrong), str(wrong), "Cannot open output file")
        self.assertEqual((self.folder / "file").read_bytes(), b"kept")

    def test_full_disk_keeps_the_former_page(self):
        self.output.write_bytes(b"former")
        self.check_failure(self.run_program(self.scene, self.output, largest_file=500), str(self.output),
                           "could not be written")
        self.assertEqual((self.output.read_bytes(), self.names()), (b"former", ["page.html", "scene.ply"]))

    def test_device_without_room(self):
        self.output.symlink_to("/dev/full")
        self.check_failure(self.run_program(self.scene, self.output), "could not be written")

    def test_process_that_is_ended_leaves_the_former_page(self):
        self.scene.write_bytes(ply(hills()))
        self.output.write_bytes(b"former")
        for stop in (signal.SIGINT, signal.SIGTERM, signal.SIGKILL):
            process = subprocess.Popen([PROGRAM, "--poster", self.scene, self.output], stderr=subprocess.PIPE)
            # It works on a second thread, from which on it can be interrupted.
            while len(list(Path(f"/proc/{process.pid}/task").glob("*"))) < 2:
                self.assertIsNone(process.poll())
                time.sleep(0.001)
            process.send_signal(stop)
            self.assertEqual((process.communicate(timeout=120)[1], process.returncode), (b"", -stop))
            self.assertEqual((self.output.read_bytes(), self.names()), (b"former", ["page.html", "scene.ply"]))


class WrongUsage(ShareTest):
    def test_is_told_with_status_2_and_touches_nothing(self):
        good = [self.scene, self.output]
        for arguments in (
                [], [self.scene], [*good, "more"], ["--unknown", *good], ["--keep-ratio", "1.1", *good],
                ["--keep-ratio", "-0.1", *good], ["--keep-ratio", "nan", *good], ["--keep-ratio", "half", *good],
                ["--size-limit", "", *good], ["--size-limit", "10", *good], ["--size-limit", "-1MB", *good],
                ["--size-limit", "10MBit", *good], ["--spz-frame", "other", *good], [self.scene, "page"],
                [self.scene, "page.txt"], [self.scene, "page.html.ply"], [self.scene, self.scene]):
            with self.subTest(arguments=arguments):
                result = self.run_program(*arguments, cwd=self.folder)
                self.assertEqual(result.returncode, 2, result.stderr)
                self.assertNotEqual(result.stderr, b"")
        self.assertEqual((self.scene.read_bytes(), self.names()), (SMALL, ["scene.ply"]))

    def test_page_that_is_the_scene_by_a_link(self):
        self.output.symlink_to(self.scene)
        self.assertEqual(self.run_program(self.scene, self.output).returncode, 2)
        self.assertEqual(self.scene.read_bytes(), SMALL)

    def test_help_and_version(self):
        self.check_help(b"--size-limit")

    def test_help_that_cannot_be_printed_ends_with_one(self):
        self.check_help_without_room()


if __name__ == "__main__":
    unittest.main()

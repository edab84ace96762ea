# SPDX-License-Identifier: GPL-3.0-or-later
"""WebP by PIL and cwebp."""

import io
import struct
import subprocess
import unittest

import numpy as np
from PIL import Image, ImageCms

from decoding import DecoderTest, NotMine

WIDTH, HEIGHT = 64, 48


def smooth():
    y, x = np.mgrid[0:HEIGHT, 0:WIDTH]
    return np.dstack([x * 4, y * 5, 255 - x * 2 - y * 2]).astype(np.uint8)


def noise(samples=3):
    return np.random.default_rng(1).integers(0, 256, (HEIGHT, WIDTH, samples), np.uint8)


def webp(pixels, **options):
    stream = io.BytesIO()
    Image.fromarray(pixels).save(stream, "WEBP", **options)
    return stream.getvalue()


def chunk(name, content):
    return name + struct.pack("<I", len(content)) + content + b"\0" * (len(content) % 2)


def file_of(*chunks):
    return chunk(b"RIFF", b"WEBP" + b"".join(chunks))


def three_bytes(number):
    return struct.pack("<I", number)[:3]


class WebpTest(DecoderTest):
    KIND = "webp"
    def test_lossless(self):
        decoded = self.decode(webp(noise(), lossless=True))
        np.testing.assert_array_equal(decoded.pixels[..., :3], noise())
        self.assertTrue((decoded.pixels[..., 3] == 255).all())
        self.assertEqual((decoded.format, decoded.model, decoded.orientation, decoded.icc,
                          decoded.exif, decoded.exifTurns), (0, 0, 1, "", "", False))

    def test_lossy_as_the_library_shows_it(self):
        file = webp(smooth(), quality=90)
        decoded = self.decode(file)
        difference = np.abs(decoded.pixels[..., :3].astype(int) - smooth())
        self.assertLess(difference.mean(), 3)
        np.testing.assert_array_equal(decoded.pixels[..., :3],
                                      np.array(Image.open(io.BytesIO(file)).convert("RGB")))
        self.assertTrue(decoded.opaque)
        self.assertTrue((decoded.pixels[..., 3] == 255).all())

    def test_alpha(self):
        pixels = noise(4)
        decoded = self.decode(webp(pixels, lossless=True, exact=True))
        np.testing.assert_array_equal(decoded.pixels, pixels)
        self.assertFalse(decoded.opaque)
        soft = np.dstack([smooth(), noise(1)])
        decoded = self.decode(webp(soft, quality=90, exact=True))
        np.testing.assert_array_equal(decoded.pixels[..., 3], soft[..., 3])
        self.assertFalse(decoded.opaque)

    def test_alpha_that_the_head_of_the_picture_denies(self):
        file = bytearray(webp(noise(4), lossless=True, exact=True))
        self.assertEqual(file[12:16], b"VP8L")
        file[24] &= ~0x10
        decoded = self.decode(bytes(file))
        self.assertTrue(not decoded.opaque or (decoded.pixels[..., 3] == 255).all())

    def test_grey(self):
        grey = np.repeat(noise(1), 3, axis=2)
        decoded = self.decode(webp(grey, lossless=True))
        np.testing.assert_array_equal(decoded.pixels[..., :3], grey)

    def test_profile_and_exif_are_told_and_nothing_is_turned(self):
        profile = ImageCms.ImageCmsProfile(ImageCms.createProfile("sRGB")).tobytes()
        for mark in (b"", b"Exif\0\0"):
            for orientation in range(1, 9):
                exif = Image.Exif()
                exif[0x0112] = orientation
                block = exif.tobytes().removeprefix(b"Exif\0\0")
                with self.subTest(mark=mark, orientation=orientation):
                    decoded = self.decode(
                        webp(smooth(), lossless=True, icc_profile=profile, exif=mark + block))
                    self.assertEqual(bytes.fromhex(decoded.icc), profile)
                    self.assertEqual(bytes.fromhex(decoded.exif), block)
                    self.assertEqual((decoded.orientation, decoded.exifTurns), (1, True))
                    np.testing.assert_array_equal(decoded.pixels[..., :3], smooth())

    def test_the_first_frame_of_an_animation_on_its_canvas(self):
        frame = webp(noise(), lossless=True)[12:]
        head = chunk(b"VP8X", struct.pack("<I", 2) + three_bytes(99) + three_bytes(69))
        animation = chunk(b"ANIM", bytes(6))
        place = three_bytes(5) + three_bytes(3)  # halves
        rest = three_bytes(WIDTH - 1) + three_bytes(HEIGHT - 1) + three_bytes(100) + b"\0"
        frames = chunk(b"ANMF", place + rest + frame), chunk(b"ANMF", bytes(6) + rest + frame)
        decoded = self.decode(file_of(head, animation, *frames))
        canvas = np.zeros((70, 100, 4), np.uint8)
        canvas[6:6 + HEIGHT, 10:10 + WIDTH] = np.dstack([noise(), np.full((HEIGHT, WIDTH), 255)])
        np.testing.assert_array_equal(decoded.pixels, canvas)
        self.assertFalse(decoded.opaque)

    def test_an_animation_of_pil(self):
        pages = [Image.fromarray(smooth()), Image.fromarray(noise())]
        stream = io.BytesIO()
        pages[0].save(stream, "WEBP", save_all=True, append_images=pages[1:], lossless=True)
        decoded = self.decode(stream.getvalue())
        np.testing.assert_array_equal(decoded.pixels[..., :3], smooth())

    def test_a_file_of_cwebp(self):
        source, target = self.folder / "source.png", self.folder / "target.webp"
        Image.fromarray(noise()).save(source)
        subprocess.run(["cwebp", "-quiet", "-lossless", source, "-o", target], check=True)
        np.testing.assert_array_equal(self.decode(target.read_bytes()).pixels[..., :3], noise())

    def test_bytes_behind_the_picture_do_no_harm(self):
        decoded = self.decode(webp(noise(), lossless=True) + b"more")
        np.testing.assert_array_equal(decoded.pixels[..., :3], noise())

    def test_other_kinds(self):
        for file in (b"", b"RIFF", b"RIFF\4\0\0\0WAVE" + bytes(20), b"\xFF\xD8\xFF" + bytes(20)):
            with self.subTest(file=file[:4]), self.assertRaises(NotMine):
                self.decode(file)

    def test_cut_files(self):
        profile = bytes(500)
        for file in (webp(noise(), lossless=True), webp(noise(), quality=80),
                     webp(noise(4), quality=80), webp(noise(), icc_profile=profile)):
            for size in (12, 25, 60, len(file) // 2, len(file) - 2):
                with self.subTest(kind=file[12:16], size=size):
                    self.assert_refused(file[:size], "^It is cut short.$")

    def test_a_giant_picture_of_a_tiny_file(self):
        size = three_bytes(60000 - 1)
        head = chunk(b"VP8X", bytes(4) + size + size)
        picture = webp(noise(), lossless=True)[12:]
        self.assert_refused(file_of(head, picture), "damaged|60000 x 60000")
        sides = 0x2F | (16383 - 1) << 8 | (16383 - 1) << 22
        lossless = chunk(b"VP8L", struct.pack("<Q", sides)[:5] + bytes(30))
        self.assert_refused(file_of(lossless), "16383 x 16383 pixels, and at most 200 megapixels")

    def test_damaged_files(self):
        for lossless in (False, True):
            file = bytearray(webp(noise(), lossless=lossless))
            file[24:200] = bytes(176)
            with self.subTest(lossless=lossless):
                self.assert_refused(bytes(file), "^It is damaged.$")

    def test_a_frame_outside_of_its_canvas(self):
        head = chunk(b"VP8X", struct.pack("<I", 2) + three_bytes(WIDTH) + three_bytes(HEIGHT))
        place = three_bytes(5) + three_bytes(3)
        rest = three_bytes(WIDTH - 1) + three_bytes(HEIGHT - 1) + three_bytes(100) + b"\0"
        frame = chunk(b"ANMF", place + rest + webp(noise(), lossless=True)[12:])
        self.assert_refused(file_of(head, chunk(b"ANIM", bytes(6)), frame), "damaged")


if __name__ == "__main__":
    unittest.main()

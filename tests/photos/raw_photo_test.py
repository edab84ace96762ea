# SPDX-License-Identifier: GPL-3.0-or-later
"""Camera raw: the sensor's samples of known pictures as DNG files."""

import os
import struct
import unittest

import numpy as np

from decoding import DecoderTest, NotMine, Refused
from tiff_files import ASCII, BYTE, LONG, RATIONAL, SHORT, SRATIONAL, picture_tags, tiff

# libraw's threads wait for each other without keeping the processor busy.
os.environ["OMP_WAIT_POLICY"] = "passive"

WIDTH, HEIGHT = 64, 48
FILTERS, LINEAR = 32803, 34892
XYZ_TO_SRGB = np.array([[3.2404542, -1.5371385, -0.4985314], [-0.9692660, 1.8760108, 0.0415560],
                        [0.0556434, -0.2040259, 1.0572252]])
NEUTRAL = np.array([0.5, 1, 0.7])  # what the sensor sees of white
BLACK, WHITE = 512, 16383


def scene(width=WIDTH, height=HEIGHT):
    """Soft colours with white below, so that white is as bright as the picture gets."""
    y, x = np.mgrid[0:height, 0:width] / [[[height]], [[width]]]
    colours = np.dstack([0.2 + 0.6 * x, 0.7 - 0.5 * y, 0.3 + 0.4 * (1 - x)])
    colours[y >= 0.75] = 1
    return np.round(colours * 255).astype(np.uint8)


def light(pixels):
    share = pixels / 255
    return np.where(share <= 0.04045, share / 12.92, ((share + 0.055) / 1.055) ** 2.4)


def sensor(pixels):
    """The sensor's red, green and blue."""
    return BLACK + light(pixels) * NEUTRAL * (WHITE - BLACK)


def filtered(samples):
    """One of the three at each place: red and green, green and blue."""
    one = samples[..., 1].copy()
    one[::2, ::2] = samples[::2, ::2, 0]
    one[1::2, 1::2] = samples[1::2, 1::2, 2]
    return np.round(one).astype("<u2")


def dng_tags(width, height, bits=(16,), photometric=FILTERS, **more):
    tags = picture_tags(width, height, list(bits), photometric)
    tags |= {
        254: (LONG, [0]),
        271: (ASCII, "Maker"),
        272: (ASCII, "Model"),
        33421: (SHORT, [2, 2]),
        33422: (BYTE, [0, 1, 1, 2]),
        50706: (BYTE, [1, 4, 0, 0]),
        50708: (ASCII, "Maker Model"),
        50714: (LONG, [BLACK]),
        50717: (LONG, [WHITE]),
        50721: (SRATIONAL, (NEUTRAL[:, None] * XYZ_TO_SRGB).ravel().tolist()),
        50728: (RATIONAL, NEUTRAL.tolist()),
        50778: (SHORT, [21]),  # measured in daylight
    }
    return tags | {int(tag[1:]): value for tag, value in more.items()}


def dng(pixels, order="<", **more):
    height, width = pixels.shape[:2]
    samples = filtered(sensor(pixels)).astype(order + "u2")
    return tiff((dng_tags(width, height, **more), [samples.tobytes()]), order=order)


def same_as_before(side):
    """JPEG's lossless way, in which every sample is as its neighbours foretell: one bit each."""
    frame = struct.pack(">BHHBBBB", 16, side, side, 1, 1, 0x11, 0)
    codes = bytes([0, 1, *[0] * 15, 0])  # one code of one bit: no difference
    scan = bytes([1, 1, 0, 1, 0, 0])
    segments = ((0xC3, frame), (0xC4, codes), (0xDA, scan))
    head = b"".join(struct.pack(">BBH", 255, mark, len(content) + 2) + content
                    for mark, content in segments)
    return b"\xFF\xD8" + head + bytes(side * side // 8) + b"\xFF\xD9"


class RawTest(DecoderTest):
    KIND = "raw"
    def assert_shows(self, decoded, pixels, slack=6):
        """Away from edges, where the colours between the sensor's are guessed."""
        self.assertEqual(decoded.pixels.shape[:2], pixels.shape[:2])
        self.assertTrue((decoded.pixels[..., 3] == 255).all())
        difference = np.abs(decoded.pixels[..., :3].astype(int) - pixels)
        self.assertLess(np.percentile(difference, 90), slack)
        self.assertLess(difference.mean(), slack / 2)

    def test_the_colours_are_those_of_the_scene(self):
        for order in "<>":
            with self.subTest(order=order):
                decoded = self.decode(dng(scene(), order))
                self.assertEqual((decoded.format, decoded.model, decoded.opaque,
                                  decoded.orientation, decoded.reduction, decoded.icc),
                                 (0, 0, True, 1, 1, ""))
                self.assert_shows(decoded, scene())

    def test_every_orientation_is_applied(self):
        turned = {1: lambda p: p, 2: lambda p: p[:, ::-1], 3: lambda p: p[::-1, ::-1],
                  4: lambda p: p[::-1], 5: lambda p: p.transpose(1, 0, 2),
                  6: lambda p: np.rot90(p, -1), 7: lambda p: p[::-1, ::-1].transpose(1, 0, 2),
                  8: lambda p: np.rot90(p)}
        for orientation, turn in turned.items():
            with self.subTest(orientation=orientation):
                decoded = self.decode(dng(scene(), _274=(SHORT, [orientation])))
                self.assertEqual(decoded.orientation, 1)
                self.assert_shows(decoded, turn(scene()))

    def test_twelve_bits_in_a_row(self):
        samples = filtered(sensor(scene())) >> 2
        ones = (samples[..., None] >> np.arange(11, -1, -1)) & 1
        tags = dng_tags(WIDTH, HEIGHT, [12], _50714=(LONG, [BLACK // 4]),
                        _50717=(LONG, [WHITE // 4]))
        packed = np.packbits(ones.astype(np.uint8)).tobytes()
        self.assert_shows(self.decode(tiff((tags, [packed]))), scene())
        with self.assertRaisesRegex(Refused, "It is cut short"):
            self.decode(tiff((tags, [packed]))[:-1000])

    def test_filters_of_six_by_six(self):
        pattern = np.array([[1, 1, 0, 1, 1, 2], [1, 1, 2, 1, 1, 0], [2, 0, 1, 0, 2, 1],
                            [1, 1, 2, 1, 1, 0], [1, 1, 0, 1, 1, 2], [0, 2, 1, 2, 0, 1]])
        large = scene(522, 516)  # libraw guesses the colours of no smaller ones
        places = np.tile(pattern, (86, 87))
        samples = np.take_along_axis(sensor(large), places[..., None], axis=2)
        file = samples.round().astype("<u2").tobytes()
        tags = dng_tags(522, 516) | {33421: (SHORT, [6, 6]),
                                     33422: (BYTE, pattern.ravel().tolist())}
        self.assert_shows(self.decode(tiff((tags, [file]))), large)
        tags[50829] = (LONG, [2, 1, 516, 522])  # the part that is shown
        self.assert_shows(self.decode(tiff((tags, [file]))), large[2:, 1:])

    def test_filters_that_libraw_cannot_bear(self):
        for order in "<>":
            for tag, sides in ((33422, [2, 2]), (33422, [6, 7]), (64777, [6, 6])):
                with self.subTest(order=order, tag=tag, sides=sides):
                    file = dng(scene(), order, _33421=(SHORT, sides),
                               **{f"_{tag}": (BYTE, [0, 1, 2] * 12)})
                    self.assertEqual(self.decode(file).pixels.shape, (HEIGHT, WIDTH, 4))

    def test_every_pixel_has_all_colours(self):
        samples = np.round(sensor(scene())).astype("<u2")
        tags = dng_tags(WIDTH, HEIGHT, [16] * 3, LINEAR)
        tags = {tag: value for tag, value in tags.items() if tag not in (33421, 33422)}
        decoded = self.decode(tiff((tags, [samples.tobytes()])))
        self.assert_shows(decoded, scene(), slack=3)

    def test_a_sensor_without_colours(self):
        grey = np.repeat(scene()[..., 1:2], 3, axis=2)
        samples = np.round(BLACK + light(grey[..., 0]) * (WHITE - BLACK)).astype("<u2")
        tags = dng_tags(WIDTH, HEIGHT, [16], LINEAR)
        tags = {tag: value for tag, value in tags.items()
                if tag not in (33421, 33422, 50721, 50728, 50778)}
        decoded = self.decode(tiff((tags, [samples.tobytes()])))
        self.assert_shows(decoded, grey, slack=3)

    def test_the_number_of_threads_changes_nothing(self):
        random = np.random.default_rng(1)
        pixels = random.integers(0, 256, (300, 400, 3), np.uint8)
        file = dng(pixels)
        pictures = []
        for threads in ("1", "2", "5"):
            os.environ["OMP_NUM_THREADS"] = threads
            self.addCleanup(os.environ.pop, "OMP_NUM_THREADS", None)
            pictures.append(self.decode(file).pixels.tobytes())
        self.assertEqual(len(set(pictures)), 1)

    def flat(self, width, height):
        """Half of the brightest everywhere, in losslessly compressed tiles that are all the same
        one."""
        side = 1024
        tags = dng_tags(width, height, _259=(SHORT, [7]), _322=(LONG, [side]), _323=(LONG, [side]))
        tiles = -(-width // side) * -(-height // side)
        tags[325] = (LONG, [1] * tiles)
        tile = same_as_before(side)
        file = tiff((tags, [tile] + [b""] * (tiles - 1)))
        first = len(file) - len(tile)
        offsets = struct.pack(f"<{tiles}I", first, *[len(file)] * (tiles - 1))
        return file.replace(offsets, struct.pack("<I", first) * tiles)

    def test_large_ones_are_developed_at_half_their_size(self):
        decoded = self.decode(self.flat(6146, 6146))
        self.assertEqual((decoded.width, decoded.height, decoded.reduction), (3073, 3073, 2))
        self.assertTrue((decoded.pixels == decoded.pixels[0, 0]).all())

    def test_narrow_ones_are_not(self):
        decoded = self.decode(self.flat(6144, 48))
        self.assertEqual((decoded.width, decoded.height, decoded.reduction), (6144, 48, 1))

    def test_other_kinds(self):
        for file in (b"", b"\xFF\xD8\xFF\xE0" + bytes(2000), b"\x89PNG\r\n\x1A\n" + bytes(99),
                     bytes(5000)):
            with self.subTest(file=file[:4]), self.assertRaises(NotMine):
                self.decode(file)

    def test_cut_files(self):
        file = dng(scene())
        for size in (len(file) - 2, len(file) - 1000, len(file) // 2, 1000):
            with self.subTest(size=size), self.assertRaisesRegex(Refused, "^It is cut short.$"):
                self.decode(file[:size])
        for size in (20, 100, 300):
            with self.subTest(size=size), self.assertRaises((Refused, NotMine)):
                self.decode(file[:size])

    def test_giant_pictures_of_tiny_files(self):
        for width, height in ((60000, 60000), (20001, 10000)):
            with self.subTest(width=width), self.assertRaisesRegex(
                    Refused, "^It has .* pixels, and at most 200 megapixels are read.$"):
                self.decode(tiff((dng_tags(width, height), [b"abcd"])))

    def test_a_giant_picture_that_is_allowed_but_not_there(self):
        with self.assertRaisesRegex(Refused, "^It is cut short.$"):
            self.decode(tiff((dng_tags(14000, 14000), [b"abcd"])))

    def test_wrong_tags(self):
        for words, more in (("", {"_259": (SHORT, [9999])}),
                            ("", {"_258": (SHORT, [77])}),
                            ("", {"_277": (SHORT, [9])}),
                            ("", {"_33422": (BYTE, [9, 9, 9, 9])})):
            with self.subTest(more=more):
                try:
                    self.decode(dng(scene(), **more))
                except (NotMine, Refused) as refused:
                    self.assertRegex(str(refused), r"^(It .*\.)?$" + words)


if __name__ == "__main__":
    unittest.main()

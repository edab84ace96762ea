# SPDX-License-Identifier: GPL-3.0-or-later
"""TIFF in all its layouts by libtiff's own tools, PIL, and byte by byte."""

import io
import struct
import subprocess
import unittest
import zlib

import numpy as np
from PIL import Image, ImageCms

from decoding import DecoderTest, NotMine, Refused
from tiff_files import ASCII, BYTE, LONG, SHORT, picture_tags, tiff

WIDTH, HEIGHT = 64, 48
WHITE_IS_ZERO, BLACK_IS_ZERO, RGB, INKS = 0, 1, 2, 5
BYTES, WORDS, FLOATS = 0, 1, 2


def noise(samples, kind=np.uint8, seed=1):
    full = np.iinfo(kind).max
    random = np.random.default_rng(seed)
    return random.integers(0, full + 1, (HEIGHT, WIDTH, samples), kind)


def smooth():
    y, x = np.mgrid[0:HEIGHT, 0:WIDTH]
    return np.dstack([x * 4, y * 5, 255 - x * 2 - y * 2]).astype(np.uint8)


def stored(pixels, photometric, order="<", **more):
    """The samples of `pixels` as they are, in one strip."""
    bits = [8 * pixels.dtype.itemsize] * pixels.shape[2]
    tags = picture_tags(WIDTH, HEIGHT, bits, photometric, **more)
    return tiff((tags, [pixels.astype(pixels.dtype.newbyteorder(order)).tobytes()]), order=order)


class TiffTest(DecoderTest):
    KIND = "tiff"
    def saved(self, pixels, mode=None, **options):
        stream = io.BytesIO()
        Image.fromarray(pixels, mode).save(stream, "TIFF", **options)
        return stream.getvalue()

    def copied(self, file, *options):
        """`file` rewritten by tiffcp."""
        source, target = self.folder / "source.tif", self.folder / "target.tif"
        source.write_bytes(file)
        subprocess.run(["tiffcp", *options, source, target], check=True, capture_output=True)
        return target.read_bytes()

    def assert_opaque(self, decoded, pixels):
        full = 1 if decoded.format == FLOATS else np.iinfo(decoded.pixels.dtype).max
        self.assertTrue(decoded.opaque)
        np.testing.assert_array_equal(decoded.pixels[..., :3], np.broadcast_to(
            pixels, (HEIGHT, WIDTH, 3)))
        self.assertTrue((decoded.pixels[..., 3] == full).all())


class LayoutTest(TiffTest):
    def test_every_compression_in_strips_and_tiles_and_planes(self):
        pixels = noise(3)
        plain = self.saved(pixels)
        for compression in ("none", "lzw", "lzw:2", "zip", "zip:2", "packbits", "lzma", "zstd:2"):
            for layout in ([], ["-r", "7"], ["-t", "-w", "16", "-l", "32"], ["-p", "separate"],
                           ["-p", "separate", "-t", "-w", "32", "-l", "16", "-B"]):
                with self.subTest(compression=compression, layout=layout):
                    self.assert_opaque(
                        self.decode(self.copied(plain, "-c", compression, *layout)), pixels)

    def test_both_byte_orders_and_big_tiff(self):
        pixels = noise(3, np.uint16)
        for order in "<>":
            file = stored(pixels, RGB, order)
            for big in (file, self.copied(file, "-8", "-B" if order == ">" else "-L")):
                with self.subTest(order=order, version=big[2:4]):
                    decoded = self.decode(big)
                    self.assertEqual(decoded.format, WORDS)
                    self.assert_opaque(decoded, pixels)

    def test_the_first_full_picture_of_several_pages(self):
        pixels = noise(3)
        small = picture_tags(2, 2, [8], BLACK_IS_ZERO, _254=(LONG, [1]))
        mask = picture_tags(2, 2, [8], BLACK_IS_ZERO, _254=(LONG, [4]))
        full = picture_tags(WIDTH, HEIGHT, [8, 8, 8], RGB, _254=(LONG, [0]))
        self.assert_opaque(self.decode(tiff(
            (small, [b"abcd"]), (mask, [b"abcd"]), (full, [pixels.tobytes()]),
            (small, [b"abcd"]))), pixels)

    def test_the_first_page_where_none_is_full(self):
        small = picture_tags(2, 2, [8], BLACK_IS_ZERO, _254=(LONG, [1]))
        decoded = self.decode(tiff((small, [b"abcd"]), (small, [b"efgh"])))
        self.assertEqual(decoded.pixels[..., 0].tobytes(), b"abcd")


class PixelsTest(TiffTest):
    def test_grey_of_all_depths(self):
        for bits in (1, 2, 4, 8, 12, 16):
            for photometric in (BLACK_IS_ZERO, WHITE_IS_ZERO):
                with self.subTest(bits=bits, photometric=photometric):
                    most = 2**bits - 1
                    values = np.random.default_rng(bits).integers(0, most + 1, (HEIGHT, WIDTH))
                    if bits == 16:
                        packed = values.astype("<u2").tobytes()
                    else:
                        ones = (values[..., None] >> np.arange(bits - 1, -1, -1)) & 1
                        packed = np.packbits(ones.astype(np.uint8)).tobytes()
                    file = tiff((picture_tags(WIDTH, HEIGHT, [bits], photometric), [packed]))
                    full = 255 if bits <= 8 else 65535
                    grey = (values * full + most // 2) // most
                    if photometric == WHITE_IS_ZERO:
                        grey = full - grey
                    self.assert_opaque(self.decode(file), grey[..., None])

    def test_fax(self):
        values = noise(1) & 1
        packed = np.packbits(values[..., 0], axis=1).tobytes()
        file = tiff((picture_tags(WIDTH, HEIGHT, [1], WHITE_IS_ZERO), [packed]))
        for kind in ("g3", "g3:2d", "g4"):
            with self.subTest(kind=kind):
                self.assert_opaque(self.decode(self.copied(file, "-c", kind)), 255 - values * 255)

    def test_a_palette(self):
        random = np.random.default_rng(4)
        palette = random.integers(0, 256, (256, 3), np.uint8)
        indices = random.integers(0, 256, (HEIGHT, WIDTH), np.uint8)
        picture = Image.fromarray(indices, "P")
        picture.putpalette(palette.tobytes())
        stream = io.BytesIO()
        picture.save(stream, "TIFF", compression="tiff_lzw")
        self.assert_opaque(self.decode(stream.getvalue()), palette[indices])

    def test_a_palette_of_four_bits_whose_colours_are_bytes(self):
        indices = np.arange(HEIGHT * WIDTH).reshape(HEIGHT, WIDTH) % 16
        colours = list(range(0, 240, 5))
        packed = (indices[:, ::2] << 4 | indices[:, 1::2]).astype(np.uint8).tobytes()
        file = tiff((picture_tags(WIDTH, HEIGHT, [4], 3, _320=(SHORT, colours)), [packed]))
        self.assert_opaque(self.decode(file), np.array(colours).reshape(3, 16).T[indices])

    def test_straight_alpha_is_kept(self):
        for kind in (np.uint8, np.uint16):
            for samples, colour in ((4, [0, 1, 2]), (2, [0, 0, 0])):
                with self.subTest(kind=kind, samples=samples):
                    pixels = noise(samples, kind)
                    photometric = RGB if samples == 4 else BLACK_IS_ZERO
                    decoded = self.decode(stored(pixels, photometric, _338=(SHORT, [2])))
                    self.assertFalse(decoded.opaque)
                    np.testing.assert_array_equal(decoded.pixels, pixels[..., [*colour, -1]])

    def test_colours_multiplied_by_alpha_are_divided_by_it(self):
        straight = noise(4, np.uint16)
        alpha = straight[..., 3:].astype(np.uint64)
        multiplied = straight.copy()
        multiplied[..., :3] = (straight[..., :3] * alpha + 32767) // 65535
        for separate in (False, True):
            with self.subTest(separate=separate):
                tags = picture_tags(WIDTH, HEIGHT, [16] * 4, RGB, _338=(SHORT, [1]),
                                    _284=(SHORT, [2 if separate else 1]))
                planes = [multiplied[..., i].tobytes() for i in range(4)]
                decoded = self.decode(
                    tiff((tags, planes if separate else [multiplied.tobytes()])))
                shown = alpha[..., 0] > 0
                difference = np.abs(decoded.pixels.astype(np.int64) - straight)[..., :3]
                slack = 65535 // (2 * np.maximum(alpha, 1)) + 1
                self.assertTrue((difference <= slack.astype(np.int64))[shown].all())
                np.testing.assert_array_equal(decoded.pixels[..., 3], straight[..., 3])
                self.assertTrue((decoded.pixels[~shown][..., :3] == 0).all())

    def test_a_fourth_sample_that_is_not_told_to_be_alpha_is_left_out(self):
        pixels = noise(4)
        self.assert_opaque(self.decode(stored(pixels, RGB, _338=(SHORT, [0]))), pixels[..., :3])

    def test_inks(self):
        for kind in (np.uint8, np.uint16):
            with self.subTest(kind=kind):
                pixels = noise(4, kind)
                decoded = self.decode(stored(pixels, INKS))
                self.assertEqual(decoded.model, 1)
                np.testing.assert_array_equal(decoded.pixels, pixels)

    def test_inks_of_pil(self):
        pixels = noise(4)
        decoded = self.decode(self.saved(pixels, "CMYK", compression="tiff_adobe_deflate"))
        self.assertEqual(decoded.model, 1)
        np.testing.assert_array_equal(decoded.pixels, pixels)

    def test_floating_numbers_are_linear_light(self):
        values = np.random.default_rng(5).uniform(-1, 3, (HEIGHT, WIDTH, 3))
        for kind in (np.float16, np.float32, np.float64):
            for order in "<>":
                with self.subTest(kind=kind, order=order):
                    pixels = values.astype(kind)
                    decoded = self.decode(stored(pixels, RGB, order, _339=(SHORT, [3, 3, 3])))
                    self.assertEqual((decoded.format, decoded.primaries, decoded.transfer),
                                     (FLOATS, 1, 8))
                    self.assert_opaque(decoded, pixels.astype(np.float32))

    def test_every_half_precision_number(self):
        values = np.arange(65536, dtype=np.uint16).reshape(256, 256, 1).view(np.float16)
        tags = picture_tags(256, 256, [16], BLACK_IS_ZERO, _339=(SHORT, [3]))
        decoded = self.decode(tiff((tags, [values.tobytes()])))
        np.testing.assert_array_equal(decoded.pixels[..., :1], values.astype(np.float32))

    def test_32_bits_lose_their_lower_half(self):
        pixels = noise(3, np.uint32)
        self.assert_opaque(self.decode(stored(pixels, RGB)), (pixels >> 16).astype(np.uint16))

    def test_jpeg_inside(self):
        pixels = smooth()
        plain = self.saved(pixels)
        for options in (["-c", "jpeg:r:95", "-r", "16"], ["-c", "jpeg:95", "-r", "16"],
                        ["-c", "jpeg:95", "-t", "-w", "16", "-l", "16"]):
            with self.subTest(options=options):
                decoded = self.decode(self.copied(plain, *options))
                difference = np.abs(decoded.pixels[..., :3].astype(int) - pixels)
                self.assertLess(difference.mean(), 3)
                self.assertTrue(decoded.opaque)

    def test_lab_is_converted(self):
        pixels = smooth()
        to_lab = ImageCms.buildTransform(ImageCms.createProfile("sRGB"),
                                         ImageCms.createProfile("LAB"), "RGB", "LAB")
        lab = ImageCms.applyTransform(Image.fromarray(pixels), to_lab)
        decoded = self.decode(stored(np.array(lab), 8))
        self.assertEqual(decoded.format, BYTES)
        difference = np.abs(decoded.pixels[..., :3].astype(int) - pixels)
        self.assertLess(difference.mean(), 20)  # the library knows one white only


class ToldTest(TiffTest):
    def test_every_orientation_is_told_and_not_applied(self):
        colours, luma = smooth(), np.repeat(noise(1), 3, axis=2)
        luma[..., 1:] = 128  # without colour, so that it is grey whatever the conversion
        for orientation in range(1, 9):
            tag = (SHORT, [orientation])
            with self.subTest(orientation=orientation):
                decoded = self.decode(stored(colours, RGB, _274=tag))
                self.assertEqual(decoded.orientation, orientation)
                self.assert_opaque(decoded, colours)
                converted = self.decode(stored(
                    luma, 6, _274=tag, _530=(SHORT, [1, 1]), _532=(
                        5, [0, 255, 128, 255, 128, 255])))
                self.assertEqual(converted.orientation, orientation)
                self.assert_opaque(converted, luma[..., :1])

    def test_nonsense_orientations_turn_nothing(self):
        for orientation in (0, 9, 65535):
            file = stored(smooth(), RGB, _274=(SHORT, [orientation]))
            self.assertEqual(self.decode(file).orientation, 1)

    def test_a_colour_profile(self):
        profile = ImageCms.ImageCmsProfile(ImageCms.createProfile("sRGB")).tobytes()
        decoded = self.decode(self.saved(smooth(), icc_profile=profile))
        self.assertEqual(bytes.fromhex(decoded.icc), profile)

    def test_a_picture_of_a_camera_is_no_raw_file(self):
        pixels = noise(3)
        self.assert_opaque(self.decode(
            stored(pixels, RGB, _271=(ASCII, "Canon"), _272=(ASCII, "EOS"))), pixels)


class OtherKindsTest(TiffTest):
    def assert_not_mine(self, file):
        with self.assertRaises(NotMine):
            self.decode(file)

    def test_other_files(self):
        for file in (b"", b"II", b"II*", b"MM\0+", b"\xFF\xD8\xFF\xE0" + bytes(20),
                     b"IIU\0" + bytes(20), b"IIRO" + bytes(20)):
            with self.subTest(file=file[:4]):
                if file in (b"MM\0+",):
                    self.assert_refused(file, "cut short")
                else:
                    self.assert_not_mine(file)

    def test_camera_raw(self):
        page = [b"\0" * 4]
        for big in (False, True):
            for order in "<>":
                with self.subTest(big=big, order=order):
                    version = picture_tags(2, 2, [8], RGB, _50706=(BYTE, [1, 4, 0, 0]))
                    self.assert_not_mine(tiff((version, page), order=order, big=big))
                    for photometric in (32803, 34892):
                        sensor = picture_tags(2, 2, [8], photometric)
                        small = picture_tags(2, 2, [8], BLACK_IS_ZERO)
                        self.assert_not_mine(
                            tiff((small, page), (sensor, page), order=order, big=big))

    def test_camera_raw_in_a_directory_below(self):
        sensor = tiff((picture_tags(2, 2, [8], 32803), [b"abcd"]))[8:]
        for count in (1, 2):
            file = tiff((picture_tags(2, 2, [8], RGB, _330=(LONG, [0] * count)), [b"a" * 12]))
            # Both below have no values of their own elsewhere, so they may lie anywhere.
            places = struct.pack(f"<{count}I", *[len(file)] * count)
            entry = file.index(struct.pack("<HHI", 330, 4, count)) + 8
            if count == 2:
                entry = struct.unpack_from("<I", file, entry)[0]
            with self.subTest(count=count):
                self.assert_not_mine(
                    file[:entry] + places + file[entry + len(places):] + sensor)

    def test_marks_of_makers(self):
        for head in (b"II*\0\x10\0\0\0CR\2\0", b"II*\0\x20\0\0\0IIIITwaR",
                     b"MM\0*\0\0\0\x20MMMMRawT"):
            with self.subTest(head=head):
                self.assert_not_mine(head + bytes(40))

    def test_samples_that_look_like_marks(self):
        for start in (b"CR\2\0", b"IIIIIIII", b"MMMMMMMM"):
            pixels = noise(3)
            pixels.reshape(-1)[:len(start)] = list(start)
            file = self.copied(self.saved(pixels))
            self.assertTrue(file[8:].startswith(start))
            with self.subTest(start=start):
                self.assert_opaque(self.decode(file), pixels)


class BadFileTest(TiffTest):
    def test_cut_files(self):
        pixels = noise(3)
        for options in (["-c", "none"], ["-c", "lzw"], ["-c", "zip", "-t", "-w", "16", "-l", "16"]):
            file = self.copied(self.saved(pixels), *options)
            for part in (0.01, 0.3, 0.9, 0.999):
                with self.subTest(options=options, part=part):
                    self.assert_refused(file[:int(len(file) * part)],
                                        "cut short|IO error during reading")
        file = stored(pixels, RGB)
        for size in (4, 7, 8, 9, 20, 100, 120, len(file) // 2, len(file) - 1):
            with self.subTest(size=size):
                self.assert_refused(file[:size], "cut short|damaged")

    def test_giant_pictures_of_tiny_files(self):
        for width, height in ((60000, 60000), (2**31, 1), (1, 2**32 - 1), (20001, 10000)):
            tags = picture_tags(width, height, [8, 8, 8], RGB)
            self.assert_refused(tiff((tags, [b"abc"])),
                                f"{width} x {height} pixels, and at most 200 megapixels")

    def test_no_pixels(self):
        self.assert_refused(tiff((picture_tags(0, 5, [8], BLACK_IS_ZERO), [b"abc"])),
                            "no pixels|damaged")

    def test_a_strip_that_holds_less_than_it_should(self):
        tags = picture_tags(14000, 14000, [8, 8, 8], RGB, _259=(SHORT, [8]))
        self.assert_refused(tiff((tags, [zlib.compress(bytes(1000))])), "damaged")

    def test_a_strip_that_holds_far_more_than_it_should(self):
        tags = picture_tags(WIDTH, HEIGHT, [8, 8, 8], RGB, _259=(SHORT, [8]))
        decoded = self.decode_or_refuse(tiff((tags, [zlib.compress(bytes(50_000_000), 9)])))
        if decoded is not None:
            self.assertEqual(decoded.pixels.shape, (HEIGHT, WIDTH, 4))

    def decode_or_refuse(self, file):
        try:
            return self.decode(file)
        except Refused as refused:
            self.assertIn("damaged", str(refused))
            return None

    def test_tiles_that_are_far_larger_than_the_picture(self):
        tags = picture_tags(WIDTH, HEIGHT, [8], BLACK_IS_ZERO, _322=(LONG, [60000]),
                            _323=(LONG, [60000]))
        self.assert_refused(tiff((tags, [b"abc"])), "tiles have 60000 x 60000")

    def test_thousands_of_samples(self):
        tags = picture_tags(WIDTH, HEIGHT, [8], BLACK_IS_ZERO) | {277: (SHORT, [60000])}
        self.assert_refused(tiff((tags, [b"abc"])), "damaged|too many samples")

    def test_what_is_not_read_has_its_reason(self):
        pixels = noise(3)
        for words, more in (
                ("compression .*34712", {"_259": (SHORT, [34712])}),
                ("signed", {"_339": (SHORT, [2, 2, 2])}),
                ("damaged|samples", {"_262": (SHORT, [INKS])}),
                ("kind of pixels|damaged", {"_262": (SHORT, [4])}),
                ("bits", {"_258": (SHORT, [24, 24, 24])})):
            with self.subTest(words=words):
                tags = picture_tags(WIDTH, HEIGHT, [8, 8, 8], RGB)
                tags |= {int(tag[1:]): value for tag, value in more.items()}
                self.assert_refused(tiff((tags, [pixels.tobytes() * 3])), words)

    def test_directories_in_a_ring(self):
        small = picture_tags(2, 2, [8], BLACK_IS_ZERO, _254=(LONG, [1]))
        file = bytearray(tiff((small, [b"abcd"])))
        file[8 + 2 + 12 * 10:][:4] = b""
        struct.pack_into("<I", file, 8 + 2 + 12 * len(small | {273: 0, 279: 0}), 8)
        self.assertEqual(self.decode(bytes(file)).pixels[..., 0].tobytes(), b"abcd")

    def test_values_that_lie_behind_the_end(self):
        file = stored(noise(3), RGB)
        bits = file.index(struct.pack("<HHI", 258, 3, 3)) + 8
        self.assert_refused(file[:bits] + b"\xFF\xFF\xFF\x7F" + file[bits + 4:], "damaged")


if __name__ == "__main__":
    unittest.main()

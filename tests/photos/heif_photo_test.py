# SPDX-License-Identifier: GPL-3.0-or-later
"""The decoder of HEIC, HEIF and AVIF, on files of heif-enc and on changed ones."""

import os
import struct
import subprocess
import unittest
import unittest.mock
from pathlib import Path

import numpy as np
from decoding import DecoderTest, NotMine
from heif_file import (HeifFile, Item, box, code_points, profile_property, size_property,
                       turning)
from PIL import ImageCms
from plain_png import exif_block, icc_chunk, png, rgba, soft_picture, upright

# All that is lost is what rounding to brightness and colour differences loses.
FULL = ["-L", "-p", "chroma=444"]
ROUNDING = 2
AVIF = ["-A"]
TOO_LARGE = "60000.*(at most 200 megapixels|200 megapixels at most)|200 megapixels at most.*60000"
LOSS = 8  # of 255: how far a sample of the soft picture may be off at good quality


class HeifTest(DecoderTest):
    KIND = "heif"

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.heic = cls.encode(soft_picture(), *FULL)

    @classmethod
    def encode(cls, pixels, *options, chunks=()):
        source, made = cls.folder / "source.png", cls.folder / "made.heic"
        source.write_bytes(png(pixels, *chunks))
        fast = "speed=9" if "-A" in options else "preset=ultrafast"
        subprocess.run(["heif-enc", *options, "-p", fast, source, "-o", made], check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        return made.read_bytes()


class PixelsTest(HeifTest):
    """Depths, channels and both codecs."""

    def test_lossless_hevc(self):
        decoded = self.decode(self.heic)
        self.assert_near(decoded, rgba(soft_picture()), ROUNDING)
        self.assertTrue(decoded.opaque)

    def test_lossless_av1(self):
        self.assert_near(self.decode(self.encode(soft_picture(), *AVIF, *FULL)),
                         rgba(soft_picture()), ROUNDING)

    def test_lossy_hevc_is_near(self):
        self.assert_near(self.decode(self.encode(soft_picture(), "-q", "90")),
                         rgba(soft_picture()), LOSS)

    def test_lossy_av1_is_near(self):
        self.assert_near(self.decode(self.encode(soft_picture(), *AVIF, "-q", "90")),
                         rgba(soft_picture()), LOSS)

    def test_odd_sides(self):
        pixels = soft_picture(97, 65)
        self.assert_near(self.decode(self.encode(pixels, *FULL)), rgba(pixels), ROUNDING)

    def test_very_wide_picture(self):
        pixels = soft_picture(20000, 64, channels=1)
        self.assert_same(self.decode(self.encode(pixels, "-L")), rgba(pixels))

    def test_grey(self):
        pixels = soft_picture(channels=1)
        self.assert_same(self.decode(self.encode(pixels, "-L")), rgba(pixels))

    def test_alpha(self):
        pixels = soft_picture(channels=4)
        for codec in ([], AVIF):
            decoded = self.decode(self.encode(pixels, *codec, *FULL))
            self.assert_near(decoded, pixels, ROUNDING)
            np.testing.assert_array_equal(decoded.pixels[..., 3], pixels[..., 3])
            self.assertFalse(decoded.opaque)

    def test_premultiplied_alpha_is_made_straight(self):
        pixels = soft_picture(channels=4)
        pixels[..., :3] = (pixels[..., :3] * (pixels[..., 3:] / 255)).round()
        decoded = self.decode(self.encode(pixels, *FULL, "--premultiplied-alpha"))
        self.assert_near(decoded, soft_picture(channels=4), 5 * ROUNDING)  # alpha is 0.2 and more

    def test_ten_and_twelve_bits(self):
        pixels = soft_picture(depth=16)
        # heif-enc fails to write ten bits of AV1 in other layouts.
        for depth, options in ((10, FULL), (12, FULL), (10, [*AVIF, "-L", "-p", "chroma=422"]),
                               (12, [*AVIF, *FULL])):
            with self.subTest(depth=depth, options=options):
                decoded = self.decode(self.encode(pixels, *options, "-b", str(depth)))
                loss = LOSS << 8 if "chroma=422" in options else ROUNDING << (16 - depth)
                self.assert_near(decoded, rgba(pixels), loss)
                self.assertEqual(decoded.pixels[..., 3].min(), 65535)

    def test_ten_bits_reach_from_black_to_white(self):
        pixels = np.zeros((64, 96, 1), np.uint16)
        pixels[:, 48:] = 65535
        self.assert_same(self.decode(self.encode(pixels, "-L", "-b", "10")), rgba(pixels))

    def test_ten_bits_with_alpha(self):
        pixels = soft_picture(channels=4, depth=16)
        self.assert_near(self.decode(self.encode(pixels, *FULL, "-b", "10")), pixels,
                         ROUNDING << 6)

    def test_grid_of_tiles(self):
        pixels = soft_picture(192, 128, channels=1)
        file = HeifFile(self.encode(pixels[:64, :96], "-L"))
        tiles = [file.primary]
        for number, corner in enumerate([(0, 96), (64, 0), (64, 96)]):
            part = pixels[corner[0]:corner[0] + 64, corner[1]:corner[1] + 96]
            tile = HeifFile(self.encode(part, "-L"))
            file.add(100 + number, tile.items[tile.primary])
            tiles.append(100 + number)
        file.add(200, Item(b"grid", struct.pack(">BBBBHH", 0, 0, 1, 1, 192, 128),
                           [size_property(192, 128)], {b"dimg": tiles}))
        file.primary = 200
        self.assert_same(self.decode(bytes(file)), rgba(pixels))


class TurningTest(HeifTest):
    """Each picture is turned once."""

    def test_container_turns(self):
        for orientation in range(1, 9):
            with self.subTest(orientation=orientation):
                file = HeifFile(self.heic)
                file.items[file.primary].properties += turning(orientation)
                decoded = self.decode(bytes(file))
                self.assert_near(decoded, rgba(upright(soft_picture(), orientation)), ROUNDING)
                self.assertEqual(decoded.orientation, 1)

    def test_exif_does_not_turn(self):
        file = HeifFile(self.heic)
        file.add(50, Item(b"Exif", bytes(4) + exif_block(6), [], {b"cdsc": [file.primary]}))
        decoded = self.decode(bytes(file))
        self.assert_near(decoded, rgba(soft_picture()), ROUNDING)
        self.assertEqual(decoded.orientation, 1)
        self.assertEqual(bytes.fromhex(decoded.exif), exif_block(6))

    def test_exif_behind_a_jpeg_head(self):
        for head, offset in ((b"Exif\0\0", 6), (b"Exif\0\0", 0)):
            file = HeifFile(self.heic)
            file.add(50, Item(b"Exif", struct.pack(">I", offset) + head + exif_block(3), [],
                              {b"cdsc": [file.primary]}))
            self.assertEqual(bytes.fromhex(self.decode(bytes(file)).exif), exif_block(3))

    def test_exif_offset_beyond_its_end(self):
        file = HeifFile(self.heic)
        file.add(50, Item(b"Exif", b"\xff\xff\xff\xff" + exif_block(3), [],
                          {b"cdsc": [file.primary]}))
        self.assertEqual(self.decode(bytes(file)).exif, "")


class ColoursTest(HeifTest):
    """What is told about colours."""

    def with_colours(self, *properties):
        file = HeifFile(self.heic)
        file.items[file.primary].replace(b"colr", *properties)
        return self.decode(bytes(file))

    def test_code_points(self):
        decoded = self.with_colours(code_points(12, 13, matrix=0))
        self.assertEqual((decoded.primaries, decoded.transfer, decoded.icc), (12, 13, ""))

    def test_unknown_code_points(self):
        decoded = self.with_colours(code_points(200, 201, matrix=202))
        self.assertEqual(decoded.pixels.shape, soft_picture(channels=4).shape)

    def test_nothing(self):
        decoded = self.with_colours()
        self.assertEqual((decoded.primaries, decoded.transfer, decoded.icc), (2, 2, ""))

    def test_profile(self):
        for kind in (b"prof", b"rICC"):
            decoded = self.with_colours(profile_property(b"a profile", kind),
                                        code_points(1, 13, matrix=0))
            self.assertEqual(bytes.fromhex(decoded.icc), b"a profile")
            self.assertEqual((decoded.primaries, decoded.transfer), (2, 2))

    def test_light_beyond_white_counts_more_than_a_profile(self):
        for transfer in (16, 18):
            decoded = self.with_colours(profile_property(b"a profile"),
                                        code_points(9, transfer, matrix=0))
            self.assertEqual((decoded.primaries, decoded.transfer, decoded.icc), (9, transfer, ""))

    def test_profile_that_the_encoder_takes_over(self):
        profile = ImageCms.ImageCmsProfile(ImageCms.createProfile("sRGB")).tobytes()
        made = self.encode(soft_picture(), *FULL, chunks=[icc_chunk(profile)])
        self.assertEqual(bytes.fromhex(self.decode(made).icc), profile)


def packed(bits):
    bits += "0" * (-len(bits) % 8 + 64)
    return int(bits, 2).to_bytes(len(bits) // 8, "big")


def exp_golomb(value):
    return "0" * ((value + 1).bit_length() - 1) + f"{value + 1:b}"


def hevc_sequence(width, height, sub_layers=0):
    """A sequence parameter set."""
    layers = ("11" * sub_layers + "00" * (8 - sub_layers) + "0" * 96 * sub_layers
              if sub_layers else "")
    return packed("0" + f"{33:06b}" + "0" * 6 + "001" + "0000" + f"{sub_layers:03b}1" + "0" * 96
                  + layers + exp_golomb(0) + exp_golomb(1) + exp_golomb(width)
                  + exp_golomb(height))


def av1_sequence(width, height, timing=None):
    """A sequence header unit: without `timing` the one of still pictures, else of moving ones."""
    if timing is None:
        points = "1" + "00000"
    else:
        model = "1" + "0" * 64 + "1" + "010" + "1" + "00011" + "0" * 42 if timing else "0"
        points = ("0" + model + "1" + "00001" + ("0" * 12 + "11111" + "0" + ("1" + "0" * 9) * timing
                                                 + "1" + "0000") * 2)
    header = packed("000" + "1" + points + "1111" * 2 + f"{width - 1:016b}{height - 1:016b}")
    return bytes([0x0A, len(header)]) + header


class CodedSizeTest(HeifTest):
    """Coded pictures that are larger than their container says."""

    def assert_too_large(self, file):
        self.assertEqual(self.refusal(bytes(file)), "It has 60000 x 50000 pixels, and at most 200 "
                         "megapixels are read.")

    def test_hevc_configuration(self):
        for sub_layers in (0, 2):
            file = HeifFile(self.heic)
            unit = hevc_sequence(60000, 50000, sub_layers)
            array = b"\x01\x21\0\x01" + struct.pack(">H", len(unit)) + unit
            file.items[file.primary].replace(b"hvcC", box(b"hvcC", bytes(21) + b"\x03" + array))
            self.assert_too_large(file)

    def test_hevc_data(self):
        file = HeifFile(self.heic)
        unit = hevc_sequence(60000, 50000)
        picture = file.items[file.primary]
        picture.data = struct.pack(">I", len(unit)) + unit + picture.data
        self.assert_too_large(file)

    def test_av1_data(self):
        made = self.encode(soft_picture(), *AVIF)
        for timing in (None, False, True):
            with self.subTest(timing=timing):
                file = HeifFile(made)
                picture = file.items[file.primary]
                picture.data = av1_sequence(60000, 50000, timing) + picture.data
                self.assert_too_large(file)


class BadFilesTest(HeifTest):
    """Sentences for what cannot be read."""

    def test_cut_anywhere(self):
        file = self.heic
        self.assertEqual(self.refusal(file[:-1]), "It is cut short.")
        for part in (0.02, 0.05, 0.1, 0.2, 0.5, 0.9):
            with self.subTest(part=part):
                self.assertEqual(self.refusal(file[:max(20, int(len(file) * part))]),
                                 "It is cut short.")

    def test_large_pictures_that_are_none(self):
        file = HeifFile(self.heic)
        file.items[file.primary].replace(b"ispe", size_property(60000, 60000))
        self.assertRegex(self.refusal(bytes(file)), TOO_LARGE)

    def test_large_grid_of_one_tile(self):
        for wide in (False, True):
            grid = struct.pack(">BBBBII" if wide else ">BBBBHH", 0, wide, 0, 0, 60000, 60000)
            overlay = struct.pack(">BB8xIIii" if wide else ">BB8xHHhh", 0, wide, 60000, 60000, 0, 0)
            for kind, data in ((b"grid", grid), (b"iovl", overlay)):
                file = HeifFile(self.heic)
                file.add(200, Item(kind, data, [size_property(64, 64)],
                                   {b"dimg": [file.primary]}))
                file.primary = 200
                self.assertRegex(self.refusal(bytes(file)), TOO_LARGE)

    def test_large_picture_cropped_to_a_small_one(self):
        file = HeifFile(self.heic)
        crop = box(b"clap", struct.pack(">8I", 64, 1, 48, 1, 0, 1, 0, 1))
        file.items[file.primary].replace(b"ispe", size_property(60000, 60000), crop)
        self.assertRegex(self.refusal(bytes(file)), TOO_LARGE)

    def test_no_pixels(self):
        file = HeifFile(self.heic)
        file.items[file.primary].replace(b"ispe", size_property(0, 48))
        self.refusal(bytes(file))

    def test_primary_picture_that_is_missing(self):
        file = HeifFile(self.heic)
        file.primary = 99
        self.assertIn("It is damaged: ", self.refusal(bytes(file)))

    def test_unknown_codec(self):
        file = HeifFile(self.heic)
        file.items[file.primary].kind = b"xyz1"
        self.refusal(bytes(file))

    def test_moving_pictures_alone(self):
        # Newer versions of libheif look into them first.
        self.assert_refused(box(b"ftyp", b"msf1" + bytes(4) + b"msf1hevc") + box(b"moov", b""),
                            "It holds no picture that stands still.|It is damaged: .*")

    def test_other_kinds(self):
        for data in (b"", b"\0\0\0\x08ftyp", box(b"ftyp", b"crx \0\0\0\1crx isom"),
                     box(b"ftyp", b"isom\0\0\2\0isomiso2avc1mp41"), png(soft_picture()),
                     self.heic[8:]):
            with self.assertRaises(NotMine):
                self.decode(data)


class MissingDecoderTest(HeifTest):
    """A libheif whose decoders are not installed."""

    def decode(self, data):
        preloaded = Path(os.environ["VISTREL_BIN"]).parent / "tests/no_heif_decoders.so"
        with unittest.mock.patch.dict(os.environ, LD_PRELOAD=str(preloaded)):
            return super().decode(data)

    def test_package_of_hevc(self):
        self.assertEqual(self.refusal(self.heic), "It is a HEIC picture, and libheif has no decoder "
                         "for these: install the package libheif-plugin-libde265.")

    def test_package_of_av1(self):
        made = self.encode(soft_picture(), *AVIF)
        self.assertEqual(self.refusal(made), "It is an AVIF picture, and libheif has no decoder for "
                         "these: install the package libheif-plugin-dav1d.")


if __name__ == "__main__":
    unittest.main()

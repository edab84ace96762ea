# SPDX-License-Identifier: GPL-3.0-or-later
"""The decoder of JPEG XL, on files of cjxl and exiftool."""

import struct
import subprocess
import unittest

import numpy as np
from decoding import DecoderTest, NotMine
from heif_file import box
from PIL import Image, ImageCms
from plain_png import chunk, exif_block, icc_chunk, png, rgba, soft_picture, upright

# Newer versions only note that colours are premultiplied.
CJXL_MULTIPLIES = b" v0.7" in subprocess.run(["cjxl", "--version"], capture_output=True,
                                             check=True).stdout
LOSS = 8  # of 255: how far a sample of the soft picture may be off at good quality
EXACT = ["-d", "0"]
SIGNATURE = box(b"JXL ", b"\r\n\x87\n") + box(b"ftyp", b"jxl \0\0\0\0jxl ")


PROFILE = ImageCms.ImageCmsProfile(ImageCms.createProfile("sRGB")).tobytes()
SRGB_EXPONENT = struct.pack(">I", 0x26666)  # 2.4, as a profile's parametric curve has it


def stored_brotli(content):
    """`content`, at most 65536 bytes, as a Brotli stream that compresses nothing."""
    return ((1 << 20) | (len(content) - 1) << 4).to_bytes(3, "little") + content + b"\x03"


def codestream_head(width, height, extra_channels=0):
    """What a codestream tells in front of its frames, of which there are none."""
    def size(value):
        return "01" + f"{value - 1:018b}"[::-1]
    metadata = "1"  # the usual colours, without alpha
    if extra_channels > 0:
        metadata = "00" + "0" + "00" + "1" + "11" + f"{extra_channels - 1:012b}"[::-1]
        metadata += "1" * extra_channels + "11" + "00"
    bits = "0" + size(height) + "000" + size(width) + metadata + "1"
    bits += "0" * (-len(bits) % 8 + 800)
    head = bytes(int(bits[at:at + 8][::-1], 2) for at in range(0, len(bits), 8))
    return b"\xff\x0a" + head


class JxlTest(DecoderTest):
    KIND = "jxl"

    @classmethod
    def encode(cls, pixels, *options, chunks=()):
        return cls.encode_file(png(pixels, *chunks), ".png", *options)

    @classmethod
    def encode_file(cls, data, ending, *options):
        source, made = cls.folder / f"source{ending}", cls.folder / "made.jxl"
        source.write_bytes(data)
        subprocess.run(["cjxl", source, made, *options], check=True, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL)
        return made.read_bytes()

    def assert_near(self, decoded, expected, loss=LOSS):
        super().assert_near(decoded, expected, loss)


class PixelsTest(JxlTest):
    """Depths and channels."""

    def test_lossless_is_exact(self):
        for channels in (1, 2, 3, 4):
            for depth in (8, 16):
                with self.subTest(channels=channels, depth=depth):
                    pixels = soft_picture(channels=channels, depth=depth)
                    decoded = self.decode(self.encode(pixels, *EXACT))
                    np.testing.assert_array_equal(decoded.pixels[..., :3], rgba(pixels)[..., :3])
                    # Some versions of cjxl write alpha of 8 bits beside colours of 16.
                    self.assert_near(decoded, rgba(pixels), 0 if depth == 8 else 129)
                    self.assertEqual(decoded.opaque, channels in (1, 3))

    def test_lossy_is_near(self):
        for channels in (1, 3, 4):
            with self.subTest(channels=channels):
                pixels = soft_picture(channels=channels)
                self.assert_near(self.decode(self.encode(pixels, "-d", "0.5")), rgba(pixels))

    def test_ten_bits_are_widened(self):
        pixels = soft_picture(depth=16)
        decoded = self.decode(self.encode(pixels, *EXACT, "--override_bitdepth=10"))
        self.assert_near(decoded, rgba(pixels), 64)
        self.assertEqual(decoded.pixels.dtype, np.uint16)

    def test_floats(self):
        light = (soft_picture() / np.float32(255)).astype("<f4")
        light[0, 0] = 1.5
        data = b"PF\n96 64\n-1\n" + light[::-1].tobytes()
        decoded = self.decode(self.encode_file(data, ".pfm", *EXACT, "-x",
                                               "color_space=RGB_D65_SRG_Rel_Lin"))
        self.assertEqual(decoded.pixels.dtype, np.float32)
        np.testing.assert_allclose(decoded.pixels[..., :3], light, atol=1e-6)
        self.assertEqual((decoded.primaries, decoded.transfer), (1, 8))

    def test_premultiplied_alpha_is_made_straight(self):
        pixels = soft_picture(channels=4)
        source = pixels.copy()
        if not CJXL_MULTIPLIES:
            source[..., :3] = (pixels[..., :3] * (pixels[..., 3:] / 255)).round()
        decoded = self.decode(self.encode(source, *EXACT, "--premultiply=1"))
        self.assert_near(decoded, pixels, 5)  # alpha is 0.2 and more

    def test_jpeg_within(self):
        source = self.folder / "plain.jpg"
        Image.fromarray(soft_picture()).save(source, quality=95)
        decoded = self.decode(self.encode_file(source.read_bytes(), ".jpg"))
        self.assert_near(decoded, rgba(np.array(Image.open(source))), 3)

    def test_first_frame_of_an_animation(self):
        frames = [Image.fromarray(np.full((64, 96), level, np.uint8)) for level in (50, 200)]
        source = self.folder / "frames.gif"
        frames[0].save(source, save_all=True, append_images=frames[1:], duration=100)
        decoded = self.decode(self.encode_file(source.read_bytes(), ".gif"))
        self.assertEqual((decoded.pixels[..., :3].min(), decoded.pixels[..., :3].max()), (50, 50))


class TurningTest(JxlTest):
    """Each picture is turned once."""

    def test_codestream_turns(self):
        for orientation in range(1, 9):
            with self.subTest(orientation=orientation):
                source = self.folder / "turned.jpg"
                exif = Image.Exif()
                exif[0x0112] = orientation
                Image.fromarray(soft_picture()).save(source, quality=95, exif=exif)
                made = self.encode_file(source.read_bytes(), ".jpg", "-j", "0", "-d", "0.1")
                decoded = self.decode(made)
                self.assert_near(decoded, rgba(upright(soft_picture(), orientation)))
                self.assertEqual(decoded.orientation, 1)

    def test_exif_does_not_turn(self):
        for box_content in (bytes(4), struct.pack(">I", 6) + b"Exif\0\0"):
            made = (SIGNATURE + box(b"Exif", box_content + exif_block(6))
                    + box(b"jxlc", self.encode(soft_picture(), *EXACT, "--container=0")))
            decoded = self.decode(made)
            self.assert_same(decoded, rgba(soft_picture()))
            self.assertEqual(decoded.orientation, 1)
            self.assertEqual(bytes.fromhex(decoded.exif), exif_block(6))

    def test_exif_behind_the_picture(self):
        made = (SIGNATURE + box(b"jxlc", self.encode(soft_picture(), *EXACT, "--container=0"))
                + box(b"Exif", bytes(4) + exif_block(6)))
        self.assertEqual(bytes.fromhex(self.decode(made).exif), exif_block(6))

    def test_compressed_exif(self):
        exif = exif_block(6) + bytes(20000)
        packed = box(b"brob", b"Exif" + stored_brotli(bytes(4) + exif))
        picture = box(b"jxlc", self.encode(soft_picture(), *EXACT, "--container=0"))
        for parts in ((packed, picture), (picture, packed)):
            decoded = self.decode(SIGNATURE + b"".join(parts))
            self.assert_same(decoded, rgba(soft_picture()))
            self.assertEqual(bytes.fromhex(decoded.exif), exif)

    def test_damaged_compressed_exif(self):
        packed = box(b"brob", b"Exif" + b"\xff" * 100)
        decoded = self.decode(SIGNATURE + packed + box(
            b"jxlc", self.encode(soft_picture(), *EXACT, "--container=0")))
        self.assert_same(decoded, rgba(soft_picture()))
        self.assertEqual(decoded.exif, "")


class ColoursTest(JxlTest):
    """What is told about colours."""

    def code_points(self, decoded):
        self.assertEqual(decoded.icc, "")
        return decoded.primaries, decoded.transfer

    def test_srgb(self):
        for options in (EXACT, ["-d", "0.5"]):
            decoded = self.decode(self.encode(soft_picture(), *options))
            self.assertEqual(self.code_points(decoded), (1, 13))

    def test_code_points(self):
        spaces = {"RGB_D65_SRG_Rel_SRG": (1, 13), "RGB_D65_DCI_Rel_SRG": (12, 13),
                  "RGB_D65_202_Rel_PeQ": (9, 16), "RGB_D65_202_Rel_HLG": (9, 18),
                  "RGB_D65_SRG_Rel_Lin": (1, 8), "RGB_DCI_DCI_Rel_DCI": (11, 17)}
        pixels = soft_picture(depth=16)
        data = b"P6\n96 64\n65535\n" + pixels.astype(">u2").tobytes()
        for name, expected in spaces.items():
            for options in (EXACT, ["-d", "0.5"]):
                with self.subTest(name=name, options=options):
                    made = self.encode_file(data, ".ppm", "-x", f"color_space={name}", *options)
                    self.assertEqual(self.code_points(self.decode(made)), expected)

    def test_profile_of_lossless_samples_is_told(self):
        decoded = self.decode(self.encode(soft_picture(), *EXACT, chunks=[icc_chunk(PROFILE)]))
        self.assert_same(decoded, rgba(soft_picture()))
        self.assertEqual(bytes.fromhex(decoded.icc), PROFILE)

    def test_lossy_samples_are_converted_from_their_profile(self):
        curve = PROFILE.replace(SRGB_EXPONENT, struct.pack(">I", 0x20000))
        self.assertNotEqual(curve, PROFILE)
        decoded = self.decode(self.encode(soft_picture(), "-d", "0.3", chunks=[icc_chunk(curve)]))
        self.assertEqual(self.code_points(decoded), (1, 13))
        signal = soft_picture() / 255
        light = np.where(signal > 0.04045, ((signal + 0.055) / 1.055) ** 2, signal / 12.92)
        expected = np.where(light > 0.0031308, 1.055 * light ** (1 / 2.4) - 0.055, 12.92 * light)
        self.assert_near(decoded, rgba((expected * 255).round().astype(np.uint8)))

    def test_other_primaries_of_lossy_samples_come_as_a_profile(self):
        swapped = PROFILE.replace(b"rXYZ", b"none").replace(b"gXYZ", b"rXYZ")
        made = self.encode(soft_picture(), "-d", "0.3",
                           chunks=[icc_chunk(swapped.replace(b"none", b"gXYZ"))])
        decoded = self.decode(made)
        self.assert_near(decoded, rgba(soft_picture()))
        self.assertIn(b"acsp", bytes.fromhex(decoded.icc))

    def test_light_beyond_white_comes_in_pq(self):
        white = np.full((64, 96, 3), 1, "<f4")
        made = self.encode_file(b"PF\n96 64\n-1\n" + white.tobytes(), ".pfm", "-d", "0.3", "-x",
                                "color_space=RGB_D65_SRG_Rel_Lin", "--intensity_target=1000")
        decoded = self.decode(made)
        self.assertEqual(self.code_points(decoded), (9, 16))
        thousand_nits = 0.7518
        self.assertLess(np.abs(decoded.pixels[..., :3] - thousand_nits).max(), 0.01)

    def test_curve_without_a_code_point_comes_as_a_profile(self):
        gamma = chunk(b"gAMA", struct.pack(">I", 55555))
        decoded = self.decode(self.encode(soft_picture(), *EXACT, chunks=[gamma]))
        self.assertIn(b"acsp", bytes.fromhex(decoded.icc))
        self.assert_same(decoded, rgba(soft_picture()))


class BadFilesTest(JxlTest):
    """Sentences for what cannot be read."""

    def test_cut_anywhere(self):
        for container in ("0", "1"):
            for options in (EXACT, ["-d", "1"]):
                made = self.encode(soft_picture(), *options, f"--container={container}")
                for size in (len(made) - 1, len(made) * 3 // 4, len(made) // 2, len(made) // 4):
                    with self.subTest(container=container, options=options, size=size):
                        self.assertEqual(self.refusal(made[:size]), "It is cut short.")

    def test_damaged(self):
        made = bytearray(self.encode(soft_picture(), *EXACT, "--container=0"))
        made[12:] = bytes(len(made) - 12)
        self.assertIn(self.refusal(bytes(made)), ("It is damaged.", "It is cut short."))

    def test_container_without_a_picture(self):
        self.assertEqual(self.refusal(SIGNATURE), "It is cut short.")

    def test_large_picture_that_is_none(self):
        self.assertEqual(self.refusal(codestream_head(60000, 60000)), "It has 60000 x 60000 pixels, "
                         "and at most 200 megapixels are read.")

    def test_many_channels_of_a_large_picture(self):
        self.assertEqual(self.refusal(codestream_head(14000, 14000, 100)), "Its 103 channels of "
                         "14000 x 14000 pixels are more than are read.")

    def test_other_kinds(self):
        for data in (b"", b"\xff", SIGNATURE[:8], b"\xff\xd8\xff\xe0", png(soft_picture()),
                     SIGNATURE[12:] + bytes(64)):
            with self.assertRaises(NotMine):
                self.decode(data)


if __name__ == "__main__":
    unittest.main()

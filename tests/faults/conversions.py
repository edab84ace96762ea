# SPDX-License-Identifier: GPL-3.0-or-later
"""The converter on the command line: one photograph, a folder of them, and its log."""

import io
import re
import subprocess
import tempfile
from functools import cache, cached_property
from pathlib import Path

import numpy as np
import onnx
from onnx import TensorProto, helper, numpy_helper
from PIL import Image

from operation import Operation

OLDER = b"older scene " * 1000


@cache
def photograph(seed):
    """A JPEG file of a picture that lies on its side."""
    pixels = np.random.default_rng(seed).integers(0, 256, (90, 120, 3), np.uint8)
    exif = Image.Exif()
    exif[0x0112] = 6
    file = io.BytesIO()
    Image.fromarray(pixels).save(file, "JPEG", quality=90, exif=exif)
    return file.getvalue()


@cache
def network():
    """An ONNX file that takes several reads; its scenes take several writes and depend on every
    pixel."""
    values = np.arange(20000 * 14, dtype=np.float32).reshape(1, 20000, 14)
    image = helper.make_tensor_value_info("image", TensorProto.FLOAT, [1, 3, 1536, 1536])
    output = helper.make_tensor_value_info("gaussians", TensorProto.FLOAT, values.shape)
    nodes = [helper.make_node("ReduceMean", ["image"], ["mean"], keepdims=0),
             helper.make_node("Add", ["values", "mean"], ["gaussians"])]
    graph = helper.make_graph(nodes, "network", [image], [output],
                              [numpy_helper.from_array(values, "values")])
    model = helper.make_model(graph, opset_imports=[helper.make_opsetid("", 17)], ir_version=8)
    onnx.checker.check_model(model)
    return model.SerializeToString()


@cache
def scene():
    """A PLY file of Gaussians that take several writes."""
    names = ("x", "y", "z", "f_dc_0", "f_dc_1", "f_dc_2", "opacity", "scale_0", "scale_1", "scale_2",
             "rot_0", "rot_1", "rot_2", "rot_3")
    rows = np.random.default_rng(1).normal(size=(40000, len(names))).astype("<f4")
    header = ["ply", "format binary_little_endian 1.0", f"element vertex {len(rows)}",
              *(f"property float {name}" for name in names), "end_header", ""]
    return "\n".join(header).encode() + rows.tobytes()


class Conversion(Operation):
    """Whose photographs lie in the folder "in", on their side."""
    usual = 4
    usual_kills = 4
    photographs = ("photo.jpg",)

    def prepare(self, folder):
        (folder / "in").mkdir()
        for i, name in enumerate(self.photographs):
            (folder / "in" / name).write_bytes(photograph(i))
        (folder / "in" / "net.onnx").write_bytes(network())

    def converter(self, folder, *words):
        return [self.programs / "vistrel-convert", "--model", folder / "in/net.onnx", *words]


WHY = (r"(create_directories: .*|.*cannot look at files?: .*|Cannot open output file(: .*)?"
       r"|(.*/)?[1-3a-z]+\.jpg: It (cannot be read: .*|changed while it was read)\.|.*net\.onnx.*"
       r"|Cannot write output file: .*)")


class ConvertOverOlder(Conversion):
    message = f"^Error: {WHY}$"
    usual_kills = 0

    def prepare(self, folder):
        super().prepare(folder)
        (folder / "photo.ply").write_bytes(OLDER)

    def command(self, folder):
        return self.converter(folder, folder / "in/photo.jpg", folder / "photo.ply")


class ConvertIntoNewFolder(Conversion):
    message = f"^Error: {WHY}$"

    def command(self, folder):
        return self.converter(folder, folder / "in/photo.jpg", folder / "a/b/photo.ply")


class BatchOverOlder(Conversion):
    photographs = ("1.jpg", "2.jpg", "3.jpg")
    policy = "overwrite"
    usual = 2
    message = r"^(Converted [0-2] of [13]\.|Error: .*)$"

    def prepare(self, folder):
        super().prepare(folder)
        (folder / "out").mkdir()
        (folder / "out" / "2.ply").write_bytes(OLDER)

    def command(self, folder):
        return self.converter(folder, "--batch", "--on-conflict", self.policy, folder / "in",
                              folder / "out")


class BatchBesideOlder(BatchOverOlder):
    """A name of which the disk does not tell whether it is taken is left alone."""
    photographs = ("2.jpg",)
    policy = "rename"
    usual = 12
    former = ("out/2.ply", "out/2(1).ply")

    def prepare(self, folder):
        super().prepare(folder)
        (folder / self.former[1]).write_bytes(OLDER)

    def is_good(self, after, good):
        """The scenes are all there, with whatever number."""
        scenes = [(re.sub(r"\(\d\)", "", name), entry) for name, entry in after.items()
                  if name not in self.former]
        plain = {re.sub(r"\(\d\)", "", name): good[name] for name in good
                 if name not in self.former}
        return (len(scenes) == len(plain) and super().is_good(dict(scenes), plain)
                and all(after.get(name) == good[name] for name in self.former))

    def may_be_left(self, name, entry, _run):
        """A whole scene under another number."""
        return re.fullmatch(r"out/2\([1-4]\)\.ply", name) and entry[1] == self.scene

    @cached_property
    def scene(self):
        with tempfile.TemporaryDirectory() as name:
            folder = Path(name)
            Conversion.prepare(self, folder)
            words = self.converter(folder, folder / "in/2.jpg", folder / "2.ply")
            subprocess.run(words, check=True, capture_output=True)
            return (folder / "2.ply").read_bytes()

    def check_again(self, test, after, good):
        """The names are others then."""
        for name in self.former:
            test.assertEqual(after[name], good[name])


class ConvertOntoInput(Conversion):
    """Refused."""
    good_status = 2
    message = f"^Error: {WHY}$"

    def command(self, folder):
        return self.converter(folder, folder / "in/photo.jpg", folder / "in/photo.jpg")


class BatchOntoInput(BatchOverOlder):
    """Refused, too: an output is, by a link, the network."""
    good_status = 2

    def prepare(self, folder):
        super().prepare(folder)
        (folder / "out" / "3.ply").hardlink_to(folder / "in/net.onnx")


class SceneIntoNewFolder(Operation):
    """From one format of scenes to another."""
    usual = 3
    usual_kills = 3
    message = (r"^Error: (.*scene\.ply: the file cannot be (opened|read)|create_directories: .*"
               r"|.*cannot look at files?: .*|Cannot (open|write) output file: .*)$")
    output = "a/b/scene.spz"

    def prepare(self, folder):
        (folder / "scene.ply").write_bytes(scene())

    def command(self, folder):
        return [self.programs / "vistrel-convert", folder / "scene.ply", folder / self.output]


class SceneOverOlder(SceneIntoNewFolder):
    usual_kills = 0
    output = "scene.sog"

    def prepare(self, folder):
        super().prepare(folder)
        (folder / self.output).write_bytes(OLDER)


class PhotographIntoScene(ConvertOverOlder):
    """In a format that the engine does not write itself."""
    usual = 3

    def prepare(self, folder):
        super().prepare(folder)
        (folder / "photo.glb").write_bytes(OLDER)

    def command(self, folder):
        return self.converter(folder, folder / "in/photo.jpg", folder / "photo.glb")


class Log(Conversion):
    """Goes to files on a disk of their own, and stops nobody when that is full; the status tells."""
    message = "^$"  # standard error is on that disk, too
    tells_of_more = True
    does_not_count = ("log/out", "log/errors")

    def prepare(self, folder):
        super().prepare(folder)
        (folder / "log").mkdir()

    def command(self, folder):
        return self.converter(folder, folder / "in/photo.jpg", folder / "photo.ply")

    def options(self, folder):
        return {"stdout": (folder / "log/out").open("wb"),
                "stderr": (folder / "log/errors").open("wb")}

    def watched(self, folder):
        return folder / "log"

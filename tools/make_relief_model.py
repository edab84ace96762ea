#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Makes the relief demo: a small network that turns a photograph into a relief of Gaussians.

    make_relief_model.py [OUTPUT.onnx]

It has the same inputs and the same output as the real network, learns nothing and knows nothing: it
guesses depth from simple cues of the picture. Needs python3-onnx; the output is the same, byte by
byte, each time.
"""

import sys
from pathlib import Path

from onnx import TensorProto, checker, helper

from onnx_expression import Graph
from relief_depth import disparity_of
from relief_gaussians import gaussians_of, linear_light, pixels_of

NETWORK_SIDE = 1536
SIDE = NETWORK_SIDE // 2
OUTPUT = Path(__file__).resolve().parent.parent / "resources/relief/vistrel_relief_demo.onnx"
NOTE = """Vistrel's relief demo. This is not the SHARP network and holds no learned weights: depth \
is guessed from the height in the picture and from the columns whose colours stand out. It shows \
what Vistrel does before the real network has been downloaded."""


def build():
    graph = Graph()
    image = graph.clamp(graph.input("image"), 0.0, 1.0)
    # The factor scales the scene as a whole: twice the disparity is half the depth.
    factor = graph.op("Max", graph.input("disparity_factor"), 1e-3)
    disparity = disparity_of(graph, image)
    layers = [
        gaussians_of(graph, linear_light(graph, pixels_of(graph, image, layer)),
                     pixels_of(graph, disparity, layer), factor, SIDE, layer)
        for layer in (0, 1)
    ]
    graph.op("Concat", *layers, axis=1, label="gaussians")

    return helper.make_graph(
        graph.nodes, "vistrel_relief_demo",
        [helper.make_tensor_value_info("image", TensorProto.FLOAT,
                                       [1, 3, NETWORK_SIDE, NETWORK_SIDE]),
         helper.make_tensor_value_info("disparity_factor", TensorProto.FLOAT, [1])],
        [helper.make_tensor_value_info("gaussians", TensorProto.FLOAT, [1, 2 * SIDE * SIDE, 14])],
        list(graph.initializers.values()), NOTE)


def make_model():
    model = helper.make_model(
        build(), producer_name="Vistrel relief demo (not SHARP)", producer_version="1",
        doc_string=NOTE, opset_imports=[helper.make_opsetid("", 16)])
    model.ir_version = 8
    checker.check_model(model, full_check=True)
    return model.SerializeToString(deterministic=True)


def main():
    output = Path(sys.argv[1]) if len(sys.argv) > 1 else OUTPUT
    output.parent.mkdir(parents=True, exist_ok=True)
    output.write_bytes(make_model())


if __name__ == "__main__":
    main()

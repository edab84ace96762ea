#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Writes the small networks that the tests run: generate.py FOLDER.

Every file is named after what is special about it. Unless that is the inputs, a network takes
"image" [1, 3, 1536, 1536] and "disparity_factor" [1]; unless it is the values, output value number
i is i + 0.5, counted through all outputs one after the other.
"""

import sys
from pathlib import Path

import numpy as np
from onnx import TensorProto, checker, helper, numpy_helper, save_model

SIDE = 1536
COLUMNS = 14
COUNT = 4  # Gaussians, where a network has any

IMAGE = helper.make_tensor_value_info("image", TensorProto.FLOAT, [1, 3, SIDE, SIDE])
DISPARITY = helper.make_tensor_value_info("disparity_factor", TensorProto.FLOAT, [1])
BOTH = [IMAGE, DISPARITY]


def save(path, nodes, inputs, outputs, initializers=()):
    graph = helper.make_graph(nodes, path.stem, inputs, outputs, list(initializers))
    # Old enough a format for every ONNX Runtime that the program can be given.
    model = helper.make_model(graph, opset_imports=[helper.make_opsetid("", 17)], ir_version=8)
    checker.check_model(model)
    save_model(model, path)


def counted(shapes, dtype=np.float32):
    """Arrays of the given shapes with the values 0.5, 1.5, ... through all of them."""
    arrays = []
    start = 0
    for shape in shapes:
        size = int(np.prod(shape))
        arrays.append((np.arange(start, start + size) + 0.5).astype(dtype).reshape(shape))
        start += size
    return arrays


def constant_model(path, arrays, inputs=None):
    """A network whose outputs are the given arrays whatever it is fed."""
    nodes, outputs, initializers = [], [], []
    for i, array in enumerate(arrays):
        name = f"output{i}"
        value = numpy_helper.from_array(array, name + "_value")
        initializers.append(value)
        nodes.append(helper.make_node("Identity", [value.name], [name]))
        outputs.append(helper.make_tensor_value_info(name, value.data_type, list(array.shape)))
    save(path, nodes, inputs or BOTH, outputs, initializers)


def echo_model(path, inputs, output_shape=(1, COUNT, COLUMNS), declared_shape=None):
    """Columns 0..12 of the rows show picture values number 5 + 138782 k (k = 0, 1, ...; the last is
    the picture's last value), column 13 shows the disparity factor, or 0 where it is no input."""
    samples = 5 + 138782 * np.arange(COUNT * (COLUMNS - 1), dtype=np.int64)
    assert samples[-1] == 3 * SIDE * SIDE - 1
    initializers = [
        numpy_helper.from_array(samples.reshape(COUNT, COLUMNS - 1), "samples"),
        numpy_helper.from_array(np.array([-1], np.int64), "flat"),
        numpy_helper.from_array(np.array([COUNT, 1], np.int64), "column"),
        numpy_helper.from_array(np.array(output_shape, np.int64), "output_shape"),
        numpy_helper.from_array(np.zeros(1, np.float32), "no_disparity"),
    ]
    has_disparity = any(value.name == "disparity_factor" for value in inputs)
    disparity = "disparity_factor" if has_disparity else "no_disparity"
    nodes = [
        helper.make_node("Reshape", ["image", "flat"], ["pixels"]),
        helper.make_node("Gather", ["pixels", "samples"], ["sampled"]),
        helper.make_node("Expand", [disparity, "column"], ["factors"]),
        helper.make_node("Concat", ["sampled", "factors"], ["rows"], axis=1),
        helper.make_node("Reshape", ["rows", "output_shape"], ["gaussians"]),
    ]
    shape = list(declared_shape or output_shape)
    output = helper.make_tensor_value_info("gaussians", TensorProto.FLOAT, shape)
    save(path, nodes, inputs, [output], initializers)


def full_size_model(path):
    """As many Gaussians as the real network makes; value number i is i, exact in float32."""
    count = 2 * 768 * 768
    initializers = [
        numpy_helper.from_array(np.array(0, np.float32), "start"),
        numpy_helper.from_array(np.array(count * COLUMNS, np.float32), "limit"),
        numpy_helper.from_array(np.array(1, np.float32), "step"),
        numpy_helper.from_array(np.array([1, count, COLUMNS], np.int64), "shape"),
    ]
    nodes = [
        helper.make_node("Range", ["start", "limit", "step"], ["values"]),
        helper.make_node("Reshape", ["values", "shape"], ["gaussians"]),
    ]
    output = helper.make_tensor_value_info("gaussians", TensorProto.FLOAT, [1, count, COLUMNS])
    save(path, nodes, BOTH, [output], initializers)


def sequence_model(path):
    element = helper.make_tensor_type_proto(TensorProto.FLOAT, [1, 3, SIDE, SIDE])
    output = helper.make_value_info("images", helper.make_sequence_type_proto(element))
    save(path, [helper.make_node("SequenceConstruct", ["image"], ["images"])], BOTH, [output])


def missing_optional_model(path):
    tensor = helper.make_tensor_type_proto(TensorProto.FLOAT, [1, COUNT, COLUMNS])
    node = helper.make_node("Optional", [], ["nothing"], type=tensor)
    output = helper.make_value_info("nothing", helper.make_optional_type_proto(tensor))
    save(path, [node], BOTH, [output])


def main():
    folder = Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)

    def at(name):
        return folder / f"{name}.onnx"

    # Layouts that are understood.
    five = [(1, COUNT, 3), (1, COUNT, 3), (1, COUNT, 4), (1, COUNT, 3), (1, COUNT)]
    echo_model(at("echo"), BOTH)
    echo_model(at("echo_rank2"), BOTH, (COUNT, COLUMNS))
    echo_model(at("echo_swapped_inputs"), [DISPARITY, IMAGE])
    echo_model(at("echo_image_only"), [IMAGE])
    any_image = helper.make_tensor_value_info("image", TensorProto.FLOAT, ["b", 3, "h", "w"])
    echo_model(at("echo_dynamic_shapes"), [any_image, DISPARITY], declared_shape=("b", "n", 14))
    constant_model(at("five_outputs"), counted(five))
    constant_model(at("five_outputs_rank2"), counted([shape[1:] for shape in five]))
    constant_model(at("no_gaussians"), counted([(1, 0, COLUMNS)]))
    constant_model(at("no_gaussians_five_outputs"),
                   counted([(1, 0, 3), (1, 0, 3), (1, 0, 4), (1, 0, 3), (1, 0)]))
    full_size_model(at("full_size"))

    # Outputs that are not.
    constant_model(at("columns_13"), counted([(1, COUNT, 13)]))
    constant_model(at("two_outputs"), counted([(1, COUNT, COLUMNS), (1,)]))
    constant_model(at("three_outputs"), counted(five[:3]))
    for i, shape in enumerate(five):
        short = list(five)
        short[i] = (1, COUNT - 1) + shape[2:]
        if i > 0:
            constant_model(at(f"five_outputs_short_{i}"), counted(short))
    long_opacities = five[:4] + [(1, COUNT + 1)]
    constant_model(at("five_outputs_long_opacities"), counted(long_opacities))
    constant_model(at("float16"), counted([(1, COUNT, COLUMNS)], np.float16))
    constant_model(at("float64"), counted([(1, COUNT, COLUMNS)], np.float64))
    constant_model(at("int64"), counted([(1, COUNT, COLUMNS)], np.int64))
    mixed = counted(five)
    mixed[3] = mixed[3].astype(np.float16)
    constant_model(at("five_outputs_float16_colors"), mixed)
    constant_model(at("scalar"), counted([()]))
    constant_model(at("rank1"), counted([(COLUMNS,)]))
    sequence_model(at("sequence"))
    missing_optional_model(at("missing_optional"))

    # Inputs that are not.
    rows = counted([(1, COUNT, COLUMNS)])
    depth = helper.make_tensor_value_info("depth", TensorProto.FLOAT, [1])
    constant_model(at("unknown_input"), rows, [IMAGE, DISPARITY, depth])
    small = helper.make_tensor_value_info("image", TensorProto.FLOAT, [1, 3, 64, 64])
    constant_model(at("small_image_input"), rows, [small, DISPARITY])
    half = helper.make_tensor_value_info("image", TensorProto.FLOAT16, [1, 3, SIDE, SIDE])
    constant_model(at("float16_image_input"), rows, [half, DISPARITY])

    # Files that are no networks.
    echo = at("echo").read_bytes()
    at("cut").write_bytes(echo[: len(echo) // 2])
    at("noise").write_bytes(bytes((i * i * 31 + 7) % 251 for i in range(4096)))
    at("empty").write_bytes(b"")


if __name__ == "__main__":
    main()

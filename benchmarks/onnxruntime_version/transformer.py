# SPDX-License-Identifier: GPL-3.0-or-later
"""A vision transformer of about 1.3 GB in half precision with the program's inputs and outputs.

Only its size and its operators are like those of a real network; the weights are noise.
"""

import numpy as np
from onnx import TensorProto, helper, numpy_helper

SIDE = 1536
GAUSSIANS = 2 * 768 * 768
COLUMNS = 14


class WeightFile:
    """Writes a network weight by weight. A message that stands in a file twice is merged from both
    by every protobuf reader, so each weight follows as one more piece of the graph, and no copy of
    the whole network is ever in memory."""

    MODEL_GRAPH = 7  # ModelProto.graph
    GRAPH_INITIALIZER = 5  # GraphProto.initializer

    def __init__(self, path):
        self.file = open(path, "wb")
        self.noise = np.random.default_rng(1).standard_normal(1 << 22).astype(np.float16)
        self.used = 0

    @staticmethod
    def varint(value):
        data = bytearray()
        while value > 0x7F:
            data.append(value & 0x7F | 0x80)
            value >>= 7
        data.append(value)
        return bytes(data)

    @classmethod
    def field(cls, number, size):
        return cls.varint(number << 3 | 2) + cls.varint(size)

    def add(self, name, array):
        data = numpy_helper.from_array(array, name).SerializeToString()
        head = self.field(self.GRAPH_INITIALIZER, len(data))
        self.file.write(self.field(self.MODEL_GRAPH, len(head) + len(data)) + head)
        self.file.write(data)
        return name

    def weight(self, name, shape, scale):
        self.used = (self.used + 7919) % self.noise.size
        values = np.resize(np.roll(self.noise, -self.used), shape)
        return self.add(name, values * np.float16(scale))

    def vector(self, name, size, value):
        return self.add(name, np.full(size, value, np.float16))

    def finish(self, model):
        self.file.write(model.SerializeToString())
        self.file.close()


class Builder:
    def __init__(self, weights, width, heads, tokens):
        self.weights, self.width, self.heads, self.tokens = weights, width, heads, tokens
        self.nodes = []
        head = width // heads
        for name, shape in [("split_shape", (1, tokens, 3, heads, head)),
                            ("merge_shape", (1, tokens, width))]:
            weights.add(name, np.array(shape, np.int64))
        weights.add("attention_scale", np.array(head**-0.5, np.float16))
        for name, value in [("half", 0.5), ("one", 1.0), ("sqrt2", 2**0.5)]:
            weights.add(name, np.array(value, np.float16))
        for i in range(3):
            weights.add(f"part{i}", np.array(i, np.int64))

    def op(self, kind, inputs, **attributes):
        output = f"{kind}{len(self.nodes)}"
        # Some versions derive the names of fused nodes from these and want them to differ.
        self.nodes.append(helper.make_node(kind, inputs, [output], name=output, **attributes))
        return output

    def linear(self, value, name, inputs, outputs):
        weight = self.weights.weight(name + "_weight", (inputs, outputs), 0.3 * inputs**-0.5)
        bias = self.weights.vector(name + "_bias", outputs, 0.01)
        return self.op("Add", [self.op("MatMul", [value, weight]), bias])

    def norm(self, value, name):
        gain = self.weights.vector(name + "_gain", self.width, 1)
        bias = self.weights.vector(name + "_bias", self.width, 0)
        return self.op("LayerNormalization", [value, gain, bias], axis=-1, epsilon=1e-5)

    def attention(self, value, name):
        mixed = self.linear(value, name + "_qkv", self.width, 3 * self.width)
        mixed = self.op("Reshape", [mixed, "split_shape"])
        mixed = self.op("Transpose", [mixed], perm=[2, 0, 3, 1, 4])
        query, key, content = (self.op("Gather", [mixed, f"part{i}"], axis=0) for i in range(3))
        key = self.op("Transpose", [key], perm=[0, 1, 3, 2])
        scores = self.op("MatMul", [self.op("Mul", [query, "attention_scale"]), key])
        seen = self.op("MatMul", [self.op("Softmax", [scores], axis=-1), content])
        seen = self.op("Transpose", [seen], perm=[0, 2, 1, 3])
        seen = self.op("Reshape", [seen, "merge_shape"])
        return self.linear(seen, name + "_out", self.width, self.width)

    def gelu(self, value):
        error = self.op("Erf", [self.op("Div", [value, "sqrt2"])])
        gate = self.op("Add", [error, "one"])
        return self.op("Mul", [self.op("Mul", [value, gate]), "half"])

    def block(self, value, name):
        seen = self.attention(self.norm(value, name + "_norm1"), name)
        value = self.op("Add", [value, seen])
        inner = self.linear(self.norm(value, name + "_norm2"), name + "_in", self.width,
                            4 * self.width)
        inner = self.linear(self.gelu(inner), name + "_down", 4 * self.width, self.width)
        return self.op("Add", [value, inner])


def write(path, blocks=32, width=1280, heads=20, patch=32):
    """Writes the network to `path`; it reads "image" and "disparity_factor" and gives one output
    [1, 1179648, 14]."""
    weights = WeightFile(path)
    tokens = (SIDE // patch) ** 2
    build = Builder(weights, width, heads, tokens)

    image = build.op("Cast", ["image"], to=TensorProto.FLOAT16)
    kernel = weights.weight("patch_kernel", (width, 3, patch, patch), (3 * patch * patch) ** -0.5)
    value = build.op("Conv", [image, kernel, weights.vector("patch_bias", width, 0)],
                     kernel_shape=[patch, patch], strides=[patch, patch])
    value = build.op("Reshape", [value, weights.add("rows", np.array((1, width, tokens)))])
    value = build.op("Transpose", [value], perm=[0, 2, 1])
    value = build.op("Add", [value, weights.weight("places", (1, tokens, width), 0.02)])
    for i in range(blocks):
        value = build.block(value, f"block{i}")
    value = build.linear(build.norm(value, "last_norm"), "head", width,
                         GAUSSIANS // tokens * COLUMNS)
    disparity = build.op("Cast", ["disparity_factor"], to=TensorProto.FLOAT16)
    value = build.op("Mul", [value, disparity])
    value = build.op("Reshape", [value, weights.add("out", np.array((1, GAUSSIANS, COLUMNS)))])
    build.nodes.append(helper.make_node("Cast", [value], ["gaussians"], to=TensorProto.FLOAT))

    def info(name, shape):
        return helper.make_tensor_value_info(name, TensorProto.FLOAT, shape)

    graph = helper.make_graph(build.nodes, "transformer",
                              [info("image", [1, 3, SIDE, SIDE]), info("disparity_factor", [1])],
                              [info("gaussians", [1, GAUSSIANS, COLUMNS])])
    weights.finish(helper.make_model(graph, opset_imports=[helper.make_opsetid("", 17)],
                                     ir_version=8))

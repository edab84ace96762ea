# SPDX-License-Identifier: GPL-3.0-or-later
"""Writes ONNX graphs as expressions: values with operators, one node per operation.

Names are counted, so the same program always gives the same graph.
"""

import numpy as np
from onnx import TensorProto, helper


class Value:
    """One tensor of a graph under construction."""

    def __init__(self, graph, name):
        self.graph = graph
        self.name = name

    def __add__(self, other):
        return self.graph.op("Add", self, other)

    def __radd__(self, other):
        return self.graph.op("Add", other, self)

    def __sub__(self, other):
        return self.graph.op("Sub", self, other)

    def __rsub__(self, other):
        return self.graph.op("Sub", other, self)

    def __mul__(self, other):
        return self.graph.op("Mul", self, other)

    def __rmul__(self, other):
        return self.graph.op("Mul", other, self)

    def __truediv__(self, other):
        return self.graph.op("Div", self, other)

    def __rtruediv__(self, other):
        return self.graph.op("Div", other, self)

    def __neg__(self):
        return self.graph.op("Neg", self)


class Graph:
    """Collects the nodes of one graph."""

    def __init__(self):
        self.nodes = []
        self.initializers = {}
        self.count = 0

    def input(self, name):
        return Value(self, name)

    def op(self, kind, *inputs, label=None, **attributes):
        """Adds a node; numbers among the inputs become float32 constants."""
        self.count += 1
        output = label or f"{kind.lower()}_{self.count}"
        names = [self._name(value) for value in inputs]
        self.nodes.append(helper.make_node(kind, names, [output], **attributes))
        return Value(self, output)

    def integers(self, *values):
        """A constant list of 64-bit integers."""
        return self._constant(np.array(values, np.int64), TensorProto.INT64)

    def numbers(self, values, shape):
        """A small constant float32 tensor."""
        return self._constant(np.array(values, np.float32).reshape(shape), TensorProto.FLOAT)

    def _name(self, value):
        if isinstance(value, Value):
            return value.name
        if value == "":
            return ""
        return self.numbers(value, ()).name

    def _constant(self, array, kind):
        key = f"c_{'i' if kind == TensorProto.INT64 else 'f'}{list(array.shape)}_{array.ravel().tolist()}"
        if key not in self.initializers:
            name = f"constant_{len(self.initializers)}"
            self.initializers[key] = helper.make_tensor(
                name, kind, array.shape, array.ravel().tolist())
        return Value(self, self.initializers[key].name)

    # ---- operations that take more than one node or attribute list ----

    def clamp(self, value, least, most):
        return self.op("Clip", value, least, most)

    def share(self, value, start, end):
        """0 at `start`, 1 at `end`, smooth between and beyond."""
        t = self.clamp((value - start) / (end - start), 0.0, 1.0)
        return t * t * (3.0 - 2.0 * t)

    def halve(self, value, times=1):
        """Means of 2x2 pixels, `times` times."""
        side = 2**times
        return self.op("AveragePool", value, kernel_shape=[side, side], strides=[side, side])

    def halve_rows(self, value):
        """Means of pairs of neighbours in a row."""
        return self.op("AveragePool", value, kernel_shape=[1, 2], strides=[1, 2])

    def enlarge(self, value, factor_y, factor_x=None):
        """Linear interpolation that keeps pixel centres in place."""
        factor_x = factor_y if factor_x is None else factor_x
        scales = self.numbers([1, 1, factor_y, factor_x], (4,))
        return self.op("Resize", value, "", scales, mode="linear",
                       coordinate_transformation_mode="half_pixel")

    def box(self, value, radius_y, radius_x=None):
        """The mean of a window, smaller at the borders; rows and columns apart for speed."""
        radius_x = radius_y if radius_x is None else radius_x
        tall = self.op("AveragePool", value, kernel_shape=[2 * radius_y + 1, 1],
                       pads=[radius_y, 0, radius_y, 0])
        return self.op("AveragePool", tall, kernel_shape=[1, 2 * radius_x + 1],
                       pads=[0, radius_x, 0, radius_x])

    def slice(self, value, axis, start, end):
        return self.op("Slice", value, self.integers(start), self.integers(end),
                       self.integers(axis))

    def join(self, values, axis=1):
        return self.op("Concat", *values, axis=axis)

    def reshape(self, value, *shape):
        return self.op("Reshape", value, self.integers(*shape))

    def shifted(self, value, axis, steps):
        """Each element becomes the one `steps` further on (negative: before), at the border a copy of
        the last one."""
        before = [0, 0, 0, 0]
        after = [0, 0, 0, 0]
        (after if steps > 0 else before)[axis] = abs(steps)
        padded = self.op("Pad", value, self.integers(*before, *after), mode="edge")
        far = 2**31
        return (self.slice(padded, axis, steps, far) if steps > 0
                else self.slice(padded, axis, 0, steps))

    def positions(self, side):
        """Pixel centres of a row of `side` pixels, in 0..1, shape [side]."""
        index = self.op("Range", 0.0, float(side), 1.0)
        return (index + 0.5) / float(side)

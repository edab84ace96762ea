# SPDX-License-Identifier: GPL-3.0-or-later
"""The relief demo as a file: what the generator makes is what is kept, and keeps the contract."""

import math
import sys
import unittest
from pathlib import Path

import onnx

ROOT = Path(__file__).resolve().parent.parent.parent
KEPT = ROOT / "resources/relief/vistrel_relief_demo.onnx"

sys.path.insert(0, str(ROOT / "tools"))
import make_relief_model  # noqa: E402


def shape(value):
    return [dimension.dim_value for dimension in value.type.tensor_type.shape.dim]


class ReliefModelTest(unittest.TestCase):
    def setUp(self):
        self.model = onnx.load(str(KEPT))

    def test_generator_makes_the_file_that_is_kept(self):
        self.assertEqual(make_relief_model.make_model(), KEPT.read_bytes())

    def test_generator_makes_the_same_twice(self):
        self.assertEqual(make_relief_model.make_model(), make_relief_model.make_model())

    def test_file_is_small(self):
        self.assertLess(KEPT.stat().st_size, 200_000)

    def test_inputs_and_output_are_those_of_the_real_network(self):
        graph = self.model.graph
        floats = onnx.TensorProto.FLOAT
        self.assertEqual([(v.name, v.type.tensor_type.elem_type, shape(v)) for v in graph.input],
                         [("image", floats, [1, 3, 1536, 1536]), ("disparity_factor", floats, [1])])
        self.assertEqual([(v.type.tensor_type.elem_type, shape(v)) for v in graph.output],
                         [(floats, [1, 1179648, 14])])

    def test_constants_are_single_numbers_and_short_lists(self):
        largest = max(math.prod(constant.dims) for constant in self.model.graph.initializer)
        self.assertLessEqual(largest, 8)

    def test_it_says_that_it_is_not_the_real_network(self):
        for text in (self.model.doc_string, self.model.graph.doc_string, self.model.producer_name):
            self.assertIn("relief demo", text)
            self.assertIn("not", text)
            self.assertIn("SHARP", text)


if __name__ == "__main__":
    unittest.main()

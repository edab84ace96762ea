// SPDX-License-Identifier: GPL-3.0-or-later
// The parsing of network outputs at its simplest, to compare the fast way with.
#pragma once

#include <span>

#include "engine/model_output.h"

namespace vistrel::test {

// The Gaussians of outputs that are known to be right, value by value.
[[nodiscard]] GaussianSet PlainParseModelOutputs(std::span<const ModelOutput> outputs);

}  // namespace vistrel::test

// SPDX-License-Identifier: GPL-3.0-or-later
// Small valid files of HEIC and AVIF, by libheif's own encoders.
#pragma once

#include <string>
#include <vector>

namespace vistrel::fuzz {

[[nodiscard]] const std::vector<std::string>& HeifSeeds();

}  // namespace vistrel::fuzz

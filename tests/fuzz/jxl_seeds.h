// SPDX-License-Identifier: GPL-3.0-or-later
// Small valid files of JPEG XL, by libjxl's own encoder.
#pragma once

#include <string>
#include <vector>

namespace vistrel::fuzz {

[[nodiscard]] const std::vector<std::string>& JxlSeeds();

}  // namespace vistrel::fuzz

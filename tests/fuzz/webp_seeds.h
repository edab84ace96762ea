// SPDX-License-Identifier: GPL-3.0-or-later
// Small WebP files, where a search for bad ones begins.
#pragma once

#include <string>
#include <vector>

namespace vistrel::fuzz {

// One of each kind; the same on every call.
[[nodiscard]] const std::vector<std::string>& WebpSeeds();

}  // namespace vistrel::fuzz

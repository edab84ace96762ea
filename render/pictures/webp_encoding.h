// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures as WebP files.
#pragma once

#include <cstddef>
#include <vector>

#include "render/picture.h"

namespace vistrel {

// `quality` is 0 to 100. Throws std::runtime_error that tells what is wrong, such as more than
// 16383 pixels on a side, and std::bad_alloc. Any thread.
[[nodiscard]] std::vector<std::byte> EncodeWebp(const Picture& picture, int quality);

}  // namespace vistrel

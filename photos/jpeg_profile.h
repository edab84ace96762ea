// SPDX-License-Identifier: GPL-3.0-or-later
// The colour profile in a JPEG.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace vistrel {

[[nodiscard]] bool IsJpeg(std::span<const std::byte> file);

// The ICC profile, put together of its numbered parts, in whatever order they come; empty where
// there is none or a part is missing. Any bytes, any thread.
[[nodiscard]] std::vector<std::byte> ReadJpegProfile(std::span<const std::byte> file);

}  // namespace vistrel

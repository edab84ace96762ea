// SPDX-License-Identifier: GPL-3.0-or-later
// Writes pictures as PNG files.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>

namespace vistrel {

// Writes `rgb` (width x height x 3 bytes, rows from the top) to `path`, as a whole or not at all.
// Throws std::runtime_error when the file cannot be written. Any thread.
void WritePng(const std::filesystem::path& path, std::span<const std::uint8_t> rgb, int width,
              int height);

}  // namespace vistrel

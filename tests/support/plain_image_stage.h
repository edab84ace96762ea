// SPDX-License-Identifier: GPL-3.0-or-later
// The image stage done the plain way: every step on the whole picture, pixel by pixel, with nothing
// but the library's one-call forms. What the engine's faster way is compared with.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "engine/image_loading.h"

namespace vistrel::test {

struct PlainPicture {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgba;  // rows from the top
};

// Throws std::runtime_error when the file cannot be decoded.
[[nodiscard]] PlainPicture PlainDecode(const std::filesystem::path& path);
[[nodiscard]] PlainPicture PlainTurn(const PlainPicture& picture, int orientation);
[[nodiscard]] PlainPicture PlainResize(const PlainPicture& picture, int side);
[[nodiscard]] PreprocessedImage PlainLoadAndPreprocess(const std::filesystem::path& path,
                                                       int orientation);

}  // namespace vistrel::test

// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures as PNG files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "render/picture.h"

namespace vistrel {

// How the halves of a side-by-side picture are meant, in the numbers of the chunk `sTER`.
enum class PngStereo : std::uint8_t {
    RightEyeLeft = 0,  // to be looked at with crossed eyes
    LeftEyeLeft = 1,
};

// A chunk `tEXt`: a keyword of 1 to 79 characters and its text, both in ASCII.
struct PngText {
    std::string keyword;
    std::string text;
};

struct PngOptions {
    // Written where it can be told: the halves of that chunk's pictures begin at multiples of eight
    // columns, and with columns between them every program that does not know the chunk would cut
    // the picture at the wrong place.
    std::optional<PngStereo> stereo = {};
    std::vector<PngText> texts = {};
};

// One value for each pixel, rows from the top.
struct GreyPicture {
    int width = 0;
    int height = 0;
    std::vector<std::uint16_t> values;
};

// Eight bits for each of red, green and blue. Throws std::runtime_error that tells what is wrong,
// and std::bad_alloc. Any thread, like the next.
[[nodiscard]] std::vector<std::byte> EncodePng(const Picture& picture,
                                               const PngOptions& options = {});

// Sixteen bits of grey.
[[nodiscard]] std::vector<std::byte> EncodeGreyPng(const GreyPicture& picture,
                                                   std::span<const PngText> texts = {});

}  // namespace vistrel

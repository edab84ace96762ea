// SPDX-License-Identifier: GPL-3.0-or-later
// From a picture file to the network's input.
#pragma once

#include <cstdint>
#include <string>

#include "base/aligned_array.h"
#include "engine/photograph.h"

namespace vistrel {

// The network sees a square of this many pixels on each side.
inline constexpr int kNetworkSide = 1536;

struct PreprocessedImage {
    AlignedVector<float>
        tensor;               // 3 x 1536 x 1536: planes red, green, blue; rows from the top; 0..1
    std::int32_t width = 0;   // pixels, upright picture before it was stretched
    std::int32_t height = 0;  // likewise
    float focalPx = 0.0F;     // focal length in pixels of the upright picture
};

// Turns `photograph` upright by its orientation (2..8; any other value leaves it as it is),
// stretches it to the square and scales the colours to 0..1. Its focal length is the width unless
// it brings one. Logs one line, which names `path`.
//
// Throws std::runtime_error "stb_image_resize failed"; std::bad_alloc. Any thread.
[[nodiscard]] PreprocessedImage Preprocess(const Photograph& photograph, const std::wstring& path);

// Decodes the picture at `path` and does the same with it; its focal length is its width.
//
// Throws as Preprocess does, and std::runtime_error "Failed to open file for stb_image" or
// "stb_image failed to load (" + the decoder's reason + ")". Any thread.
[[nodiscard]] PreprocessedImage LoadAndPreprocess(const std::wstring& path, int orientation);

}  // namespace vistrel

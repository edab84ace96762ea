// SPDX-License-Identifier: GPL-3.0-or-later
// A decoded picture in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace vistrel {

inline constexpr int kPixelBytes = 4;  // red, green, blue, alpha

struct FreeMemory {
    void operator()(void* memory) const noexcept { std::free(memory); }
};

// Memory of std::malloc, which is what the decoder hands out; null when there was none.
using PixelBuffer = std::unique_ptr<std::uint8_t[], FreeMemory>;

[[nodiscard]] inline PixelBuffer TryAllocatePixels(std::size_t count) noexcept {
    return PixelBuffer(static_cast<std::uint8_t*>(std::malloc(count * kPixelBytes)));
}

struct Picture {
    PixelBuffer
        pixels;  // height x width x 4, rows from the top without gaps; 0..255, straight alpha
    int width = 0;
    int height = 0;
    bool opaque = false;  // every alpha is 255; may be false although it is so
};

}  // namespace vistrel

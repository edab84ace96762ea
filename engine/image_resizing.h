// SPDX-License-Identifier: GPL-3.0-or-later
// Stretches pictures to a square.
#pragma once

#include <cstdint>
#include <span>

namespace vistrel {

// Where the pixels come from. `row` gives row y as `width` pixels of red, green, blue and straight
// alpha; what it returns is used before the next call.
struct RowSource {
    const std::uint8_t* (*row)(void* context, int y) noexcept = nullptr;
    void* context = nullptr;
    int width = 0;
    int height = 0;
    bool opaque = false;  // promises that every alpha is 255
};

// Takes row y of the result, in the same form. Every row is handed over once, by any thread.
struct RowSink {
    void (*row)(void* context, int y, const std::uint8_t* pixels) noexcept = nullptr;
    void* context = nullptr;
};

// Resamples a picture to `side` x `side` pixels whatever its shape: channels as they are (no sRGB
// curve), weighted by alpha, cubic when it grows and Mitchell when it shrinks, edges clamped. The
// bytes do not depend on the processor. `sources`, at least one, all give that picture, each to a
// thread of its own: as many work on it.
//
// Throws std::runtime_error "stb_image_resize failed". Any thread.
void ResizeToSquare(std::span<const RowSource> sources, int side, const RowSink& sink);

}  // namespace vistrel

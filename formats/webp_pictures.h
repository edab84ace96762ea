// SPDX-License-Identifier: GPL-3.0-or-later
// WebP pictures whose pixels are numbers, not colours: nothing is lost, nothing is blended.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "base/aligned_array.h"

namespace vistrel {

struct PictureSize {
    std::uint32_t width = 0;  // pixels, like the height
    std::uint32_t height = 0;

    [[nodiscard]] std::size_t Pixels() const { return std::size_t{width} * height; }
};

// The longest side of a WebP picture.
inline constexpr std::uint32_t kLongestWebpSide = 16383;

inline constexpr std::size_t kPixelChannels = 4;  // red, green, blue, alpha

// Rows from the top, pixels from the left, 4 bytes each, without gaps. One object is for one
// writing thread, or any number of reading ones.
struct NumberPicture {
    NumberPicture() = default;
    // The pixels begin as whatever the memory holds. Throws std::bad_alloc.
    explicit NumberPicture(const PictureSize& its)
        : size(its), pixels(its.Pixels() * kPixelChannels) {}

    [[nodiscard]] std::uint8_t* Pixel(std::size_t index) const {
        return pixels.data() + index * kPixelChannels;
    }

    PictureSize size;
    AlignedArray<std::uint8_t> pixels;
};

// Looks at the header alone. Throws std::runtime_error for what is no picture, and for animations.
// Any thread, like the others.
[[nodiscard]] PictureSize WebpPictureSize(std::span<const std::byte> file);

// Needs memory for its pixels as WebpPictureSize tells them, and about as much again. Throws
// std::runtime_error when it is damaged, and std::bad_alloc.
[[nodiscard]] NumberPicture DecodedWebp(std::span<const std::byte> file);

// A WebP file in memory.
class WebpFile {
  public:
    // Without loss, also below alpha 0. `effort` is 0 to 100; more takes longer, and from 0 to 1
    // far longer. Throws std::bad_alloc.
    WebpFile(const NumberPicture& picture, int effort);

    [[nodiscard]] std::span<const std::byte> Bytes() const { return {bytes_.get(), size_}; }

  private:
    struct Free {
        void operator()(std::byte* bytes) const;
    };
    std::unique_ptr<std::byte, Free> bytes_;
    std::size_t size_ = 0;
};

}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
// A picture as it should be seen, row by row.
#pragma once

#include <cstddef>
#include <cstdint>

#include "engine/picture.h"

namespace vistrel {

// Turns and mirrors a picture by its EXIF orientation while it is read. Only a strip of rows that
// fits the processor's cache exists in its upright form: a second picture in memory would cost more
// time for fresh pages than the turn itself, and as much memory again.
//
// With W x H pixels as decoded, the pixel of column x and row y is seen at
//     2: (W-1-x, y)    3: (W-1-x, H-1-y)    4: (x, H-1-y)    5: (y, x)
//     6: (H-1-y, x)    7: (H-1-y, W-1-x)    8: (y, W-1-x)
// and stays where it is for any other orientation.
//
// One object, one thread; it must not outlive the picture.
class UprightRows {
  public:
    // Throws nothing. Without memory for the strip the picture is read as it was decoded.
    UprightRows(const Picture& picture, int orientation) noexcept;

    // There was no memory for the strip.
    [[nodiscard]] bool IsUnturned() const { return isUnturned_; }

    [[nodiscard]] int Width() const { return width_; }
    [[nodiscard]] int Height() const { return height_; }

    // Row 0 <= y < Height(): Width() pixels of red, green, blue and alpha, valid until the next
    // call. Cheap in rising order.
    [[nodiscard]] const std::uint8_t* Row(int y) noexcept;

  private:
    void Orient(const Picture& picture, int orientation);
    void FillStrip() noexcept;
    void CopyBlocks(int rows, int columns) noexcept;
    void CopyPixels(int row, int rowEnd, int column, int columnEnd) noexcept;

    [[nodiscard]] bool Mirrored() const { return columnStep_ == -kPixelBytes; }
    [[nodiscard]] const std::uint8_t* Source(int y, int x) const {
        return base_ + (y * rowStep_) + (x * columnStep_);
    }
    [[nodiscard]] std::uint8_t* InStrip(int row, int x) const {
        return strip_.get() + (((static_cast<std::size_t>(row) * static_cast<std::size_t>(width_)) +
                                static_cast<std::size_t>(x)) *
                               kPixelBytes);
    }

    int width_ = 0;
    int height_ = 0;
    const std::uint8_t* base_ = nullptr;  // the decoded pixel that is seen in the top left corner
    std::ptrdiff_t rowStep_ = 0;          // bytes from a pixel to the one that is seen below it
    std::ptrdiff_t columnStep_ = 0;       // bytes from a pixel to the one that is seen right of it
    bool isUnturned_ = false;
    PixelBuffer strip_;  // empty while rows can be taken from the picture
    int stripRows_ = 0;
    int stripBegin_ = 0;  // the first row in the strip
    int stripEnd_ = 0;    // the row after the last one
};

}  // namespace vistrel

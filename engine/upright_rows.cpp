// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/upright_rows.h"

#include <emmintrin.h>

#include <algorithm>
#include <cstring>

namespace vistrel {
namespace {

constexpr int kSquare = 4;  // pixels on each side of what is transposed in registers

// A decoded row's cache line holds 16 pixels; a strip of several lines' width uses each line whole
// even where lines and strips do not meet. Wide pictures get fewer rows to stay within the cache.
constexpr int kMostStripRows = 64;
constexpr int kFewestStripRows = 16;
constexpr int kStripPixels = 1 << 18;

int StripRows(int width) {
    const int rows = std::clamp(kStripPixels / width, kFewestStripRows, kMostStripRows);
    return rows - (rows % kSquare);
}

__m128i LoadPixels(const std::uint8_t* pixels) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels));
}

void StorePixels(std::uint8_t* pixels, __m128i value) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(pixels), value);
}

// The step is a constant here, so that the compiler moves several pixels at a time.
void MirrorRow(const std::uint8_t* from, std::uint8_t* to, int pixels) {
    for (std::ptrdiff_t x = 0; x < pixels; ++x) {
        std::memcpy(to + (x * kPixelBytes), from + ((pixels - 1 - x) * kPixelBytes), kPixelBytes);
    }
}

}  // namespace

UprightRows::UprightRows(const Picture& picture, int orientation) noexcept {
    Orient(picture, orientation);
    if (columnStep_ == kPixelBytes) return;

    stripRows_ = std::min(Mirrored() ? 1 : StripRows(width_), height_);
    strip_ =
        TryAllocatePixels(static_cast<std::size_t>(stripRows_) * static_cast<std::size_t>(width_));
    if (strip_) return;
    isUnturned_ = true;
    Orient(picture, 1);
}

void UprightRows::Orient(const Picture& picture, int orientation) {
    const bool transposed = orientation >= 5 && orientation <= 8;
    const bool fromRight =
        orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
    const bool fromBottom =
        orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;

    const std::ptrdiff_t line = std::ptrdiff_t{picture.width} * kPixelBytes;
    const std::ptrdiff_t right = fromRight ? -kPixelBytes : kPixelBytes;
    const std::ptrdiff_t down = fromBottom ? -line : line;
    width_ = transposed ? picture.height : picture.width;
    height_ = transposed ? picture.width : picture.height;
    rowStep_ = transposed ? right : down;
    columnStep_ = transposed ? down : right;
    base_ = picture.pixels.get() + (fromRight ? line - kPixelBytes : 0) +
            (fromBottom ? (picture.height - 1) * line : 0);
}

const std::uint8_t* UprightRows::Row(int y) noexcept {
    if (!strip_) return Source(y, 0);
    if (y < stripBegin_ || y >= stripEnd_) {
        stripBegin_ = y;
        stripEnd_ = std::min(y + stripRows_, height_);
        FillStrip();
    }
    return InStrip(y - stripBegin_, 0);
}

void UprightRows::FillStrip() noexcept {
    if (Mirrored()) {
        MirrorRow(Source(stripBegin_, width_ - 1), strip_.get(), width_);
        return;
    }
    const int rows = stripEnd_ - stripBegin_;
    const int blockRows = rows - (rows % kSquare);
    const int blockColumns = width_ - (width_ % kSquare);
    CopyBlocks(blockRows, blockColumns);
    CopyPixels(0, blockRows, blockColumns, width_);
    CopyPixels(blockRows, rows, 0, width_);
}

void UprightRows::CopyBlocks(int rows, int columns) noexcept {
    for (int x = 0; x < columns; x += kSquare) {
        for (int row = 0; row < rows; row += kSquare) {
            // Four pixels that are seen below each other lie side by side in the decoded picture,
            // in falling order where the step is negative: the rows then come out in falling order.
            const int y = stripBegin_ + row;
            const bool falling = rowStep_ < 0;
            const int firstInMemory = falling ? y + kSquare - 1 : y;
            const __m128i a = LoadPixels(Source(firstInMemory, x));
            const __m128i b = LoadPixels(Source(firstInMemory, x + 1));
            const __m128i c = LoadPixels(Source(firstInMemory, x + 2));
            const __m128i d = LoadPixels(Source(firstInMemory, x + 3));
            const __m128i ab01 = _mm_unpacklo_epi32(a, b);
            const __m128i ab23 = _mm_unpackhi_epi32(a, b);
            const __m128i cd01 = _mm_unpacklo_epi32(c, d);
            const __m128i cd23 = _mm_unpackhi_epi32(c, d);
            StorePixels(InStrip(row + (falling ? 3 : 0), x), _mm_unpacklo_epi64(ab01, cd01));
            StorePixels(InStrip(row + (falling ? 2 : 1), x), _mm_unpackhi_epi64(ab01, cd01));
            StorePixels(InStrip(row + (falling ? 1 : 2), x), _mm_unpacklo_epi64(ab23, cd23));
            StorePixels(InStrip(row + (falling ? 0 : 3), x), _mm_unpackhi_epi64(ab23, cd23));
        }
    }
}

void UprightRows::CopyPixels(int row, int rowEnd, int column, int columnEnd) noexcept {
    for (int i = row; i < rowEnd; ++i) {
        for (int x = column; x < columnEnd; ++x) {
            std::memcpy(InStrip(i, x), Source(stripBegin_ + i, x), kPixelBytes);
        }
    }
}

}  // namespace vistrel

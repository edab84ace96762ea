// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/stereo_layout.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace vistrel {
namespace {

constexpr std::size_t kPixelBytes = 4;

const std::uint8_t* PixelOf(const Picture& picture, int column, int row) {
    return picture.pixels.data() + static_cast<std::size_t>(row) * picture.RowBytes() +
           kPixelBytes * static_cast<std::size_t>(column);
}

std::uint8_t* PixelOf(Picture& picture, int column, int row) {
    return picture.pixels.data() + static_cast<std::size_t>(row) * picture.RowBytes() +
           kPixelBytes * static_cast<std::size_t>(column);
}

void CopyPixel(const std::uint8_t* from, std::uint8_t* to) {
    std::memcpy(to, from, kPixelBytes);
}

std::uint8_t ToByte(float value) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0F, 255.0F)));
}

// Which of `count` places of an eye's picture each place of the whole shows: those of the first
// half go over all of them, and so do those of the second.
std::vector<int> HalvesOf(int places, int count) {
    std::vector<int> from(static_cast<std::size_t>(places));
    for (int i = 0; i < places; ++i) {
        const int twice = 2 * i + 1;  // in units of half a place
        const int inHalf = twice < places ? twice : twice - places;
        from[static_cast<std::size_t>(i)] = std::min(inHalf * count / places, count - 1);
    }
    return from;
}

bool IsFirstHalf(int place, int places) {
    return 2 * place + 1 < places;
}

Picture BesideEachOther(const Picture& left, const Picture& right, int width, int height) {
    Picture whole(width, height);
    const std::vector<int> from = HalvesOf(width, left.width);
    for (int row = 0; row < height; ++row) {
        for (int column = 0; column < width; ++column) {
            const Picture& eye = IsFirstHalf(column, width) ? left : right;
            CopyPixel(PixelOf(eye, from[static_cast<std::size_t>(column)], row),
                      PixelOf(whole, column, row));
        }
    }
    return whole;
}

Picture OneAboveTheOther(const Picture& upper, const Picture& lower, int width, int height) {
    Picture whole(width, height);
    const std::vector<int> from = HalvesOf(height, upper.height);
    for (int row = 0; row < height; ++row) {
        const Picture& eye = IsFirstHalf(row, height) ? upper : lower;
        std::memcpy(PixelOf(whole, 0, row), PixelOf(eye, 0, from[static_cast<std::size_t>(row)]),
                    whole.RowBytes());
    }
    return whole;
}

// Means of `across` x `down` pixels.
Picture Squeezed(const Picture& picture, int across, int down) {
    Picture squeezed(picture.width / across, picture.height / down);
    const int count = across * down;
    for (int row = 0; row < squeezed.height; ++row) {
        for (int column = 0; column < squeezed.width; ++column) {
            std::array<int, kPixelBytes> sum{};
            for (int i = 0; i < count; ++i) {
                const std::uint8_t* const from =
                    PixelOf(picture, column * across + i % across, row * down + i / across);
                for (std::size_t k = 0; k < kPixelBytes; ++k) sum[k] += from[k];
            }
            std::uint8_t* const to = PixelOf(squeezed, column, row);
            for (std::size_t k = 0; k < kPixelBytes; ++k) {
                to[k] = static_cast<std::uint8_t>((sum[k] + count / 2) / count);
            }
        }
    }
    return squeezed;
}

// Where a place of the grid lies in an eye's picture, between two of its places.
struct Blend {
    bool isBorder = false;
    bool isFirst = false;  // of the two cells along this axis
    int low = 0;
    int high = 0;
    float share = 0.0F;  // of `high`
};

// The cells reach from 0.005 to 0.495 and from 0.505 to 0.995 of the whole, and show as much of an
// eye's picture, the borders of which the lines hide.
std::vector<Blend> CellsAlong(int places, int count) {
    std::vector<Blend> cells;
    cells.reserve(static_cast<std::size_t>(places));
    for (int i = 0; i < places; ++i) {
        const float at = (static_cast<float>(i) + 0.5F) / static_cast<float>(places);
        Blend blend;
        blend.isFirst = at > 0.005F && at < 0.495F;
        blend.isBorder = !blend.isFirst && !(at > 0.505F && at < 0.995F);
        const float inEye = 2.0F * (blend.isFirst ? at : at - 0.5F);
        const float middle = inEye * static_cast<float>(count) - 0.5F;
        const auto low = static_cast<int>(std::floor(middle));
        blend.share = middle - static_cast<float>(low);
        blend.low = std::clamp(low, 0, count - 1);
        blend.high = std::clamp(low + 1, 0, count - 1);
        cells.push_back(blend);
    }
    return cells;
}

Picture GridOf(const Picture& left, const Picture& right, int width, int height) {
    Picture whole(width, height);
    const std::vector<Blend> across = CellsAlong(width, left.width);
    const std::vector<Blend> down = CellsAlong(height, left.height);
    for (int row = 0; row < height; ++row) {
        const Blend& y = down[static_cast<std::size_t>(row)];
        for (int column = 0; column < width; ++column) {
            const Blend& x = across[static_cast<std::size_t>(column)];
            std::uint8_t* const to = PixelOf(whole, column, row);
            to[3] = 255;
            if (x.isBorder || y.isBorder) continue;
            const Picture& eye = x.isFirst == y.isFirst ? left : right;
            const std::uint8_t* const a = PixelOf(eye, x.low, y.low);
            const std::uint8_t* const b = PixelOf(eye, x.high, y.low);
            const std::uint8_t* const c = PixelOf(eye, x.low, y.high);
            const std::uint8_t* const d = PixelOf(eye, x.high, y.high);
            for (std::size_t k = 0; k < kPixelBytes; ++k) {
                to[k] = ToByte(std::lerp(
                    std::lerp(static_cast<float>(a[k]), static_cast<float>(b[k]), x.share),
                    std::lerp(static_cast<float>(c[k]), static_cast<float>(d[k]), x.share),
                    y.share));
            }
        }
    }
    return whole;
}

// Red, green and blue of the picture from those of the left eye and those of the right.
using Mixture = std::array<std::array<float, 6>, 3>;

// ITU-R BT.601.
constexpr float kRed = 0.299F;
constexpr float kGreen = 0.587F;
constexpr float kBlue = 0.114F;

// Least squares fit for red-cyan glasses (E. Dubois, "A projection method to generate anaglyph
// stereo images", ICASSP 2001).
constexpr Mixture kDubois = {
    {{0.4561F, 0.500484F, 0.176381F, -0.0434706F, -0.0879388F, -0.00155529F},
     {-0.0400822F, -0.0378246F, -0.0157589F, 0.378476F, 0.73364F, -0.0184503F},
     {-0.0152161F, -0.0205971F, -0.00546856F, -0.0721527F, -0.112961F, 1.2264F}}};
constexpr Mixture kColor = {{{1, 0, 0, 0, 0, 0}, {0, 0, 0, 0, 1, 0}, {0, 0, 0, 0, 0, 1}}};
constexpr Mixture kGray = {{{kRed, kGreen, kBlue, 0, 0, 0},
                            {0, 0, 0, kRed, kGreen, kBlue},
                            {0, 0, 0, kRed, kGreen, kBlue}}};
constexpr Mixture kHalfColor = {{kGray[0], kColor[1], kColor[2]}};

Picture Mixed(const Picture& left, const Picture& right, const Mixture& mixture) {
    Picture whole(left.width, left.height);
    for (std::size_t i = 0; i < whole.pixels.size(); i += kPixelBytes) {
        const std::uint8_t* const l = left.pixels.data() + i;
        const std::uint8_t* const r = right.pixels.data() + i;
        std::uint8_t* const to = whole.pixels.data() + i;
        for (std::size_t channel = 0; channel < 3; ++channel) {
            const std::array<float, 6>& of = mixture[channel];
            float sum = 0.0F;
            for (std::size_t k = 0; k < 3; ++k) {
                sum += of[k] * static_cast<float>(l[k]) + of[k + 3] * static_cast<float>(r[k]);
            }
            to[channel] = ToByte(sum);
        }
        to[3] = std::max(l[3], r[3]);
    }
    return whole;
}

template <typename IsLeft>
Picture InTurn(const Picture& left, const Picture& right, IsLeft isLeft) {
    Picture whole(left.width, left.height);
    for (int row = 0; row < whole.height; ++row) {
        for (int column = 0; column < whole.width; ++column) {
            CopyPixel(PixelOf(isLeft(column, row) ? left : right, column, row),
                      PixelOf(whole, column, row));
        }
    }
    return whole;
}

}  // namespace

EyeShape EyeShapeOf(StereoLayout layout, int width, int height) {
    const auto half = [](int places) { return std::max(1, places / 2); };
    switch (layout) {
        case StereoLayout::SideBySide:
        case StereoLayout::Crossed:
            return {.width = half(width), .height = height, .middleX = 2};
        case StereoLayout::HalfSideBySide:
            return {.width = 2 * half(width), .height = height};
        case StereoLayout::OverUnder:
            return {.width = width, .height = half(height), .middleY = 2};
        case StereoLayout::HalfOverUnder:
            return {.width = width, .height = 2 * half(height)};
        case StereoLayout::Grid:
            return {.width = half(width), .height = height, .narrow = 2};
        default:
            return {.width = width, .height = height};
    }
}

WholeSize WholeSizeOf(StereoLayout layout, int width, int height) {
    switch (layout) {
        case StereoLayout::SideBySide:
        case StereoLayout::Crossed:
            return {2 * width, height};
        case StereoLayout::OverUnder:
            return {width, 2 * height};
        case StereoLayout::Grid:
            return {2 * width, 2 * height};
        default:
            return {width, height};
    }
}

Picture Combined(StereoLayout layout, const Picture& left, const Picture& right, int width,
                 int height) {
    if (layout == StereoLayout::None) return left;
    const EyeShape shape = EyeShapeOf(layout, width, height);
    for (const Picture* const eye : {&left, &right}) {
        if (eye->width != shape.width || eye->height != shape.height) {
            throw std::invalid_argument("the eyes' pictures have another size");
        }
    }
    switch (layout) {
        case StereoLayout::None:
            break;
        case StereoLayout::SideBySide:
            return BesideEachOther(left, right, width, height);
        case StereoLayout::HalfSideBySide:
            return BesideEachOther(Squeezed(left, 2, 1), Squeezed(right, 2, 1), width, height);
        case StereoLayout::OverUnder:
            return OneAboveTheOther(left, right, width, height);
        case StereoLayout::HalfOverUnder:
            return OneAboveTheOther(Squeezed(left, 1, 2), Squeezed(right, 1, 2), width, height);
        case StereoLayout::Crossed:
            return BesideEachOther(right, left, width, height);
        case StereoLayout::Grid:
            return GridOf(left, right, width, height);
        case StereoLayout::Dubois:
            return Mixed(left, right, kDubois);
        case StereoLayout::Color:
            return Mixed(left, right, kColor);
        case StereoLayout::Gray:
            return Mixed(left, right, kGray);
        case StereoLayout::HalfColor:
            return Mixed(left, right, kHalfColor);
        case StereoLayout::Rows:
            return InTurn(left, right,
                          [height](int, int row) { return (height - 1 - row) % 2 == 1; });
        case StereoLayout::Columns:
            return InTurn(left, right, [](int column, int) { return column % 2 == 0; });
        case StereoLayout::Checkerboard:
            return InTurn(left, right, [](int column, int row) { return (column + row) % 2 == 0; });
    }
    throw std::invalid_argument("no such layout");
}

}  // namespace vistrel

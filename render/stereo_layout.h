// SPDX-License-Identifier: GPL-3.0-or-later
// Two eyes in one picture.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "render/picture.h"

namespace vistrel {

enum class StereoLayout : std::uint8_t {
    None,  // one picture, of no eye
    SideBySide,
    HalfSideBySide,
    OverUnder,
    HalfOverUnder,
    Crossed,
    Grid,
    Dubois,
    Color,
    Gray,
    HalfColor,
    Rows,
    Columns,
    Checkerboard,
};

struct StereoLayoutName {
    std::string_view name;    // on command lines
    std::string_view suffix;  // of file names, as players know it
    std::string_view help;
};

// In the order of the enumerators.
inline constexpr std::array<StereoLayoutName, 14> kStereoLayouts = {{
    {"none", "", "one picture"},
    {"sbs", "_sbs", "left eye left, right eye right"},
    {"half-sbs", "_half_sbs", "the same, each squeezed to half its width"},
    {"over-under", "_ou", "left eye above the right"},
    {"half-over-under", "_half_ou", "the same, each squeezed to half its height"},
    {"crossed", "_crossed", "right eye left, left eye right, to be looked at with crossed eyes"},
    {"grid", "_grid", "sbs above crossed, with black borders"},
    {"dubois", "_anaglyph", "red-cyan glasses, least squares fit of the colours"},
    {"color", "_anaglyph",
     "red-cyan glasses, red from the left eye, green and blue from the right"},
    {"gray", "_anaglyph", "red-cyan glasses, brightness only"},
    {"half-color", "_anaglyph", "red-cyan glasses, as color with the left eye's brightness as red"},
    {"rows", "_rows", "rows in turn, the lowest is the right eye's"},
    {"columns", "_columns", "columns in turn, the first is the left eye's"},
    {"checkerboard", "_checkerboard", "pixels in turn, the first is the left eye's"},
}};

[[nodiscard]] constexpr const StereoLayoutName& NameOf(StereoLayout layout) {
    return kStereoLayouts[static_cast<std::size_t>(layout)];
}

// What a layout wants of each eye, for a whole picture of a given size.
struct EyeShape {
    int width = 0;  // pixels of the eye's picture, at least 1
    int height = 0;
    // In the window's view an eye sees what the whole picture would show, or only the middle: of
    // its width and height the shares 1 / middleX and 1 / middleY.
    int middleX = 1;
    int middleY = 1;
    // How many times as high as wide the scene's things are in the eye's picture.
    int narrow = 1;
};

// Any thread, like all below.
[[nodiscard]] EyeShape EyeShapeOf(StereoLayout layout, int width, int height);

struct WholeSize {
    int width = 0;
    int height = 0;
};

// The whole picture in which each eye keeps `width` x `height` pixels, or in half layouts half.
[[nodiscard]] WholeSize WholeSizeOf(StereoLayout layout, int width, int height);

// Both eyes' pictures of EyeShapeOf(layout, width, height) in one of `width` x `height` pixels.
// None is the left one. Colours are combined as they are shown, without regard to gamma: so does
// the page of the window, whose modes are SideBySide, Grid, Dubois, Color, Gray and Rows, and so do
// players. Throws std::invalid_argument where the eyes have another size, and std::bad_alloc.
[[nodiscard]] Picture Combined(StereoLayout layout, const Picture& left, const Picture& right,
                               int width, int height);

}  // namespace vistrel

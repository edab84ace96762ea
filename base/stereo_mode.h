// SPDX-License-Identifier: GPL-3.0-or-later
// The ways in which the viewer page shows the two views of a scene.
#pragma once

#include <cstdint>

namespace vistrel {

// The number is the mode's in the settings, in the lists of the window and in the page. Numbers
// that come from outside are not checked: one that is no mode's selects nothing.
enum class StereoMode : std::int32_t {
    SideBySide = 0,
    LrRl = 1,
    Dubois = 2,
    ColorAnaglyph = 3,
    GrayAnaglyph = 4,
    Interlaced = 5,
    Count  // of all modes
};

inline constexpr std::int32_t kStereoModeCount = static_cast<std::int32_t>(StereoMode::Count);

}  // namespace vistrel

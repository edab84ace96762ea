// SPDX-License-Identifier: GPL-3.0-or-later
// What the window shows of a scene when it has just been opened.
#pragma once

#include "render/eye_pair.h"
#include "render/pinhole_camera.h"
#include "render/splat_style.h"
#include "render/stereo_layout.h"

namespace vistrel {

// The numbers are the window's sliders.
struct WindowView {
    bool general = false;  // for scenes that this program has not made
    double focus = 0.0;    // -100..100
    double depth = 30.0;   // 0..200, 30 is neutral
};

// The page's way to show Gaussians.
inline constexpr SplatStyle kWindowStyle = {
    .nearest = 0.1F, .byDistance = true, .keepsArea = true, .brightest = 1.0F};

// The start camera: y is down in scenes, and it looks at the origin. For an eye's picture of
// `shape` within a whole one of `width` x `height` pixels. Any thread, like the next.
[[nodiscard]] PinholeCamera WindowCamera(const WindowView& view, const EyeShape& shape, int width,
                                         int height);

// The eyes of that camera as the page places them. They are two of a row of views about the origin
// and not centred on the camera: at the neutral depth the left eye is where the camera is.
[[nodiscard]] EyePlaces WindowEyes(const WindowView& view, const EyeShape& shape, int width,
                                   int height);

}  // namespace vistrel

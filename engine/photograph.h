// SPDX-License-Identifier: GPL-3.0-or-later
// A photograph as the conversion takes it.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "engine/picture.h"

namespace vistrel {

struct Photograph {
    Picture picture;               // colours in sRGB
    int orientation = 1;           // EXIF's, by which `picture` is still to be turned upright
    std::optional<float> focalPx;  // in pixels of `picture`; nothing: as the upright one is wide
};

// Reads the photograph that `path` names. What it throws of the standard exception family fails the
// conversion with its text. Called on the threads that convert, maybe on several at a time.
using PhotographReader = std::function<Photograph(const std::wstring& path)>;

}  // namespace vistrel

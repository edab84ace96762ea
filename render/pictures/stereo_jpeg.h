// SPDX-License-Identifier: GPL-3.0-or-later
// Pairs of pictures as the two kinds of JPEG files that players of 3D pictures know. Both throw
// what EncodeJpeg does, and std::invalid_argument for eyes of two sizes. Any thread.
#pragma once

#include <cstddef>
#include <vector>

#include "render/picture.h"
#include "render/pictures/jpeg_encoding.h"

namespace vistrel {

struct EyePictures {
    Picture left;
    Picture right;
};

// JPS: one picture with the right eye's half on the left, and a segment APP3 that says so.
[[nodiscard]] std::vector<std::byte> EncodeJps(const EyePictures& eyes,
                                               int quality = kUsualQuality);

// MPO: two JPEG files behind each other, the left eye's first, in the Multi-Picture Format of CIPA
// DC-007. `baseline` is how far the eyes stand apart, in metres where the scene tells them; they
// look in the same direction.
[[nodiscard]] std::vector<std::byte> EncodeMpo(const EyePictures& eyes, float baseline,
                                               int quality = kUsualQuality);

}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
// Picture files to pixels.
#pragma once

#include <cstdio>

#include "engine/picture.h"

namespace vistrel {

// Decodes the picture that starts at the position of `file`: JPEG, PNG, BMP, GIF (first frame),
// TGA, PSD, HDR, PIC or PNM, each to 8 bits per channel. What a damaged file yields is up to the
// decoder.
//
// Throws std::runtime_error "stb_image failed to load (" + the decoder's reason + ")", also when
// there is not enough memory. Any thread.
[[nodiscard]] Picture DecodePicture(std::FILE* file);

}  // namespace vistrel

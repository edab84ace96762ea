// SPDX-License-Identifier: GPL-3.0-or-later
// From what a decoder hands over to the pixels that the engine takes.
#pragma once

#include "engine/picture.h"
#include "photos/decoded_photo.h"

namespace vistrel {

// `photo` with 8 bits per channel in sRGB. Its colours are converted where it tells that they are
// others, which `convertColours` = false prevents; what a profile says that is broken or made for
// other samples is ignored. Pictures in sRGB, and those that tell nothing, keep their bytes: Bytes
// are not touched, Words lose their lower half, Floats are rounded. Linear floats are encoded by
// sRGB's curve in any case, since they would be no picture without it. Alpha is carried.
//
// Works on all cores. Throws PhotoError where there is no memory for the pixels; std::bad_alloc.
// Any thread, several at a time.
[[nodiscard]] Picture ToSrgbPicture(DecodedPhoto photo, bool convertColours);

}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
// The photographs that the engine's own decoder reads: JPEG, PNG, BMP, GIF, TGA, PSD, Radiance HDR,
// PIC and PNM.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "photos/decoded_photo.h"

namespace vistrel {

// As a PhotoLoader. Pixels are those that the engine decodes from the same file, but a file that
// ends too early is refused: there is no half picture. PNGs of 16 bits come as Words where they
// tell their colours. No EXIF block is handed over: whoever applies its orientation finds it in the
// file.
[[nodiscard]] std::optional<DecodedPhoto> LoadByStb(std::span<const std::byte> file);

}  // namespace vistrel

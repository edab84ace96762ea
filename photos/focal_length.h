// SPDX-License-Identifier: GPL-3.0-or-later
// How long a photograph's focal length is, in pixels.
#pragma once

#include <optional>
#include <string_view>

#include "photos/exif_facts.h"

namespace vistrel {

struct FocalChoice {
    enum class Kind {
        Width,        // as the upright picture is wide
        Auto,         // as EXIF tells, else as Width
        Millimetres,  // `value` of them on 35 mm film, see PixelsOf35mm
        Pixels,       // `value` pixels of the full-size picture
    };
    Kind kind = Kind::Width;
    double value = 0;
};

// "width", "auto", "26mm" or "3000px"; the number is from 0.01 to 1000000 and may have a decimal
// point. Nothing for any other text.
[[nodiscard]] std::optional<FocalChoice> ParseFocalChoice(std::string_view text);

// The focal length in pixels of a picture that is taken as with a lens of `millimetres` on 35 mm
// film (36 mm x 24 mm): equal angles of view across the diagonals, as cameras tell it (CIPA
// DCG-001).
[[nodiscard]] double PixelsOf35mm(double millimetres, int width, int height);

// The focal length in pixels of a picture of `width` x `height` pixels which was decoded at
// 1 / `reduction` of its size. Nothing where EXIF tells none, or one that no camera has.
[[nodiscard]] std::optional<double> FocalLengthByExif(const ExifFacts& facts, int width, int height,
                                                      int reduction);

// The same by what the user chose. Nothing: as the upright picture is wide.
[[nodiscard]] std::optional<double> ChosenFocalLength(const FocalChoice& choice,
                                                      const ExifFacts& facts, int width, int height,
                                                      int reduction);

}  // namespace vistrel

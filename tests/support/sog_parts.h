// SPDX-License-Identifier: GPL-3.0-or-later
// SOG files put together by hand.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

#include "formats/webp_pictures.h"

namespace vistrel {

struct SogParts {
    std::string meta;  // meta.json
    std::map<std::string, NumberPicture> pictures;
    std::string folder;  // of all files, with its slash
    std::string metaName = "meta.json";

    // Replaces a text of meta.json that is there once or more, the first time that it is there.
    void Replace(const std::string& text, const std::string& other);

    void Paint(const std::string& picture, std::size_t pixel,
               const std::array<std::uint8_t, 4>& bytes);

    // All of it as a file.
    [[nodiscard]] std::string Archive() const;
};

// Two Gaussians with harmonics of degree 1 and a palette of 66 entries.
[[nodiscard]] SogParts SogVersion2();
[[nodiscard]] SogParts SogVersion1();

}  // namespace vistrel

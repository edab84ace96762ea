// SPDX-License-Identifier: GPL-3.0-or-later
// What is made: the ending of a file's name tells.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "render/stereo_layout.h"

namespace vistrel {

enum class OutputKind : std::uint8_t { Png, Jpeg };

struct OutputEnding {
    std::string_view ending;  // in small letters, with its dot
    OutputKind kind;
};

inline constexpr std::array<OutputEnding, 3> kOutputEndings = {{
    {".png", OutputKind::Png},
    {".jpg", OutputKind::Jpeg},
    {".jpeg", OutputKind::Jpeg},
}};

// Any thread, like all below. Nothing for a name with another ending.
[[nodiscard]] std::optional<OutputKind> OutputKindOf(const std::filesystem::path& file);

// All endings in words: ".png, .jpg".
[[nodiscard]] std::string OutputEndings();

// Where the picture of `scene` goes in `folder`: its name with what tells players the layout. One
// that has no layout to tell is called "_view", so that it never takes the place of the photograph
// that the scene was made from.
[[nodiscard]] std::filesystem::path OutputIn(const std::filesystem::path& folder,
                                             const std::filesystem::path& scene,
                                             StereoLayout layout, std::string_view ending);

}  // namespace vistrel

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

enum class OutputKind : std::uint8_t { Png, Jpeg, Jps, Mpo, Webp, Mp4, Webm, Gif };

struct OutputEnding {
    std::string_view ending;  // in small letters, with its dot
    OutputKind kind;
};

inline constexpr std::array<OutputEnding, 9> kOutputEndings = {{
    {".png", OutputKind::Png},
    {".jpg", OutputKind::Jpeg},
    {".jpeg", OutputKind::Jpeg},
    {".jps", OutputKind::Jps},
    {".mpo", OutputKind::Mpo},
    {".webp", OutputKind::Webp},
    {".mp4", OutputKind::Mp4},
    {".webm", OutputKind::Webm},
    {".gif", OutputKind::Gif},
}};

// Any thread, like all below. Nothing for a name with another ending.
[[nodiscard]] std::optional<OutputKind> OutputKindOf(const std::filesystem::path& file);

// All endings in words: ".png, .jpg".
[[nodiscard]] std::string OutputEndings();

// What tells players the layout in the name of a file, unless `ending` itself does. A picture for
// one eye is called "_view", so that it never takes the place of the photograph that the scene was
// made from. `ending` is one of kOutputEndings.
[[nodiscard]] std::string_view LayoutSuffix(StereoLayout layout, std::string_view ending);

}  // namespace vistrel

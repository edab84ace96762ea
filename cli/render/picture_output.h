// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures into files.
#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <vector>

#include "cli/render/options.h"
#include "cli/render/view.h"
#include "render/pictures/stereo_jpeg.h"

namespace vistrel {

// The eyes' pictures; without eyes the one picture is the left one.
[[nodiscard]] EyePictures DrawEyes(SplatRenderer& renderer, const GaussianScene& scene,
                                   const View& view, const RenderOptions& options);

// Both in one, in the layout that is asked for.
[[nodiscard]] Picture WholeOf(const EyePictures& eyes, const View& view,
                              const RenderOptions& options);

// A file of the kind that is asked for, which is one for any picture. Throws like the next.
[[nodiscard]] std::vector<std::byte> EncodePicture(const Picture& whole,
                                                   const RenderOptions& options);

// The file of the kind that is asked for. Throws std::runtime_error with the text for the user, and
// std::bad_alloc.
[[nodiscard]] std::vector<std::byte> EncodeEyes(const EyePictures& eyes, const View& view,
                                                const RenderOptions& options);

// The file whole, or as it was before. Throws std::runtime_error with the text for the user.
void WriteOutput(const std::filesystem::path& output, std::span<const std::byte> bytes);

}  // namespace vistrel

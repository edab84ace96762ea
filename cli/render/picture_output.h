// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures into files.
#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <vector>

#include "cli/render/options.h"
#include "cli/render/view.h"
#include "render/picture.h"

namespace vistrel {

// The eyes' pictures, those of View::Cameras; of one without eyes `right` is empty.
struct DrawnEyes {
    Picture left;
    Picture right;
};

[[nodiscard]] DrawnEyes DrawEyes(SplatRenderer& renderer, const GaussianScene& scene,
                                 const View& view, const RenderOptions& options);

// The file of the kind that is asked for. Throws std::runtime_error with the text for the user, and
// std::bad_alloc.
[[nodiscard]] std::vector<std::byte> EncodeEyes(const DrawnEyes& eyes, const View& view,
                                                const RenderOptions& options);

// The file whole, or as it was before. Throws std::runtime_error with the text for the user.
void WriteOutput(const std::filesystem::path& output, std::span<const std::byte> bytes);

}  // namespace vistrel

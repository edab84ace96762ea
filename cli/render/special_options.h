// SPDX-License-Identifier: GPL-3.0-or-later
// The options of movies, depth maps and quilts.
#pragma once

#include <string>
#include <string_view>

#include "cli/render/options.h"

namespace CLI {
class App;
}

namespace vistrel {

// Adds them; what they say goes into `options` when `app` parses, and all of it is right once
// CheckSpecialOptions has been called.
void AddSpecialOptions(CLI::App& app, RenderOptions& options);

// Throws CLI::ValidationError for what does not go together. All other options are in `options`.
void CheckSpecialOptions(const CLI::App& app, const RenderOptions& options);

// Tells on standard error when the name of a quilt does not tell how it lies.
void NoteQuiltNames(const RenderOptions& options);

// What stands behind a scene's name in that of a file with `ending`.
[[nodiscard]] std::string OutputSuffix(const RenderOptions& options, std::string_view ending);

}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
// What the browser needs around it.
#pragma once

#include <filesystem>

namespace vistrel {

// Whether the user has a display.
[[nodiscard]] bool HasDisplay();

// The browser's sandbox refuses to run as root. Throws std::runtime_error that says what to do,
// unless the environment says that there shall be no sandbox.
void CheckSandbox();

// Throws std::runtime_error when `output` is a folder.
void RefuseFolder(const std::filesystem::path& output);

// Before the application object. A pixel of a window becomes a pixel of the display. The browser
// keeps its profile in `folder`, and the user's own one is left alone. A display that cannot be
// reached ends the process with status 1 and the reason, and `folder` is removed.
void PrepareApplication(const std::filesystem::path& folder);

}  // namespace vistrel

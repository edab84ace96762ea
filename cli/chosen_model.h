// SPDX-License-Identifier: GPL-3.0-or-later
// The network that the user has chosen in the window.
#pragma once

#include <filesystem>

namespace vistrel {

// As the settings file names it. Empty: none is chosen, or the file is missing, broken or cannot be
// read, as the window has it. Any thread; throws std::bad_alloc only.
[[nodiscard]] std::filesystem::path ChosenModel();

}  // namespace vistrel

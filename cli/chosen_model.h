// SPDX-License-Identifier: GPL-3.0-or-later
// The network that the user has chosen in the window.
#pragma once

#include <filesystem>

namespace vistrel {

// As the settings file names it; FirstModel() where there is no such file or it cannot be read.
// Empty: none is chosen, or the file is broken, as the window has it. Any thread; throws
// std::bad_alloc only.
[[nodiscard]] std::filesystem::path ChosenModel();

}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
// The network that the user has chosen in the window.
#pragma once

#include <filesystem>

namespace vistrel {

// As the settings file names it; FirstModel() where there is no such file, or it cannot be read or
// is broken, as the window has it. Empty: none is chosen. Any thread; throws std::bad_alloc only.
[[nodiscard]] std::filesystem::path ChosenModel();

// Chooses that network for the window. Everything else in the settings file stays as it is; where
// there is none, it is made. Throws std::runtime_error, its text naming the file, where that cannot
// be read or written, or is broken, and then it is as it was.
void ChooseModel(const std::filesystem::path& model);

}  // namespace vistrel

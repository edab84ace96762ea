// SPDX-License-Identifier: GPL-3.0-or-later
// What the manual pages tell and --help does not.
#pragma once

#include <filesystem>

#include "cli/texts/command_text.h"

namespace vistrel {

// Exit status, files and environment of the command of that name.
[[nodiscard]] std::vector<TextSection> MoreSections(const std::string& command);

// The window, which has no options.
[[nodiscard]] CommandText WindowText();

// A script the help of which is the comment at its head: sentences, a line with its usage, and how
// it exits. Throws std::runtime_error where there is no such comment.
[[nodiscard]] CommandText ScriptText(const std::filesystem::path& script);

}  // namespace vistrel

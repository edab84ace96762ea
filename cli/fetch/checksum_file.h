// SPDX-License-Identifier: GPL-3.0-or-later
// FILE.sha256 beside FILE, as sha256sum writes and reads it.
#pragma once

#include <filesystem>
#include <string>

namespace vistrel {

// Throws std::system_error where it cannot be written.
void WriteChecksum(const std::filesystem::path& file, const std::string& sum);

// 64 small hexadecimal digits; empty where none are told for this file.
[[nodiscard]] std::string ReadChecksum(const std::filesystem::path& file);

}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
// Folders of files with any names.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <filesystem>
#include <string>

namespace vistrel::fuzz {

// A name that a file can have: any bytes but '/' and zero, at most 255; mostly with the ending of
// a picture or one that is almost that.
[[nodiscard]] std::string AnyFileName(FuzzedDataProvider& data);
// The same, mostly as a scene is called.
[[nodiscard]] std::string AnySceneName(FuzzedDataProvider& data);

// Puts a file, a folder or a link there, unless the name is taken.
void MakeAnything(FuzzedDataProvider& data, const std::filesystem::path& path);

// What MakeAnything writes into the files: nothing else has that content.
[[nodiscard]] std::string FormerContent(const std::filesystem::path& path);

}  // namespace vistrel::fuzz

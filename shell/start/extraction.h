// SPDX-License-Identifier: GPL-3.0-or-later
// The files that the program carries inside itself, and how they get to disk.
//
// They are the Qt resources :/2001 to :/2007 and :/3001. Any thread; nothing throws. Each file
// takes its place as a whole: somebody who reads it meanwhile sees the old one or the new one.
#pragma once

#include <optional>
#include <string>

#include "base/new_file.h"
#include "base/user_folders.h"

namespace vistrel {

// Where the files lie; paths without a separator at their end.
struct ProgramFiles {
    std::wstring appDir;      // help pages and loader library
    std::wstring webDir;      // the page's files, nothing but the user's own
    std::wstring loaderPath;  // the loader library in appDir
};

// Writes all eight files, in `appDir` and in "VistrelWeb" below the user's temporary folder, or in
// "VistrelWeb-<uid>" where the former belongs to another user. A loader library that is there
// already stays. Nothing on the first failure; the files before it then stay.
[[nodiscard]] std::optional<ProgramFiles> ExtractResources(
    const std::wstring& appDir = ProgramFolder());

// Writes the five files of the viewer page to an existing folder; false on the first failure.
[[nodiscard]] bool ExtractWebPage(const std::wstring& folder);

// False when there is no such resource, it is empty, or the file cannot be written whole. One that
// cannot be written but holds these very bytes will do.
[[nodiscard]] bool ExtractResourceToFile(int id, const std::wstring& path,
                                         Durability durability = Durability::kUsual);

}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
// The photographs of folders, as conversions of many take them.
#pragma once

#include <array>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace vistrel {

// Endings of the names, in small letters.
inline constexpr std::array<std::string_view, 19> kPhotographEndings = {
    ".jpg", ".jpeg", ".png", ".bmp", ".webp", ".heic", ".heif", ".avif", ".tif", ".tiff",
    ".jxl", ".dng",  ".cr2", ".cr3", ".nef",  ".arw",  ".raf",  ".orf",  ".rw2"};

// What could not be looked at.
struct UnreadPlace {
    std::filesystem::path path;
    std::string reason;
};

struct FoundPhotographs {
    std::vector<std::filesystem::path> photographs;  // below the folder, sorted by their bytes
    std::vector<UnreadPlace> unread;
};

// The photographs of `folder`, with `isRecursive` also those of the folders below it, but for links
// to folders and for `leftOut`, which may be missing. A folder that cannot be read to its end is
// left out as a whole. Any thread; throws std::bad_alloc only.
[[nodiscard]] FoundPhotographs FindPhotographs(const std::filesystem::path& folder,
                                               bool isRecursive,
                                               const std::filesystem::path& leftOut);

}  // namespace vistrel

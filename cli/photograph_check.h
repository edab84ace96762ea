// SPDX-License-Identifier: GPL-3.0-or-later
// Photographs where a scene is expected.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

namespace vistrel {

// How much of a file's start tells most photographs.
inline constexpr std::size_t kPhotographStartBytes = 12;

// Whether a file of this name that begins so is a photograph: JPEG, PNG, WebP, TIFF, GIF, BMP,
// HEIC, AVIF, JPEG XL. A .splat file, which may begin with any bytes, is none. Any thread, like all
// below.
[[nodiscard]] bool IsPhotograph(const std::filesystem::path& file, std::string_view start);

// The first bytes of the file, at most `most`. Throws std::runtime_error, without the file's name,
// when it cannot be read or is no regular file.
[[nodiscard]] std::string StartOfFile(const std::filesystem::path& file, std::size_t most);

// Throws std::runtime_error with a sentence for the user, without the file's name, when it is a
// photograph, and as StartOfFile does.
void RefusePhotograph(const std::filesystem::path& file);

}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
// Scene files of all makers: what reads them, by their first bytes, and what writes them, by the
// ending of their names.
#pragma once

#include <array>
#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

#include "formats/scene_io.h"

namespace vistrel {

// Endings of the names of scenes that are read, and of those that are written, in small letters.
inline constexpr std::array<std::string_view, 7> kReadEndings = {
    ".ply", ".splat", ".ksplat", ".spz", ".sog", ".glb", ".gltf"};
inline constexpr std::array<std::string_view, 6> kWrittenEndings = {
    ".ply", ".compressed.ply", ".splat", ".spz", ".sog", ".glb"};

// In words: ".ply, .splat". Any thread, like all below.
[[nodiscard]] std::string ListOf(std::span<const std::string_view> endings);

// How much of a file's start tells whether it is a scene.
inline constexpr std::size_t kSceneStartBytes = 4;

// Whether a file that begins so can only be a scene, as far as there are scenes among files of its
// kind: PLY, gzip, SPZ, zip, GLB. That of the others shows by the name alone.
[[nodiscard]] bool StartsLikeScene(std::string_view start);

// Whether the name is that of a scene, in small or large letters.
[[nodiscard]] bool HasSceneEnding(const std::filesystem::path& file);

// Reads a scene of any of the formats into the sink. Throws std::runtime_error with what is wrong,
// without the file's name, and std::bad_alloc.
void ReadSceneFile(const std::filesystem::path& path, SceneSink& sink,
                   SpzFrame spzFrame = SpzFrame::AsPly, int threads = 0);

// What writes files of this name, whose ending may be in small or large letters. Null for one with
// an ending that is not among kWrittenEndings.
[[nodiscard]] SceneWriter SceneWriterFor(const std::filesystem::path& path);

}  // namespace vistrel

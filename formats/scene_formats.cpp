// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/scene_formats.h"

#include <algorithm>
#include <stdexcept>

#include "base/scene_kind.h"
#include "formats/compressed_ply.h"
#include "formats/gltf.h"
#include "formats/ksplat.h"
#include "formats/ply.h"
#include "formats/sog.h"
#include "formats/splat.h"
#include "formats/spz.h"

namespace vistrel {
namespace {

// In the order in which they are asked. The last ones go by the name's ending.
constexpr std::array<SceneReader, 7> kReaders = {ReadCompressedPly, ReadPly,    ReadSpz,  ReadSog,
                                                 ReadGltf,          ReadKsplat, ReadSplat};

using namespace std::string_view_literals;

constexpr std::array kStarts = {"ply\n"sv, "ply\r"sv, "\x1F\x8B"sv, "NGSP"sv, "PK\3\4"sv, "glTF"sv};
static_assert(std::ranges::all_of(kStarts, [](std::string_view start) {
    return start.size() <= kSceneStartBytes;
}));

}  // namespace

std::string ListOf(std::span<const std::string_view> endings) {
    std::string all;
    for (const std::string_view ending : endings) {
        all.append(all.empty() ? "" : ", ").append(ending);
    }
    return all;
}

bool StartsLikeScene(std::string_view start) {
    return std::ranges::any_of(kStarts,
                               [start](std::string_view each) { return start.starts_with(each); });
}

bool HasSceneEnding(const std::filesystem::path& file) {
    return std::ranges::find(kReadEndings, SmallEnding(file)) != kReadEndings.end();
}

void ReadSceneFile(const std::filesystem::path& path, SceneSink& sink, SpzFrame spzFrame,
                   int threads) {
    const InputFile file(path);
    const SceneInput input = {file, SmallEnding(path), path.parent_path(), spzFrame, threads};
    for (const SceneReader read : kReaders) {
        if (read(input, sink)) return;
    }
    throw std::runtime_error("it is not a scene (" + ListOf(kReadEndings) + ")");
}

SceneWriter SceneWriterFor(const std::filesystem::path& path) {
    const std::string ending = SmallEnding(path);
    if (ending == ".ply") {
        return SmallEnding(path.stem()) == ".compressed" ? WriteCompressedPly : WritePly;
    }
    if (ending == ".splat") return WriteSplat;
    if (ending == ".spz") return WriteSpz;
    if (ending == ".sog") return WriteSog;
    if (ending == ".glb") return WriteGlb;
    return nullptr;
}

}  // namespace vistrel

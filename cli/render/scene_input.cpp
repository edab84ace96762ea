// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/render/scene_input.h"

#include <algorithm>
#include <array>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include "base/input_file.h"
#include "base/scene_kind.h"

namespace vistrel {
namespace {

using namespace std::string_view_literals;

struct Magic {
    std::size_t offset;
    std::string_view bytes;
};

constexpr std::size_t kMagicBytes = 12;

// JPEG, PNG, WebP, TIFF in both orders, GIF, BMP, what HEIC and AVIF begin with, JPEG XL.
constexpr std::array kPhotographs = {
    Magic{0, "\xFF\xD8\xFF"sv}, Magic{0, "\x89PNG"sv},     Magic{8, "WEBP"sv}, Magic{0, "II*\0"sv},
    Magic{0, "MM\0*"sv},        Magic{0, "GIF8"sv},        Magic{0, "BM"sv},   Magic{4, "ftyp"sv},
    Magic{0, "\xFF\x0A"sv},     Magic{4, "JXL \x0D\x0A"sv}};

bool IsPhotograph(const InputFile& file) {
    std::string start(std::min<std::uint64_t>(file.Size(), kMagicBytes), '\0');
    file.Read(0, std::as_writable_bytes(std::span(start)));
    return std::ranges::any_of(kPhotographs, [&start](const Magic& magic) {
        return start.size() >= magic.offset + magic.bytes.size() &&
               std::string_view(start).substr(magic.offset, magic.bytes.size()) == magic.bytes;
    });
}

}  // namespace

void CheckScene(const std::filesystem::path& path) {
    const std::string ending = SmallEnding(path);
    if (IsSceneName(path) && ending != ".ply") {
        throw std::runtime_error("scenes that end in " + ending +
                                 " cannot be drawn, only those in .ply");
    }
    if (IsPhotograph(InputFile(path))) {
        throw std::runtime_error("it is a photograph; vistrel-convert makes a scene of it first");
    }
}

SceneFile ReadScene(const std::filesystem::path& path) {
    SceneFile file = ReadScenePly(path);
    if (file.scene.Count() == 0) throw std::runtime_error("the scene has no Gaussians");
    return file;
}

}  // namespace vistrel

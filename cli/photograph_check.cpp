// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/photograph_check.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <stdexcept>

#include "base/input_file.h"
#include "base/scene_kind.h"

namespace vistrel {
namespace {

using namespace std::string_view_literals;

struct Magic {
    std::size_t offset;
    std::string_view bytes;
};

// JPEG, PNG, WebP, TIFF in both orders, GIF, BMP, what HEIC and AVIF begin with, JPEG XL.
constexpr std::array kPhotographs = {
    Magic{0, "\xFF\xD8\xFF"sv}, Magic{0, "\x89PNG"sv},     Magic{8, "WEBP"sv}, Magic{0, "II*\0"sv},
    Magic{0, "MM\0*"sv},        Magic{0, "GIF8"sv},        Magic{0, "BM"sv},   Magic{4, "ftyp"sv},
    Magic{0, "\xFF\x0A"sv},     Magic{4, "JXL \x0D\x0A"sv}};

}  // namespace

bool IsPhotograph(const std::filesystem::path& file, std::string_view start) {
    if (SmallEnding(file) == ".splat") return false;
    return std::ranges::any_of(kPhotographs, [start](const Magic& magic) {
        return start.size() >= magic.offset + magic.bytes.size() &&
               start.substr(magic.offset, magic.bytes.size()) == magic.bytes;
    });
}

std::string StartOfFile(const std::filesystem::path& path, std::size_t most) {
    const InputFile file(path);
    std::string start(static_cast<std::size_t>(std::min<std::uint64_t>(file.Size(), most)), '\0');
    file.Read(0, std::as_writable_bytes(std::span(start)));
    return start;
}

void RefusePhotograph(const std::filesystem::path& file) {
    if (IsPhotograph(file, StartOfFile(file, kPhotographStartBytes))) {
        throw std::runtime_error("it is a photograph; vistrel-convert makes a scene of it first");
    }
}

}  // namespace vistrel

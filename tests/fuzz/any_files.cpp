// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/fuzz/any_files.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <fstream>
#include <span>
#include <string_view>

namespace vistrel::fuzz {
namespace {

constexpr std::size_t kLongestName = 255;

constexpr std::array<std::string_view, 22> kEndings = {
    ".jpg",  ".jpg", ".jpeg", ".png",    ".bmp",    ".webp",     ".JPG",     ".JpEg",
    ".wEbP", ".jpe", ".ply",  "(1).ply", "(1).jpg", "(2).png",   ".jpg.png", ".jpg.",
    ".jpg ", "",     ".",     ".tif",    ".PLY",    "(1)(1).bmp"};

constexpr std::array<std::string_view, 6> kSceneEndings = {".ply",    ".ply", "(1).ply",
                                                           "(2).ply", ".PLY", "(1)(1).ply"};

constexpr std::array<std::string_view, 8> kStems = {"a", "a",  "b",    "a(1)",
                                                    ".", "..", "\xFF", "a\n"};

std::string AnyStem(FuzzedDataProvider& data) {
    if (data.ConsumeIntegralInRange(0, 3) > 0) return std::string(data.PickValueInArray(kStems));
    std::string stem = data.ConsumeRandomLengthString(8);
    if (data.ConsumeIntegralInRange(0, 15) == 0)
        stem.insert(0, data.ConsumeIntegralInRange<std::size_t>(240, kLongestName), 'x');
    return stem;
}

std::string AnyName(FuzzedDataProvider& data, std::span<const std::string_view> endings) {
    std::string name = AnyStem(data);
    name += endings[data.ConsumeIntegralInRange<std::size_t>(0, endings.size() - 1)];
    std::ranges::replace(name, '/', '_');
    std::ranges::replace(name, '\0', '_');
    if (name.size() > kLongestName) name.erase(0, name.size() - kLongestName);
    return name.empty() || name == "." || name == ".." ? "x.jpg" : name;
}

}  // namespace

std::string AnyFileName(FuzzedDataProvider& data) {
    return AnyName(data, kEndings);
}

std::string AnySceneName(FuzzedDataProvider& data) {
    return AnyName(data, kSceneEndings);
}

std::string FormerContent(const std::filesystem::path& path) {
    return "former " + path.native();
}

void MakeAnything(FuzzedDataProvider& data, const std::filesystem::path& path) {
    if (std::filesystem::exists(std::filesystem::symlink_status(path))) return;
    switch (data.ConsumeIntegralInRange(0, 31)) {
        case 0:
            std::filesystem::create_directory(path);
            break;
        case 1:  // leads nowhere
            std::filesystem::create_symlink("nothing/there", path);
            break;
        case 2:  // leads to itself
            std::filesystem::create_symlink(path.filename(), path);
            break;
        default:
            std::ofstream(path, std::ios::binary) << FormerContent(path);
    }
}

}  // namespace vistrel::fuzz

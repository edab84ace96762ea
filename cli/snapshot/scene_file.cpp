#include "cli/snapshot/scene_file.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace vistrel {
namespace {

std::string EndingInSmallLetters(const std::filesystem::path& scene) {
    std::string ending = scene.extension().native();
    std::transform(ending.begin(), ending.end(), ending.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return ending;
}

}  // namespace

void CheckScene(const std::filesystem::path& scene) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(scene, error);
    if (!std::filesystem::exists(status)) {
        throw std::runtime_error("there is no file " + scene.native());
    }
    if (!std::filesystem::is_regular_file(status)) {
        throw std::runtime_error(scene.native() + " is no file");
    }
    if (!std::ifstream(scene)) throw std::runtime_error(scene.native() + " cannot be read");
    constexpr std::array<std::string_view, 4> kEndings = {".ply", ".splat", ".ksplat", ".spz"};
    const std::string ending = EndingInSmallLetters(scene);
    if (std::find(kEndings.begin(), kEndings.end(), ending) == kEndings.end()) {
        throw std::runtime_error(scene.native() +
                                 " is no scene: its name does not end in .ply, .splat, .ksplat or "
                                 ".spz");
    }
}

std::filesystem::path LinkScene(const std::filesystem::path& scene,
                                const std::filesystem::path& folder) {
    std::filesystem::path link = folder / ("scene" + EndingInSmallLetters(scene));
    std::filesystem::create_symlink(std::filesystem::canonical(scene), link);
    return link;
}

}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/render/output_kind.h"

#include <algorithm>

#include "base/scene_kind.h"

namespace vistrel {

std::optional<OutputKind> OutputKindOf(const std::filesystem::path& file) {
    const auto* const found =
        std::ranges::find(kOutputEndings, SmallEnding(file), &OutputEnding::ending);
    if (found == kOutputEndings.end()) return std::nullopt;
    return found->kind;
}

std::string OutputEndings() {
    std::string all;
    for (const OutputEnding& each : kOutputEndings) {
        all += all.empty() ? "" : ", ";
        all += each.ending;
    }
    return all;
}

std::filesystem::path OutputIn(const std::filesystem::path& folder,
                               const std::filesystem::path& scene, StereoLayout layout,
                               std::string_view ending) {
    std::filesystem::path name = scene.stem();
    name += layout == StereoLayout::None ? "_view" : NameOf(layout).suffix;
    name += ending;
    return folder / name;
}

}  // namespace vistrel

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

std::string_view LayoutSuffix(StereoLayout layout, std::string_view ending) {
    if (ending == ".jps" || ending == ".mpo") return "";
    return layout == StereoLayout::None ? "_view" : NameOf(layout).suffix;
}

}  // namespace vistrel

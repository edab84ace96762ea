// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/scene_link.h"

#include <unistd.h>

#include <system_error>

#include "base/scene_kind.h"
#include "base/text_encoding.h"
#include "viewer/page_path.h"

namespace vistrel {
SceneLink::SceneLink(const std::wstring& folder) : folder_(ToPath(folder)) {}

SceneLink::~SceneLink() {
    Remove();
}

std::wstring SceneLink::PathFor(const std::wstring& path) {
    Remove();
    if (PageCanBeTold(path)) return path;

    // Several programs of one user share the folder.
    std::filesystem::path link =
        folder_ / ("scene-" + std::to_string(getpid()) + SmallEnding(ToPath(path)));
    std::error_code error;
    std::filesystem::remove(link, error);  // of a killed program that had this number
    std::filesystem::create_symlink(ToPath(path), link, error);
    if (error) return path;
    link_ = std::move(link);
    return FromPath(link_.filename());
}

void SceneLink::Remove() {
    std::error_code ignored;
    if (!link_.empty()) std::filesystem::remove(link_, ignored);
    link_.clear();
}

}  // namespace vistrel

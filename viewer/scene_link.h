// SPDX-License-Identifier: GPL-3.0-or-later
// A name under which the viewer page finds a scene.
#pragma once

#include <filesystem>
#include <string>

namespace vistrel {

// The page is told a scene's path in its address. A scene whose path does not survive that
// (viewer/page_path.h) gets a link with a plain name.
//
// One thread at a time; nothing throws.
class SceneLink {
  public:
    // The links lie in `folder`, which belongs to this user alone.
    explicit SceneLink(const std::wstring& folder);
    ~SceneLink();
    SceneLink(const SceneLink&) = delete;
    SceneLink& operator=(const SceneLink&) = delete;

    // `path`, an absolute one, itself where the page can be told it, or where no link can be made;
    // otherwise the name of a link to it, which lasts until the next call or the end of this
    // object. A page in the links' folder finds it by the name, whatever the folder's is.
    [[nodiscard]] std::wstring PathFor(const std::wstring& path);

  private:
    void Remove();

    const std::filesystem::path folder_;
    std::filesystem::path link_;  // empty: none
};

}  // namespace vistrel

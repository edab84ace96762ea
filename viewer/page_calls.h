// SPDX-License-Identifier: GPL-3.0-or-later
// What the program says to the page: script texts and addresses, exact to the character.
//
// Any thread; nothing throws. A folder is given without a separator at its end.
#pragma once

#include <string>

namespace vistrel {

// Calls of the page's global functions; harmless while the page has none yet. Numbers are written
// as C++ streams write them by default: six digits, no zeros behind the point.
[[nodiscard]] std::wstring StereoModeCall(int mode);
[[nodiscard]] std::wstring FocusDepthCall(double focus, double depth);
[[nodiscard]] std::wstring SwapEyesCall(bool swap);
[[nodiscard]] std::wstring FileCall(const std::wstring& path);

// The page in `folder` without a scene. Nothing is percent-encoded.
[[nodiscard]] std::wstring StartPageUrl(const std::wstring& folder);
// The page in `folder` with the scene at `path` (empty: none) and a fresh view. A path with "#" or
// "&" in it is cut off there (viewer/page_path.h).
[[nodiscard]] std::wstring SceneUrl(const std::wstring& folder, const std::wstring& path,
                                    bool sharp);

}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
// What the status says of the viewer, in the active language. Any thread.
#pragma once

#include <string>
#include <string_view>

namespace vistrel {

// The reasons are the page's or the system's, in their language.
[[nodiscard]] std::wstring SceneFailedMessage(std::wstring_view reason);
[[nodiscard]] std::wstring PictureFailedMessage(std::wstring_view reason);
// The page's process has ended.
[[nodiscard]] std::wstring ViewerEndedMessage();

}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
// The page that a scene is put into, which travels inside the program.
#pragma once

#include <string_view>

namespace vistrel {

// HTML with places to fill, see page_filling.h. Any thread.
[[nodiscard]] std::string_view ViewerPage();

}  // namespace vistrel

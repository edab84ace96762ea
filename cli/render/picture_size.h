// SPDX-License-Identifier: GPL-3.0-or-later
// The value of a --size option.
#pragma once

#include <string>

namespace vistrel {

struct PictureSize {
    int width = 0;  // pixels
    int height = 0;
};

// Reads "WxH" with both numbers from `least` to `most`, at most 5 digits. Returns what is wrong
// with it, nothing if it is fine. Any thread.
[[nodiscard]] std::string ParsePictureSize(const std::string& text, int least, int most,
                                           PictureSize& size);

}  // namespace vistrel

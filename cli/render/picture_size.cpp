// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/render/picture_size.h"

#include <cstdio>

namespace vistrel {

std::string ParsePictureSize(const std::string& text, int least, int most, PictureSize& size) {
    char end = '\0';
    const int found = std::sscanf(text.c_str(), "%5dx%5d%c", &size.width, &size.height, &end);
    const auto fits = [least, most](int value) { return value >= least && value <= most; };
    if (found == 2 && fits(size.width) && fits(size.height)) return "";
    return "a size is two numbers of " + std::to_string(least) + " to " + std::to_string(most) +
           ", such as 1024x768";
}

}  // namespace vistrel

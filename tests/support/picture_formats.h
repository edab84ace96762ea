// SPDX-License-Identifier: GPL-3.0-or-later
// Byte-exact writers of the picture formats that the decoder reads and that have no encoder at
// hand: uncompressed, and just as much of each format as a test needs.
#pragma once

#include <string>
#include <vector>

#include "tests/support/plain_image_stage.h"

namespace vistrel::test {

// A PNG from the bytes of its rows, without filters and compression. Colour type: 0 grey, 2 RGB,
// 3 palette, 4 grey and alpha, 6 RGBA. `palette` and `transparency` are left out when empty.
[[nodiscard]] std::string StoredPng(int width, int height, int bitDepth, int colourType,
                                    const std::vector<std::string>& rows,
                                    const std::string& palette = {},
                                    const std::string& transparency = {});

// Another chunk in front of the picture's own ones.
[[nodiscard]] std::string WithPngChunk(const std::string& png, const std::string& type,
                                       const std::string& content);

// `indices` are below 100; so are the colours of `palette` (3 bytes each).
[[nodiscard]] std::string StoredGif(int width, int height, const std::string& indices,
                                    const std::string& palette);

[[nodiscard]] std::string StoredPsd(const PlainPicture& picture);
[[nodiscard]] std::string StoredPic(const PlainPicture& picture);
[[nodiscard]] std::string StoredPpm(const PlainPicture& picture);
[[nodiscard]] std::string StoredPgm(const PlainPicture& picture);  // of the red ones

// Radiance, each pixel four bytes: three mantissas and their exponent. Below 8 pixels wide.
[[nodiscard]] std::string StoredHdr(int width, int height, const std::string& pixels);

}  // namespace vistrel::test

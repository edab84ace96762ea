// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures for tests, and files of them in the formats that have an encoder.
#pragma once

#include <cstdint>
#include <string>

#include "engine/picture.h"
#include "tests/support/plain_image_stage.h"

namespace vistrel::test {

// Pseudo-random pixels, the same for the same arguments: every pixel differs from its neighbours.
// Alpha too unless `opaque`.
[[nodiscard]] PlainPicture NoisePicture(int width, int height, bool opaque = true,
                                        std::uint32_t seed = 1);

// Soft shapes of several sizes with a little grain, like a photograph to a decoder.
[[nodiscard]] PlainPicture PhotoLikePicture(int width, int height);

[[nodiscard]] PlainPicture FilledPicture(int width, int height, std::uint8_t red,
                                         std::uint8_t green, std::uint8_t blue,
                                         std::uint8_t alpha = 255);

// The same pixels in the engine's own form.
[[nodiscard]] Picture ToPicture(const PlainPicture& picture);

// `channels` is 1 (grey: the red ones), 3, or 4.
[[nodiscard]] std::string EncodePng(const PlainPicture& picture, int channels = 4);
[[nodiscard]] std::string EncodeBmp(const PlainPicture& picture, int channels = 3);
[[nodiscard]] std::string EncodeTga(const PlainPicture& picture, int channels = 4);
[[nodiscard]] std::string EncodeJpeg(const PlainPicture& picture, int quality, int channels = 3);

}  // namespace vistrel::test

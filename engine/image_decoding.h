// SPDX-License-Identifier: GPL-3.0-or-later
// Picture files to pixels.
#pragma once

#include <cstddef>
#include <cstdio>
#include <optional>
#include <span>
#include <stdexcept>

#include "engine/picture.h"

namespace vistrel {

// Decodes the picture that starts at the position of `file`: JPEG, PNG, BMP, GIF (first frame),
// TGA, PSD, HDR, PIC or PNM, each to 8 bits per channel. What a damaged file yields is up to the
// decoder.
//
// Throws std::runtime_error "stb_image failed to load (" + the decoder's reason + ")", also when
// there is not enough memory. Any thread.
[[nodiscard]] Picture DecodePicture(std::FILE* file);

// The file ends before the picture in it does.
class PictureCutShort : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

struct PictureFacts {
    int width = 0;  // as the file says, unchecked
    int height = 0;
    bool deep = false;  // 16 bits per channel
};

// What the head of a picture file in memory says; nothing when the decoder does not know its kind,
// or when already the head is damaged. Takes no memory to speak of. Any thread.
[[nodiscard]] std::optional<PictureFacts> ReadPictureFacts(std::span<const std::byte> file);

// As DecodePicture, but from memory, and of a file that ends early not even a part is taken.
//
// Throws PictureCutShort, and std::runtime_error with the decoder's bare reason. Any thread.
[[nodiscard]] Picture DecodeWholePicture(std::span<const std::byte> file);

// The same with 16 bits per channel: `pixels` are std::uint16_t in the processor's byte order.
[[nodiscard]] Picture DecodeDeepPicture(std::span<const std::byte> file);

}  // namespace vistrel

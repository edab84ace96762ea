// SPDX-License-Identifier: GPL-3.0-or-later
// What turns samples into pixels of sRGB.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

namespace vistrel {

// Makes `count` pixels (8 bits, sRGB, straight alpha) of as many of a DecodedPhoto's samples, whose
// format and model it knows. Both may be the same memory where pixels take as much room as samples.
// Called on several threads at a time; throws nothing. An empty one: there is nothing to convert.
using PixelConversion =
    std::function<void(const std::byte* samples, std::uint8_t* pixels, std::size_t count)>;

}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
// Files of boxes, each with its length and four characters in front, as HEIF and JPEG XL are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace vistrel {

struct Box {
    std::string_view type;  // lives as long as the file
    std::span<const std::byte> content;
    bool whole = true;  // false: it reaches beyond the end of the file
};

// Takes the first box off `rest`. Nothing: there is none, or what is left is no box.
[[nodiscard]] std::optional<Box> TakeBox(std::span<const std::byte>& rest);

// Whether the last box of `file` reaches beyond its end.
[[nodiscard]] bool IsCutInBox(std::span<const std::byte> file);

// Of the first four bytes, of which there must be as many.
[[nodiscard]] std::uint32_t BigEndian32(std::span<const std::byte> bytes);
[[nodiscard]] std::string_view FourCharacters(std::span<const std::byte> bytes);

// The TIFF header and what follows it in the `content` of a box with EXIF data, which begins with
// the header's offset. Empty where there is none.
[[nodiscard]] std::span<const std::byte> ExifOfBox(std::span<const std::byte> content);

}  // namespace vistrel

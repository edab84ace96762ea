// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/boxes.h"

#include <string_view>
#include <utility>

namespace vistrel {
namespace {

using Bytes = std::span<const std::byte>;

constexpr std::size_t kShortHead = 8;
constexpr std::size_t kLongHead = 16;

}  // namespace

std::uint32_t BigEndian32(Bytes bytes) {
    std::uint32_t value = 0;
    for (const std::byte byte : bytes.first(4)) {
        value = (value << 8) | std::to_integer<std::uint32_t>(byte);
    }
    return value;
}

std::string_view FourCharacters(Bytes bytes) {
    return {reinterpret_cast<const char*>(bytes.first(4).data()), 4};
}

std::optional<Box> TakeBox(Bytes& rest) {
    const Bytes box = std::exchange(rest, {});
    if (box.empty()) return std::nullopt;
    if (box.size() < kShortHead) return Box{{}, {}, false};
    const std::string_view type = FourCharacters(box.subspan(4));
    std::uint64_t size = BigEndian32(box);
    std::size_t head = kShortHead;
    if (size == 0) size = box.size();  // as far as the file goes
    if (size == 1) {
        head = kLongHead;
        if (box.size() < head) return Box{type, {}, false};
        size = (std::uint64_t{BigEndian32(box.subspan(kShortHead))} << 32) |
               BigEndian32(box.subspan(kShortHead + 4));
    }
    if (size < head) return std::nullopt;
    if (size > box.size()) return Box{type, box.subspan(head), false};
    rest = box.subspan(static_cast<std::size_t>(size));
    return Box{type, box.first(static_cast<std::size_t>(size)).subspan(head), true};
}

bool IsCutInBox(Bytes file) {
    bool whole = true;
    while (const std::optional<Box> box = TakeBox(file)) whole = box->whole;
    return !whole;
}

Bytes ExifOfBox(Bytes content) {
    constexpr std::size_t kOffset = 4;
    constexpr std::string_view kJpegHead("Exif\0\0", 6);  // which some leave in front
    if (content.size() <= kOffset) return {};
    const std::size_t offset = BigEndian32(content);
    content = content.subspan(kOffset);
    if (offset >= content.size()) return {};
    content = content.subspan(offset);
    const std::string_view text(reinterpret_cast<const char*>(content.data()), content.size());
    return text.starts_with(kJpegHead) ? content.subspan(kJpegHead.size()) : content;
}

}  // namespace vistrel

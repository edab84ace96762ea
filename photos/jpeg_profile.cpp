// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/jpeg_profile.h"

#include <array>
#include <cstring>
#include <string_view>

namespace vistrel {
namespace {

using Bytes = std::span<const std::byte>;
using namespace std::string_view_literals;

constexpr int kProfileMarker = 0xE2;
constexpr std::string_view kProfileName = "ICC_PROFILE\0"sv;

int ToInt(std::byte byte) {
    return std::to_integer<int>(byte);
}

// Calls `take` with what follows `name` in each of these segments that begins with it, no further
// than to the pixels.
template <typename Take>
void ForSegments(Bytes file, int marker, std::string_view name, const Take& take) {
    constexpr int kStartOfScan = 0xDA;
    constexpr int kEndOfImage = 0xD9;
    if (!IsJpeg(file)) return;
    std::size_t at = 2;
    while (at + 4 <= file.size() && ToInt(file[at]) == 0xFF) {
        const int found = ToInt(file[at + 1]);
        if (found == 0xFF) {  // stuffing
            ++at;
            continue;
        }
        if (found == kStartOfScan || found == kEndOfImage) return;
        const auto length =
            static_cast<std::size_t>((ToInt(file[at + 2]) << 8) | ToInt(file[at + 3]));
        if (length < 2 || length > file.size() - at - 2) return;
        const Bytes content = file.subspan(at + 4, length - 2);
        if (found == marker && content.size() >= name.size() &&
            std::memcmp(content.data(), name.data(), name.size()) == 0) {
            take(content.subspan(name.size()));
        }
        at += 2 + length;
    }
}

}  // namespace

bool IsJpeg(std::span<const std::byte> file) {
    return file.size() >= 3 && std::memcmp(file.data(), "\xFF\xD8\xFF", 3) == 0;
}

std::vector<std::byte> ReadJpegProfile(std::span<const std::byte> file) {
    std::array<Bytes, 256> parts;
    std::size_t count = 0;
    ForSegments(file, kProfileMarker, kProfileName, [&](Bytes content) {
        if (content.size() < 2) return;
        Bytes& part = parts[std::to_integer<std::size_t>(content[0])];
        if (part.empty()) part = content.subspan(2);
        count = std::to_integer<std::size_t>(content[1]);
    });
    std::vector<std::byte> profile;
    for (std::size_t i = 1; i <= count; ++i) {
        if (parts[i].empty()) return {};
        profile.insert(profile.end(), parts[i].begin(), parts[i].end());
    }
    return profile;
}

}  // namespace vistrel

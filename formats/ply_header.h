// SPDX-License-Identifier: GPL-3.0-or-later
// What the header of a PLY file says.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vistrel {

enum class PlyType : std::uint8_t { Float, Other };

struct PlyProperty {
    std::string name;
    PlyType type = PlyType::Other;
    std::size_t offset = 0;  // bytes from the beginning of a record
};

struct PlyElement {
    std::string name;
    std::uint64_t count = 0;  // records
    std::size_t bytes = 0;    // of each record; without meaning where there are lists
    bool hasLists = false;
    std::vector<PlyProperty> properties;

    // Nothing where there is no such property.
    [[nodiscard]] const PlyProperty* Find(std::string_view property) const;
};

struct PlyHeader {
    std::size_t bytes = 0;  // from "ply" to "end_header" with its line feed
    std::vector<PlyElement> elements;
};

// The longest header that is looked at.
inline constexpr std::size_t kLongestPlyHeader = std::size_t{1} << 16;

// Reads the header that `start` begins with, of a binary file in little-endian order. Throws
// std::runtime_error that tells what is wrong. Any thread.
[[nodiscard]] PlyHeader ParsePlyHeader(std::string_view start);

}  // namespace vistrel

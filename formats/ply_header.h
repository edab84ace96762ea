// SPDX-License-Identifier: GPL-3.0-or-later
// What the header of a PLY file says, and where the elements lie that it tells of.
//
// A PLY file (Turk 1994) is a header of lines of ASCII, then the records of its elements in the
// header's order, without padding:
//
//   ply
//   format binary_little_endian 1.0      or binary_big_endian; files of text are refused
//   comment ...                          any number, anywhere; also obj_info
//   element NAME COUNT                   so many records, each of
//   property TYPE NAME                     a number: (u)char, (u)short, (u)int, float, double,
//                                          or by their sizes int8, uint8 ... float64
//   property list TYPE TYPE NAME           how many, and then so many numbers
//   end_header
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/input_file.h"

namespace vistrel {

enum class PlyType : std::uint8_t { Int8, UInt8, Int16, UInt16, Int32, UInt32, Float, Double };

[[nodiscard]] std::size_t BytesOf(PlyType type);

struct PlyProperty {
    std::string name;
    PlyType type = PlyType::Float;
    std::size_t offset = 0;                  // bytes from the beginning of a record without lists
    std::optional<PlyType> listLength = {};  // of a list: the type of its length
};

struct PlyElement {
    std::string name;
    std::uint64_t count = 0;  // records, below 2^32
    std::size_t bytes = 0;    // of each record; without meaning where there are lists
    bool hasLists = false;
    std::vector<PlyProperty> properties;

    // Nothing where there is no such property.
    [[nodiscard]] const PlyProperty* Find(std::string_view property) const;
};

struct PlyHeader {
    std::size_t bytes = 0;  // from "ply" to "end_header" with its line feed
    bool isBigEndian = false;
    std::vector<PlyElement> elements;

    // The first of that name. Nothing where there is none.
    [[nodiscard]] const PlyElement* Find(std::string_view element) const;
};

// The longest header that is looked at. No product or sum of what it tells needs more than 64 bits.
inline constexpr std::size_t kLongestPlyHeader = std::size_t{1} << 16;

// Reads the header that `start` begins with. Throws std::runtime_error that tells what is wrong.
// Any thread.
[[nodiscard]] PlyHeader ParsePlyHeader(std::string_view start);

// The same of a file; nothing where it is no PLY file.
[[nodiscard]] std::optional<PlyHeader> ReadPlyHeader(const InputFile& file);

// The longest that elements with lists may be, in bytes, where records behind them are looked for.
inline constexpr std::size_t kLongestPlyLists = std::size_t{1} << 20;

// Where the elements begin in the file, in the header's order, up to the first with lists that
// stands behind the element of the name `last`. Throws std::runtime_error when the file is shorter
// than what comes before that, or when lists before `last` are too long. Any thread.
[[nodiscard]] std::vector<std::uint64_t> PlyElementPlaces(const InputFile& file,
                                                          const PlyHeader& header,
                                                          std::string_view last);

}  // namespace vistrel

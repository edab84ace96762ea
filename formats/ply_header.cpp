// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/ply_header.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <optional>
#include <stdexcept>

namespace vistrel {
namespace {

struct NamedType {
    std::string_view name;
    std::size_t bytes;
};
constexpr std::array kTypes = {
    NamedType{"char", 1},   NamedType{"int8", 1},    NamedType{"uchar", 1},
    NamedType{"uint8", 1},  NamedType{"short", 2},   NamedType{"int16", 2},
    NamedType{"ushort", 2}, NamedType{"uint16", 2},  NamedType{"int", 4},
    NamedType{"int32", 4},  NamedType{"uint", 4},    NamedType{"uint32", 4},
    NamedType{"float", 4},  NamedType{"float32", 4}, NamedType{"double", 8},
    NamedType{"float64", 8}};

[[noreturn]] void Refuse(const std::string& reason) {
    throw std::runtime_error("not a PLY file of Gaussians: " + reason);
}

// The next word of `line`, which loses it; empty at its end.
std::string_view TakeWord(std::string_view& line) {
    const std::size_t begin = std::min(line.find_first_not_of(' '), line.size());
    const std::size_t end = std::min(line.find(' ', begin), line.size());
    const std::string_view word = line.substr(begin, end - begin);
    line.remove_prefix(end);
    return word;
}

// Takes the lines of a header one after the other.
class Lines {
  public:
    explicit Lines(std::string_view text) : text_(text) {}

    [[nodiscard]] std::string_view Next() {
        const std::size_t end = text_.find('\n', position_);
        if (end == text_.npos) Refuse("the header has no end");
        std::string_view line = text_.substr(position_, end - position_);
        if (line.ends_with('\r')) line.remove_suffix(1);
        position_ = end + 1;
        return line;
    }
    [[nodiscard]] std::size_t Position() const { return position_; }

  private:
    std::string_view text_;
    std::size_t position_ = 0;
};

PlyElement ParseElement(std::string_view line) {
    PlyElement element;
    element.name = TakeWord(line);
    const std::string_view digits = TakeWord(line);
    const char* const last = digits.data() + digits.size();
    const auto [end, error] = std::from_chars(digits.data(), last, element.count);
    const bool isCount = error == std::errc() && end == last &&
                         element.count <= std::numeric_limits<std::uint32_t>::max();
    if (!isCount || element.name.empty()) Refuse("the number of an element is not usable");
    return element;
}

void AddProperty(std::string_view line, PlyElement& element) {
    const std::string_view type = TakeWord(line);
    if (type == "list") {
        element.hasLists = true;
        return;
    }
    const auto* const known = std::ranges::find(kTypes, type, &NamedType::name);
    if (known == kTypes.end()) Refuse("a property has a type that is not known");
    const bool isFloat = type == "float" || type == "float32";
    element.properties.push_back(
        {std::string(TakeWord(line)), isFloat ? PlyType::Float : PlyType::Other, element.bytes});
    element.bytes += known->bytes;
}

}  // namespace

const PlyProperty* PlyElement::Find(std::string_view property) const {
    const auto found = std::ranges::find(properties, property, &PlyProperty::name);
    return found == properties.end() ? nullptr : &*found;
}

PlyHeader ParsePlyHeader(std::string_view start) {
    Lines lines(start.substr(0, kLongestPlyHeader));
    if (lines.Next() != "ply") Refuse("it does not begin with \"ply\"");
    PlyHeader header;
    bool hasFormat = false;
    for (std::string_view line = lines.Next(); line != "end_header"; line = lines.Next()) {
        const std::string_view word = TakeWord(line);
        if (word == "format") {
            hasFormat = TakeWord(line) == "binary_little_endian";
            if (!hasFormat) Refuse("it is not binary in little-endian order");
        } else if (word == "element") {
            header.elements.push_back(ParseElement(line));
        } else if (word == "property") {
            if (header.elements.empty()) Refuse("a property belongs to no element");
            AddProperty(line, header.elements.back());
        } else if (word != "comment" && word != "obj_info") {
            Refuse("a line of its header is not known");
        }
    }
    if (!hasFormat) Refuse("its header does not tell the format");
    header.bytes = lines.Position();
    return header;
}

}  // namespace vistrel

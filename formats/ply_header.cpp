// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/ply_header.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <span>
#include <stdexcept>

#include "formats/ply_values.h"

namespace vistrel {
namespace {

struct NamedPlyType {
    std::string_view name;
    PlyType type;
};
constexpr std::array kPlyTypes = {
    NamedPlyType{"char", PlyType::Int8},     NamedPlyType{"int8", PlyType::Int8},
    NamedPlyType{"uchar", PlyType::UInt8},   NamedPlyType{"uint8", PlyType::UInt8},
    NamedPlyType{"short", PlyType::Int16},   NamedPlyType{"int16", PlyType::Int16},
    NamedPlyType{"ushort", PlyType::UInt16}, NamedPlyType{"uint16", PlyType::UInt16},
    NamedPlyType{"int", PlyType::Int32},     NamedPlyType{"int32", PlyType::Int32},
    NamedPlyType{"uint", PlyType::UInt32},   NamedPlyType{"uint32", PlyType::UInt32},
    NamedPlyType{"float", PlyType::Float},   NamedPlyType{"float32", PlyType::Float},
    NamedPlyType{"double", PlyType::Double}, NamedPlyType{"float64", PlyType::Double}};

[[noreturn]] void RefusePly(const std::string& reason) {
    throw std::runtime_error("its PLY header " + reason);
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
class PlyLines {
  public:
    explicit PlyLines(std::string_view text) : text_(text) {}

    [[nodiscard]] std::string_view Next() {
        const std::size_t end = text_.find('\n', position_);
        if (end == text_.npos) RefusePly("has no end");
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

// Whether the numbers are big-endian.
bool ParseByteOrder(std::string_view line) {
    const std::string_view format = TakeWord(line);
    if (format == "ascii") {
        throw std::runtime_error("it is a PLY file of text, and only binary ones are read");
    }
    if (format != "binary_little_endian" && format != "binary_big_endian") {
        RefusePly("tells a format that is not known");
    }
    return format == "binary_big_endian";
}

PlyElement ParsePlyElement(std::string_view line) {
    PlyElement element;
    element.name = TakeWord(line);
    const std::string_view digits = TakeWord(line);
    const char* const last = digits.data() + digits.size();
    const auto [end, error] = std::from_chars(digits.data(), last, element.count);
    const bool isCount = error == std::errc() && end == last &&
                         element.count <= std::numeric_limits<std::uint32_t>::max();
    if (!isCount || element.name.empty()) RefusePly("has an element without a usable number");
    return element;
}

PlyType TakePlyType(std::string_view& line) {
    const auto* const known = std::ranges::find(kPlyTypes, TakeWord(line), &NamedPlyType::name);
    if (known == kPlyTypes.end()) RefusePly("has a property of a type that is not known");
    return known->type;
}

void AddPlyProperty(std::string_view line, PlyElement& element) {
    PlyProperty property;
    std::string_view rest = line;
    if (TakeWord(rest) == "list") {
        property.listLength = TakePlyType(rest);
        if (*property.listLength >= PlyType::Float) RefusePly("has a list without a whole length");
        element.hasLists = true;
        line = rest;
    }
    property.type = TakePlyType(line);
    property.name = TakeWord(line);
    property.offset = element.bytes;
    element.bytes += BytesOf(property.type);
    element.properties.push_back(std::move(property));
}

// Goes through records with lists in a copy of the file's next bytes.
class PlyListWalk {
  public:
    PlyListWalk(const InputFile& file, std::uint64_t begin, bool isBigEndian)
        : isWhole_(file.Size() - begin <= kLongestPlyLists),
          isBigEndian_(isBigEndian),
          bytes_(static_cast<std::size_t>(
              std::min<std::uint64_t>(file.Size() - begin, kLongestPlyLists))) {
        file.Read(begin, bytes_);
    }

    // How many bytes the element has.
    [[nodiscard]] std::size_t Walk(const PlyElement& element) {
        for (std::uint64_t i = 0; i < element.count; ++i) {
            for (const PlyProperty& property : element.properties) Pass(property);
        }
        return position_;
    }

  private:
    void Pass(const PlyProperty& property) {
        std::uint64_t count = 1;
        if (property.listLength) {
            const std::byte* const at = bytes_.data() + position_;
            Advance(BytesOf(*property.listLength));
            const double length = PlyValue(at, *property.listLength, isBigEndian_);
            if (length < 0.0) throw std::runtime_error("it has a list of less than nothing");
            count = static_cast<std::uint64_t>(length);
        }
        Advance(count * BytesOf(property.type));
    }

    void Advance(std::uint64_t count) {
        if (count > bytes_.size() - position_) {
            throw std::runtime_error(isWhole_ ? "it is cut short"
                                              : "it has too many lists before its Gaussians");
        }
        position_ += static_cast<std::size_t>(count);
    }

    bool isWhole_;  // whether the copy holds the rest of the file
    bool isBigEndian_;
    std::vector<std::byte> bytes_;
    std::size_t position_ = 0;
};

}  // namespace

std::size_t BytesOf(PlyType type) {
    constexpr std::array<std::size_t, 8> kBytes = {1, 1, 2, 2, 4, 4, 4, 8};
    return kBytes[static_cast<std::size_t>(type)];
}

const PlyProperty* PlyElement::Find(std::string_view property) const {
    const auto found = std::ranges::find(properties, property, &PlyProperty::name);
    return found == properties.end() ? nullptr : &*found;
}

const PlyElement* PlyHeader::Find(std::string_view element) const {
    const auto found = std::ranges::find(elements, element, &PlyElement::name);
    return found == elements.end() ? nullptr : &*found;
}

PlyHeader ParsePlyHeader(std::string_view start) {
    PlyLines lines(start.substr(0, kLongestPlyHeader));
    if (lines.Next() != "ply") RefusePly("does not begin with \"ply\"");
    PlyHeader header;
    bool hasFormat = false;
    for (std::string_view line = lines.Next(); line != "end_header"; line = lines.Next()) {
        const std::string_view word = TakeWord(line);
        if (word == "format") {
            header.isBigEndian = ParseByteOrder(line);
            hasFormat = true;
        } else if (word == "element") {
            header.elements.push_back(ParsePlyElement(line));
        } else if (word == "property") {
            if (header.elements.empty()) RefusePly("has a property without an element");
            AddPlyProperty(line, header.elements.back());
        } else if (word != "comment" && word != "obj_info") {
            RefusePly("has a line that is not known");
        }
    }
    if (!hasFormat) RefusePly("does not tell the format");
    header.bytes = lines.Position();
    return header;
}

std::optional<PlyHeader> ReadPlyHeader(const InputFile& file) {
    std::string start(
        static_cast<std::size_t>(std::min<std::uint64_t>(file.Size(), kLongestPlyHeader)), '\0');
    file.Read(0, std::as_writable_bytes(std::span(start)));
    if (!start.starts_with("ply\n") && !start.starts_with("ply\r\n")) return {};
    return ParsePlyHeader(start);
}

std::vector<std::uint64_t> PlyElementPlaces(const InputFile& file, const PlyHeader& header,
                                            std::string_view last) {
    std::vector<std::uint64_t> places;
    std::uint64_t end = header.bytes;
    bool isBehind = false;
    const auto requireUpToEnd = [&] {
        if (file.Size() >= end) return;
        throw std::runtime_error("it has " + std::to_string(file.Size()) +
                                 " bytes, but its header tells of " + std::to_string(end));
    };
    for (const PlyElement& element : header.elements) {
        if (element.hasLists && isBehind) break;
        places.push_back(end);
        if (element.hasLists) {
            requireUpToEnd();
            end += PlyListWalk(file, end, header.isBigEndian).Walk(element);
        } else {
            end += element.count * element.bytes;
        }
        isBehind = isBehind || element.name == last;
    }
    requireUpToEnd();
    return places;
}

}  // namespace vistrel

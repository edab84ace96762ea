// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/heif_coded_sizes.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string_view>
#include <vector>

#include "photos/boxes.h"
#include "photos/coded_headers.h"
#include "photos/decoded_photo.h"

namespace vistrel {
namespace {

using Bytes = std::span<const std::byte>;

constexpr std::size_t kFullHead = 4;     // version and flags
constexpr std::size_t kLengthBytes = 4;  // of HEVC's units, as all encoders have it

// BoxNumbers from the front; zeros behind the end.
class BoxNumbers {
  public:
    explicit BoxNumbers(Bytes bytes) : bytes_(bytes) {}

    std::uint64_t Take(std::size_t bytes) {
        std::uint64_t value = 0;
        for (; bytes > 0; --bytes) {
            const bool inside = !bytes_.empty();
            value = (value << 8) | (inside ? std::to_integer<std::uint64_t>(bytes_.front()) : 0);
            if (inside) bytes_ = bytes_.subspan(1);
        }
        return value;
    }
    [[nodiscard]] bool AtEnd() const { return bytes_.empty(); }

  private:
    Bytes bytes_;
};

// The content of the first box of `type` among `boxes`; nothing where there is none.
Bytes Find(Bytes boxes, std::string_view type) {
    while (const std::optional<Box> box = TakeBox(boxes)) {
        if (box->type == type) return box->content;
    }
    return {};
}

Bytes WithoutFullHead(Bytes content) {
    return content.subspan(std::min(content.size(), kFullHead));
}

void CheckAll(const std::vector<CodedSize>& sizes) {
    for (const CodedSize& size : sizes) CheckPhotoSize(size.width, size.height);
}

// Identifiers of items and their types.
std::map<std::uint64_t, std::string_view> ItemTypes(Bytes iinf) {
    std::map<std::uint64_t, std::string_view> types;
    BoxNumbers head(iinf);
    const std::size_t countBytes = head.Take(1) == 0 ? 2 : 4;
    Bytes rest = iinf.subspan(std::min(iinf.size(), kFullHead + countBytes));
    while (const std::optional<Box> box = TakeBox(rest)) {
        BoxNumbers entry(box->content);
        const std::size_t idBytes = entry.Take(1) < 3 ? 2 : 4;
        entry.Take(3);
        const std::uint64_t id = entry.Take(idBytes);
        const std::size_t type = kFullHead + idBytes + 2;
        if (box->content.size() >= type + 4) types[id] = FourCharacters(box->content.subspan(type));
    }
    return types;
}

class ItemPlaces {
  public:
    ItemPlaces(Bytes iloc, Bytes file, Bytes idat) : numbers_(iloc), file_(file), idat_(idat) {
        version_ = numbers_.Take(1);
        numbers_.Take(3);
        const std::uint64_t sizes = numbers_.Take(2);
        offsetBytes_ = sizes >> 12;
        lengthBytes_ = (sizes >> 8) & 15;
        baseBytes_ = (sizes >> 4) & 15;
        indexBytes_ = version_ == 0 ? 0 : sizes & 15;
        left_ = numbers_.Take(version_ < 2 ? 2 : 4);
    }

    // The next item's identifier, with what its data begins with; false: there are no more.
    bool Next(std::uint64_t& id, std::vector<std::byte>& start) {
        if (left_ == 0 || numbers_.AtEnd()) return false;
        --left_;
        id = numbers_.Take(version_ < 2 ? 2 : 4);
        const bool inside = version_ != 0 && (numbers_.Take(2) & 15) == 1;
        numbers_.Take(2);
        const std::uint64_t base = numbers_.Take(baseBytes_);
        start.clear();
        for (std::uint64_t i = numbers_.Take(2); i > 0 && !numbers_.AtEnd(); --i) {
            numbers_.Take(indexBytes_);
            const std::uint64_t offset = base + numbers_.Take(offsetBytes_);
            Append(inside ? idat_ : file_, offset, numbers_.Take(lengthBytes_), start);
        }
        return true;
    }

  private:
    // The sizes stand in front of everything else.
    static void Append(Bytes source, std::uint64_t offset, std::uint64_t length,
                       std::vector<std::byte>& start) {
        constexpr std::size_t kMost = 4096;
        if (offset >= source.size()) return;
        const Bytes rest = source.subspan(static_cast<std::size_t>(offset));
        const std::uint64_t wanted = length == 0 ? rest.size() : length;
        const std::uint64_t taken =
            std::min({wanted, std::uint64_t{rest.size()}, std::uint64_t{kMost - start.size()}});
        start.insert(start.end(), rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(taken));
    }

    BoxNumbers numbers_;
    Bytes file_;
    Bytes idat_;
    std::uint64_t version_ = 0;
    std::size_t offsetBytes_ = 0;
    std::size_t lengthBytes_ = 0;
    std::size_t baseBytes_ = 0;
    std::size_t indexBytes_ = 0;
    std::uint64_t left_ = 0;
};

// Of a picture that is put together of others; `before` bytes stand in front of its size.
CodedSize CanvasSize(Bytes data, std::size_t before) {
    BoxNumbers numbers(data);
    numbers.Take(1);
    const std::size_t bytes = (numbers.Take(1) & 1) != 0 ? 4 : 2;
    numbers.Take(before);
    const std::uint64_t width = numbers.Take(bytes);
    return {width, numbers.Take(bytes)};
}

void CheckItem(std::string_view type, Bytes start, bool hasLengths) {
    constexpr std::size_t kBeforeGrid = 2;     // rows and columns
    constexpr std::size_t kBeforeOverlay = 8;  // a colour
    if (type == "hvc1" && hasLengths) CheckAll(HevcSizes(start, kLengthBytes));
    if (type == "av01") CheckAll(Av1Sizes(start));
    if (type == "grid") CheckAll({CanvasSize(start, kBeforeGrid)});
    if (type == "iovl") CheckAll({CanvasSize(start, kBeforeOverlay)});
}

}  // namespace

void CheckCodedSizes(Bytes file) {
    const Bytes meta = WithoutFullHead(Find(file, "meta"));
    Bytes properties = Find(Find(meta, "iprp"), "ipco");
    bool usual = true;
    while (const std::optional<Box> box = TakeBox(properties)) {
        if (box->type != "hvcC") continue;
        CheckAll(HevcSizesOfConfiguration(box->content));
        usual = usual && HevcLengthBytes(box->content) == kLengthBytes;
    }
    const std::map<std::uint64_t, std::string_view> types = ItemTypes(Find(meta, "iinf"));
    ItemPlaces places(Find(meta, "iloc"), file, Find(meta, "idat"));
    std::uint64_t id = 0;
    std::vector<std::byte> start;
    while (places.Next(id, start)) {
        const auto found = types.find(id);
        if (found != types.end()) CheckItem(found->second, start, usual);
    }
}

}  // namespace vistrel

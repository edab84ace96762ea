// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/tiff_directories.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <string_view>
#include <vector>

namespace vistrel {
namespace {

constexpr int kClassic = 42;
constexpr int kBig = 43;
constexpr std::size_t kMostDirectories = 64;

// Numbers of the file; nothing behind its end.
class Numbers {
  public:
    explicit Numbers(std::span<const std::byte> file) : file_(file) {
        const bool little = StartsWith("II", 0);
        if (!little && !StartsWith("MM", 0)) return;
        bigEndian_ = !little;
        const std::optional<std::uint64_t> version = At(2, 2);
        classic_ = version == kClassic;
        big_ = version == kBig;
    }

    [[nodiscard]] bool IsTiff() const { return classic_ || big_; }
    [[nodiscard]] bool IsBig() const { return big_; }

    [[nodiscard]] std::optional<std::uint64_t> At(std::uint64_t offset, std::size_t bytes) const {
        if (offset > file_.size() || bytes > file_.size() - offset) return {};
        std::uint64_t number = 0;
        for (std::size_t i = 0; i < bytes; ++i) {
            const std::size_t place = bigEndian_ ? i : bytes - 1 - i;
            number = (number << 8) | std::to_integer<std::uint64_t>(file_[offset + place]);
        }
        return number;
    }

    // An offset or a count of values.
    [[nodiscard]] std::optional<std::uint64_t> Size(std::uint64_t offset) const {
        return At(offset, SizeBytes());
    }
    [[nodiscard]] std::size_t SizeBytes() const { return big_ ? 8 : 4; }

    [[nodiscard]] bool StartsWith(std::string_view text, std::size_t offset) const {
        return file_.size() >= offset + text.size() &&
               std::memcmp(file_.data() + offset, text.data(), text.size()) == 0;
    }

  private:
    std::span<const std::byte> file_;
    bool bigEndian_ = false;
    bool classic_ = false;
    bool big_ = false;
};

class Search {
  public:
    explicit Search(const Numbers& numbers) : numbers_(numbers) {}

    [[nodiscard]] TiffKind Kind() {
        const std::optional<std::uint64_t> first = numbers_.Size(numbers_.IsBig() ? 8 : 4);
        if (!first) return TiffKind::Cut;
        Add(*first);
        for (std::size_t i = 0; i < directories_.size(); ++i) {
            const bool whole = Read(directories_[i]);
            if (raw_) return TiffKind::CameraRaw;
            if (i == 0 && !whole) return TiffKind::Cut;
        }
        return TiffKind::Picture;
    }

  private:
    void Add(std::uint64_t directory) {
        if (directory == 0 || directories_.size() == kMostDirectories) return;
        if (std::find(directories_.begin(), directories_.end(), directory) != directories_.end()) {
            return;
        }
        directories_.push_back(directory);
    }

    // False: it reaches behind the end of the file.
    bool Read(std::uint64_t directory) {
        const std::size_t countBytes = numbers_.IsBig() ? 8 : 2;
        const std::uint64_t entryBytes = numbers_.IsBig() ? 20 : 12;
        const std::optional<std::uint64_t> count = numbers_.At(directory, countBytes);
        if (!count) return false;
        std::uint64_t entry = directory + countBytes;
        for (std::uint64_t i = 0; i < *count; ++i, entry += entryBytes) {
            if (!numbers_.At(entry + entryBytes - 4, 4)) return false;
            ReadEntry(entry);
            if (raw_) return true;
        }
        if (const auto next = numbers_.Size(entry)) Add(*next);
        return true;
    }

    void ReadEntry(std::uint64_t entry) {
        constexpr std::uint64_t kPhotometric = 262;
        constexpr std::uint64_t kDirectories = 330;
        constexpr std::uint64_t kDngVersion = 50706;
        constexpr std::uint64_t kColourFilters = 32803;
        constexpr std::uint64_t kLinearRaw = 34892;
        const std::uint64_t tag = *numbers_.At(entry, 2);
        const std::uint64_t values = entry + 4 + numbers_.SizeBytes();
        if (tag == kDngVersion) raw_ = true;
        if (tag == kPhotometric) {
            const std::optional<std::uint64_t> value = numbers_.At(values, 2);
            raw_ = value == kColourFilters || value == kLinearRaw;
        }
        if (tag == kDirectories) AddBelow(entry, values);
    }

    void AddBelow(std::uint64_t entry, std::uint64_t values) {
        constexpr std::uint64_t kLong8 = 16;
        const std::size_t bytes = *numbers_.At(entry + 2, 2) >= kLong8 ? 8 : 4;
        const std::uint64_t count = *numbers_.Size(entry + 4);
        if (count > numbers_.SizeBytes() / bytes) values = *numbers_.Size(values);
        for (std::uint64_t i = 0; i < std::min<std::uint64_t>(count, kMostDirectories); ++i) {
            if (const auto directory = numbers_.At(values + (i * bytes), bytes)) Add(*directory);
        }
    }

    const Numbers& numbers_;
    std::vector<std::uint64_t> directories_;
    bool raw_ = false;
};

// Canon and Phase One put a mark where others begin with directories or with samples, which must
// not be taken for it.
bool HasMakersMark(const Numbers& numbers) {
    constexpr std::size_t kMark = 8;
    constexpr std::uint64_t kCanonsFirst = 16;
    const bool canon = numbers.StartsWith("CR\2", kMark) && numbers.At(4, 4) == kCanonsFirst;
    const bool phaseOne =
        (numbers.StartsWith("IIII", kMark) && numbers.StartsWith("waR", kMark + 5)) ||
        (numbers.StartsWith("MMMMRaw", kMark));
    return canon || phaseOne;
}

}  // namespace

TiffKind KindOfTiff(std::span<const std::byte> file) {
    const Numbers numbers(file);
    if (!numbers.IsTiff()) return TiffKind::Other;
    if (HasMakersMark(numbers)) return TiffKind::CameraRaw;
    return Search(numbers).Kind();
}

}  // namespace vistrel

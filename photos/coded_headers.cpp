// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/coded_headers.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace vistrel {
namespace {

using Bytes = std::span<const std::byte>;

std::uint64_t Number(Bytes bytes) {
    std::uint64_t value = 0;
    for (const std::byte byte : bytes) value = (value << 8) | std::to_integer<std::uint64_t>(byte);
    return value;
}

// Zeros behind the end.
class Bits {
  public:
    explicit Bits(Bytes bytes) : bytes_(bytes) {}

    std::uint64_t Take(int count) {
        std::uint64_t value = 0;
        for (; count > 0; --count, ++at_) {
            const std::size_t byte = at_ / 8;
            const auto shift = static_cast<int>(7 - (at_ % 8));
            const bool set =
                byte < bytes_.size() && (std::to_integer<int>(bytes_[byte]) >> shift & 1) != 0;
            value = (value << 1) | (set ? 1U : 0U);
        }
        return value;
    }
    bool Flag() { return Take(1) != 0; }
    void Skip(std::size_t count) { at_ += count; }

    // As many zeros as there are bits behind the first one.
    std::uint64_t ExpGolomb() {
        constexpr int kMost = 32;
        int zeros = 0;
        while (zeros < kMost && !Flag()) ++zeros;
        return (std::uint64_t{1} << zeros) - 1 + Take(zeros);
    }

  private:
    Bytes bytes_;
    std::size_t at_ = 0;
};

constexpr std::size_t kHeadBytes = 512;  // more than any head is long

// Of two zeros and a three, the three is there to keep two zeros and a one apart.
std::vector<std::byte> WithoutEscapes(Bytes unit) {
    std::vector<std::byte> plain;
    int zeros = 0;
    for (const std::byte byte : unit.first(std::min(unit.size(), kHeadBytes))) {
        const bool escape = zeros >= 2 && byte == std::byte{3};
        zeros = byte == std::byte{0} ? zeros + 1 : 0;
        if (!escape) plain.push_back(byte);
    }
    return plain;
}

void SkipProfileAndLevel(Bits& bits, int subLayers) {
    constexpr std::size_t kProfile = 88;
    constexpr std::size_t kLevel = 8;
    constexpr int kMostSubLayers = 8;
    bits.Skip(kProfile + kLevel);
    std::size_t skipped = 0;
    for (int i = 0; i < subLayers; ++i) {
        if (bits.Flag()) skipped += kProfile;
        if (bits.Flag()) skipped += kLevel;
    }
    if (subLayers > 0) skipped += 2 * static_cast<std::size_t>(kMostSubLayers - subLayers);
    bits.Skip(skipped);
}

void AddIfSequence(Bytes unit, std::vector<CodedSize>& sizes) {
    constexpr int kSequenceParameters = 33;
    constexpr std::uint64_t kAllColours = 3;
    const std::vector<std::byte> plain = WithoutEscapes(unit);
    Bits bits(plain);
    bits.Skip(1);
    if (bits.Take(6) != kSequenceParameters) return;
    if (bits.Take(6) != 0) return;  // of another view
    bits.Skip(3 + 4);
    const auto subLayers = static_cast<int>(bits.Take(3));
    bits.Skip(1);
    SkipProfileAndLevel(bits, subLayers);
    bits.ExpGolomb();
    if (bits.ExpGolomb() == kAllColours) bits.Skip(1);
    const std::uint64_t width = bits.ExpGolomb();
    sizes.push_back({width, bits.ExpGolomb()});
}

// Timing and the operating points of a sequence header.
void SkipOperatingPoints(Bits& bits) {
    int delayBits = 0;
    bool model = false;
    if (bits.Flag()) {  // timing
        bits.Skip(64);
        if (bits.Flag()) bits.ExpGolomb();
        model = bits.Flag();
        if (model) {
            delayBits = static_cast<int>(bits.Take(5)) + 1;
            bits.Skip(32 + 5 + 5);
        }
    }
    const bool displayDelay = bits.Flag();
    constexpr std::uint64_t kHighestLevelWithoutTier = 7;
    for (auto points = bits.Take(5) + 1; points > 0; --points) {
        bits.Skip(12);
        if (bits.Take(5) > kHighestLevelWithoutTier) bits.Skip(1);
        if (model && bits.Flag()) bits.Skip((2 * static_cast<std::size_t>(delayBits)) + 1);
        if (displayDelay && bits.Flag()) bits.Skip(4);
    }
}

CodedSize Av1Sequence(Bytes header) {
    Bits bits(header);
    bits.Skip(4);
    const bool reduced = bits.Flag();
    if (reduced) {
        bits.Skip(5);
    } else {
        SkipOperatingPoints(bits);
    }
    const auto widthBits = static_cast<int>(bits.Take(4)) + 1;
    const auto heightBits = static_cast<int>(bits.Take(4)) + 1;
    const std::uint64_t width = bits.Take(widthBits) + 1;
    return {width, bits.Take(heightBits) + 1};
}

// The length in front of a unit, seven bits per byte, which is taken off.
std::uint64_t TakeLength(Bytes& units) {
    constexpr std::size_t kMostBytes = 8;
    std::uint64_t length = 0;
    for (std::size_t i = 0; i < kMostBytes && !units.empty(); ++i) {
        const auto byte = std::to_integer<std::uint64_t>(units.front());
        units = units.subspan(1);
        length |= (byte & 0x7F) << (7 * i);
        if (byte < 0x80) break;
    }
    return length;
}

}  // namespace

std::vector<CodedSize> HevcSizes(Bytes units, std::size_t lengthBytes) {
    std::vector<CodedSize> sizes;
    while (units.size() > lengthBytes) {
        const std::uint64_t length = Number(units.first(lengthBytes));
        units = units.subspan(lengthBytes);
        const auto inside = static_cast<std::size_t>(std::min<std::uint64_t>(length, units.size()));
        AddIfSequence(units.first(inside), sizes);
        units = units.subspan(inside);
    }
    return sizes;
}

std::vector<CodedSize> HevcSizesOfConfiguration(Bytes hvcC) {
    constexpr std::size_t kArrays = 23;
    constexpr std::size_t kArrayHead = 3;
    constexpr std::size_t kLengthBytes = 2;
    std::vector<CodedSize> sizes;
    Bytes rest = hvcC.subspan(std::min(hvcC.size(), kArrays));
    while (rest.size() > kArrayHead) {
        std::uint64_t units = Number(rest.subspan(1, 2));
        rest = rest.subspan(kArrayHead);
        for (; units > 0 && rest.size() > kLengthBytes; --units) {
            const auto length = static_cast<std::size_t>(Number(rest.first(kLengthBytes)));
            rest = rest.subspan(kLengthBytes);
            const std::size_t inside = std::min(length, rest.size());
            AddIfSequence(rest.first(inside), sizes);
            rest = rest.subspan(inside);
        }
    }
    return sizes;
}

std::size_t HevcLengthBytes(Bytes hvcC) {
    constexpr std::size_t kPlace = 21;
    return hvcC.size() > kPlace ? (std::to_integer<std::size_t>(hvcC[kPlace]) & 3) + 1 : 0;
}

std::vector<CodedSize> Av1Sizes(Bytes units) {
    constexpr int kSequenceHeader = 1;
    std::vector<CodedSize> sizes;
    while (!units.empty()) {
        const int head = std::to_integer<int>(units.front());
        const bool extended = (head & 4) != 0;
        const bool hasLength = (head & 2) != 0;
        units = units.subspan(std::min<std::size_t>(units.size(), extended ? 2 : 1));
        const std::uint64_t length = hasLength ? TakeLength(units) : units.size();
        const auto inside = static_cast<std::size_t>(std::min<std::uint64_t>(length, units.size()));
        if (((head >> 3) & 15) == kSequenceHeader)
            sizes.push_back(Av1Sequence(units.first(inside)));
        units = units.subspan(inside);
    }
    return sizes;
}

}  // namespace vistrel

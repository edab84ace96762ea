// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/png_colours.h"

#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>
#include <vector>

#include "photos/coded_colours.h"

namespace vistrel {
namespace {

using Bytes = std::span<const std::byte>;

constexpr std::size_t kSignatureSize = 8;
constexpr std::size_t kChunkHead = 8;  // length and type
constexpr std::size_t kChunkEnd = 4;   // checksum

// The largest profiles that there are have a few megabytes; packed, a small file could hold
// gigabytes.
constexpr std::size_t kMostProfileBytes = std::size_t{16} << 20;

constexpr std::uint32_t kGammaOfSrgb = 45455;
constexpr double kUnit = 100000;  // of gAMA and cHRM

std::uint32_t ReadNumber(Bytes bytes) {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        number = (number << 8) | std::to_integer<std::uint32_t>(bytes[i]);
    }
    return number;
}

// The content of the first chunk of this type; nothing where there is none, or where the file ends
// within it.
std::optional<Bytes> FindChunk(Bytes file, std::string_view type) {
    if (!IsPng(file)) return std::nullopt;
    Bytes rest = file.subspan(kSignatureSize);
    while (rest.size() >= kChunkHead) {
        const std::size_t length = ReadNumber(rest);
        const bool found = std::memcmp(rest.data() + 4, type.data(), 4) == 0;
        rest = rest.subspan(kChunkHead);
        if (length > rest.size()) return std::nullopt;
        if (found) return rest.first(length);
        if (length + kChunkEnd > rest.size()) return std::nullopt;
        rest = rest.subspan(length + kChunkEnd);
    }
    return std::nullopt;
}

class Inflation {
  public:
    Inflation() : ready_(inflateInit(&stream_) == Z_OK) {}
    ~Inflation() {
        if (ready_) inflateEnd(&stream_);
    }
    Inflation(const Inflation&) = delete;
    Inflation& operator=(const Inflation&) = delete;

    // All that `packed` holds; nothing where it is damaged or holds too much.
    std::vector<std::byte> Unpack(Bytes packed) {
        if (!ready_ || packed.size() > kMostProfileBytes) return {};
        stream_.next_in =
            reinterpret_cast<Bytef*>(const_cast<std::byte*>(packed.data()));  // zlib's const
        stream_.avail_in = static_cast<uInt>(packed.size());
        std::vector<std::byte> unpacked;
        int state = Z_OK;
        while (state == Z_OK && unpacked.size() < kMostProfileBytes) {
            const std::size_t before = unpacked.size();
            unpacked.resize(std::max<std::size_t>(before * 2, 4096));
            stream_.next_out = reinterpret_cast<Bytef*>(unpacked.data() + before);
            stream_.avail_out = static_cast<uInt>(unpacked.size() - before);
            state = inflate(&stream_, Z_NO_FLUSH);
            unpacked.resize(unpacked.size() - stream_.avail_out);
        }
        if (state != Z_STREAM_END) return {};
        return unpacked;
    }

  private:
    z_stream stream_ = {};
    bool ready_ = false;
};

// A name, a zero, the method 0, and the packed profile.
std::vector<std::byte> UnpackProfile(Bytes content) {
    const auto end = std::find(content.begin(), content.end(), std::byte{0});
    const auto name = static_cast<std::size_t>(end - content.begin());
    if (content.size() < name + 2 || content[name + 1] != std::byte{0}) return {};
    return Inflation().Unpack(content.subspan(name + 2));
}

// Primaries, transfer, matrix (always that of RGB) and range, of which only the full one is of
// interest for pictures.
std::optional<CodedColours> ReadCodes(Bytes content) {
    if (content.size() != 4 || content[2] != std::byte{0} || content[3] != std::byte{1}) {
        return std::nullopt;
    }
    return CodedColours{std::to_integer<int>(content[0]), std::to_integer<int>(content[1])};
}

void ReadGamma(Bytes content, PhotoColours& colours) {
    if (content.size() != 4) return;
    const std::uint32_t gamma = ReadNumber(content);
    if (gamma != kGammaOfSrgb) colours.gamma = gamma / kUnit;
}

void ReadChromaticities(Bytes content, PhotoColours& colours) {
    constexpr double kSame = 0.0015;
    if (content.size() != 4 * kSrgbChromaticities.size()) return;
    Chromaticities read = {};
    bool same = true;
    for (std::size_t i = 0; i < read.size(); ++i) {
        read[i] = ReadNumber(content.subspan(4 * i)) / kUnit;
        same = same && std::abs(read[i] - kSrgbChromaticities[i]) < kSame;
    }
    if (!same) std::copy(read.begin(), read.end(), colours.chromaticities);
}

}  // namespace

bool IsPng(std::span<const std::byte> file) {
    return file.size() >= kSignatureSize &&
           std::memcmp(file.data(), "\x89PNG\r\n\x1a\n", kSignatureSize) == 0;
}

PhotoColours ReadPngColours(std::span<const std::byte> file) {
    PhotoColours colours;
    if (const auto chunk = FindChunk(file, "cICP")) {
        if (const auto codes = ReadCodes(*chunk)) {
            colours.coded = *codes;
            return colours;
        }
    }
    if (const auto chunk = FindChunk(file, "iCCP")) {
        colours.iccProfile = UnpackProfile(*chunk);
        if (!colours.iccProfile.empty()) return colours;
    }
    if (FindChunk(file, "sRGB")) return colours;
    if (const auto chunk = FindChunk(file, "gAMA")) ReadGamma(*chunk, colours);
    if (const auto chunk = FindChunk(file, "cHRM")) ReadChromaticities(*chunk, colours);
    return colours;
}

}  // namespace vistrel

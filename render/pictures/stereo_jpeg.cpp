// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/pictures/stereo_jpeg.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace vistrel {
namespace {

// Numbers with the highest byte first.
class Bytes {
  public:
    void Add16(std::uint32_t value) { AddHighestFirst(value, 2); }
    void Add32(std::uint32_t value) { AddHighestFirst(value, 4); }
    void Add(std::string_view text) {
        for (const char c : text) bytes_.push_back(static_cast<std::byte>(c));
    }
    [[nodiscard]] std::uint32_t Size() const { return static_cast<std::uint32_t>(bytes_.size()); }
    [[nodiscard]] std::vector<std::byte> Taken() { return std::move(bytes_); }

  private:
    void AddHighestFirst(std::uint32_t value, int bytes) {
        for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) {
            bytes_.push_back(static_cast<std::byte>(value >> shift));
        }
    }

    std::vector<std::byte> bytes_;
};

void CheckSizes(const EyePictures& eyes) {
    if (eyes.left.width == eyes.right.width && eyes.left.height == eyes.right.height) return;
    throw std::invalid_argument("both eyes have pictures of the same size");
}

// The right eye's picture on the left.
Picture Crossed(const EyePictures& eyes) {
    Picture both(2 * eyes.left.width, eyes.left.height);
    const std::size_t half = eyes.left.RowBytes();
    auto to = both.pixels.begin();
    for (std::size_t from = 0; from < eyes.left.pixels.size(); from += half) {
        for (const Picture* eye : {&eyes.right, &eyes.left}) {
            const auto row = eye->pixels.begin() + static_cast<std::ptrdiff_t>(from);
            to = std::copy_n(row, half, to);
        }
    }
    return both;
}

constexpr int kJpsSegment = 3;

std::vector<std::byte> JpsDescription() {
    constexpr std::uint32_t kStereo = 1;
    constexpr std::uint32_t kSideBySide = 2 << 8;  // and, by a bit that is not set, right eye first
    Bytes bytes;
    bytes.Add("_JPSJPS_");
    bytes.Add16(sizeof(std::uint32_t));
    bytes.Add32(kSideBySide | kStereo);
    bytes.Add16(0);  // bytes of a comment
    return bytes.Taken();
}

constexpr int kMpfSegment = 2;
constexpr std::string_view kMpf{"MPF\0", 4};
constexpr std::uint32_t kViews = 2;

// Directories of numbers like those of TIFF. Offsets count from the byte order's mark.
enum class MpfTag : std::uint16_t {
    Version = 0xB000,
    NumberOfImages = 0xB001,
    Entries = 0xB002,
    IndividualNumber = 0xB101,
    BaseViewpoint = 0xB204,
    ConvergenceAngle = 0xB205,
    BaselineLength = 0xB206,
};
enum class MpfType : std::uint16_t { Long = 4, Rational = 5, Undefined = 7, SignedRational = 10 };

constexpr std::uint32_t kHeaderBytes = 8;
constexpr std::uint32_t kEntryBytes = 16;  // of an image in the list
constexpr std::uint32_t kRationalBytes = 8;
constexpr std::string_view kVersion = "0100";

constexpr std::uint32_t DirectoryBytes(std::uint32_t fields) {
    return 2 + 12 * fields + 4;
}

void AddField(Bytes& bytes, MpfTag tag, MpfType type, std::uint32_t count, std::uint32_t value) {
    bytes.Add16(static_cast<std::uint32_t>(tag));
    bytes.Add16(static_cast<std::uint32_t>(type));
    bytes.Add32(count);
    bytes.Add32(value);
}

void AddVersion(Bytes& bytes) {
    bytes.Add16(static_cast<std::uint32_t>(MpfTag::Version));
    bytes.Add16(static_cast<std::uint32_t>(MpfType::Undefined));
    bytes.Add32(static_cast<std::uint32_t>(kVersion.size()));
    bytes.Add(kVersion);
}

void AddHeader(Bytes& bytes) {
    bytes.Add(kMpf);
    bytes.Add({"MM\0*", 4});
    bytes.Add32(kHeaderBytes);  // where the first directory begins
}

void AddImage(Bytes& bytes, bool isRepresentative, std::uint32_t size, std::uint32_t offset) {
    constexpr std::uint32_t kDisparity = 0x020002;
    constexpr std::uint32_t kRepresentative = 0x20000000;
    bytes.Add32(isRepresentative ? kRepresentative | kDisparity : kDisparity);
    bytes.Add32(size);
    bytes.Add32(offset);
    bytes.Add32(0);  // no images that depend on it
}

// The list of the images, which only the first one has. `sizes` are those of the files.
void AddIndex(Bytes& bytes, std::span<const std::uint32_t, kViews> sizes,
              std::uint32_t secondOffset) {
    constexpr std::uint32_t kFields = 3;
    constexpr std::uint32_t kList = kHeaderBytes + DirectoryBytes(kFields);
    bytes.Add16(kFields);
    AddVersion(bytes);
    AddField(bytes, MpfTag::NumberOfImages, MpfType::Long, 1, kViews);
    AddField(bytes, MpfTag::Entries, MpfType::Undefined, kViews * kEntryBytes, kList);
    bytes.Add32(kList + kViews * kEntryBytes);  // where the next directory begins
    AddImage(bytes, true, sizes[0], 0);         // the first one's offset is always 0
    AddImage(bytes, false, sizes[1], secondOffset);
}

// What is said of one image, the `number`-th from the left.
void AddAttributes(Bytes& bytes, std::uint32_t number, float baseline) {
    const bool tellsVersion = number > 1;  // the first one's is in the index
    const std::uint32_t fields = tellsVersion ? 5 : 4;
    const std::uint32_t start = bytes.Size() - static_cast<std::uint32_t>(kMpf.size());
    const std::uint32_t rationals = start + DirectoryBytes(fields);
    bytes.Add16(fields);
    if (tellsVersion) AddVersion(bytes);
    AddField(bytes, MpfTag::IndividualNumber, MpfType::Long, 1, number);
    AddField(bytes, MpfTag::BaseViewpoint, MpfType::Long, 1, 1);
    AddField(bytes, MpfTag::ConvergenceAngle, MpfType::SignedRational, 1, rationals);
    AddField(bytes, MpfTag::BaselineLength, MpfType::Rational, 1, rationals + kRationalBytes);
    bytes.Add32(0);  // no further directory
    bytes.Add32(0);  // parallel
    bytes.Add32(1);
    constexpr std::uint32_t kParts = 1'000'000;
    constexpr float kLongest = 1000.0F;
    const float fromFirst = number == 1 ? 0.0F : std::clamp(baseline, 0.0F, kLongest);
    bytes.Add32(static_cast<std::uint32_t>(std::lround(fromFirst * kParts)));
    bytes.Add32(kParts);
}

std::vector<std::byte> FirstSegment(std::span<const std::uint32_t, kViews> sizes,
                                    std::uint32_t secondOffset, float baseline) {
    Bytes bytes;
    AddHeader(bytes);
    AddIndex(bytes, sizes, secondOffset);
    AddAttributes(bytes, 1, baseline);
    return bytes.Taken();
}

std::vector<std::byte> SecondSegment(float baseline) {
    Bytes bytes;
    AddHeader(bytes);
    AddAttributes(bytes, 2, baseline);
    return bytes.Taken();
}

}  // namespace

std::vector<std::byte> EncodeJps(const EyePictures& eyes, int quality) {
    CheckSizes(eyes);
    return EncodeJpeg(Crossed(eyes), quality,
                      std::array{JpegSegment{kJpsSegment, JpsDescription()}});
}

std::vector<std::byte> EncodeMpo(const EyePictures& eyes, float baseline, int quality) {
    CheckSizes(eyes);
    // How long the files are is known once they are there; the segment has room for the numbers.
    const std::vector<std::byte> room = FirstSegment(std::array{0U, 0U}, 0, baseline);
    std::vector<std::byte> all =
        EncodeJpeg(eyes.left, quality, std::array{JpegSegment{kMpfSegment, room}});
    const std::vector<std::byte> second = EncodeJpeg(
        eyes.right, quality, std::array{JpegSegment{kMpfSegment, SecondSegment(baseline)}});

    const auto segment = std::search(all.begin(), all.end(), room.begin(), room.end());
    const auto size = [](std::ptrdiff_t bytes) { return static_cast<std::uint32_t>(bytes); };
    const std::array sizes = {size(std::ssize(all)), size(std::ssize(second))};
    const std::uint32_t start = size(segment - all.begin()) + size(std::ssize(kMpf));
    std::ranges::copy(FirstSegment(sizes, sizes[0] - start, baseline), segment);
    all.insert(all.end(), second.begin(), second.end());
    return all;
}

}  // namespace vistrel

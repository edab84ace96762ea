// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/exif_facts.h"

#include <cmath>
#include <cstdint>
#include <exiv2/exiv2.hpp>
#include <limits>
#include <mutex>

namespace vistrel {
namespace {

// The library's type for the size of a file.
#if EXIV2_TEST_VERSION(0, 28, 0)
using Size = std::size_t;
#else
using Size = long;
#endif

const Exiv2::Value* Find(const Exiv2::ExifData& exif, const char* key) {
    const auto found = exif.findKey(Exiv2::ExifKey(key));
    return found == exif.end() || found->count() == 0 ? nullptr : &found->value();
}

int Orientation(const Exiv2::ExifData& exif) {
    const auto* const shorts =
        dynamic_cast<const Exiv2::UShortValue*>(Find(exif, "Exif.Image.Orientation"));
    if (shorts == nullptr || shorts->value_.empty()) return 1;
    return static_cast<std::int16_t>(shorts->value_.front());
}

// In double precision, which the library's own conversion is not.
double Number(const Exiv2::ExifData& exif, const char* key) {
    const Exiv2::Value* const value = Find(exif, key);
    if (value == nullptr) return 0;
    double number = 0;
    if (const auto* ratios = dynamic_cast<const Exiv2::URationalValue*>(value)) {
        const auto [above, below] = ratios->value_.at(0);
        if (below != 0) number = static_cast<double>(above) / below;
    } else {
        number = static_cast<double>(value->toFloat(0));
    }
    return std::isfinite(number) && number > 0 ? number : 0;
}

double MillimetresOfUnit(double unit) {
    if (unit == 3) return 10;     // centimetre
    if (unit == 4) return 1;      // millimetre
    if (unit == 5) return 0.001;  // micrometre
    return 25.4;                  // inch, also where nothing is told
}

// Raw files have these tags in their first directory.
double NumberInEither(const Exiv2::ExifData& exif, const char* photo, const char* image) {
    const double number = Number(exif, photo);
    return number > 0 ? number : Number(exif, image);
}

ExifFacts Facts(const Exiv2::ExifData& exif) {
    ExifFacts facts;
    facts.orientation = Orientation(exif);
    facts.focal35mm = Number(exif, "Exif.Photo.FocalLengthIn35mmFilm");
    facts.focalLength = NumberInEither(exif, "Exif.Photo.FocalLength", "Exif.Image.FocalLength");
    const double unit = NumberInEither(exif, "Exif.Photo.FocalPlaneResolutionUnit",
                                       "Exif.Image.FocalPlaneResolutionUnit");
    double resolution = NumberInEither(exif, "Exif.Photo.FocalPlaneXResolution",
                                       "Exif.Image.FocalPlaneXResolution");
    if (resolution == 0) resolution = Number(exif, "Exif.Photo.FocalPlaneYResolution");
    facts.pixelsPerMillimetre = resolution / MillimetresOfUnit(unit);
    facts.pixelWidth = Number(exif, "Exif.Photo.PixelXDimension");
    facts.pixelHeight = Number(exif, "Exif.Photo.PixelYDimension");
    return facts;
}

// The library keeps global tables (XMP name spaces, the log level) that it does not guard. A
// program that reads photographs through here reads them in no other way, so one lock is enough.
template <typename Read>
ExifFacts ReadGuarded(Read read) noexcept {
    static std::mutex mutex;
    try {
        const std::scoped_lock lock(mutex);
        // Its complaints about damaged files are of no interest to anybody.
        Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
        return read();
    } catch (...) {
        return {};
    }
}

const Exiv2::byte* Data(std::span<const std::byte> bytes) {
    return reinterpret_cast<const Exiv2::byte*>(bytes.data());
}

}  // namespace

ExifFacts ReadExifBlock(std::span<const std::byte> block) noexcept {
    if (block.size() > std::numeric_limits<std::uint32_t>::max()) return {};
    return ReadGuarded([&] {
        Exiv2::ExifData exif;
        Exiv2::ExifParser::decode(exif, Data(block), static_cast<std::uint32_t>(block.size()));
        return Facts(exif);
    });
}

ExifFacts ReadExifOfFile(std::span<const std::byte> file) noexcept {
    return ReadGuarded([&] {
        const auto image = Exiv2::ImageFactory::open(Data(file), static_cast<Size>(file.size()));
        if (image.get() == nullptr) return ExifFacts{};
        image->readMetadata();
        return Facts(image->exifData());
    });
}

}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/exif_orientation.h"

#include <cstdint>
#include <exiv2/exiv2.hpp>
#include <mutex>

#include "base/text_encoding.h"

namespace vistrel {
namespace {

constexpr int kUpright = 1;

// Handed a name, the library would take "http://..." for an address and "-" for its standard input;
// a file object takes every name for a file. Null when the file is of no kind that it knows.
auto OpenImage(const std::string& path) {
#if EXIV2_TEST_VERSION(0, 28, 0)
    return Exiv2::ImageFactory::open(Exiv2::BasicIo::UniquePtr(new Exiv2::FileIo(path)));
#else
    return Exiv2::ImageFactory::open(Exiv2::BasicIo::AutoPtr(new Exiv2::FileIo(path)));
#endif
}

int ReadOrientation(const std::string& path) {
    // Its complaints about damaged files are of no interest to anybody.
    Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);

    const auto image = OpenImage(path);
    if (image.get() == nullptr) return kUpright;
    image->readMetadata();
    const Exiv2::ExifData& exif = image->exifData();
    const auto found = exif.findKey(Exiv2::ExifKey("Exif.Image.Orientation"));
    if (found == exif.end()) return kUpright;

    const auto* const shorts = dynamic_cast<const Exiv2::UShortValue*>(&found->value());
    if (shorts == nullptr || shorts->value_.empty()) return kUpright;
    return static_cast<std::int16_t>(shorts->value_.front());
}

}  // namespace

int ReadExifOrientation(const std::wstring& path) noexcept {
    // The library keeps global tables (XMP name spaces, the log level) that it does not guard. This
    // is its only use in the program, so one lock is enough.
    static std::mutex mutex;
    try {
        const std::scoped_lock lock(mutex);
        return ReadOrientation(ToUtf8(path));
    } catch (...) {
        return kUpright;
    }
}

}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/photo_reader.h"

#include <memory>
#include <new>
#include <optional>
#include <span>
#include <utility>

#include "photos/colour_conversion.h"
#include "photos/decoded_photo.h"
#include "photos/exif_facts.h"
#include "photos/photo_file.h"
#include "photos/photo_formats.h"
#include "photos/photo_modules.h"
#include "photos/stb_photo.h"

namespace vistrel {
namespace {

using Bytes = std::span<const std::byte>;

constexpr int kUpright = 1;

struct KnownPhoto {
    DecodedPhoto decoded;
    ExifFacts facts;
};

class PhotoReader {
  public:
    explicit PhotoReader(PhotoReaderOptions options)
        : options_(std::move(options)), modules_(options_.modules) {}

    Photograph Read(const std::wstring& path) {
        KnownPhoto photo =
            options_.bytes.empty() ? Decode(ReadPhotoFile(ToPath(path))) : Decode(options_.bytes);
        Photograph photograph;
        photograph.orientation = Orientation(photo);
        photograph.focalPx = FocalLength(photo, path);
        photograph.picture = ToSrgbPicture(std::move(photo.decoded), options_.convertColours);
        return photograph;
    }

  private:
    KnownPhoto Decode(Bytes file) {
        if (std::optional<DecodedPhoto> photo = LoadByStb(file)) {
            // The same reading of EXIF as where the program knows these kinds alone.
            photo->exifTurns = true;
            return {std::move(*photo), ReadExifOfFile(file)};
        }
        std::optional<DecodedPhoto> photo = modules_.Load(file);
        if (!photo) throw PhotoError(kUnknownKind);
        const ExifFacts facts =
            photo->exif.empty() ? ReadExifOfFile(file) : ReadExifBlock(photo->exif);
        return {std::move(*photo), facts};
    }

    static int Orientation(const KnownPhoto& photo) {
        if (photo.decoded.orientation != kUpright) return photo.decoded.orientation;
        return photo.decoded.exifTurns ? photo.facts.orientation : kUpright;
    }

    std::optional<float> FocalLength(const KnownPhoto& photo, const std::wstring& path) const {
        const DecodedPhoto& decoded = photo.decoded;
        const std::optional<double> length = ChosenFocalLength(
            options_.focal, photo.facts, decoded.width, decoded.height, decoded.reduction);
        if (!length && options_.focal.kind == FocalChoice::Kind::Auto && options_.onNote) {
            options_.onNote(path, "It tells no focal length; the width is taken.");
        }
        if (!length) return std::nullopt;
        return static_cast<float>(*length);
    }

    const PhotoReaderOptions options_;
    PhotoModules modules_;
};

}  // namespace

PhotographReader MakePhotoReader(PhotoReaderOptions options) {
    // Shared, since functions are copied.
    return [reader = std::make_shared<PhotoReader>(std::move(options))](const std::wstring& path) {
        try {
            return reader->Read(path);
        } catch (const std::bad_alloc&) {
            throw PhotoError("There is not enough memory to read it.");
        }
    };
}

}  // namespace vistrel

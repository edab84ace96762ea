// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/stb_photo.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "engine/image_decoding.h"
#include "photos/jpeg_profile.h"
#include "photos/png_colours.h"

namespace vistrel {
namespace {

using Bytes = std::span<const std::byte>;

bool StartsWith(Bytes file, std::string_view head) {
    return file.size() >= head.size() && std::memcmp(file.data(), head.data(), head.size()) == 0;
}

// Kinds that nothing else begins like, so that a damaged head does not make them another kind.
bool IsSurelyMine(Bytes file) {
    return IsJpeg(file) || IsPng(file) || StartsWith(file, "GIF8") || StartsWith(file, "8BPS") ||
           StartsWith(file, "#?RADIANCE") || StartsWith(file, "#?RGBE");
}

PhotoColours ReadColours(Bytes file) {
    if (IsPng(file)) return ReadPngColours(file);
    PhotoColours colours;
    colours.iccProfile = ReadJpegProfile(file);
    return colours;
}

void Decode(Bytes file, DecodedPhoto& photo) {
    try {
        Picture picture = photo.format == SampleFormat::Words ? DecodeDeepPicture(file)
                                                              : DecodeWholePicture(file);
        photo.samples = std::move(picture.pixels);
        photo.width = picture.width;
        photo.height = picture.height;
        photo.opaque = picture.opaque;
    } catch (const PictureCutShort&) {
        throw PhotoError("It is cut short.");
    } catch (const std::runtime_error& error) {
        if (std::string_view(error.what()) == "outofmem") {
            throw PhotoError("There is not enough memory for its pixels.");
        }
        throw PhotoError(std::string("It is damaged, or of a sort that is not read: ")
                             .append(error.what())
                             .append("."));
    }
}

}  // namespace

std::optional<DecodedPhoto> LoadByStb(std::span<const std::byte> file) {
    DecodedPhoto photo;
    const std::optional<PictureFacts> facts = ReadPictureFacts(file);
    if (facts) {
        CheckPhotoSize(static_cast<std::uint64_t>(std::max(facts->width, 0)),
                       static_cast<std::uint64_t>(std::max(facts->height, 0)));
    } else if (!IsSurelyMine(file)) {
        return std::nullopt;
    }
    photo.exifTurns = true;
    photo.colours = ReadColours(file);
    if (facts && facts->deep && IsPng(file) && TellsColours(photo.colours)) {
        photo.format = SampleFormat::Words;
    }
    Decode(file, photo);
    // The head did not tell, so it was not checked before.
    if (!facts) {
        CheckPhotoSize(static_cast<std::uint64_t>(photo.width),
                       static_cast<std::uint64_t>(photo.height));
    }
    return photo;
}

}  // namespace vistrel

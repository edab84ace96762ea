// SPDX-License-Identifier: GPL-3.0-or-later
// The kinds of photographs that need a library, which are told by their first bytes.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace vistrel {

struct PhotoFormat {
    const char* name;    // for users: "It is a <name> picture"
    const char* module;  // the decoder's file is photos/<module>.so beside the program
    // Whether a file that begins so may be of this kind; the decoder has the last word.
    bool (*mayBe)(std::span<const std::byte> file);
};

inline constexpr std::size_t kPhotoFormats = 5;

// In the order in which they are asked: a camera raw file may look like a TIFF, and is left to the
// raw decoder by the TIFF decoder.
[[nodiscard]] std::span<const PhotoFormat, kPhotoFormats> PhotoFormats();

// What a file of no kind is answered with; a sentence that lists the kinds that are read.
inline constexpr const char* kUnknownKind =
    "It is no picture of a kind that is read: JPEG, PNG, WebP, HEIC, AVIF, TIFF, JPEG XL, camera "
    "raw, BMP, GIF, TGA, PSD, HDR, PIC or PNM.";

// The Debian package of a shared library such as "libheif.so.1", by the rule that names such
// packages; empty for what does not look like one.
[[nodiscard]] std::string PackageOfLibrary(std::string_view library);

}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/photo_formats.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace vistrel {
namespace {

using Bytes = std::span<const std::byte>;
using namespace std::string_view_literals;

bool HasAt(Bytes file, std::size_t position, std::string_view text) {
    return file.size() >= position + text.size() &&
           std::ranges::equal(file.subspan(position, text.size()), text, {}, {},
                              [](char c) { return static_cast<std::byte>(c); });
}

bool BeginsWith(Bytes file, std::string_view text) {
    return HasAt(file, 0, text);
}

bool MayBeHeif(Bytes file) {
    return HasAt(file, 4, "ftyp") && !HasAt(file, 8, "crx ");
}

bool MayBeWebp(Bytes file) {
    return BeginsWith(file, "RIFF") && HasAt(file, 8, "WEBP");
}

// Classic and large ones in both byte orders.
bool MayBeTiff(Bytes file) {
    return BeginsWith(file, "II*\0"sv) || BeginsWith(file, "MM\0*"sv) ||
           BeginsWith(file, "II+\0"sv) || BeginsWith(file, "MM\0+"sv);
}

// The codestream alone, or in its container.
bool MayBeJxl(Bytes file) {
    return BeginsWith(file, "\xFF\x0A") || BeginsWith(file, "\0\0\0\x0CJXL \r\n\x87\n"sv);
}

// Most are TIFFs in all but name; the others begin with words of their makers.
bool MayBeRaw(Bytes file) {
    constexpr std::array kBeginnings = {
        "FUJIFILMCCD-RAW"sv,  // RAF
        "IIRO"sv,             // ORF
        "IIRS"sv,             // ORF
        "MMOR"sv,             // ORF
        "IIU\0"sv,            // RW2, RAW of Panasonic and Leica
        "\0MRM"sv,            // MRW
        "FOVb"sv,             // X3F
        "ARRI"sv,             // ARI
        "IIII"sv,             // IIQ
        "MMMM"sv,             // IIQ
        "PWAD"sv,             // STI
        "DSC-Image"sv,        // of early Kodaks
        "NOKIARAW"sv,
    };
    return MayBeTiff(file) || HasAt(file, 4, "ftypcrx ") ||  // CR3
           HasAt(file, 6, "HEAPCCDR") ||                     // CRW
           std::ranges::any_of(kBeginnings,
                               [&](std::string_view text) { return BeginsWith(file, text); });
}

constexpr std::array<PhotoFormat, kPhotoFormats> kFormats = {{{"HEIC or AVIF", "heif", MayBeHeif},
                                                              {"WebP", "webp", MayBeWebp},
                                                              {"TIFF", "tiff", MayBeTiff},
                                                              {"JPEG XL", "jxl", MayBeJxl},
                                                              {"camera raw", "raw", MayBeRaw}}};

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

// Libraries that share a package with the one they belong to.
std::string_view MainLibrary(std::string_view name) {
    if (name == "libjxl_threads") return "libjxl";
    if (name == "libraw_r") return "libraw";
    return name;
}

}  // namespace

std::span<const PhotoFormat, kPhotoFormats> PhotoFormats() {
    return kFormats;
}

std::string PackageOfLibrary(std::string_view library) {
    constexpr std::string_view kMiddle = ".so.";
    const std::size_t middle = library.find(kMiddle);
    if (middle == std::string_view::npos || middle == 0) return {};
    const std::string_view name = MainLibrary(library.substr(0, middle));
    const std::string_view version = library.substr(middle + kMiddle.size());
    if (version.empty() || !IsDigit(version.front())) return {};

    std::string package(name);
    if (IsDigit(package.back())) package += '-';
    package += version;
    // Debian's change to 64 bits of time renamed some.
    if (package == "libraw23") package += "t64";
    return package;
}

}  // namespace vistrel

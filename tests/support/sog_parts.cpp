// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/sog_parts.h"

#include <algorithm>
#include <span>
#include <sstream>
#include <utility>

#include "formats/zip_archive.h"

namespace vistrel {
namespace {

// 256 numbers from `first` on, `step` apart.
std::string CodebookText(double first, double step) {
    std::ostringstream text;
    text << "[" << first << (first == static_cast<int>(first) ? ".0" : "");
    for (int i = 1; i < 256; ++i) text << "," << first + (i * step);
    text << "]";
    return text.str();
}

NumberPicture BlackPicture(std::uint32_t width, std::uint32_t height) {
    NumberPicture picture({.width = width, .height = height});
    std::fill_n(picture.pixels.data(), picture.pixels.size(), std::uint8_t{0});
    return picture;
}

// Pictures of both versions.
SogParts WithPictures(std::string meta) {
    SogParts parts;
    parts.meta = std::move(meta);
    for (const char* const name :
         {"means_l.webp", "means_u.webp", "scales.webp", "quats.webp", "sh0.webp", "labels.webp"}) {
        parts.pictures[name] = BlackPicture(4, 4);
    }
    parts.pictures["palette.webp"] = BlackPicture(192, 2);
    parts.Paint("means_l.webp", 0, {3, 255, 0, 255});
    parts.Paint("means_u.webp", 0, {1, 255, 0, 255});
    parts.Paint("scales.webp", 0, {5, 6, 255, 255});
    parts.Paint("quats.webp", 0, {100, 110, 150, 253});
    parts.Paint("sh0.webp", 0, {128, 129, 130, 200});
    parts.Paint("labels.webp", 0, {65, 0, 0, 255});
    parts.Paint("labels.webp", 1, {66, 1, 0, 255});
    for (std::uint8_t i = 0; i < 3; ++i) {
        parts.Paint(
            "palette.webp", 192 + 3 + i,
            {static_cast<std::uint8_t>(72 + i), static_cast<std::uint8_t>(76 + i), 80, 255});
    }
    return parts;
}

}  // namespace

void SogParts::Replace(const std::string& text, const std::string& other) {
    meta.replace(meta.find(text), text.size(), other);
}

void SogParts::Paint(const std::string& picture, std::size_t pixel,
                     const std::array<std::uint8_t, 4>& bytes) {
    std::ranges::copy(bytes, pictures.at(picture).Pixel(pixel));
}

std::string SogParts::Archive() const {
    MemorySink sink;
    ZipWriter writer(sink);
    writer.Add(folder + metaName, std::as_bytes(std::span(meta)));
    for (const auto& [name, picture] : pictures) {
        const WebpFile file(picture, 0);
        writer.Add(folder + name, file.Bytes());
    }
    writer.Finish();
    return sink.content;
}

SogParts SogVersion2() {
    return WithPictures(
        R"({"asset":{},"version":2,"count":2,"means":{"mins":[-1,0,0],"maxs":[1,2,0],)"
        R"("files":["means_l.webp","means_u.webp"]},"scales":{"codebook":)" +
        CodebookText(-10.0, 0.03125) + R"(,"files":["scales.webp"]},"sh0":{"codebook":)" +
        CodebookText(-2.0, 0.015625) +
        R"(,"files":["sh0.webp"]},"quats":{"files":["quats.webp"]},"shN":{"count":66,"bands":1,)"
        R"("codebook":)" +
        CodebookText(-1.0, 0.0078125) + R"(,"files":["palette.webp","labels.webp"]}})");
}

SogParts SogVersion1() {
    return WithPictures(
        R"({"means":{"shape":[2,3],"dtype":"float32","mins":[-1,0,0],"maxs":[1,2,0],)"
        R"("files":["means_l.webp","means_u.webp"]},"scales":{"shape":[2,3],"mins":[-6,-7,-8],)"
        R"("maxs":[-2,-3,-4],"files":["scales.webp"]},"quats":{"shape":[2,4],)"
        R"("encoding":"quaternion_packed","files":["quats.webp"]},"sh0":{"shape":[2,1,4],)"
        R"("mins":[-1,-1,-1,-8],"maxs":[3,3,3,8],"files":["sh0.webp"]},"shN":{"shape":[2,9],)"
        R"("mins":-1,"maxs":1,"quantization":8,"files":["palette.webp","labels.webp"]}})");
}

}  // namespace vistrel

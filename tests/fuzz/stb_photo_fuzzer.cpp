// SPDX-License-Identifier: GPL-3.0-or-later
// Any bytes as a photograph of the kinds that need no library, whose colours are then converted;
// now and then its samples are taken for inks.
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <utility>

#include "photos/colour_conversion.h"
#include "photos/stb_photo.h"
#include "tests/fuzz/colour_seeds.h"
#include "tests/fuzz/require.h"
#include "tests/fuzz/seeded_mutation.h"

namespace vistrel {
namespace {

using fuzz::Require;

void RunOne(std::span<const std::byte> file) {
    std::optional<DecodedPhoto> photo;
    try {
        photo = LoadByStb(file);
    } catch (const PhotoError&) {
        return;
    }
    if (!photo) return;
    Require(photo->width > 0 && photo->height > 0);
    if (file.back() == std::byte{'K'}) photo->model = ColourModel::Cmyk;
    const int width = photo->width;
    const int height = photo->height;
    const bool opaque = photo->opaque;
    const Picture picture = ToSrgbPicture(std::move(*photo), true);
    Require(picture.width == width && picture.height == height);
    Require(!opaque || picture.opaque);
    // Every byte of it is the program's own.
    const std::size_t size =
        kPixelBytes * static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    const auto copy = std::make_unique<std::uint8_t[]>(size);
    std::memcpy(copy.get(), picture.pixels.get(), size);
}

}  // namespace
}  // namespace vistrel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    vistrel::RunOne(std::as_bytes(std::span(data, size)));
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned int seed) {
    return vistrel::fuzz::MutateSeeded(vistrel::fuzz::ColourSeeds(), data, size, most, seed);
}

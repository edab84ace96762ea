// SPDX-License-Identifier: GPL-3.0-or-later
// Any bytes as a picture file: the orientation is read, the picture decoded, turned and resampled,
// each by the engine's own code. The resampling goes to a few pixels instead of the network's
// square to keep the search fast, and the decoder refuses sides of more than 1024 pixels in this
// build.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>

#include "base/text_encoding.h"
#include "engine/exif_orientation.h"
#include "engine/image_decoding.h"
#include "engine/image_resizing.h"
#include "engine/upright_rows.h"
#include "tests/fuzz/memory_file.h"
#include "tests/fuzz/picture_seeds.h"
#include "tests/fuzz/require.h"
#include "tests/fuzz/seeded_mutation.h"

namespace vistrel {
namespace {

using fuzz::Require;

const std::uint8_t* ReadRow(void* rows, int y) noexcept {
    return static_cast<UprightRows*>(rows)->Row(y);
}

void CountRow(void* rows, int /*y*/, const std::uint8_t* /*pixels*/) noexcept {
    ++*static_cast<int*>(rows);
}

void RequireOpaque(const Picture& picture) {
    const auto pixels =
        static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height);
    for (std::size_t i = 0; i < pixels; ++i) {
        Require(picture.pixels[(i * kPixelBytes) + (kPixelBytes - 1)] == 255);
    }
}

void Load(std::FILE* file, int orientation) {
    const Picture picture = DecodePicture(file);
    Require(picture.width > 0 && picture.height > 0);
    if (picture.opaque) RequireOpaque(picture);
    UprightRows rows(picture, orientation);
    int written = 0;
    constexpr int kSide = 8;
    const RowSource source = {ReadRow, &rows, rows.Width(), rows.Height(), picture.opaque};
    ResizeToSquare({&source, 1}, kSide, {CountRow, &written});
    Require(written == kSide);
}

void RunOne(std::string_view bytes) {
    const fuzz::MemoryFile memory(bytes);
    const std::string path = memory.Path();
    const int orientation = ReadExifOrientation(FromUtf8(path));
    std::FILE* const file = std::fopen(path.c_str(), "rb");
    Require(file != nullptr);
    try {
        Load(file, orientation);
    } catch (const std::runtime_error& error) {
        Require(std::string_view(error.what()).starts_with("stb_image"));
    }
    std::fclose(file);
}

}  // namespace
}  // namespace vistrel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    vistrel::RunOne({reinterpret_cast<const char*>(data), size});
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned int seed) {
    return vistrel::fuzz::MutateSeeded(vistrel::fuzz::PictureSeeds(), data, size, most, seed);
}

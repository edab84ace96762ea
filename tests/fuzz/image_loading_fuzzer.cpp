// Any bytes as a picture file: the orientation is read, the picture decoded, turned and resampled,
// each by the engine's own code. The resampling goes to a few pixels instead of the network's
// square to keep the search fast, and the decoder refuses sides of more than 1024 pixels in this
// build.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

#include "engine/exif_orientation.h"
#include "engine/image_decoding.h"
#include "engine/image_resizing.h"
#include "engine/upright_rows.h"
#include "engine/wide.h"
#include "tests/fuzz/picture_seeds.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);

namespace vistrel {
namespace {

void Require(bool condition) {
    if (!condition) std::abort();
}

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
    ResizeToSquare({ReadRow, &rows, rows.Width(), rows.Height(), picture.opaque}, kSide,
                   {CountRow, &written});
    Require(written == kSide);
}

void RunOne(std::string_view bytes) {
    const int descriptor = memfd_create("picture", 0);
    Require(descriptor >= 0);
    Require(write(descriptor, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()));
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
    const int orientation = ReadExifOrientation(FromUtf8(path));
    std::FILE* const file = std::fopen(path.c_str(), "rb");
    Require(file != nullptr);
    try {
        Load(file, orientation);
    } catch (const std::runtime_error& error) {
        Require(std::string_view(error.what()).starts_with("stb_image"));
    }
    std::fclose(file);
    close(descriptor);
}

}  // namespace
}  // namespace vistrel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    vistrel::RunOne({reinterpret_cast<const char*>(data), size});
    return 0;
}

// Now and then the search goes on from one of the valid pictures, so that it needs no files of
// them.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned int seed) {
    if (size < 4 || seed % 8 == 0) {
        const auto& seeds = vistrel::fuzz::PictureSeeds();
        const std::string& chosen = seeds[(seed / 8) % seeds.size()];
        size = std::min(chosen.size(), most);
        std::copy_n(chosen.begin(), size, data);
    }
    return LLVMFuzzerMutate(data, size, most);
}

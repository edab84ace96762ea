// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/image_decoding.h"

#include <cstddef>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <utility>

// Where a damaged file ends early, or uses colours that its palette lacks, the decoder hands out
// memory that it never wrote: zeros then, the same every time and nothing of the program's. Large
// blocks come from the system zeroed, so that this costs nothing.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast"  // of what the last of these gives back
#define STBI_MALLOC(size) std::calloc(1, size)
#define STBI_FREE(memory) std::free(memory)
#define STBI_REALLOC(memory, size) std::realloc(memory, size)
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#include <stb_image.h>
#pragma GCC diagnostic pop

namespace vistrel {

namespace {

std::runtime_error Failure(const char* reason) {
    return std::runtime_error(std::string("stb_image failed to load (")
                                  .append(reason != nullptr ? reason : "unknown reason")
                                  .append(")"));
}

// Asked of pictures without alpha, too: a colour that the palette lacks comes with none.
bool IsOpaque(const Picture& picture) {
    const auto pixels =
        static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height);
    unsigned int all = 255;
    for (std::size_t i = 0; i < pixels; ++i) {
        all &= picture.pixels[(i * kPixelBytes) + (kPixelBytes - 1)];
    }
    return all == 255;
}

}  // namespace

Picture DecodePicture(std::FILE* file) {
    int width = 0;
    int height = 0;
    int channelsInFile = 0;
    PixelBuffer pixels(stbi_load_from_file(file, &width, &height, &channelsInFile, STBI_rgb_alpha));
    if (!pixels) throw Failure(stbi_failure_reason());
    // To the decoder a read error is an early end, which some formats bear: half a picture.
    if (std::ferror(file) != 0) throw Failure("read error");
    // Not every format's reader minds a side of no pixels.
    if (width < 1 || height < 1) throw Failure("no pixels");

    // One channel is grey and three are red, green and blue: the decoder filled in the alpha.
    const bool withoutAlpha = channelsInFile == STBI_grey || channelsInFile == STBI_rgb;
    Picture picture = {std::move(pixels), width, height};
    picture.opaque = withoutAlpha && IsOpaque(picture);
    return picture;
}

}  // namespace vistrel

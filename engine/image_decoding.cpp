#include "engine/image_decoding.h"

#include <stdexcept>
#include <string>
#include <utility>

#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#include <stb_image.h>

namespace vistrel {

namespace {

std::runtime_error Failure(const char* reason) {
    return std::runtime_error(std::string("stb_image failed to load (")
                                  .append(reason != nullptr ? reason : "unknown reason")
                                  .append(")"));
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
    const bool opaque = channelsInFile == STBI_grey || channelsInFile == STBI_rgb;
    return {std::move(pixels), width, height, opaque};
}

}  // namespace vistrel

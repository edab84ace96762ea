// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/plain_image_stage.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#include <stb_image.h>
// Two constants escape the library's static form; the engine's copy of it has them too.
#define stbir__s16_32768 plain_stbir_s16_32768
#define stbir__s32_32768 plain_stbir_s32_32768
#define STB_IMAGE_RESIZE_STATIC
#define STB_IMAGE_RESIZE_IMPLEMENTATION
#include <stb_image_resize2.h>

namespace vistrel::test {
namespace {

struct Position {
    int column = 0;
    int row = 0;
};

Position SeenAt(int x, int y, int width, int height, int orientation) {
    switch (orientation) {
        case 2:
            return {width - 1 - x, y};
        case 3:
            return {width - 1 - x, height - 1 - y};
        case 4:
            return {x, height - 1 - y};
        case 5:
            return {y, x};
        case 6:
            return {height - 1 - y, x};
        case 7:
            return {height - 1 - y, width - 1 - x};
        case 8:
            return {y, width - 1 - x};
        default:
            return {x, y};
    }
}

std::size_t Offset(const PlainPicture& picture, Position at) {
    return ((static_cast<std::size_t>(at.row) * static_cast<std::size_t>(picture.width)) +
            static_cast<std::size_t>(at.column)) *
           4;
}

}  // namespace

PlainPicture PlainDecode(const std::filesystem::path& path) {
    PlainPicture picture;
    int channels = 0;
    const std::unique_ptr<stbi_uc, decltype(&std::free)> pixels(
        stbi_load(path.c_str(), &picture.width, &picture.height, &channels, 4), &std::free);
    if (!pixels) throw std::runtime_error(stbi_failure_reason());
    picture.rgba.assign(pixels.get(), pixels.get() + Offset(picture, {0, picture.height}));
    return picture;
}

PlainPicture PlainTurn(const PlainPicture& picture, int orientation) {
    const bool swapped = orientation >= 5 && orientation <= 8;
    PlainPicture turned;
    turned.width = swapped ? picture.height : picture.width;
    turned.height = swapped ? picture.width : picture.height;
    turned.rgba.resize(picture.rgba.size());
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            const Position to = SeenAt(x, y, picture.width, picture.height, orientation);
            std::memcpy(&turned.rgba[Offset(turned, to)], &picture.rgba[Offset(picture, {x, y})],
                        4);
        }
    }
    return turned;
}

PlainPicture PlainResize(const PlainPicture& picture, int side) {
    PlainPicture square;
    square.width = side;
    square.height = side;
    square.rgba.resize(Offset(square, {0, side}));
    if (stbir_resize_uint8_linear(picture.rgba.data(), picture.width, picture.height, 0,
                                  square.rgba.data(), side, side, side * 4,
                                  STBIR_RGBA) == nullptr) {
        throw std::runtime_error("cannot resize");
    }
    return square;
}

PreprocessedImage PlainLoadAndPreprocess(const std::filesystem::path& path, int orientation) {
    PlainPicture picture = PlainTurn(PlainDecode(path), orientation);
    PreprocessedImage image;
    image.width = picture.width;
    image.height = picture.height;
    image.focalPx = static_cast<float>(picture.width);
    if (picture.width != kNetworkSide || picture.height != kNetworkSide) {
        picture = PlainResize(picture, kNetworkSide);
    }
    const std::size_t plane = picture.rgba.size() / 4;
    image.tensor.resize(3 * plane);
    for (std::size_t i = 0; i < plane; ++i) {
        for (std::size_t channel = 0; channel < 3; ++channel) {
            image.tensor[(channel * plane) + i] =
                static_cast<float>(picture.rgba[(4 * i) + channel]) / 255.0F;
        }
    }
    return image;
}

}  // namespace vistrel::test

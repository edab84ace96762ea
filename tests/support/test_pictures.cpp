// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/test_pictures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <new>
#include <random>
#include <vector>

#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb_image_write.h>

namespace vistrel::test {
namespace {

constexpr std::uint32_t kAlpha = 0xFF000000U;

void Append(void* file, void* bytes, int size) {
    static_cast<std::string*>(file)->append(static_cast<const char*>(bytes),
                                            static_cast<std::size_t>(size));
}

std::vector<std::uint8_t> FirstChannels(const PlainPicture& picture, int channels) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(picture.rgba.size());
    for (std::size_t i = 0; i < picture.rgba.size(); i += 4) {
        const auto pixel = picture.rgba.begin() + static_cast<std::ptrdiff_t>(i);
        bytes.insert(bytes.end(), pixel, pixel + channels);
    }
    return bytes;
}

PlainPicture Blank(int width, int height) {
    PlainPicture picture;
    picture.width = width;
    picture.height = height;
    picture.rgba.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
    return picture;
}

}  // namespace

PlainPicture NoisePicture(int width, int height, bool opaque, std::uint32_t seed) {
    PlainPicture picture = Blank(width, height);
    std::mt19937 random(seed);
    for (std::size_t i = 0; i < picture.rgba.size(); i += 4) {
        const std::uint32_t pixel = static_cast<std::uint32_t>(random()) | (opaque ? kAlpha : 0U);
        std::memcpy(&picture.rgba[i], &pixel, 4);
    }
    return picture;
}

PlainPicture PhotoLikePicture(int width, int height) {
    PlainPicture picture = Blank(width, height);
    std::mt19937 random(1);
    std::size_t i = 0;
    for (int y = 0; y < height; ++y) {
        const float v = static_cast<float>(y) / 100.0F;
        const float row = 30.0F * std::sin(v);
        for (int x = 0; x < width; ++x) {
            const float u = static_cast<float>(x) / 100.0F;
            const float soft = row + (25.0F * std::sin(0.3F * (u + v))) +
                               (25.0F * std::sin(2.1F * u)) + (15.0F * std::sin(9.0F * (u - v)));
            const auto grain = static_cast<std::uint32_t>(random());
            for (std::uint32_t channel = 0; channel < 3; ++channel) {
                const auto noise = static_cast<float>((grain >> (8U * channel)) & 15U);
                const float value = 120.0F + (soft * (1.0F + (0.2F * static_cast<float>(channel))));
                picture.rgba[i++] =
                    static_cast<std::uint8_t>(std::clamp(value + noise, 0.F, 255.F));
            }
            picture.rgba[i++] = 255;
        }
    }
    return picture;
}

PlainPicture FilledPicture(int width, int height, std::uint8_t red, std::uint8_t green,
                           std::uint8_t blue, std::uint8_t alpha) {
    PlainPicture picture = Blank(width, height);
    const std::array<std::uint8_t, 4> pixel = {red, green, blue, alpha};
    for (std::size_t i = 0; i < picture.rgba.size(); ++i) picture.rgba[i] = pixel.at(i % 4);
    return picture;
}

Picture ToPicture(const PlainPicture& picture) {
    Picture copy;
    copy.pixels = TryAllocatePixels(picture.rgba.size() / 4);
    if (!copy.pixels) throw std::bad_alloc();
    std::memcpy(copy.pixels.get(), picture.rgba.data(), picture.rgba.size());
    copy.width = picture.width;
    copy.height = picture.height;
    return copy;
}

std::string EncodePng(const PlainPicture& picture, int channels) {
    std::string file;
    stbi_write_png_to_func(Append, &file, picture.width, picture.height, channels,
                           FirstChannels(picture, channels).data(), 0);
    return file;
}

std::string EncodeBmp(const PlainPicture& picture, int channels) {
    std::string file;
    stbi_write_bmp_to_func(Append, &file, picture.width, picture.height, channels,
                           FirstChannels(picture, channels).data());
    return file;
}

std::string EncodeTga(const PlainPicture& picture, int channels) {
    std::string file;
    stbi_write_tga_to_func(Append, &file, picture.width, picture.height, channels,
                           FirstChannels(picture, channels).data());
    return file;
}

std::string EncodeJpeg(const PlainPicture& picture, int quality, int channels) {
    std::string file;
    stbi_write_jpg_to_func(Append, &file, picture.width, picture.height, channels,
                           FirstChannels(picture, channels).data(), quality);
    return file;
}

}  // namespace vistrel::test

// SPDX-License-Identifier: GPL-3.0-or-later
// write_pictures FOLDER: a file of each kind, for picture_files_test.py.
#include <array>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include "base/new_file.h"
#include "render/pictures/depth_map.h"
#include "render/pictures/jpeg_encoding.h"
#include "render/pictures/png_encoding.h"
#include "render/pictures/stereo_jpeg.h"
#include "render/pictures/webp_encoding.h"
#include "tests/render/pictures/sample_pictures.h"

namespace vistrel {
namespace {

constexpr std::uint8_t kLeftBlue = 40;
constexpr std::uint8_t kRightBlue = 200;

GreyPicture GreyRamp() {
    GreyPicture picture{.width = 256, .height = 2, .values = {}};
    for (int i = 0; i < 512; ++i) picture.values.push_back(static_cast<std::uint16_t>(i * 128));
    return picture;
}

void Write(const std::filesystem::path& folder) {
    const auto write = [&folder](const char* name, const std::vector<std::byte>& bytes) {
        if (!WriteNewFile(folder / name, bytes)) throw std::runtime_error(name);
    };
    const Picture picture = test::Gradient(96, 50, kLeftBlue);
    const EyePictures eyes{picture, test::Gradient(96, 50, kRightBlue)};
    const Picture pixel = test::Gradient(1, 1, kLeftBlue);
    write("plain.png", EncodePng(picture));
    write("pixel.png", EncodePng(pixel));
    write("parallel.png", EncodePng(picture, {.stereo = PngStereo::LeftEyeLeft}));
    write("crossed.png", EncodePng(picture, {.stereo = PngStereo::RightEyeLeft}));
    write("odd.png",
          EncodePng(test::Gradient(90, 8, kLeftBlue), {.stereo = PngStereo::LeftEyeLeft}));
    write("text.png", EncodePng(picture, {.texts = {{"Comment", "one two"}, {"Title", "three"}}}));
    write("grey.png", EncodeGreyPng(GreyRamp(), std::array{PngText{"Comment", "grey"}}));
    write("depth.png", EncodeDepthMap(DepthMapOf(std::array{0.0F, 0.25F, 0.5F, 1.0F}, 2, 2)));
    write("plain.jpg", EncodeJpeg(picture));
    write("pixel.jpg", EncodeJpeg(pixel));
    write("rough.jpg", EncodeJpeg(picture, 10));
    write("plain.webp", EncodeWebp(picture, kUsualQuality));
    write("pixel.webp", EncodeWebp(pixel, kUsualQuality));
    write("pair.jps", EncodeJps(eyes));
    write("pair.mpo", EncodeMpo(eyes, 0.064F));
}

}  // namespace
}  // namespace vistrel

int main(int argc, char** argv) {
    try {
        if (argc != 2) throw std::runtime_error("usage: write_pictures FOLDER");
        vistrel::Write(argv[1]);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}

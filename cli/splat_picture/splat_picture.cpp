// SPDX-License-Identifier: GPL-3.0-or-later
// splat-picture: shows a scene without a browser, as a PNG file.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/command.h"
#include "cli/picture_size.h"
#include "cli/splat_picture/png_writer.h"
#include "cli/splat_picture/splat_ply_reader.h"
#include "cli/splat_picture/splat_raster.h"

namespace vistrel {
namespace {

constexpr int kLargestSide = 16384;

struct Arguments {
    std::string scene;
    std::string output;
    std::string sizeText;
    float shift = 0.0F;
    PictureSize size;  // 0 x 0: the photograph's own size
};

std::string CheckShift(const std::string& text) {
    char* end = nullptr;
    const float value = std::strtof(text.c_str(), &end);
    const bool fits = *end == '\0' && std::abs(value) <= 10.0F;  // nan is not <= anything
    return fits ? "" : "a shift is a number of -10 to 10";
}

std::vector<std::uint8_t> ToBytes(const SplatPicture& picture) {
    std::vector<std::uint8_t> bytes(picture.rgb.size());
    std::transform(picture.rgb.begin(), picture.rgb.end(), bytes.begin(), [](float value) {
        return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0F, 1.0F) * 255.0F));
    });
    return bytes;
}

float CoveredShare(const SplatPicture& picture) {
    double through = 0.0;
    for (const float value : picture.through) through += static_cast<double>(value);
    return static_cast<float>(1.0 - through / static_cast<double>(picture.through.size()));
}

void Draw(const Arguments& arguments) {
    const SplatFile file = ReadSplatPly(arguments.scene);
    if (arguments.size.width == 0 && std::max(file.width, file.height) > kLargestSide) {
        throw std::runtime_error("the photograph's own size is too large, give a --size");
    }
    PinholeCamera camera = CameraOfFile(file, arguments.size.width, arguments.size.height);
    const float distance = MedianDepth(file.vertices);
    ShiftSideways(camera, arguments.shift * distance, distance);
    const SplatPicture picture = DrawSplats(file.vertices, camera);
    WritePng(arguments.output, ToBytes(picture), picture.width, picture.height);
    std::printf("%zu Gaussians, %dx%d, covered %.4f\n", file.vertices.size(), picture.width,
                picture.height, static_cast<double>(CoveredShare(picture)));
}

void AddOptions(CLI::App& app, Arguments& arguments) {
    app.add_option("SCENE", arguments.scene, "the scene, a PLY file")->required();
    app.add_option("OUTPUT", arguments.output, "the picture, a PNG file")->required();
    app.add_option("--size", arguments.sizeText,
                   "WxH in pixels; the photograph's own size if not given")
        ->check([&arguments](const std::string& text) {
            return ParsePictureSize(text, 1, kLargestSide, arguments.size);
        });
    app.add_option(
           "--shift", arguments.shift,
           "moves the camera to the right by this share of the scene's median depth, looking "
           "at the scene's centre")
        ->check(CheckShift);
}

int Main(int argc, char** argv) {
    Arguments arguments;
    CLI::App app("Draws a scene made by Vistrel as the photograph's camera sees it.",
                 "splat-picture");
    AddOptions(app, arguments);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? EXIT_SUCCESS : kWrongUsage;
    }
    try {
        Draw(arguments);
        return EXIT_SUCCESS;
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(arguments.scene + ": " + error.what());
    }
}

}  // namespace
}  // namespace vistrel

int main(int argc, char** argv) {
    return vistrel::RunCommand([&] { return vistrel::Main(argc, argv); });
}

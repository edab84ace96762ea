// SPDX-License-Identifier: GPL-3.0-or-later
// draw_scene SCENE WIDTH HEIGHT OFFSET DISTANCE PICTURE: what the photograph's camera sees, from
// OFFSET further right and turned towards the point DISTANCE before it, as a PPM file. Prints the
// share of the picture that Gaussians cover.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <span>

#include "formats/scene_formats.h"
#include "render/picture.h"
#include "render/scene_packing.h"
#include "render/splat_renderer.h"
#include "tests/support/splat_scenes.h"

namespace vistrel {
namespace {

void Write(const Picture& picture, const char* path) {
    std::ofstream file(path, std::ios::binary);
    file << "P6 " << picture.width << ' ' << picture.height << " 255\n";
    for (std::size_t i = 0; i < picture.pixels.size(); i += 4) {
        file.write(reinterpret_cast<const char*>(&picture.pixels[i]), 3);
    }
}

double CoveredShare(const Picture& picture) {
    double sum = 0.0;
    for (std::size_t i = 3; i < picture.pixels.size(); i += 4) sum += picture.pixels[i];
    return sum / (255.0 * static_cast<double>(picture.pixels.size() / 4));
}

void Draw(std::span<char* const> arguments) {
    PackingSink sink;
    ReadSceneFile(arguments[0], sink);
    const SceneFile& file = sink.file;
    PinholeCamera camera =
        FitCamera(file.camera.value(), std::atoi(arguments[1]), std::atoi(arguments[2]));
    test::ShiftSideways(camera, std::strtof(arguments[3], nullptr),
                        std::strtof(arguments[4], nullptr));
    Picture picture(camera.width, camera.height);
    SplatRenderer().Draw(file.scene, camera, picture.Target());
    Write(picture, arguments[5]);
    std::printf("%.4f\n", CoveredShare(picture));
}

}  // namespace
}  // namespace vistrel

int main(int argc, char** argv) {
    if (argc != 7) return 2;
    try {
        vistrel::Draw({argv + 1, 6});
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return EXIT_FAILURE;
    }
}

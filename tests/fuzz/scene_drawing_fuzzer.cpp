// SPDX-License-Identifier: GPL-3.0-or-later
// Any bytes as a scene: what is read of them can be drawn, whatever its numbers are, and comes to
// the same picture on any number of threads.
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "formats/ply.h"
#include "render/pinhole_camera.h"
#include "render/scene_packing.h"
#include "render/splat_renderer.h"
#include "tests/fuzz/require.h"
#include "tests/fuzz/seeded_mutation.h"
#include "tests/support/splat_scene_bytes.h"

namespace vistrel {
namespace {

using fuzz::Require;

std::vector<std::uint8_t> Drawn(const GaussianScene& scene, const PinholeCamera& camera,
                                SplatRenderer& renderer) {
    const std::size_t rowBytes = 4 * static_cast<std::size_t>(camera.width);
    std::vector<std::uint8_t> pixels(rowBytes * static_cast<std::size_t>(camera.height));
    renderer.Draw(scene, camera, {pixels.data(), rowBytes});
    return pixels;
}

void RequirePictures(const SceneFile& file) {
    static SplatRenderer one(1);
    static SplatRenderer two(2);
    constexpr int kWidth = 70;
    constexpr int kHeight = 40;
    PinholeCamera camera =
        FitCamera(file.camera.value_or(PhotographCamera{70, 70, 35, 20, 70, 40}), kWidth, kHeight);
    Require(Drawn(file.scene, camera, one) == Drawn(file.scene, camera, two));
    camera = EyeOf(camera, 0.25F, 2.0F);
    Require(Drawn(file.scene, camera, one) == Drawn(file.scene, camera, two));
}

void RunOne(std::string_view bytes) {
    const InputFile file(std::as_bytes(std::span(bytes)));
    PackingSink sink;
    try {
        if (!ReadPly({.file = file, .ending = ".ply", .threads = 1}, sink)) return;
    } catch (const std::runtime_error&) {
        return;
    }
    RequirePictures(sink.file);
}

// With harmonics of `degree`, which the scenes of the engine do not have.
std::string SeedOfDegree(int degree) {
    std::string bytes = "ply\nformat binary_little_endian 1.0\nelement vertex 2\n";
    for (const char* const name :
         {"x", "y", "z", "nx", "f_dc_0", "f_dc_1", "f_dc_2", "opacity", "scale_0", "scale_1",
          "scale_2", "rot_0", "rot_1", "rot_2", "rot_3"}) {
        bytes += "property float " + std::string(name) + "\n";
    }
    const std::size_t rest = RawValues(degree) - kRawValues;
    for (std::size_t i = 0; i < rest; ++i) {
        bytes += "property float f_rest_" + std::to_string(i) + "\n";
    }
    bytes += "end_header\n";
    for (int vertex = 1; vertex <= 2; ++vertex) {
        std::vector<float> values(kRawValues + 1 + rest, 0.1F * static_cast<float>(vertex));
        values[2] = 2.0F;
        bytes.append(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(float));
    }
    return bytes;
}

const std::vector<std::string>& Seeds() {
    static const std::vector<std::string> seeds = {
        test::SceneBytes({.vertices = {test::WhiteVertex({0, 0, 1}, 0.1F, 0.5F)}}),
        test::SceneBytes({.vertices = {test::WhiteVertex({-1, 0.5F, 3}, 0.5F, 0.99F),
                                       test::WhiteVertex({0, 0, 1}, 0.01F, 0.2F),
                                       test::WhiteVertex({0, 0, -1}, 0.1F, 0.5F)}}),
        SeedOfDegree(1), SeedOfDegree(3)};
    return seeds;
}

}  // namespace
}  // namespace vistrel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    vistrel::RunOne({reinterpret_cast<const char*>(bytes), size});
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned int seed) {
    return vistrel::fuzz::MutateSeeded(vistrel::Seeds(), data, size, most, seed);
}

// SPDX-License-Identifier: GPL-3.0-or-later
// Any bytes as a scene that the engine would have written: it is refused with a message, or it is
// as long as it says, has a usable camera and can be drawn.
#include "cli/splat_picture/splat_ply_reader.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "cli/splat_picture/splat_raster.h"
#include "tests/fuzz/memory_file.h"
#include "tests/fuzz/require.h"
#include "tests/fuzz/seeded_mutation.h"
#include "tests/support/splat_scene_bytes.h"

namespace vistrel {
namespace {

using fuzz::Require;

void RequirePicture(const SplatFile& file) {
    constexpr int kWidth = 16;
    constexpr int kHeight = 12;
    PinholeCamera camera = CameraOfFile(file, kWidth, kHeight);
    const float distance = MedianDepth(file.vertices);
    Require(distance > 0.0F);
    ShiftSideways(camera, 0.25F * distance, distance);
    const SplatPicture picture = DrawSplats(file.vertices, camera);
    Require(picture.rgb.size() == std::size_t{3} * kWidth * kHeight);
    Require(std::ranges::all_of(picture.rgb, [](float value) { return value >= 0.0F; }));
    Require(std::ranges::all_of(picture.through,
                                [](float value) { return value >= 0.0F && value <= 1.0F; }));
}

// With the header of `bytes`.
std::size_t FileSize(std::string_view bytes, std::size_t count) {
    constexpr std::string_view kHeaderEnd = "end_header\n";
    constexpr std::size_t kCameraBytes = 128;
    return bytes.find(kHeaderEnd) + kHeaderEnd.size() + count * sizeof(SplatVertex) + kCameraBytes;
}

void RunOne(std::string_view bytes) {
    const fuzz::MemoryFile memory(bytes);
    try {
        const SplatFile file = ReadSplatPly(memory.Path());
        Require(bytes.size() == FileSize(bytes, file.vertices.size()));
        RequirePicture(file);
    } catch (const std::runtime_error& error) {
        Require(*error.what() != '\0');
    }
}

const std::vector<std::string>& Seeds() {
    static const std::vector<std::string> seeds = [] {
        const SplatVertex near = test::WhiteVertex({0, 0, 1}, 0.1F, 0.5F);
        const SplatVertex far = test::WhiteVertex({-1, 0.5F, 3}, 0.5F, 0.99F);
        const SplatVertex behind = test::WhiteVertex({0, 0, -1}, 0.1F, 0.5F);
        return std::vector<std::string>{test::SceneBytes({.vertices = {near}}),
                                        test::SceneBytes({.vertices = {far, near, behind}}),
                                        test::SceneBytes({})};
    }();
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

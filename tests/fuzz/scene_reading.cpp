// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/fuzz/scene_reading.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <stdexcept>
#include <vector>

#include "formats/compressed_ply.h"
#include "formats/gltf.h"
#include "formats/ply.h"
#include "formats/splat.h"
#include "formats/spz.h"
#include "formats/thinning.h"
#include "tests/fuzz/require.h"

namespace vistrel::fuzz {
namespace {

// A writer, and the reader of what it writes.
struct RoundTrip {
    SceneWriter write;
    SceneReader read;
    std::string_view ending;
    int mostDegree = kMostHarmonicsDegree;
    int spzVersion = 4;
};

// Writers that take long are left to the targets of their formats.
const std::vector<RoundTrip>& RoundTrips() {
    static const std::vector<RoundTrip> trips = {
        // One line each.
        {WriteCompressedPly, ReadCompressedPly, ".ply"},
        {WriteGlb, ReadGltf, ".glb"},
        {WritePly, ReadPly, ".ply"},
        {WriteSplat, ReadSplat, ".splat", 0},
        {WriteSpz, ReadSpz, ".spz", kMostHarmonicsDegree, 3},
        {WriteSpz, ReadSpz, ".spz", kMostHarmonicsDegree, 4},
    };
    return trips;
}

void RequireSentence(std::string_view text) {
    Require(!text.empty() && !text.ends_with('.'));
    Require(std::ranges::all_of(text, [](char c) { return c >= ' ' && c <= '~'; }));
}

bool IsLength(float value) {
    return std::isfinite(value) && value > 0.0F;
}

void RequireUsable(const PhotographCamera& camera) {
    Require(IsLength(camera.focalX) && IsLength(camera.focalY));
    Require(std::isfinite(camera.centreX) && std::isfinite(camera.centreY));
    Require(camera.width > 0 && camera.height > 0);
}

// Keeps a scene and sees that it comes whole, as sinks are promised.
class StrictSink : public SceneSink {
  public:
    explicit StrictSink(std::size_t mostGaussians) : most_(mostGaussians) {}

    void Begin(const SceneFacts& facts) override {
        Require(!begun);
        begun = true;
        Require(facts.count <= std::min(most_, kMostGaussians));
        Require(facts.degree >= 0 && facts.degree <= kMostHarmonicsDegree);
        if (facts.camera) RequireUsable(*facts.camera);
        kept.Begin(facts);
        taken_.assign(facts.count, false);
    }

    void Take(std::size_t first, std::size_t count, const RawRows& rows) override {
        Require(begun && first % 32 == 0 && count > 0);
        Require(first <= taken_.size() && count <= taken_.size() - first);
        for (std::size_t i = first; i < first + count; ++i) {
            Require(!taken_[i]);
            taken_[i] = true;
        }
        // The room behind the last one is there to be read.
        const std::size_t room = (count + 31) / 32 * 32;
        Require(rows.stride >= room);
        for (std::size_t row = 0; row < RawValues(kept.scene.Degree()); ++row) {
            const volatile float* const values = rows.values + row * rows.stride;
            static_cast<void>(values[room - 1]);
        }
        kept.Take(first, count, rows);
    }

    void RequireWhole() const {
        Require(begun && std::ranges::all_of(taken_, [](bool taken) { return taken; }));
    }

    bool begun = false;
    RawSceneSink kept;

  private:
    std::size_t most_;
    std::vector<bool> taken_;  // by place; threads of these targets: one
};

void RequireWritableAs(const RoundTrip& format, const RawScene& scene) {
    std::string file;
    try {
        file = Written(format.write, scene, {.spzVersion = format.spzVersion, .threads = 1});
    } catch (const std::runtime_error& error) {
        RequireSentence(error.what());
        return;
    }
    const InputFile input(std::as_bytes(std::span(file)));
    StrictSink sink(scene.Count());
    Require(format.read(
        {.file = input, .ending = std::string(format.ending), .folder = {}, .threads = 1}, sink));
    sink.RequireWhole();
    Require(sink.kept.scene.Count() == scene.Count());
    Require(sink.kept.scene.Degree() == std::min(scene.Degree(), format.mostDegree));
}

}  // namespace

std::optional<RawScene> ReadAnyScene(const SceneTarget& target, std::string_view bytes) {
    const InputFile file(std::as_bytes(std::span(bytes)));
    StrictSink sink(
        static_cast<std::size_t>(static_cast<double>(bytes.size()) * target.gaussiansPerByte));
    const SceneInput input = {.file = file,
                              .ending = target.ending,
                              .folder = {},
                              .spzFrame = target.spzFrame,
                              .threads = 1};
    try {
        if (!target.read(input, sink)) {
            Require(!sink.begun);
            return {};
        }
    } catch (const std::runtime_error& error) {
        RequireSentence(error.what());
        return {};
    }
    sink.RequireWhole();
    return std::move(sink.kept.scene);
}

void RequireWritable(RawScene scene) {
    LeaveOutUnwritable(scene);
    if (scene.Count() == 0) return;
    for (const RoundTrip& format : RoundTrips()) RequireWritableAs(format, scene);
}

void RunSceneTarget(const SceneTarget& target, std::string_view bytes) {
    if (std::optional<RawScene> scene = ReadAnyScene(target, bytes)) {
        RequireWritable(std::move(*scene));
    }
}

RawScene SeedScene(std::size_t count, int degree) {
    RawScene scene({count, degree, PhotographCamera{400, 410, 200, 150, 400, 300}});
    for (std::size_t row = 0; row < RawValues(degree); ++row) {
        for (std::size_t i = 0; i < count; ++i) {
            const float share = static_cast<float>(i * 7 % count) / static_cast<float>(count);
            scene.Row(row)[i] = 0.02F * static_cast<float>(row + 1) - 0.5F * share;
        }
    }
    // Before the camera, and thin.
    std::for_each_n(scene.Row(kPositionRow + 2), count, [](float& z) { z += 3.0F; });
    for (std::size_t row = kScaleRow; row < kScaleRow + 3; ++row) {
        std::for_each_n(scene.Row(row), count, [](float& scale) { scale -= 4.0F; });
    }
    return scene;
}

std::string Written(SceneWriter write, const RawScene& scene, const SceneWriteOptions& options) {
    MemorySink sink;
    write(scene, options, sink);
    return std::move(sink.content);
}

}  // namespace vistrel::fuzz

// SPDX-License-Identifier: GPL-3.0-or-later
// The renderer against the plain one, on the same scene in turns, and reading a scene against
// reading its bytes. The ratios are medians. Those of processor time hold on a busy machine, too;
// `elapsed_two_of_plain` needs two cores of its own.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "benchmarks/interleaved.h"
#include "benchmarks/raw_write.h"
#include "formats/scene_formats.h"
#include "render/picture.h"
#include "render/scene_packing.h"
#include "render/splat_renderer.h"
#include "tests/support/plain_splat_drawing.h"
#include "tests/support/splat_scene_bytes.h"
#include "tests/support/splat_scenes.h"
#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

constexpr int kSide = 768;  // two layers of 768 x 768: 1,179,648 Gaussians
constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr double kMebibyte = 1024.0 * 1024.0;

using MakeGaussians = std::vector<RawGaussian> (*)(int side);

void Drawing(benchmark::State& state, MakeGaussians make) {
    const std::vector<RawGaussian> gaussians = make(kSide);
    const GaussianScene scene = test::PackedScene(gaussians);
    const PinholeCamera camera = test::SceneCamera(kWidth, kHeight);
    const PinholeCamera left = EyeOf(camera, -0.03F, 3.0F);
    const PinholeCamera right = EyeOf(camera, 0.03F, 3.0F);
    Picture picture(kWidth, kHeight);
    Picture other(kWidth, kHeight);
    SplatRenderer one(1);
    SplatRenderer two(2);
    SplatRenderer pair(1);
    one.Draw(scene, camera, picture.Target());
    two.Draw(scene, camera, picture.Target());
    const auto drawPair = [&] {
        pair.DrawPair(scene, left, picture.Target(), right, other.Target());
    };
    drawPair();

    Rounds oneOfPlain;
    Rounds twoOfPlain;
    Rounds twoOfOne;
    Rounds pairOfOne;
    for (auto _ : state) {
        double plain = 0.0;
        double both = 0.0;
        const double elapsedPlain = ElapsedSeconds([&] {
            plain =
                Seconds([&] { benchmark::DoNotOptimize(test::DrawPlainly(gaussians, camera)); });
        });
        const double fast = Seconds([&] { one.Draw(scene, camera, picture.Target()); });
        const double elapsedTwo = ElapsedSeconds([&] {
            both = SecondsOfAllThreads([&] { two.Draw(scene, camera, picture.Target()); });
        });
        state.SetIterationTime(fast);
        oneOfPlain.Add(fast / plain);
        twoOfPlain.Add(elapsedTwo / elapsedPlain);
        twoOfOne.Add(both / fast);
        pairOfOne.Add(Seconds(drawPair) / fast);
    }
    state.counters["of_plain"] = oneOfPlain.Median();
    state.counters["elapsed_two_of_plain"] = twoOfPlain.Median();
    state.counters["two_of_one"] = twoOfOne.Median();
    state.counters["pair_of_one"] = pairOfOne.Median();
}

void Memory(benchmark::State& state) {
    const GaussianScene scene = test::PackedScene(test::ReliefGaussians(kSide));
    const PinholeCamera camera = test::SceneCamera(3840, 2160);
    Picture picture(camera.width, camera.height);
    SplatRenderer renderer(1);
    for (auto _ : state) {
        state.SetIterationTime(Seconds([&] { renderer.Draw(scene, camera, picture.Target()); }));
    }
    state.counters["scene_MiB"] = static_cast<double>(scene.Bytes()) / kMebibyte;
    state.counters["beside_scene_MiB"] = static_cast<double>(renderer.Bytes()) / kMebibyte;
}

// As many bytes of the file as `bytes` has.
void ReadRaw(const std::string& path, std::span<char> bytes) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t got = read(file, bytes.data() + done, bytes.size() - done);
        if (got <= 0) throw std::runtime_error("cannot read " + path);
        done += static_cast<std::size_t>(got);
    }
    close(file);
}

void SceneReading(benchmark::State& state) {
    const test::TemporaryFolder folder("/dev/shm");
    const std::string path = folder / "scene.ply";
    const std::string bytes = test::SceneBytes({.vertices = test::ReliefGaussians(kSide)});
    WriteRaw(path, bytes);
    std::vector<char> used(bytes.size());
    Rounds toNewMemory;
    Rounds toUsedMemory;
    for (auto _ : state) {
        PackingSink sink;
        const double scene = Seconds([&] { ReadSceneFile(path, sink, SpzFrame::AsPly, 1); });
        const double again = Seconds([&] { ReadRaw(path, used); });
        const double fresh = Seconds([&] {
            const auto memory = std::make_unique_for_overwrite<char[]>(bytes.size());
            ReadRaw(path, {memory.get(), bytes.size()});
        });
        state.SetIterationTime(scene);
        toNewMemory.Add(scene / fresh);
        toUsedMemory.Add(scene / again);
    }
    state.counters["of_reading"] = toNewMemory.Median();
    state.counters["of_reading_to_used_memory"] = toUsedMemory.Median();
}

BENCHMARK_CAPTURE(Drawing, relief, test::ReliefGaussians)
    ->UseManualTime()
    ->Iterations(9)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Drawing, overlapping, test::OverlappingGaussians)
    ->UseManualTime()
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(Memory)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);
BENCHMARK(SceneReading)->UseManualTime()->Iterations(15)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vistrel

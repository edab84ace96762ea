// SPDX-License-Identifier: GPL-3.0-or-later
// Writing a splat PLY of the network's size, against the plain writer and against the bare system
// call. Every iteration runs all sides after each other and the medians of the ratios are reported,
// so that a change of the machine's speed meets all of them. Output goes to memory (/dev/shm). What
// counts is the time until a side is done; "work" is the processors' time, of which the writer
// takes more, on two threads. An idle machine tells best.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "base/text_encoding.h"
#include "benchmarks/interleaved.h"
#include "benchmarks/raw_write.h"
#include "engine/decimation.h"
#include "engine/disparity_range.h"
#include "engine/splat_ply.h"
#include "tests/support/plain_splat_ply.h"
#include "tests/support/synthetic_gaussians.h"
#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

constexpr std::int32_t kCount = 1'179'648;
constexpr float kFocalPx = 3500.0F;
constexpr std::uint32_t kWidth = 6000;
constexpr std::uint32_t kHeight = 4000;

const GaussianSet& Scene() {
    static const GaussianSet scene = test::SyntheticGaussians(kCount);
    return scene;
}

void SplatPlyWriting(benchmark::State& state, float keepRatio) {
    const GaussianSet& scene = Scene();
    const test::TemporaryFolder folder("/dev/shm");
    const std::string path = folder / "scene.ply";
    const std::wstring widePath = FromPath(path);
    WriteSplatPly(scene, widePath, kFocalPx, kWidth, kHeight, keepRatio);
    const std::string bytes = test::ReadFile(path);
    Rounds toPlain;
    Rounds toRaw;
    Rounds workToRaw;
    for (auto _ : state) {
        const double plain = ElapsedSeconds([&] {
            test::WritePlainSplatPly(scene, widePath, kFocalPx, kWidth, kHeight, keepRatio);
        });
        double fast = 0.0;
        const double fastWork = SecondsOfAllThreads([&] {
            fast = ElapsedSeconds(
                [&] { WriteSplatPly(scene, widePath, kFocalPx, kWidth, kHeight, keepRatio); });
        });
        const double raw = ElapsedSeconds([&] { WriteRaw(path, bytes); });
        workToRaw.Add(fastWork / raw);
        state.SetIterationTime(fast);
        toPlain.Add(fast / plain);
        toRaw.Add(fast / raw);
    }
    state.counters["of_plain"] = toPlain.Median();
    state.counters["of_raw_write"] = toRaw.Median();
    state.counters["work_of_raw_write"] = workToRaw.Median();
}

void DisparityRangeFinding(benchmark::State& state) {
    const AttributeValues& means = Scene().means.data;
    Rounds toSort;
    for (auto _ : state) {
        const double sorting = Seconds([&] {
            std::vector<float> depths;
            for (std::size_t i = 2; i < means.size(); i += 3) {
                if (means[i] > 1e-6F) depths.push_back(means[i]);
            }
            benchmark::DoNotOptimize(test::PlainDisparityRange(std::move(depths)));
        });
        const double counting = Seconds([&] {
            DisparityPercentiles percentiles;
            percentiles.Count(means);
            percentiles.EndFirstLook();
            percentiles.CountAgain(means);
            benchmark::DoNotOptimize(percentiles.Range());
        });
        state.SetIterationTime(counting);
        toSort.Add(counting / sorting);
    }
    state.counters["of_sorting"] = toSort.Median();
}

void Decimation(benchmark::State& state) {
    const GaussianSet& scene = Scene();
    Rounds toPlain;
    for (auto _ : state) {
        const double plain =
            Seconds([&] { benchmark::DoNotOptimize(test::PlainKeptIndices(scene, 0.5F)); });
        const double fast = Seconds(
            [&] { benchmark::DoNotOptimize(MostImportant(scene, DecimatedCount(kCount, 0.5F))); });
        state.SetIterationTime(fast);
        toPlain.Add(fast / plain);
    }
    state.counters["of_plain"] = toPlain.Median();
}

BENCHMARK_CAPTURE(SplatPlyWriting, whole, 1.0F)
    ->UseManualTime()
    ->Iterations(15)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(SplatPlyWriting, half, 0.5F)
    ->UseManualTime()
    ->Iterations(7)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(DisparityRangeFinding)->UseManualTime()->Iterations(15)->Unit(benchmark::kMillisecond);
BENCHMARK(Decimation)->UseManualTime()->Iterations(7)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vistrel

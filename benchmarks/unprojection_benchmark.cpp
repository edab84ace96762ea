// SPDX-License-Identifier: GPL-3.0-or-later
// The unprojection against the plain way, and against copying the arrays, on the same Gaussians in
// turns. The ratios are medians; all times are the thread's own processor time, so that other
// programs on the machine disturb them little.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "benchmarks/interleaved.h"
#include "engine/unprojection_kernel.h"
#include "tests/support/plain_unprojection.h"
#include "tests/support/sample_gaussians.h"
#include "tests/support/simd_targets.h"

namespace vistrel {
namespace {

using test::GaussianShape;

constexpr int kCount = 1179648;  // what the network puts out: two layers of 768 x 768
constexpr int kWidth = 6000;     // 24 megapixels
constexpr int kHeight = 4000;
constexpr int kSide = 1536;

// Overwrites, so that no time goes into getting memory.
void CopyGeometry(const GaussianSet& from, GaussianSet& to) {
    to.means.data = from.means.data;
    to.scales.data = from.scales.data;
    to.quaternions.data = from.quaternions.data;
}

void Unprojection(benchmark::State& state, const std::vector<GaussianShape>& shapes,
                  std::int64_t target) {
    const test::ForcedSimdTarget forced(target);
    const GaussianSet input = test::MakeMixedGaussians(shapes, kCount, 1);
    GaussianSet work = input;
    const CameraStretch stretch = {0.5, 0.5 * kHeight / kWidth};

    Rounds ofPlain;
    Rounds copyOfPlain;
    Rounds fastTimes;
    for (auto _ : state) {
        const double copy = Seconds([&] { CopyGeometry(input, work); });
        const double fast = Seconds([&] {
            StretchMeans(stretch, work.means.data.data(), kCount);
            StretchEllipsoids(stretch, work.scales.data.data(), work.quaternions.data.data(),
                              kCount);
        });
        CopyGeometry(input, work);
        const double plain =
            Seconds([&] { test::PlainUnproject(work, kWidth, kWidth, kHeight, kSide); });
        state.SetIterationTime(fast);
        ofPlain.Add(fast / plain);
        copyOfPlain.Add(copy / plain);
        fastTimes.Add(fast);
    }
    state.counters["fast/plain"] = ofPlain.Median();
    state.counters["memcpy/plain"] = copyOfPlain.Median();
    state.counters["ns/Gaussian"] = fastTimes.Median() / kCount * 1e9;
}

const bool kRegistered = [] {
    const std::array<std::pair<const char*, std::vector<GaussianShape>>, 5> mixes = {{
        {"mixed",
         {GaussianShape::Anisotropic, GaussianShape::Anisotropic, GaussianShape::Anisotropic,
          GaussianShape::Isotropic, GaussianShape::Flat, GaussianShape::Needle}},
        {"anisotropic", {GaussianShape::Anisotropic}},
        {"isotropic", {GaussianShape::Isotropic}},
        {"flat", {GaussianShape::Flat}},
        {"needle", {GaussianShape::Needle}},
    }};
    for (const auto& [name, shapes] : mixes) {
        for (const std::int64_t target : test::SimdTargets()) {
            const std::string title =
                std::string("Unprojection/") + name + "/" + test::SimdTargetName(target);
            benchmark::RegisterBenchmark(title.c_str(),
                                         [mix = shapes, target](benchmark::State& state) {
                                             Unprojection(state, mix, target);
                                         })
                ->UseManualTime()
                ->Iterations(7)
                ->Unit(benchmark::kMillisecond);
        }
    }
    return true;
}();

}  // namespace
}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
// What follows the network in a conversion, as a whole: parsing, unprojection, writing. Against the
// plain versions of the three and against the bare system call that writes the same bytes. Output
// goes to memory (/dev/shm). What counts is the time until a side is done; "work" is the
// processors' time on all threads. An idle machine tells best.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "base/text_encoding.h"
#include "benchmarks/interleaved.h"
#include "benchmarks/raw_write.h"
#include "engine/conversion_engine.h"
#include "engine/image_loading.h"
#include "engine/model_output.h"
#include "engine/splat_ply.h"
#include "engine/unprojection.h"
#include "tests/support/plain_model_output.h"
#include "tests/support/plain_splat_ply.h"
#include "tests/support/plain_unprojection.h"
#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

constexpr std::int64_t kCount = 2 * 768 * 768;
constexpr float kFocalPx = 6000.0F;
constexpr int kWidth = 6000;
constexpr int kHeight = 4000;

// Rows such as a network gives: anisotropic Gaussians in front of the camera.
std::vector<float> NetworkRows() {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> unit(0.0F, 1.0F);
    std::uniform_real_distribution<float> signedUnit(-1.0F, 1.0F);
    std::lognormal_distribution<float> depth(1.5F, 1.0F);
    std::lognormal_distribution<float> size(-6.0F, 1.0F);
    std::vector<float> rows;
    rows.reserve(static_cast<std::size_t>(kCount) * 14);
    for (std::int64_t i = 0; i < kCount; ++i) {
        const float z = depth(random);
        rows.insert(rows.end(), {signedUnit(random) * z, signedUnit(random) * z, z});
        for (int k = 0; k < 3; ++k) rows.push_back(size(random));
        for (int k = 0; k < 4; ++k) rows.push_back(signedUnit(random));
        for (int k = 0; k < 4; ++k) rows.push_back(unit(random));
    }
    return rows;
}

void StagesAfterTheNetwork(benchmark::State& state) {
    const ConversionEngine engine;  // large buffers go back to the system at once, as they do there
    const std::vector<float> rows = NetworkRows();
    const ModelOutput output{true, {1, kCount, 14}, rows};
    const test::TemporaryFolder folder("/dev/shm");
    const std::string path = folder / "scene.ply";
    const std::wstring widePath = FromPath(path);
    const auto fast = [&] {
        GaussianSet gaussians = ParseModelOutputs({&output, 1});
        UnprojectGaussians(gaussians, kFocalPx, kWidth, kHeight, kNetworkSide);
        WriteSplatPly(gaussians, widePath, kFocalPx, kWidth, kHeight, 1.0F);
    };
    const auto plain = [&] {
        GaussianSet gaussians = test::PlainParseModelOutputs({&output, 1});
        test::PlainUnproject(gaussians, kFocalPx, kWidth, kHeight, kNetworkSide);
        test::WritePlainSplatPly(gaussians, widePath, kFocalPx, kWidth, kHeight, 1.0F);
    };
    fast();
    const std::string bytes = test::ReadFile(path);

    Rounds ofPlain;
    Rounds ofRawWrite;
    Rounds workOfRawWrite;
    for ([[maybe_unused]] const auto unused : state) {
        const double plainSeconds = ElapsedSeconds(plain);
        double fastSeconds = 0.0;
        const double fastWork = SecondsOfAllThreads([&] { fastSeconds = ElapsedSeconds(fast); });
        const double rawSeconds = ElapsedSeconds([&] { WriteRaw(path, bytes); });
        state.SetIterationTime(fastSeconds);
        ofPlain.Add(fastSeconds / plainSeconds);
        ofRawWrite.Add(fastSeconds / rawSeconds);
        workOfRawWrite.Add(fastWork / rawSeconds);
    }
    state.counters["of_plain"] = ofPlain.Median();
    state.counters["of_raw_write"] = ofRawWrite.Median();
    state.counters["work_of_raw_write"] = workOfRawWrite.Median();
}
BENCHMARK(StagesAfterTheNetwork)->Iterations(11)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
// The image stage on a 24-megapixel JPEG, against decoding alone and against doing every step on
// the whole picture. Both sides run by turns; what is reported are medians of the ratios of the
// time until they are done. The stage has two threads once the picture is decoded, so that an idle
// machine tells best.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "base/text_encoding.h"
#include "benchmarks/interleaved.h"
#include "engine/image_decoding.h"
#include "engine/image_loading.h"
#include "engine/image_resampler.h"
#include "engine/upright_rows.h"
#include "tests/support/plain_image_stage.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/test_pictures.h"

namespace vistrel {
namespace {

constexpr int kWidth = 6000;
constexpr int kHeight = 4000;
constexpr int kQuality = 90;  // colours at half the resolution, as cameras store them

const std::filesystem::path& Photograph() {
    static const test::TemporaryFolder folder("/dev/shm");
    static const std::filesystem::path path = folder.Write(
        "photograph.jpg", test::EncodeJpeg(test::PhotoLikePicture(kWidth, kHeight), kQuality));
    return path;
}

Picture Decode() {
    std::FILE* const file = std::fopen(Photograph().c_str(), "rb");
    Picture picture = DecodePicture(file);
    std::fclose(file);
    return picture;
}

void ImageStage(benchmark::State& state) {
    const auto orientation = static_cast<int>(state.range(0));
    const std::wstring path = FromPath(Photograph());
    Rounds toDecoding;
    for ([[maybe_unused]] const auto unused : state) {
        const double decoding = ElapsedSeconds([] { benchmark::DoNotOptimize(Decode()); });
        const double stage =
            ElapsedSeconds([&] { benchmark::DoNotOptimize(LoadAndPreprocess(path, orientation)); });
        toDecoding.Add(stage / decoding);
        state.SetIterationTime(stage);
    }
    state.counters["stage/decoding"] = toDecoding.Median();
}
BENCHMARK(ImageStage)
    ->DenseRange(1, 8)
    ->Iterations(15)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

void ImageStageAgainstPlain(benchmark::State& state) {
    const auto orientation = static_cast<int>(state.range(0));
    const std::wstring path = FromPath(Photograph());
    Rounds toPlain;
    for ([[maybe_unused]] const auto unused : state) {
        const double plain = ElapsedSeconds([&] {
            benchmark::DoNotOptimize(test::PlainLoadAndPreprocess(Photograph(), orientation));
        });
        const double stage =
            ElapsedSeconds([&] { benchmark::DoNotOptimize(LoadAndPreprocess(path, orientation)); });
        toPlain.Add(stage / plain);
        state.SetIterationTime(stage);
    }
    state.counters["stage/plain"] = toPlain.Median();
}
BENCHMARK(ImageStageAgainstPlain)
    ->Arg(1)
    ->Arg(6)
    ->Iterations(7)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

const std::uint8_t* ReadRow(void* rows, int y) noexcept {
    return static_cast<UprightRows*>(rows)->Row(y);
}

void DropRow(void* /*context*/, int /*y*/, const std::uint8_t* pixels) noexcept {
    benchmark::DoNotOptimize(pixels);
}

// The resampler alone, upright and turned, on either instruction set, as a share of the decoding.
void Resampling(benchmark::State& state, Resampler* resample) {
    const auto orientation = static_cast<int>(state.range(0));
    const Picture picture = Decode();
    Rounds toDecoding;
    for ([[maybe_unused]] const auto unused : state) {
        const double decoding = ElapsedSeconds([] { benchmark::DoNotOptimize(Decode()); });
        const double resampling = ElapsedSeconds([&] {
            UprightRows rows(picture, orientation);
            benchmark::DoNotOptimize(
                resample({ReadRow, &rows, rows.Width(), rows.Height(), picture.opaque},
                         kNetworkSide, {DropRow, nullptr}, Share()));
        });
        toDecoding.Add(resampling / decoding);
        state.SetIterationTime(resampling);
    }
    state.counters["resampling/decoding"] = toDecoding.Median();
}

void ResamplingBaseline(benchmark::State& state) {
    Resampling(state, &ResampleBaseline);
}
BENCHMARK(ResamplingBaseline)
    ->Arg(1)
    ->Arg(6)
    ->Iterations(9)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

void ResamplingAvx2(benchmark::State& state) {
    if (__builtin_cpu_supports("avx2") == 0) {
        state.SkipWithError("this processor has no AVX2");
        return;
    }
    Resampling(state, &ResampleAvx2);
}
BENCHMARK(ResamplingAvx2)
    ->Arg(1)
    ->Arg(6)
    ->Iterations(9)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vistrel

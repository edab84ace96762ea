// SPDX-License-Identifier: GPL-3.0-or-later
// A folder of photographs through the batch against the same photographs through the engine alone.
// Output goes to memory (/dev/shm).
#include <benchmark/benchmark.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "base/text_encoding.h"
#include "batch/batch_converter.h"
#include "benchmarks/interleaved.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/test_models.h"
#include "tests/support/test_pictures.h"

namespace vistrel {
namespace {

constexpr int kPictures = 5;

// The network runs on several threads, so this is time on the clock.
template <typename Work>
double WallSeconds(const Work& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Argument: width of the pictures; their height is two thirds of it.
void FolderOfPictures(benchmark::State& state) {
    const test::TemporaryFolder folder("/dev/shm");
    const std::filesystem::path input = folder / "in";
    const std::filesystem::path output = folder / "out";
    std::filesystem::create_directory(input);
    std::filesystem::create_directory(output);
    const auto width = static_cast<int>(state.range(0));
    const std::string picture = test::EncodeJpeg(test::PhotoLikePicture(width, width * 2 / 3), 90);
    std::vector<std::wstring> pictures;
    for (int i = 0; i < kPictures; ++i) {
        pictures.push_back(FromPath(folder.Write("in/" + std::to_string(i) + ".jpg", picture)));
    }
    const std::wstring model = FromPath(test::ModelFile("echo"));
    const auto engine = std::make_shared<ConversionEngine>();
    BatchConverter converter(engine);
    const auto batch = [&] { converter.Run(model, FromPath(input), FromPath(output), 0); };
    const auto single = [&] {
        for (const std::wstring& path : pictures) {
            engine->Run({model, path, FromPath(output / "single.ply")});
        }
    };
    batch();

    Rounds ofSingle;
    bool batchFirst = false;
    for ([[maybe_unused]] const auto unused : state) {
        batchFirst = !batchFirst;
        double batchSeconds = batchFirst ? WallSeconds(batch) : 0.0;
        const double singleSeconds = WallSeconds(single);
        if (!batchFirst) batchSeconds = WallSeconds(batch);
        state.SetIterationTime(batchSeconds);
        ofSingle.Add(batchSeconds / singleSeconds);
    }
    state.counters["of_single"] = ofSingle.Median();
}
BENCHMARK(FolderOfPictures)
    ->Arg(300)
    ->Arg(3000)
    ->Iterations(15)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vistrel

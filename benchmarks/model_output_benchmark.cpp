// SPDX-License-Identifier: GPL-3.0-or-later
// Taking the output of the real network's size apart: the program's way, the plain way, and a copy
// of the same bytes as the floor. All three run in turns, so that other work on the machine strikes
// them alike; the ratios are medians over the turns. Every array is fresh memory, as it is in the
// first conversion of a process.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstddef>
#include <span>
#include <vector>

#include "benchmarks/interleaved.h"
#include "engine/model_output.h"
#include "tests/support/plain_model_output.h"

namespace {

using vistrel::ModelOutput;
using vistrel::Rounds;

constexpr std::int64_t kGaussians = 1179648;
constexpr std::size_t kColumns = 14;

// Seconds that `work` takes; what it returns is freed afterwards.
template <typename Work>
double Timed(const Work& work) {
    decltype(work()) result;
    const double seconds = vistrel::ElapsedSeconds([&] { result = work(); });
    benchmark::DoNotOptimize(&result);
    return seconds;
}

// The allocator otherwise learns to keep what was freed, and later turns would find it ready.
void TakeFreshMemory() {
    mallopt(M_MMAP_THRESHOLD, 128 * 1024);
}

void CompareWays(benchmark::State& state, std::span<const ModelOutput> outputs,
                 const std::vector<float>& values) {
    TakeFreshMemory();
    Rounds seconds;
    Rounds toPlain;
    Rounds toCopy;
    for (auto _ : state) {
        const double own = Timed([&] { return vistrel::ParseModelOutputs(outputs); });
        const double plain = Timed([&] { return vistrel::test::PlainParseModelOutputs(outputs); });
        const double copy = Timed([&] { return std::vector<float>(values); });
        state.SetIterationTime(own);
        seconds.Add(own);
        toPlain.Add(own / plain);
        toCopy.Add(own / copy);
    }
    state.counters["median_ms"] = seconds.Median() * 1e3;
    state.counters["to_plain"] = toPlain.Median();
    state.counters["to_copy"] = toCopy.Median();
}

std::vector<float> Values() {
    std::vector<float> values(static_cast<std::size_t>(kGaussians) * kColumns);
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<float>(i);
    return values;
}

void SingleOutput(benchmark::State& state) {
    const std::vector<float> values = Values();
    const std::vector<ModelOutput> outputs = {{true, {1, kGaussians, kColumns}, values}};
    CompareWays(state, outputs, values);
}
BENCHMARK(SingleOutput)->UseManualTime()->Iterations(31)->Unit(benchmark::kMillisecond);

void FiveOutputs(benchmark::State& state) {
    const std::vector<float> values = Values();
    std::vector<ModelOutput> outputs;
    std::span<const float> rest = values;
    for (const std::int64_t components : {3, 3, 4, 3, 1}) {
        const auto size = static_cast<std::size_t>(kGaussians * components);
        outputs.push_back({true, {1, kGaussians, components}, rest.first(size)});
        rest = rest.subspan(size);
    }
    CompareWays(state, outputs, values);
}
BENCHMARK(FiveOutputs)->UseManualTime()->Iterations(31)->Unit(benchmark::kMillisecond);

}  // namespace

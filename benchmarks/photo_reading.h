// SPDX-License-Identifier: GPL-3.0-or-later
// Reading a photograph of 24 megapixels as the command line does, against nothing but the library's
// decoding.
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "benchmarks/interleaved.h"
#include "photos/colour_conversion.h"
#include "photos/photo_loader.h"
#include "tests/support/test_pictures.h"

namespace vistrel {

inline constexpr int kPhotoWidth = 6000;
inline constexpr int kPhotoHeight = 4000;

inline const test::PlainPicture& PhotoSource() {
    static const test::PlainPicture picture = test::PhotoLikePicture(kPhotoWidth, kPhotoHeight);
    return picture;
}

// Both sides by turns; `decode` is the library alone.
inline void ReadAgainstLibrary(benchmark::State& state, const std::string& file, PhotoLoader load,
                               void (*decode)(const std::string& file)) {
    Rounds toLibrary;
    for ([[maybe_unused]] const auto unused : state) {
        const double library = ElapsedSeconds([&] { decode(file); });
        const double reading = ElapsedSeconds([&] {
            std::optional<DecodedPhoto> photo = load(std::as_bytes(std::span(file)));
            benchmark::DoNotOptimize(ToSrgbPicture(std::move(*photo), true));
        });
        toLibrary.Add(reading / library);
        state.SetIterationTime(reading);
    }
    state.counters["reading/decoding"] = toLibrary.Median();
}

inline void PhotoReading(benchmark::internal::Benchmark* benchmark) {
    benchmark->Iterations(9)->UseManualTime()->Unit(benchmark::kMillisecond);
}

}  // namespace vistrel

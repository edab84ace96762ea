// SPDX-License-Identifier: GPL-3.0-or-later
// Photographs of 24 megapixels as the command line reads them, their colours converted, against
// nothing but the library's decoding. Both sides run by turns on an otherwise idle machine; what is
// reported is the median of the ratios. The conversion uses all cores, so that it is the time that
// passes which counts.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "benchmarks/interleaved.h"
#include "photos/colour_conversion.h"
#include "photos/stb_photo.h"
#include "tests/support/icc_profiles.h"
#include "tests/support/picture_formats.h"
#include "tests/support/plain_colours.h"
#include "tests/support/test_pictures.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#include <stb_image.h>
#pragma GCC diagnostic pop

namespace vistrel {
namespace {

using namespace std::string_literals;

constexpr int kWidth = 6000;
constexpr int kHeight = 4000;
constexpr int kQuality = 90;  // colours at half the resolution, as cameras store them

const std::string& Jpeg() {
    static const std::string jpeg =
        test::EncodeJpeg(test::PhotoLikePicture(kWidth, kHeight), kQuality);
    return jpeg;
}

const std::string& Png() {
    static const std::string png = test::EncodePng(test::PhotoLikePicture(kWidth, kHeight), 3);
    return png;
}

std::string JpegWith(const std::string& profile) {
    const std::size_t length = 2 + 14 + profile.size();
    return Jpeg().substr(0, 2) + "\xFF\xE2"s + static_cast<char>(length >> 8) +
           static_cast<char>(length & 0xFF) + "ICC_PROFILE\0\1\1"s + profile + Jpeg().substr(2);
}

std::string Srgb() {
    return test::IccOfDisplay(test::kPlainSrgb, test::IccSrgbCurve());
}

std::string DisplayP3() {
    return test::IccOfDisplay(test::kPlainP3, test::IccSrgbCurve());
}

std::string AdobeRgb() {
    return test::IccOfDisplay(test::kPlainAdobe, test::IccPower(563.0 / 256));
}

void DecodeByLibrary(const std::string& file) {
    int width = 0;
    int height = 0;
    int channels = 0;
    const std::unique_ptr<stbi_uc, FreeMemory> pixels(stbi_load_from_memory(
        reinterpret_cast<const stbi_uc*>(file.data()), static_cast<int>(file.size()), &width,
        &height, &channels, STBI_rgb_alpha));
    benchmark::DoNotOptimize(pixels.get());
}

void ReadPhoto(const std::string& file) {
    std::optional<DecodedPhoto> photo = LoadByStb(std::as_bytes(std::span(file)));
    benchmark::DoNotOptimize(ToSrgbPicture(std::move(*photo), true));
}

void AgainstLibrary(benchmark::State& state, const std::string& file) {
    Rounds toLibrary;
    for ([[maybe_unused]] const auto unused : state) {
        const double library = ElapsedSeconds([&] { DecodeByLibrary(file); });
        const double reading = ElapsedSeconds([&] { ReadPhoto(file); });
        toLibrary.Add(reading / library);
        state.SetIterationTime(reading);
    }
    state.counters["reading/decoding"] = toLibrary.Median();
}

void Jpegs(benchmark::State& state) {
    AgainstLibrary(state, Jpeg());
}
void JpegsInSrgb(benchmark::State& state) {
    AgainstLibrary(state, JpegWith(Srgb()));
}
void JpegsInDisplayP3(benchmark::State& state) {
    AgainstLibrary(state, JpegWith(DisplayP3()));
}
void JpegsInAdobeRgb(benchmark::State& state) {
    AgainstLibrary(state, JpegWith(AdobeRgb()));
}
void Pngs(benchmark::State& state) {
    AgainstLibrary(state, Png());
}
void PngsInDisplayP3(benchmark::State& state) {
    AgainstLibrary(state, test::WithPngChunk(Png(), "cICP", "\x0C\x0D\0\1"s));
}

void Common(benchmark::internal::Benchmark* benchmark) {
    benchmark->Iterations(15)->UseManualTime()->Unit(benchmark::kMillisecond);
}
BENCHMARK(Jpegs)->Apply(Common);
BENCHMARK(JpegsInSrgb)->Apply(Common);
BENCHMARK(JpegsInDisplayP3)->Apply(Common);
BENCHMARK(JpegsInAdobeRgb)->Apply(Common);
BENCHMARK(Pngs)->Apply(Common);
BENCHMARK(PngsInDisplayP3)->Apply(Common);

}  // namespace
}  // namespace vistrel

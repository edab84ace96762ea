// SPDX-License-Identifier: GPL-3.0-or-later
// Photographs of 24 megapixels in HEIC, AVIF and JPEG XL as the command line reads them, in Display
// P3 as phones write them, against nothing but the library's decoding. Both sides run by turns on
// an otherwise idle machine; what is reported is the median of the ratios of the time that passes.
#include <benchmark/benchmark.h>
#include <jxl/decode.h>
#include <jxl/encode.h>
#include <jxl/resizable_parallel_runner.h>
#include <libheif/heif.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "benchmarks/interleaved.h"
#include "photos/colour_conversion.h"
#include "photos/photo_loader.h"
#include "tests/support/test_pictures.h"

namespace vistrel {
namespace {

constexpr int kWidth = 6000;
constexpr int kHeight = 4000;

const test::PlainPicture& Source() {
    static const test::PlainPicture picture = test::PhotoLikePicture(kWidth, kHeight);
    return picture;
}

heif_error Append(heif_context* /*context*/, const void* data, std::size_t size, void* file) {
    static_cast<std::string*>(file)->append(static_cast<const char*>(data), size);
    return {heif_error_Ok, heif_suberror_Unspecified, ""};
}

heif_image* HeifSource() {
    heif_image* image = nullptr;
    heif_image_create(kWidth, kHeight, heif_colorspace_RGB, heif_chroma_interleaved_RGB, &image);
    heif_image_add_plane(image, heif_channel_interleaved, kWidth, kHeight, 8);
    int stride = 0;
    std::uint8_t* const rows = heif_image_get_plane(image, heif_channel_interleaved, &stride);
    for (std::size_t y = 0; y < kHeight; ++y) {
        std::uint8_t* to = rows + (y * static_cast<std::size_t>(stride));
        const std::uint8_t* from = Source().rgba.data() + (y * kWidth * kPixelBytes);
        for (std::size_t x = 0; x < kWidth; ++x, to += 3, from += kPixelBytes) {
            std::memcpy(to, from, 3);
        }
    }
    heif_color_profile_nclx* const colours = heif_nclx_color_profile_alloc();
    heif_nclx_color_profile_set_color_primaries(colours, 12);
    heif_nclx_color_profile_set_transfer_characteristics(colours, 13);
    heif_nclx_color_profile_set_matrix_coefficients(colours, 6);
    heif_image_set_nclx_color_profile(image, colours);
    heif_nclx_color_profile_free(colours);
    return image;
}

std::string EncodeHeif(heif_compression_format codec, const char* option, const char* value) {
    heif_context* const context = heif_context_alloc();
    heif_encoder* encoder = nullptr;
    heif_context_get_encoder_for_format(context, codec, &encoder);
    heif_encoder_set_lossy_quality(encoder, 90);
    heif_encoder_set_parameter(encoder, option, value);
    heif_encoding_options* const options = heif_encoding_options_alloc();
    options->macOS_compatibility_workaround_no_nclx_profile = 0;
    heif_image* const image = HeifSource();
    heif_context_encode_image(context, image, encoder, options, nullptr);
    std::string file;
    heif_writer writer{1, Append};
    heif_context_write(context, &writer, &file);
    heif_image_release(image);
    heif_encoding_options_free(options);
    heif_encoder_release(encoder);
    heif_context_free(context);
    return file;
}

std::string EncodeJxl() {
    JxlEncoder* const encoder = JxlEncoderCreate(nullptr);
    JxlBasicInfo info;
    JxlEncoderInitBasicInfo(&info);
    info.xsize = kWidth;
    info.ysize = kHeight;
    info.bits_per_sample = 8;
    info.num_extra_channels = 0;
    info.alpha_bits = 0;
    info.uses_original_profile = JXL_FALSE;
    JxlEncoderSetBasicInfo(encoder, &info);
    JxlColorEncoding colours{};
    JxlColorEncodingSetToSRGB(&colours, JXL_FALSE);
    colours.primaries = JXL_PRIMARIES_P3;
    JxlEncoderSetColorEncoding(encoder, &colours);
    JxlEncoderFrameSettings* const settings = JxlEncoderFrameSettingsCreate(encoder, nullptr);
    JxlEncoderFrameSettingsSetOption(settings, JXL_ENC_FRAME_SETTING_EFFORT, 3);
    std::string pixels;
    for (std::size_t i = 0; i < Source().rgba.size(); i += kPixelBytes) {
        pixels.append(reinterpret_cast<const char*>(&Source().rgba[i]), 3);
    }
    const JxlPixelFormat format{3, JXL_TYPE_UINT8, JXL_NATIVE_ENDIAN, 0};
    JxlEncoderAddImageFrame(settings, &format, pixels.data(), pixels.size());
    JxlEncoderCloseInput(encoder);
    std::string file(pixels.size(), '\0');
    auto* next = reinterpret_cast<std::uint8_t*>(file.data());
    std::size_t left = file.size();
    JxlEncoderProcessOutput(encoder, &next, &left);
    file.resize(file.size() - left);
    JxlEncoderDestroy(encoder);
    return file;
}

void DecodeByHeif(const std::string& file) {
    heif_context* const context = heif_context_alloc();
    heif_context_read_from_memory_without_copy(context, file.data(), file.size(), nullptr);
    heif_image_handle* handle = nullptr;
    heif_context_get_primary_image_handle(context, &handle);
    heif_image* image = nullptr;
    heif_decode_image(handle, &image, heif_colorspace_RGB, heif_chroma_interleaved_RGBA, nullptr);
    benchmark::DoNotOptimize(image);
    heif_image_release(image);
    heif_image_handle_release(handle);
    heif_context_free(context);
}

void DecodeByJxl(const std::string& file) {
    JxlDecoder* const decoder = JxlDecoderCreate(nullptr);
    void* const runner = JxlResizableParallelRunnerCreate(nullptr);
    JxlResizableParallelRunnerSetThreads(runner,
                                         JxlResizableParallelRunnerSuggestThreads(kWidth, kHeight));
    JxlDecoderSetParallelRunner(decoder, JxlResizableParallelRunner, runner);
    JxlDecoderSubscribeEvents(decoder, JXL_DEC_FULL_IMAGE);
    JxlDecoderSetInput(decoder, reinterpret_cast<const std::uint8_t*>(file.data()), file.size());
    JxlDecoderProcessInput(decoder);
    const PixelBuffer pixels = TryAllocatePixels(std::size_t{kWidth} * kHeight);
    const JxlPixelFormat format{kPixelBytes, JXL_TYPE_UINT8, JXL_NATIVE_ENDIAN, 0};
    JxlDecoderSetImageOutBuffer(decoder, &format, pixels.get(),
                                std::size_t{kWidth} * kHeight * kPixelBytes);
    JxlDecoderProcessInput(decoder);
    benchmark::DoNotOptimize(pixels.get());
    JxlDecoderDestroy(decoder);
    JxlResizableParallelRunnerDestroy(runner);
}

using Decode = void (*)(const std::string& file);

void AgainstLibraryOf(benchmark::State& state, const std::string& file, PhotoLoader load,
                      Decode decode) {
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

void Heics(benchmark::State& state) {
    static const std::string file = EncodeHeif(heif_compression_HEVC, "preset", "ultrafast");
    AgainstLibraryOf(state, file, LoadHeif, DecodeByHeif);
}
void Avifs(benchmark::State& state) {
    static const std::string file = EncodeHeif(heif_compression_AV1, "speed", "9");
    AgainstLibraryOf(state, file, LoadHeif, DecodeByHeif);
}
void Jxls(benchmark::State& state) {
    static const std::string file = EncodeJxl();
    AgainstLibraryOf(state, file, LoadJxl, DecodeByJxl);
}

void Common(benchmark::internal::Benchmark* benchmark) {
    benchmark->Iterations(9)->UseManualTime()->Unit(benchmark::kMillisecond);
}
BENCHMARK(Heics)->Apply(Common);
BENCHMARK(Avifs)->Apply(Common);
BENCHMARK(Jxls)->Apply(Common);

}  // namespace
}  // namespace vistrel

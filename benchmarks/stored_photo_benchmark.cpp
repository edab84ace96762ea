// SPDX-License-Identifier: GPL-3.0-or-later
// Photographs of 24 megapixels in TIFF and WebP as the command line reads them, without a colour
// profile, against nothing but the library's decoding. Both sides run by turns on an otherwise idle
// machine; what is reported is the median of the ratios of the time that passes.
#include <benchmark/benchmark.h>
#include <sys/mman.h>
#include <tiffio.h>
#include <unistd.h>
#include <webp/decode.h>
#include <webp/encode.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "benchmarks/photo_reading.h"

namespace vistrel {
namespace {

constexpr int kColours = 3;
constexpr std::size_t kRowBytes = std::size_t{kPhotoWidth} * kColours;

std::string Colours() {
    std::string colours;
    for (std::size_t i = 0; i < PhotoSource().rgba.size(); i += kPixelBytes) {
        colours.append(reinterpret_cast<const char*>(&PhotoSource().rgba[i]), kColours);
    }
    return colours;
}

std::string EncodeTiff(int compression) {
    const int descriptor = memfd_create("photograph", 0);
    TIFF* const tiff = TIFFFdOpen(dup(descriptor), "photograph", "w");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, kPhotoWidth);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, kPhotoHeight);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, kColours);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
    if (compression != COMPRESSION_NONE) {
        TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    }
    constexpr int kRowsPerStrip = 16;
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, kRowsPerStrip);
    std::string colours = Colours();
    for (std::uint32_t y = 0; y < kPhotoHeight; ++y) {
        TIFFWriteScanline(tiff, colours.data() + (y * kRowBytes), y);
    }
    TIFFClose(tiff);
    std::string file(static_cast<std::size_t>(lseek(descriptor, 0, SEEK_END)), '\0');
    const auto read = pread(descriptor, file.data(), file.size(), 0);
    close(descriptor);
    file.resize(static_cast<std::size_t>(read));
    return file;
}

struct Source {
    const std::string& file;
    std::uint64_t position = 0;
};

tmsize_t Read(thandle_t handle, void* to, tmsize_t bytes) {
    Source& source = *static_cast<Source*>(handle);
    const std::size_t read =
        source.file.copy(static_cast<char*>(to), static_cast<std::size_t>(bytes), source.position);
    source.position += read;
    return static_cast<tmsize_t>(read);
}

toff_t Seek(thandle_t handle, toff_t offset, int /*from*/) {
    return static_cast<Source*>(handle)->position = offset;
}

int Map(thandle_t handle, void** map, toff_t* size) {
    const std::string& file = static_cast<Source*>(handle)->file;
    *map = const_cast<char*>(file.data());
    *size = file.size();
    return 1;
}

// All strips, without widening their pixels to four bytes.
void DecodeByTiff(const std::string& file) {
    Source source{file};
    TIFF* const tiff = TIFFClientOpen(
        "photograph", "r", &source, Read, Read, Seek, [](thandle_t) { return 0; },
        [](thandle_t handle) { return toff_t{static_cast<Source*>(handle)->file.size()}; }, Map,
        [](thandle_t, void*, toff_t) {});
    const PixelBuffer pixels = TryAllocatePixels(std::size_t{kPhotoWidth} * kPhotoHeight);
    const tmsize_t bytes = TIFFStripSize(tiff);
    for (std::uint32_t strip = 0; strip < TIFFNumberOfStrips(tiff); ++strip) {
        TIFFReadEncodedStrip(tiff, strip, pixels.get() + (strip * bytes), bytes);
    }
    benchmark::DoNotOptimize(pixels.get());
    TIFFClose(tiff);
}

std::string EncodeWebp() {
    const std::string colours = Colours();
    constexpr float kQuality = 90;
    std::uint8_t* encoded = nullptr;
    const std::size_t size =
        WebPEncodeRGB(reinterpret_cast<const std::uint8_t*>(colours.data()), kPhotoWidth,
                      kPhotoHeight, static_cast<int>(kRowBytes), kQuality, &encoded);
    std::string file(reinterpret_cast<const char*>(encoded), size);
    WebPFree(encoded);
    return file;
}

void DecodeByWebp(const std::string& file) {
    int width = 0;
    int height = 0;
    std::uint8_t* pixels = WebPDecodeRGBA(reinterpret_cast<const std::uint8_t*>(file.data()),
                                          file.size(), &width, &height);
    benchmark::DoNotOptimize(pixels);
    WebPFree(pixels);
}

void DeflateTiffs(benchmark::State& state) {
    static const std::string file = EncodeTiff(COMPRESSION_ADOBE_DEFLATE);
    ReadAgainstLibrary(state, file, LoadTiff, DecodeByTiff);
}
void LzwTiffs(benchmark::State& state) {
    static const std::string file = EncodeTiff(COMPRESSION_LZW);
    ReadAgainstLibrary(state, file, LoadTiff, DecodeByTiff);
}
void UncompressedTiffs(benchmark::State& state) {
    static const std::string file = EncodeTiff(COMPRESSION_NONE);
    ReadAgainstLibrary(state, file, LoadTiff, DecodeByTiff);
}
void Webps(benchmark::State& state) {
    static const std::string file = EncodeWebp();
    ReadAgainstLibrary(state, file, LoadWebp, DecodeByWebp);
}

BENCHMARK(DeflateTiffs)->Apply(PhotoReading);
BENCHMARK(LzwTiffs)->Apply(PhotoReading);
BENCHMARK(UncompressedTiffs)->Apply(PhotoReading);
BENCHMARK(Webps)->Apply(PhotoReading);

}  // namespace
}  // namespace vistrel

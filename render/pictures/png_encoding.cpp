// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/pictures/png_encoding.h"

#include <png.h>

#include <bit>
#include <csetjmp>
#include <new>
#include <stdexcept>
#include <utility>

namespace vistrel {
namespace {

// What libpng's functions are given. It is C: nothing may be thrown through it.
struct Sink {
    std::vector<std::byte> bytes;
    std::string error;
    bool isOutOfMemory = false;
};

void Fail(png_structp png, png_const_charp message) {
    static_cast<Sink*>(png_get_error_ptr(png))->error = message;
    png_longjmp(png, 1);
}

void IgnoreWarning(png_structp /*png*/, png_const_charp /*message*/) {}

void Append(png_structp png, png_bytep data, png_size_t size) {
    auto* const sink = static_cast<Sink*>(png_get_io_ptr(png));
    const auto* const bytes = reinterpret_cast<const std::byte*>(data);
    try {
        sink->bytes.insert(sink->bytes.end(), bytes, bytes + size);
        return;
    } catch (const std::bad_alloc&) {
        sink->isOutOfMemory = true;
    }
    png_error(png, "out of memory");
}

void Flush(png_structp /*png*/) {}

struct Image {
    int width = 0;
    int height = 0;
    int bits = 8;  // for each channel
    int colorType = PNG_COLOR_TYPE_RGB;
    const std::uint8_t* pixels = nullptr;  // of RGB: four bytes each
    std::size_t rowBytes = 0;
    std::optional<PngStereo> stereo = {};
    std::span<const PngText> texts = {};
};

constexpr int kCompression = 4;  // half the time of libpng's own choice, 2 % larger

// False where libpng has reported an error. Holds nothing that needs a destructor, since an error
// jumps out of it.
bool WriteAll(png_structp png, png_infop info, const Image& image) {
    if (setjmp(png_jmpbuf(png)) != 0) return false;
    png_set_compression_level(png, kCompression);
    png_set_IHDR(png, info, static_cast<png_uint_32>(image.width),
                 static_cast<png_uint_32>(image.height), image.bits, image.colorType,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_sRGB(png, info, PNG_sRGB_INTENT_PERCEPTUAL);
    for (const PngText& text : image.texts) {
        png_text entry = {};
        entry.compression = PNG_TEXT_COMPRESSION_NONE;
        // libpng only reads them; it copies what it is given.
        entry.key = const_cast<char*>(text.keyword.c_str());
        entry.text = const_cast<char*>(text.text.c_str());
        png_set_text(png, info, &entry, 1);
    }
    png_write_info(png, info);
    if (image.stereo) {
        const auto mode = static_cast<png_byte>(*image.stereo);
        png_write_chunk(png, reinterpret_cast<png_const_bytep>("sTER"), &mode, 1);
    }
    if (image.colorType == PNG_COLOR_TYPE_RGB) png_set_filler(png, 0, PNG_FILLER_AFTER);
    if (image.bits > 8 && std::endian::native == std::endian::little) png_set_swap(png);
    for (int row = 0; row < image.height; ++row) {
        png_write_row(png, image.pixels + static_cast<std::size_t>(row) * image.rowBytes);
    }
    png_write_end(png, info);
    return true;
}

std::vector<std::byte> Encode(const Image& image) {
    Sink sink;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &sink, Fail, IgnoreWarning);
    png_infop info = png == nullptr ? nullptr : png_create_info_struct(png);
    bool isWritten = false;
    if (info != nullptr) {
        png_set_write_fn(png, &sink, Append, Flush);
        isWritten = WriteAll(png, info, image);
    }
    png_destroy_write_struct(&png, &info);
    if (isWritten) return std::move(sink.bytes);
    if (sink.error.empty() || sink.isOutOfMemory) throw std::bad_alloc();
    throw std::runtime_error("the PNG picture cannot be made: " + sink.error);
}

}  // namespace

std::vector<std::byte> EncodePng(const Picture& picture, const PngOptions& options) {
    constexpr int kSubimageColumns = 16;  // of both halves together
    const bool tellsStereo = picture.width % kSubimageColumns == 0;
    return Encode({.width = picture.width,
                   .height = picture.height,
                   .pixels = picture.pixels.data(),
                   .rowBytes = picture.RowBytes(),
                   .stereo = tellsStereo ? options.stereo : std::nullopt,
                   .texts = options.texts});
}

std::vector<std::byte> EncodeGreyPng(const GreyPicture& picture, std::span<const PngText> texts) {
    return Encode({.width = picture.width,
                   .height = picture.height,
                   .bits = 16,
                   .colorType = PNG_COLOR_TYPE_GRAY,
                   .pixels = reinterpret_cast<const std::uint8_t*>(picture.values.data()),
                   .rowBytes = 2 * static_cast<std::size_t>(picture.width),
                   .texts = texts});
}

}  // namespace vistrel

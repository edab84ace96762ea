// SPDX-License-Identifier: GPL-3.0-or-later
// WebP by libwebp, straight into the photograph's own memory.
#include <webp/decode.h>
#include <webp/demux.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>

#include "photos/photo_loader.h"

namespace vistrel {
namespace {

using Demuxer = std::unique_ptr<WebPDemuxer, decltype(&WebPDemuxDelete)>;

bool IsWebp(std::span<const std::byte> file) {
    constexpr std::size_t kHead = 12;
    const auto* const bytes = reinterpret_cast<const char*>(file.data());
    return file.size() >= kHead && std::string_view(bytes, 4) == "RIFF" &&
           std::string_view(bytes + 8, 4) == "WEBP";
}

[[noreturn]] void ThrowFor(VP8StatusCode status) {
    switch (status) {
        case VP8_STATUS_OUT_OF_MEMORY:
            throw PhotoError("There is not enough memory for its pixels.");
        case VP8_STATUS_NOT_ENOUGH_DATA:
        case VP8_STATUS_SUSPENDED:
            throw PhotoError("It is cut short.");
        case VP8_STATUS_UNSUPPORTED_FEATURE:
            throw PhotoError("It uses a feature of WebP that is not read.");
        default:
            throw PhotoError("It is damaged.");
    }
}

// Complete files only.
Demuxer Opened(const WebPData& data) {
    WebPDemuxState state = WEBP_DEMUX_PARSE_ERROR;
    Demuxer demuxer(WebPDemuxPartial(&data, &state), WebPDemuxDelete);
    if (state == WEBP_DEMUX_PARSING_HEADER || state == WEBP_DEMUX_PARSED_HEADER) {
        throw PhotoError("It is cut short.");
    }
    if (state != WEBP_DEMUX_DONE || !demuxer) throw PhotoError("It is damaged.");
    return demuxer;
}

std::vector<std::byte> Chunk(const WebPDemuxer* demuxer, const char* name) {
    WebPChunkIterator chunk;
    if (WebPDemuxGetChunk(demuxer, name, 1, &chunk) == 0) return {};
    const auto* const bytes = reinterpret_cast<const std::byte*>(chunk.chunk.bytes);
    std::vector<std::byte> content(bytes, bytes + chunk.chunk.size);
    WebPDemuxReleaseChunkIterator(&chunk);
    return content;
}

// Some programs put JPEG's own mark before the TIFF header.
std::vector<std::byte> ExifBlock(const WebPDemuxer* demuxer) {
    constexpr std::string_view kMark("Exif\0\0", 6);
    std::vector<std::byte> block = Chunk(demuxer, "EXIF");
    if (block.size() >= kMark.size() &&
        std::memcmp(block.data(), kMark.data(), kMark.size()) == 0) {
        block.erase(block.begin(), block.begin() + kMark.size());
    }
    return block;
}

struct FrameEnd {
    void operator()(WebPIterator* frame) const { WebPDemuxReleaseIterator(frame); }
};

// Decodes the frame to its place on the canvas that `photo` is.
void DecodeFrame(const WebPIterator& frame, DecodedPhoto& photo) {
    WebPDecoderConfig config;
    if (WebPInitDecoderConfig(&config) == 0) throw PhotoError("It is damaged.");
    VP8StatusCode status =
        WebPGetFeatures(frame.fragment.bytes, frame.fragment.size, &config.input);
    if (status != VP8_STATUS_OK) ThrowFor(status);
    if (config.input.width != frame.width || config.input.height != frame.height ||
        frame.x_offset < 0 || frame.y_offset < 0 || frame.width > photo.width - frame.x_offset ||
        frame.height > photo.height - frame.y_offset) {
        throw PhotoError("It is damaged.");
    }
    const bool covers = frame.width == photo.width && frame.height == photo.height;
    photo.opaque = covers && config.input.has_alpha == 0;
    AllocateSamples(photo);
    const std::size_t rowBytes = static_cast<std::size_t>(photo.width) * kPixelBytes;
    const std::size_t bytes = rowBytes * static_cast<std::size_t>(photo.height);
    if (!covers) std::memset(photo.samples.get(), 0, bytes);
    const std::size_t first = (static_cast<std::size_t>(frame.y_offset) * rowBytes) +
                              (static_cast<std::size_t>(frame.x_offset) * kPixelBytes);
    config.options.use_threads = 1;
    config.output.colorspace = MODE_RGBA;
    config.output.is_external_memory = 1;
    config.output.u.RGBA.rgba = photo.samples.get() + first;
    config.output.u.RGBA.stride = static_cast<int>(rowBytes);
    config.output.u.RGBA.size = bytes - first;
    status = WebPDecode(frame.fragment.bytes, frame.fragment.size, &config);
    WebPFreeDecBuffer(&config.output);
    if (status != VP8_STATUS_OK) ThrowFor(status);
}

}  // namespace

std::optional<DecodedPhoto> LoadWebp(std::span<const std::byte> file) {
    if (!IsWebp(file)) return {};
    const WebPData data{reinterpret_cast<const std::uint8_t*>(file.data()), file.size()};
    const Demuxer demuxer = Opened(data);
    const std::uint32_t width = WebPDemuxGetI(demuxer.get(), WEBP_FF_CANVAS_WIDTH);
    const std::uint32_t height = WebPDemuxGetI(demuxer.get(), WEBP_FF_CANVAS_HEIGHT);
    CheckPhotoSize(width, height);
    DecodedPhoto photo;
    photo.width = static_cast<int>(width);
    photo.height = static_cast<int>(height);
    WebPIterator frame;
    if (WebPDemuxGetFrame(demuxer.get(), 1, &frame) == 0) throw PhotoError("It has no picture.");
    const std::unique_ptr<WebPIterator, FrameEnd> release(&frame);
    DecodeFrame(frame, photo);
    photo.colours.iccProfile = Chunk(demuxer.get(), "ICCP");
    photo.exif = ExifBlock(demuxer.get());
    photo.exifTurns = !photo.exif.empty();
    return photo;
}

}  // namespace vistrel

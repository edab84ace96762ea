// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/pictures/webp_encoding.h"

#include <webp/encode.h>

#include <new>
#include <stdexcept>
#include <string>

namespace vistrel {
namespace {

// The picture that libwebp works on, and what it has written.
struct WebpEncoder {
    WebpEncoder() { WebPMemoryWriterInit(&writer); }
    ~WebpEncoder() {
        WebPPictureFree(&picture);
        WebPMemoryWriterClear(&writer);
    }
    WebpEncoder(const WebpEncoder&) = delete;
    WebpEncoder& operator=(const WebpEncoder&) = delete;

    WebPPicture picture = {};
    WebPMemoryWriter writer = {};
};

void CheckSize(const Picture& picture) {
    if (picture.width <= WEBP_MAX_DIMENSION && picture.height <= WEBP_MAX_DIMENSION) return;
    throw std::runtime_error("a WebP picture has at most " + std::to_string(WEBP_MAX_DIMENSION) +
                             " pixels on each side");
}

[[noreturn]] void Fail(const WebPPicture& picture) {
    const WebPEncodingError error = picture.error_code;
    if (error == VP8_ENC_ERROR_OUT_OF_MEMORY || error == VP8_ENC_ERROR_BITSTREAM_OUT_OF_MEMORY) {
        throw std::bad_alloc();
    }
    throw std::runtime_error("the WebP picture cannot be made: libwebp's error " +
                             std::to_string(error));
}

}  // namespace

std::vector<std::byte> EncodeWebp(const Picture& picture, int quality) {
    CheckSize(picture);
    WebPConfig config;
    WebpEncoder encoder;
    if (WebPConfigPreset(&config, WEBP_PRESET_PHOTO, static_cast<float>(quality)) == 0 ||
        WebPPictureInit(&encoder.picture) == 0) {
        throw std::runtime_error("the WebP picture cannot be made: another libwebp is installed");
    }
    config.use_sharp_yuv = 1;  // colours have half the resolution; this keeps their edges
    config.thread_level = 1;
    encoder.picture.use_argb = 1;
    encoder.picture.width = picture.width;
    encoder.picture.height = picture.height;
    encoder.picture.writer = WebPMemoryWrite;
    encoder.picture.custom_ptr = &encoder.writer;
    if (WebPPictureImportRGBX(&encoder.picture, picture.pixels.data(),
                              static_cast<int>(picture.RowBytes())) == 0 ||
        WebPEncode(&config, &encoder.picture) == 0) {
        Fail(encoder.picture);
    }
    const auto* const bytes = reinterpret_cast<const std::byte*>(encoder.writer.mem);
    return {bytes, bytes + encoder.writer.size};
}

}  // namespace vistrel

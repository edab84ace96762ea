// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/webp_pictures.h"

#include <webp/decode.h>
#include <webp/encode.h>

#include <new>
#include <stdexcept>

namespace vistrel {
namespace {

WebPBitstreamFeatures Features(std::span<const std::byte> file) {
    WebPBitstreamFeatures features;
    if (WebPGetFeatures(reinterpret_cast<const std::uint8_t*>(file.data()), file.size(),
                        &features) != VP8_STATUS_OK) {
        throw std::runtime_error("one of its WebP pictures is damaged");
    }
    if (features.has_animation != 0) {
        throw std::runtime_error("one of its WebP pictures is an animation");
    }
    return features;
}

struct FreePicture {
    void operator()(WebPPicture* picture) const { WebPPictureFree(picture); }
};

}  // namespace

PictureSize WebpPictureSize(std::span<const std::byte> file) {
    const WebPBitstreamFeatures features = Features(file);
    return {static_cast<std::uint32_t>(features.width),
            static_cast<std::uint32_t>(features.height)};
}

NumberPicture DecodedWebp(std::span<const std::byte> file) {
    WebPDecoderConfig config;
    if (WebPInitDecoderConfig(&config) == 0) throw std::bad_alloc();
    config.input = Features(file);
    NumberPicture picture(WebpPictureSize(file));
    config.output.colorspace = MODE_RGBA;
    config.output.is_external_memory = 1;
    config.output.u.RGBA.rgba = picture.pixels.data();
    config.output.u.RGBA.stride = static_cast<int>(picture.size.width * kPixelChannels);
    config.output.u.RGBA.size = picture.pixels.size();
    const VP8StatusCode status =
        WebPDecode(reinterpret_cast<const std::uint8_t*>(file.data()), file.size(), &config);
    WebPFreeDecBuffer(&config.output);
    if (status == VP8_STATUS_OUT_OF_MEMORY) throw std::bad_alloc();
    if (status != VP8_STATUS_OK) throw std::runtime_error("one of its WebP pictures is damaged");
    return picture;
}

WebpFile::WebpFile(const NumberPicture& picture, int effort) {
    WebPConfig config;
    WebPPicture source;
    if (WebPConfigInit(&config) == 0 || WebPPictureInit(&source) == 0) throw std::bad_alloc();
    config.lossless = 1;
    config.exact = 1;
    // Method 1 is the first that looks for repetitions far back. The next one tries more
    // transforms, which takes a third longer and makes pictures of this kind no smaller.
    config.method = effort > 0 ? 1 : 0;
    config.quality = static_cast<float>(effort);
    const std::unique_ptr<WebPPicture, FreePicture> freeSource(&source);
    source.use_argb = 1;
    source.width = static_cast<int>(picture.size.width);
    source.height = static_cast<int>(picture.size.height);
    const auto stride = static_cast<int>(picture.size.width * kPixelChannels);
    WebPMemoryWriter writer;
    WebPMemoryWriterInit(&writer);
    source.writer = WebPMemoryWrite;
    source.custom_ptr = &writer;
    const bool written = WebPPictureImportRGBA(&source, picture.pixels.data(), stride) != 0 &&
                         WebPEncode(&config, &source) != 0;
    bytes_.reset(reinterpret_cast<std::byte*>(writer.mem));
    size_ = writer.size;
    // Nothing else can go wrong with a sound picture.
    if (!written) throw std::bad_alloc();
}

void WebpFile::Free::operator()(std::byte* bytes) const {
    WebPFree(bytes);
}

}  // namespace vistrel

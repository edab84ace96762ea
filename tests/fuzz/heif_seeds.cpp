// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/fuzz/heif_seeds.h"

#include <libheif/heif.h>

#include <cstdint>
#include <memory>

#include "tests/fuzz/require.h"
#include "tests/support/exif_bytes.h"

namespace vistrel::fuzz {
namespace {

constexpr int kSide = 64;  // the least that one of the encoders takes

void Check(const heif_error& error) {
    Require(error.code == heif_error_Ok);
}

struct Kind {
    heif_compression_format codec = heif_compression_HEVC;
    bool alpha = false;
    bool decorated = false;  // with a profile, an EXIF block, turned and premultiplied
};

// Slopes of red and green.
heif_image* MakePicture(const Kind& kind) {
    heif_image* image = nullptr;
    Check(heif_image_create(kSide, kSide, heif_colorspace_RGB,
                            kind.alpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB,
                            &image));
    const int channels = kind.alpha ? 4 : 3;
    Check(heif_image_add_plane(image, heif_channel_interleaved, kSide, kSide, 8));
    int stride = 0;
    std::uint8_t* const rows = heif_image_get_plane(image, heif_channel_interleaved, &stride);
    for (int y = 0; y < kSide; ++y) {
        for (int x = 0; x < kSide * channels; ++x) {
            rows[(y * stride) + x] = static_cast<std::uint8_t>(x % channels == 0 ? x : 3 * y);
        }
    }
    if (kind.decorated) {
        const std::string profile = "a profile";
        heif_image_set_raw_color_profile(image, "prof", profile.data(), profile.size());
        heif_image_set_premultiplied_alpha(image, 1);
    }
    return image;
}

heif_error Append(heif_context* /*context*/, const void* data, std::size_t size, void* file) {
    static_cast<std::string*>(file)->append(static_cast<const char*>(data), size);
    return {heif_error_Ok, heif_suberror_Unspecified, ""};
}

std::string Encode(const Kind& kind) {
    heif_context* const context = heif_context_alloc();
    heif_encoder* encoder = nullptr;
    Check(heif_context_get_encoder_for_format(context, kind.codec, &encoder));
    Check(heif_encoder_set_lossy_quality(encoder, 30));
    heif_encoding_options* const options = heif_encoding_options_alloc();
    if (kind.decorated) options->image_orientation = heif_orientation_rotate_90_cw;
    heif_image* const image = MakePicture(kind);
    heif_image_handle* handle = nullptr;
    Check(heif_context_encode_image(context, image, encoder, options, &handle));
    if (kind.decorated) {
        const std::string exif = test::TiffBlock(test::OrientationEntry(6));
        Check(heif_context_add_exif_metadata(context, handle, exif.data(),
                                             static_cast<int>(exif.size())));
    }
    std::string file;
    heif_writer writer{1, Append};
    Check(heif_context_write(context, &writer, &file));
    heif_image_handle_release(handle);
    heif_image_release(image);
    heif_encoding_options_free(options);
    heif_encoder_release(encoder);
    heif_context_free(context);
    return file;
}

}  // namespace

const std::vector<std::string>& HeifSeeds() {
    static const std::vector<std::string> seeds = {
        Encode({.codec = heif_compression_HEVC}),
        Encode({.codec = heif_compression_HEVC, .alpha = true, .decorated = true}),
        Encode({.codec = heif_compression_AV1}),
        Encode({.codec = heif_compression_AV1, .alpha = true, .decorated = true})};
    return seeds;
}

}  // namespace vistrel::fuzz

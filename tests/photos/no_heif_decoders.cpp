// SPDX-License-Identifier: GPL-3.0-or-later
// Loaded before libheif: one without decoders, as where the packages of these are not installed.
#include <libheif/heif.h>

extern "C" {

int heif_have_decoder_for_format(heif_compression_format /*format*/) {
    return 0;
}

heif_error heif_decode_image(const heif_image_handle* /*handle*/, heif_image** /*image*/,
                             heif_colorspace /*colours*/, heif_chroma /*layout*/,
                             const heif_decoding_options* /*options*/) {
    return {heif_error_Unsupported_feature, heif_suberror_Unsupported_codec, "Unsupported codec"};
}
}

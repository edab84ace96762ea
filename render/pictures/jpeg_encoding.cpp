// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/pictures/jpeg_encoding.h"

#include <array>
#include <csetjmp>
#include <cstdio>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

// Needs what <cstdio> declares.
#include <jpeglib.h>

namespace vistrel {
namespace {

// What libjpeg's functions are given. It is C: nothing may be thrown through it, so that an error
// jumps over it, back to where it was called.
struct Encoder {
    jpeg_compress_struct jpeg = {};
    jpeg_error_mgr errors = {};
    jpeg_destination_mgr destination = {};
    std::jmp_buf jump = {};
    std::array<char, JMSG_LENGTH_MAX> message = {};
    bool isOutOfMemory = false;
    std::array<JOCTET, std::size_t{32} << 10> buffer = {};
    std::vector<std::byte> bytes;
};

Encoder& EncoderOf(void* clientData) {
    return *static_cast<Encoder*>(clientData);
}

void Leave(j_common_ptr jpeg) {
    Encoder& encoder = EncoderOf(jpeg->client_data);
    jpeg->err->format_message(jpeg, encoder.message.data());
    std::longjmp(encoder.jump, 1);
}

void IgnoreMessage(j_common_ptr /*jpeg*/) {}

void StartBuffer(j_compress_ptr jpeg) {
    Encoder& encoder = EncoderOf(jpeg->client_data);
    encoder.destination.next_output_byte = encoder.buffer.data();
    encoder.destination.free_in_buffer = encoder.buffer.size();
}

// False where there is no memory.
bool Take(Encoder& encoder, std::size_t size) {
    const auto* const bytes = reinterpret_cast<const std::byte*>(encoder.buffer.data());
    try {
        encoder.bytes.insert(encoder.bytes.end(), bytes, bytes + size);
    } catch (const std::bad_alloc&) {
        encoder.isOutOfMemory = true;
    }
    return !encoder.isOutOfMemory;
}

boolean EmptyBuffer(j_compress_ptr jpeg) {
    Encoder& encoder = EncoderOf(jpeg->client_data);
    if (!Take(encoder, encoder.buffer.size())) std::longjmp(encoder.jump, 1);
    StartBuffer(jpeg);
    return TRUE;
}

void EndBuffer(j_compress_ptr jpeg) {
    Encoder& encoder = EncoderOf(jpeg->client_data);
    const std::size_t size = encoder.buffer.size() - encoder.destination.free_in_buffer;
    if (!Take(encoder, size)) std::longjmp(encoder.jump, 1);
}

void WriteSegment(jpeg_compress_struct& jpeg, const JpegSegment& segment) {
    jpeg_write_marker(&jpeg, JPEG_APP0 + segment.number,
                      reinterpret_cast<const JOCTET*>(segment.bytes.data()),
                      static_cast<unsigned>(segment.bytes.size()));
}

void Begin(Encoder& encoder) {
    jpeg_compress_struct& jpeg = encoder.jpeg;
    jpeg.client_data = &encoder;
    jpeg.err = jpeg_std_error(&encoder.errors);
    encoder.errors.error_exit = Leave;
    encoder.errors.output_message = IgnoreMessage;
    jpeg_create_compress(&jpeg);
    jpeg.dest = &encoder.destination;
    encoder.destination.init_destination = StartBuffer;
    encoder.destination.empty_output_buffer = EmptyBuffer;
    encoder.destination.term_destination = EndBuffer;
}

// False where something went wrong. Holds nothing that needs a destructor, since an error jumps out
// of it.
bool WriteAll(Encoder& encoder, const Picture& picture, int quality,
              std::span<const JpegSegment> segments) {
    if (setjmp(encoder.jump) != 0) return false;
    Begin(encoder);
    jpeg_compress_struct& jpeg = encoder.jpeg;
    jpeg.image_width = static_cast<JDIMENSION>(picture.width);
    jpeg.image_height = static_cast<JDIMENSION>(picture.height);
    jpeg.input_components = 4;
    jpeg.in_color_space = JCS_EXT_RGBX;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, quality, TRUE);
    jpeg.optimize_coding = TRUE;
    for (int channel = 0; channel < jpeg.num_components; ++channel) {
        jpeg.comp_info[channel].h_samp_factor = 1;
        jpeg.comp_info[channel].v_samp_factor = 1;
    }
    jpeg_start_compress(&jpeg, TRUE);
    for (const JpegSegment& segment : segments) WriteSegment(jpeg, segment);
    while (jpeg.next_scanline < jpeg.image_height) {
        // libjpeg's rows are not const, but it only reads them.
        auto* row = const_cast<JSAMPROW>(picture.pixels.data() +
                                         std::size_t{jpeg.next_scanline} * picture.RowBytes());
        jpeg_write_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_compress(&jpeg);
    return true;
}

}  // namespace

std::vector<std::byte> EncodeJpeg(const Picture& picture, int quality,
                                  std::span<const JpegSegment> segments) {
    const auto encoder = std::make_unique<Encoder>();
    const bool isWritten = WriteAll(*encoder, picture, quality, segments);
    jpeg_destroy_compress(&encoder->jpeg);
    if (isWritten) return std::move(encoder->bytes);
    if (encoder->isOutOfMemory) throw std::bad_alloc();
    throw std::runtime_error(std::string("the JPEG picture cannot be made: ") +
                             encoder->message.data());
}

}  // namespace vistrel

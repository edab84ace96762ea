// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/fuzz/jxl_seeds.h"

#include <jxl/encode.h>
#include <jxl/encode_cxx.h>

#include <cstddef>
#include <cstdint>

#include "tests/fuzz/require.h"
#include "tests/support/exif_bytes.h"

namespace vistrel::fuzz {
namespace {

constexpr std::uint32_t kWidth = 24;
constexpr std::uint32_t kHeight = 16;

struct Kind {
    std::uint32_t channels = 3;
    std::uint32_t bits = 8;
    bool lossless = true;
    bool boxes = false;  // a container with an EXIF block, packed if the library can
    bool turned = false;
};

void Check(JxlEncoderStatus status) {
    Require(status == JXL_ENC_SUCCESS);
}

void Describe(JxlEncoder* encoder, const Kind& kind) {
    JxlBasicInfo info;
    JxlEncoderInitBasicInfo(&info);
    const bool alpha = kind.channels % 2 == 0;
    info.xsize = kWidth;
    info.ysize = kHeight;
    info.bits_per_sample = kind.bits;
    info.num_color_channels = kind.channels < 3 ? 1 : 3;
    info.num_extra_channels = alpha ? 1 : 0;
    info.alpha_bits = alpha ? kind.bits : 0;
    info.uses_original_profile = kind.lossless ? JXL_TRUE : JXL_FALSE;
    if (kind.turned) info.orientation = JXL_ORIENT_ROTATE_90_CW;
    Check(JxlEncoderSetBasicInfo(encoder, &info));
    JxlColorEncoding colours{};
    JxlColorEncodingSetToSRGB(&colours, kind.channels < 3 ? JXL_TRUE : JXL_FALSE);
    if (kind.bits > 8) colours.transfer_function = JXL_TRANSFER_FUNCTION_PQ;
    Check(JxlEncoderSetColorEncoding(encoder, &colours));
}

std::string Output(JxlEncoder* encoder) {
    std::string file(std::size_t{1} << 16, '\0');
    auto* next = reinterpret_cast<std::uint8_t*>(file.data());
    std::size_t left = file.size();
    Check(JxlEncoderProcessOutput(encoder, &next, &left));
    file.resize(file.size() - left);
    return file;
}

// Slopes, and corners of one colour.
std::string Samples(const Kind& kind) {
    std::string samples;
    for (std::uint32_t y = 0; y < kHeight; ++y) {
        for (std::uint32_t x = 0; x < kWidth * kind.channels; ++x) {
            const std::uint32_t sample =
                y < kHeight / 2 ? 200 : (x * 3) + (y * (x % kind.channels));
            samples.append(kind.bits / 8, static_cast<char>(sample));
        }
    }
    return samples;
}

std::string Encode(const Kind& kind) {
    const JxlEncoderPtr encoder = JxlEncoderMake(nullptr);
    if (kind.boxes) {
        Check(JxlEncoderUseContainer(encoder.get(), JXL_TRUE));
        Check(JxlEncoderUseBoxes(encoder.get()));
        const std::string exif = std::string(4, '\0') + test::TiffBlock(test::OrientationEntry(6)) +
                                 std::string(99, 'x');
        Check(JxlEncoderAddBox(encoder.get(), "Exif",
                               reinterpret_cast<const std::uint8_t*>(exif.data()), exif.size(),
                               kind.turned ? JXL_TRUE : JXL_FALSE));
        JxlEncoderCloseBoxes(encoder.get());
    }
    Describe(encoder.get(), kind);
    JxlEncoderFrameSettings* const settings = JxlEncoderFrameSettingsCreate(encoder.get(), nullptr);
    Check(JxlEncoderSetFrameLossless(settings, kind.lossless ? JXL_TRUE : JXL_FALSE));
    const std::string samples = Samples(kind);
    const JxlPixelFormat format{kind.channels, kind.bits > 8 ? JXL_TYPE_UINT16 : JXL_TYPE_UINT8,
                                JXL_NATIVE_ENDIAN, 0};
    Check(JxlEncoderAddImageFrame(settings, &format, samples.data(), samples.size()));
    JxlEncoderCloseInput(encoder.get());
    return Output(encoder.get());
}

}  // namespace

const std::vector<std::string>& JxlSeeds() {
    static const std::vector<std::string> seeds = {
        Encode({}),
        Encode({.lossless = false}),
        Encode({.channels = 1}),
        Encode({.channels = 4, .bits = 16}),
        Encode({.channels = 4, .lossless = false, .boxes = true, .turned = true}),
        Encode({.channels = 2, .boxes = true})};
    return seeds;
}

}  // namespace vistrel::fuzz

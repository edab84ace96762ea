// SPDX-License-Identifier: GPL-3.0-or-later
// JPEG XL by libjxl, which also turns its pictures as they say.
#include <jxl/decode.h>
#include <jxl/decode_cxx.h>
#include <jxl/resizable_parallel_runner.h>
#include <jxl/resizable_parallel_runner_cxx.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "photos/boxes.h"
#include "photos/photo_loader.h"

namespace vistrel {
namespace {

using Bytes = std::span<const std::byte>;

[[noreturn]] void Refuse(JxlDecoderStatus status) {
    throw PhotoError(status == JXL_DEC_NEED_MORE_INPUT ? "It is cut short." : "It is damaged.");
}

void Check(JxlDecoderStatus status) {
    if (status != JXL_DEC_SUCCESS) Refuse(status);
}

// Decodes as far as `event`, which must be the next one.
void Await(JxlDecoder* decoder, JxlDecoderStatus event) {
    const JxlDecoderStatus status = JxlDecoderProcessInput(decoder);
    if (status != event) Refuse(status);
}

bool IsJxl(Bytes file) {
    const JxlSignature signature =
        JxlSignatureCheck(reinterpret_cast<const std::uint8_t*>(file.data()), file.size());
    return signature == JXL_SIG_CODESTREAM || signature == JXL_SIG_CONTAINER;
}

// With `file` as the input and up to `events`.
JxlDecoderPtr MakeDecoder(Bytes file, int events) {
    JxlDecoderPtr decoder = JxlDecoderMake(nullptr);
    if (!decoder) throw PhotoError("There is not enough memory for its pixels.");
    Check(JxlDecoderSubscribeEvents(decoder.get(), events));
    Check(JxlDecoderSetInput(decoder.get(), reinterpret_cast<const std::uint8_t*>(file.data()),
                             file.size()));
    return decoder;
}

// The library keeps every channel in memory as a whole, whether it is wanted or not.
void CheckSize(const JxlBasicInfo& info) {
    CheckPhotoSize(info.xsize, info.ysize);
    constexpr std::uint64_t kChannels = 4;
    const std::uint64_t channels =
        std::uint64_t{info.num_color_channels} + std::uint64_t{info.num_extra_channels};
    if (std::uint64_t{info.xsize} * info.ysize * channels > kMostPixels * kChannels) {
        throw PhotoError("Its " + std::to_string(channels) + " channels of " +
                         std::to_string(info.xsize) + " x " + std::to_string(info.ysize) +
                         " pixels are more than are read.");
    }
}

void RefuseInks(const JxlDecoder* decoder, const JxlBasicInfo& info) {
    for (std::uint32_t i = 0; i < info.num_extra_channels; ++i) {
        JxlExtraChannelInfo channel;
        Check(JxlDecoderGetExtraChannelInfo(decoder, i, &channel));
        if (channel.type == JXL_CHANNEL_BLACK) {
            throw PhotoError("It is a JPEG XL picture in CMYK, which is not read.");
        }
    }
}

SampleFormat FormatOf(const JxlBasicInfo& info) {
    constexpr std::uint32_t kByteBits = 8;
    constexpr std::uint32_t kWordBits = 16;
    if (info.exponent_bits_per_sample > 0 || info.bits_per_sample > kWordBits) {
        return SampleFormat::Floats;
    }
    return info.bits_per_sample > kByteBits ? SampleFormat::Words : SampleFormat::Bytes;
}

JxlDataType DataType(SampleFormat format) {
    switch (format) {
        case SampleFormat::Bytes:
            return JXL_TYPE_UINT8;
        case SampleFormat::Words:
            return JXL_TYPE_UINT16;
        case SampleFormat::Floats:
            break;
    }
    return JXL_TYPE_FLOAT;
}

// The functions that ask for colours lost a parameter that nobody used.
template <typename... Parameters>
JxlDecoderStatus AskColours(JxlDecoderStatus (*ask)(const JxlDecoder*, const JxlPixelFormat*,
                                                    JxlColorProfileTarget, Parameters...),
                            const JxlDecoder* decoder, JxlColorProfileTarget target,
                            Parameters... parameters) {
    return ask(decoder, nullptr, target, parameters...);
}

template <typename... Parameters>
JxlDecoderStatus AskColours(JxlDecoderStatus (*ask)(const JxlDecoder*, JxlColorProfileTarget,
                                                    Parameters...),
                            const JxlDecoder* decoder, JxlColorProfileTarget target,
                            Parameters... parameters) {
    return ask(decoder, target, parameters...);
}

std::optional<JxlColorEncoding> EncodedColours(const JxlDecoder* decoder,
                                               JxlColorProfileTarget target) {
    JxlColorEncoding encoding{};
    if (AskColours(&JxlDecoderGetColorAsEncodedProfile, decoder, target, &encoding) !=
        JXL_DEC_SUCCESS) {
        return std::nullopt;
    }
    return encoding;
}

std::vector<std::byte> IccProfile(const JxlDecoder* decoder) {
    constexpr JxlColorProfileTarget kTarget = JXL_COLOR_PROFILE_TARGET_DATA;
    std::size_t size = 0;
    if (AskColours(&JxlDecoderGetICCProfileSize, decoder, kTarget, &size) != JXL_DEC_SUCCESS) {
        return {};
    }
    std::vector<std::byte> profile(size);
    if (AskColours(&JxlDecoderGetColorAsICCProfile, decoder, kTarget,
                   reinterpret_cast<std::uint8_t*>(profile.data()), size) != JXL_DEC_SUCCESS) {
        return {};
    }
    return profile;
}

bool HasHdrCurve(const JxlColorEncoding& encoding) {
    return encoding.transfer_function == JXL_TRANSFER_FUNCTION_PQ ||
           encoding.transfer_function == JXL_TRANSFER_FUNCTION_HLG;
}

// Samples in the library's own colour space can be had in any other: in sRGB where the original one
// is known by its profile alone, and in PQ where there is light beyond white.
void ChooseColours(JxlDecoder* decoder, const JxlBasicInfo& info) {
    if (info.uses_original_profile == JXL_TRUE) return;
    constexpr float kWhite = 255.0F;  // in nits, as the library has it
    const bool bright = info.intensity_target > kWhite;
    const std::optional<JxlColorEncoding> original =
        EncodedColours(decoder, JXL_COLOR_PROFILE_TARGET_ORIGINAL);
    const bool known = original && (original->color_space == JXL_COLOR_SPACE_RGB ||
                                    original->color_space == JXL_COLOR_SPACE_GRAY);
    if (known && (HasHdrCurve(*original) || !bright)) return;
    JxlColorEncoding wanted{};
    wanted.color_space = info.num_color_channels == 1 ? JXL_COLOR_SPACE_GRAY : JXL_COLOR_SPACE_RGB;
    wanted.white_point = JXL_WHITE_POINT_D65;
    wanted.primaries = bright ? JXL_PRIMARIES_2100 : JXL_PRIMARIES_SRGB;
    wanted.transfer_function = bright ? JXL_TRANSFER_FUNCTION_PQ : JXL_TRANSFER_FUNCTION_SRGB;
    wanted.rendering_intent = JXL_RENDERING_INTENT_RELATIVE;
    // Where it is refused, the samples come in a space that is told all the same.
    static_cast<void>(JxlDecoderSetPreferredColorProfile(decoder, &wanted));
}

// Nothing: no code points are exactly these colours.
std::optional<CodedColours> CodePoints(const JxlColorEncoding& encoding) {
    constexpr int kDisplayP3 = 12;
    CodedColours coded{JXL_PRIMARIES_SRGB, static_cast<int>(encoding.transfer_function)};
    const bool dci = encoding.white_point == JXL_WHITE_POINT_DCI;
    if (encoding.white_point != JXL_WHITE_POINT_D65 && !dci) return std::nullopt;
    if (encoding.transfer_function == JXL_TRANSFER_FUNCTION_GAMMA) return std::nullopt;
    if (encoding.color_space == JXL_COLOR_SPACE_RGB) {
        if (encoding.primaries == JXL_PRIMARIES_CUSTOM) return std::nullopt;
        coded.primaries = static_cast<int>(encoding.primaries);
        if (dci != (encoding.primaries == JXL_PRIMARIES_P3)) {
            if (dci) return std::nullopt;
            coded.primaries = kDisplayP3;
        }
    }
    return coded;
}

PhotoColours ReadColours(const JxlDecoder* decoder) {
    PhotoColours colours;
    const std::optional<JxlColorEncoding> encoding =
        EncodedColours(decoder, JXL_COLOR_PROFILE_TARGET_DATA);
    const std::optional<CodedColours> coded =
        encoding ? CodePoints(*encoding) : std::optional<CodedColours>();
    if (coded) {
        colours.coded = *coded;
    } else {
        colours.iccProfile = IccProfile(decoder);
    }
    return colours;
}

// The first frame.
DecodedPhoto DecodePixels(Bytes file) {
    // Outlives the decoder that uses it.
    const JxlResizableParallelRunnerPtr runner = JxlResizableParallelRunnerMake(nullptr);
    const JxlDecoderPtr owned =
        MakeDecoder(file, JXL_DEC_BASIC_INFO | JXL_DEC_COLOR_ENCODING | JXL_DEC_FULL_IMAGE);
    JxlDecoder* const decoder = owned.get();
    Check(JxlDecoderSetParallelRunner(decoder, JxlResizableParallelRunner, runner.get()));
    Check(JxlDecoderSetUnpremultiplyAlpha(decoder, JXL_TRUE));
    Await(decoder, JXL_DEC_BASIC_INFO);
    JxlBasicInfo info;
    Check(JxlDecoderGetBasicInfo(decoder, &info));
    CheckSize(info);
    RefuseInks(decoder, info);
    JxlResizableParallelRunnerSetThreads(
        runner.get(), JxlResizableParallelRunnerSuggestThreads(info.xsize, info.ysize));
    Await(decoder, JXL_DEC_COLOR_ENCODING);
    ChooseColours(decoder, info);
    DecodedPhoto photo;
    photo.colours = ReadColours(decoder);
    Await(decoder, JXL_DEC_NEED_IMAGE_OUT_BUFFER);
    photo.width = static_cast<int>(info.xsize);
    photo.height = static_cast<int>(info.ysize);
    photo.opaque = info.alpha_bits == 0;
    photo.format = FormatOf(info);
    AllocateSamples(photo);
    const JxlPixelFormat layout{kPixelBytes, DataType(photo.format), JXL_NATIVE_ENDIAN, 0};
    const std::size_t size =
        std::size_t{info.xsize} * info.ysize * kPixelBytes * BytesPerSample(photo.format);
    Check(JxlDecoderSetImageOutBuffer(decoder, &layout, photo.samples.get(), size));
    Await(decoder, JXL_DEC_FULL_IMAGE);
    return photo;
}

// The content of the first box of `file` that holds compressed EXIF data.
std::vector<std::byte> UnpackExif(Bytes file) {
    constexpr std::size_t kMost = std::size_t{16} << 20;
    const JxlDecoderPtr decoder = MakeDecoder(file, JXL_DEC_BOX);
    JxlDecoderCloseInput(decoder.get());
    if (JxlDecoderSetDecompressBoxes(decoder.get(), JXL_TRUE) != JXL_DEC_SUCCESS) return {};
    JxlBoxType type{};
    do {
        if (JxlDecoderProcessInput(decoder.get()) != JXL_DEC_BOX) return {};
        Check(JxlDecoderGetBoxType(decoder.get(), type, JXL_TRUE));
    } while (std::string_view(type, sizeof(type)) != "Exif");
    std::vector<std::byte> content(std::size_t{1} << 12);
    std::size_t filled = 0;
    for (;;) {
        Check(JxlDecoderSetBoxBuffer(decoder.get(),
                                     reinterpret_cast<std::uint8_t*>(content.data()) + filled,
                                     content.size() - filled));
        const JxlDecoderStatus status = JxlDecoderProcessInput(decoder.get());
        filled = content.size() - JxlDecoderReleaseBoxBuffer(decoder.get());
        if (status == JXL_DEC_ERROR || content.size() > kMost) return {};
        if (status != JXL_DEC_BOX_NEED_MORE_OUTPUT) break;
        content.resize(content.size() * 2);
    }
    content.resize(filled);
    return content;
}

// Only files of boxes have it.
std::vector<std::byte> ReadExif(const Bytes file) {
    for (Bytes rest = file; const std::optional<Box> box = TakeBox(rest);) {
        const bool packed = box->type == "brob" && box->content.size() >= 4 &&
                            FourCharacters(box->content) == "Exif";
        if (!packed && box->type != "Exif") continue;
        const std::vector<std::byte> unpacked =
            packed ? UnpackExif(file) : std::vector<std::byte>();
        const Bytes exif = ExifOfBox(packed ? Bytes(unpacked) : box->content);
        return {exif.begin(), exif.end()};
    }
    return {};
}

}  // namespace

std::optional<DecodedPhoto> LoadJxl(std::span<const std::byte> file) {
    if (!IsJxl(file)) return std::nullopt;
    DecodedPhoto photo = DecodePixels(file);
    photo.exif = ReadExif(file);
    return photo;
}

}  // namespace vistrel

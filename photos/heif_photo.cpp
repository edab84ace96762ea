// SPDX-License-Identifier: GPL-3.0-or-later
// HEIC, HEIF and AVIF by libheif, which also turns and mirrors them as their containers say.
#include <libheif/heif.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "photos/boxes.h"
#include "photos/heif_coded_sizes.h"
#include "photos/photo_loader.h"
#include "photos/row_bands.h"
#include "photos/straight_alpha.h"

namespace vistrel {
namespace {

using Bytes = std::span<const std::byte>;

template <auto Release>
struct Releaser {
    template <typename T>
    void operator()(T* object) const noexcept {
        Release(object);
    }
};
using Context = std::unique_ptr<heif_context, Releaser<heif_context_free>>;
using Handle = std::unique_ptr<heif_image_handle, Releaser<heif_image_handle_release>>;
using Image = std::unique_ptr<heif_image, Releaser<heif_image_release>>;
using Nclx = std::unique_ptr<heif_color_profile_nclx, Releaser<heif_nclx_color_profile_free>>;

constexpr int kHighestByteDepth = 8;

// The brands that the first box of `file` names; none where that is not what HEIF begins with.
std::vector<std::string_view> Brands(Bytes file) {
    constexpr std::size_t kMostBytes = 1024;
    std::vector<std::string_view> brands;
    const std::optional<Box> first = TakeBox(file);
    if (!first || first->type != "ftyp") return brands;
    Bytes rest = first->content.first(std::min(first->content.size(), kMostBytes));
    for (; rest.size() >= 4; rest = rest.subspan(4)) {
        brands.push_back(FourCharacters(rest));  // one of them is a version number
    }
    return brands;
}

bool HasAny(const std::vector<std::string_view>& brands,
            std::initializer_list<std::string_view> wanted) {
    return std::find_first_of(brands.begin(), brands.end(), wanted.begin(), wanted.end()) !=
           brands.end();
}

bool IsAvif(const std::vector<std::string_view>& brands) {
    return HasAny(brands, {"avif", "avis"});
}

bool IsHeif(const std::vector<std::string_view>& brands) {
    return IsAvif(brands) || HasAny(brands, {"heic", "heix", "heim", "heis", "hevc", "hevx", "hevm",
                                             "hevs", "mif1", "mif2", "msf1"});
}

// What the library could not do with a file, for the user.
class Reader {
  public:
    Reader(Bytes file, bool avif) : file_(file), avif_(avif) {}

    void Check(const heif_error& error) const {
        if (error.code != heif_error_Ok) Refuse(error);
    }

    [[noreturn]] void Refuse(const heif_error& error) const {
        if (IsCutInBox(file_)) throw PhotoError("It is cut short.");
        if (error.code == heif_error_Memory_allocation_error &&
            error.subcode != heif_suberror_Security_limit_exceeded) {
            throw PhotoError("There is not enough memory for its pixels.");
        }
        if (error.code == heif_error_Unsupported_filetype ||
            error.subcode == heif_suberror_No_meta_box) {
            throw PhotoError("It holds no picture that stands still.");
        }
        RefuseWithoutDecoder();
        const std::string message = error.message;
        const std::string reason = message.substr(0, message.find_last_not_of(". \n") + 1) + ".";
        if (error.subcode == heif_suberror_Security_limit_exceeded) {
            throw PhotoError("It is beyond what is read, 200 megapixels at most: " + reason);
        }
        throw PhotoError("It is damaged: " + reason);
    }

  private:
    void RefuseWithoutDecoder() const {
        if (avif_ && heif_have_decoder_for_format(heif_compression_AV1) == 0) {
            throw PhotoError(
                "It is an AVIF picture, and libheif has no decoder for these: install the package "
                "libheif-plugin-dav1d.");
        }
        if (!avif_ && heif_have_decoder_for_format(heif_compression_HEVC) == 0) {
            throw PhotoError(
                "It is a HEIC picture, and libheif has no decoder for these: install the package "
                "libheif-plugin-libde265.");
        }
    }

    Bytes file_;
    bool avif_;
};

// Older versions have a limit of the sides alone, which suits every photograph.
void SetLimits([[maybe_unused]] heif_context* context) {
#if LIBHEIF_HAVE_VERSION(0x01, 0x19, 0x00)
    constexpr std::uint64_t kDeepPixel = 8;
    heif_security_limits* const limits = heif_context_get_security_limits(context);
    limits->max_image_size_pixels = kMostPixels;
    limits->max_items = 1 << 13;  // that many pixels in small tiles
    limits->max_memory_block_size = (kMostPixels + (kMostPixels / 8)) * kDeepPixel;  // with edges
#endif
}

void CheckSide(int width, int height) {
    CheckPhotoSize(static_cast<std::uint64_t>(std::max(width, 0)),
                   static_cast<std::uint64_t>(std::max(height, 0)));
}

Handle OpenPrimary(heif_context* context, Bytes file, const Reader& reader) {
    reader.Check(
        heif_context_read_from_memory_without_copy(context, file.data(), file.size(), nullptr));
    heif_image_handle* handle = nullptr;
    reader.Check(heif_context_get_primary_image_handle(context, &handle));
    Handle owned(handle);
    CheckSide(heif_image_handle_get_width(handle), heif_image_handle_get_height(handle));
    // What is decoded before it is cropped.
    CheckSide(heif_image_handle_get_ispe_width(handle), heif_image_handle_get_ispe_height(handle));
    return owned;
}

// Whether a warning says that a part of the picture is missing. Others are about what the file says
// of colours, say, which differs in its two places in many good ones.
bool TellsOfLoss(const heif_error& warning) {
    return warning.code == heif_error_Decoder_plugin_error ||
           warning.subcode == heif_suberror_End_of_data ||
           warning.subcode == heif_suberror_Missing_grid_images;
}

// The decoder goes on where it can, and warns.
void CheckWarnings(heif_image* image, const Reader& reader) {
    const int count = heif_image_get_decoding_warnings(image, 0, nullptr, 0);
    std::vector<heif_error> warnings(static_cast<std::size_t>(std::max(count, 0)));
    // All of them: older versions write as many, whatever room they are told of.
    heif_image_get_decoding_warnings(image, 0, warnings.data(), count);
    const auto loss = std::ranges::find_if(warnings, TellsOfLoss);
    if (loss != warnings.end()) reader.Refuse(*loss);
}

Image Decode(const heif_image_handle* handle, const Reader& reader) {
    constexpr bool kLittle = std::endian::native == std::endian::little;
    const bool deep = heif_image_handle_get_luma_bits_per_pixel(handle) > kHighestByteDepth;
    const heif_chroma layout = !deep     ? heif_chroma_interleaved_RGBA
                               : kLittle ? heif_chroma_interleaved_RRGGBBAA_LE
                                         : heif_chroma_interleaved_RRGGBBAA_BE;
    heif_image* image = nullptr;
    reader.Check(heif_decode_image(handle, &image, heif_colorspace_RGB, layout, nullptr));
    Image owned(image);
    CheckWarnings(image, reader);
    if (heif_image_get_chroma_format(image) != layout) {
        throw PhotoError("It is damaged: its depth differs from what it says.");
    }
    return owned;
}

// `depth` bits as 16, so that full ones stay full.
void Widen(const std::uint8_t* from, std::span<std::uint16_t> widened, int depth) {
    std::memcpy(widened.data(), from, widened.size_bytes());
    constexpr int kFull = 16;
    const int up = kFull - depth;
    const int down = depth - up;
    for (std::uint16_t& sample : widened) {
        sample = static_cast<std::uint16_t>((sample << up) | (sample >> down));
    }
}

// Rows of pixels that the library has decoded, with gaps between them.
struct Rows {
    const std::uint8_t* first = nullptr;
    std::size_t stride = 0;
    int depth = 0;

    // `count` pixels to the right of `x`.
    void Copy(std::size_t y, std::size_t x, std::size_t count, std::uint8_t* to) const {
        const std::size_t samples = count * kPixelBytes;
        const std::uint8_t* const row = first + (y * stride);
        if (depth <= kHighestByteDepth) {
            std::memcpy(to, row + (x * kPixelBytes), samples);
        } else {
            Widen(row + (x * kPixelBytes * 2), {reinterpret_cast<std::uint16_t*>(to), samples},
                  depth);
        }
    }
};

Rows RowsOf(const heif_image* image) {
    int stride = 0;
    const std::uint8_t* const first =
        heif_image_get_plane_readonly(image, heif_channel_interleaved, &stride);
    const int depth = heif_image_get_bits_per_pixel_range(image, heif_channel_interleaved);
    constexpr int kFewestBits = 8;
    constexpr int kMostBits = 16;
    if (first == nullptr || depth < kFewestBits || depth > kMostBits) {
        throw PhotoError("It is damaged: it has no pixels of a known depth.");
    }
    return {first, static_cast<std::size_t>(stride), depth};
}

void CopySamples(const heif_image* image, DecodedPhoto& photo) {
    const Rows rows = RowsOf(image);
    photo.width = heif_image_get_width(image, heif_channel_interleaved);
    photo.height = heif_image_get_height(image, heif_channel_interleaved);
    photo.format = rows.depth > kHighestByteDepth ? SampleFormat::Words : SampleFormat::Bytes;
    CheckSide(photo.width, photo.height);
    AllocateSamples(photo);
    const auto width = static_cast<std::size_t>(photo.width);
    const std::size_t pixelBytes = kPixelBytes * BytesPerSample(photo.format);
    const auto copy = [&](std::size_t at, std::size_t left) {
        while (left > 0) {
            const std::size_t count = std::min(left, width - (at % width));
            rows.Copy(at / width, at % width, count, photo.samples.get() + (at * pixelBytes));
            at += count;
            left -= count;
        }
    };
    ForPixelBands(width * static_cast<std::size_t>(photo.height), copy);
}

CodedColours ReadCodedColours(const heif_image_handle* handle) {
    heif_color_profile_nclx* nclx = nullptr;
    const heif_error error = heif_image_handle_get_nclx_color_profile(handle, &nclx);
    const Nclx owned(nclx);
    if (error.code != heif_error_Ok || nclx == nullptr) return {};
    return {static_cast<int>(nclx->color_primaries),
            static_cast<int>(nclx->transfer_characteristics)};
}

PhotoColours ReadColours(const heif_image_handle* handle) {
    constexpr int kPq = 16;
    constexpr int kHlg = 18;
    PhotoColours colours;
    const CodedColours coded = ReadCodedColours(handle);
    // Profiles say little about light beyond white.
    if (coded.transfer != kPq && coded.transfer != kHlg) {
        colours.iccProfile.resize(heif_image_handle_get_raw_color_profile_size(handle));
    }
    if (!colours.iccProfile.empty() &&
        heif_image_handle_get_raw_color_profile(handle, colours.iccProfile.data()).code !=
            heif_error_Ok) {
        colours.iccProfile.clear();
    }
    if (colours.iccProfile.empty()) colours.coded = coded;
    return colours;
}

std::vector<std::byte> ReadExif(const heif_image_handle* handle) {
    heif_item_id id = 0;
    if (heif_image_handle_get_list_of_metadata_block_IDs(handle, "Exif", &id, 1) != 1) return {};
    std::vector<std::byte> block(heif_image_handle_get_metadata_size(handle, id));
    if (heif_image_handle_get_metadata(handle, id, block.data()).code != heif_error_Ok) return {};
    const Bytes exif = ExifOfBox(block);
    return {exif.begin(), exif.end()};
}

}  // namespace

std::optional<DecodedPhoto> LoadHeif(std::span<const std::byte> file) {
    const std::vector<std::string_view> brands = Brands(file);
    if (!IsHeif(brands)) return std::nullopt;
    CheckCodedSizes(file);
    const Reader reader(file, IsAvif(brands));
    const Context context(heif_context_alloc());
    if (!context) throw PhotoError("There is not enough memory for its pixels.");
    SetLimits(context.get());
    const Handle handle = OpenPrimary(context.get(), file, reader);
    const Image image = Decode(handle.get(), reader);
    DecodedPhoto photo;
    CopySamples(image.get(), photo);
    photo.opaque = heif_image_handle_has_alpha_channel(handle.get()) == 0;
    if (heif_image_handle_is_premultiplied_alpha(handle.get()) != 0) MakeAlphaStraight(photo);
    photo.colours = ReadColours(handle.get());
    photo.exif = ReadExif(handle.get());
    return photo;
}

}  // namespace vistrel

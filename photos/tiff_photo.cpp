// SPDX-License-Identifier: GPL-3.0-or-later
// TIFF by libtiff. Strips and tiles are read as they are, so that no depth is lost; what is coded
// in other ways than grey, red, green and blue or inks goes through the library's own conversion.
#include <tiffio.h>

#include <algorithm>
#include <bit>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

#include "photos/photo_loader.h"
#include "photos/straight_alpha.h"
#include "photos/tiff_directories.h"
#include "photos/tiff_samples.h"

namespace vistrel {
namespace {

// A strip may be the whole picture, with four samples of 16 bits.
constexpr std::uint64_t kMostBlockBytes = kMostPixels * 8;
constexpr std::uint32_t kMostTileSide = 4096;  // for pictures that are smaller than that
constexpr int kMostSamples = 64;
constexpr int kMostPages = 64;

// What libtiff reads from; it asks for the map, and for single bytes only where it has none.
struct Source {
    std::span<const std::byte> file;
    std::uint64_t position = 0;
    std::string error;  // the first one
};

tmsize_t Read(thandle_t handle, void* to, tmsize_t bytes) {
    Source& source = *static_cast<Source*>(handle);
    if (bytes <= 0 || source.position >= source.file.size()) return 0;
    const std::size_t count = std::min<std::size_t>(static_cast<std::size_t>(bytes),
                                                    source.file.size() - source.position);
    std::memcpy(to, source.file.data() + source.position, count);
    source.position += count;
    return static_cast<tmsize_t>(count);
}

tmsize_t Write(thandle_t /*handle*/, void* /*from*/, tmsize_t /*bytes*/) {
    return 0;
}

toff_t Seek(thandle_t handle, toff_t offset, int whence) {
    Source& source = *static_cast<Source*>(handle);
    const std::uint64_t base = whence == SEEK_CUR   ? source.position
                               : whence == SEEK_END ? source.file.size()
                                                    : 0;
    source.position = base + offset;
    return source.position;
}

int Close(thandle_t /*handle*/) {
    return 0;
}

toff_t Size(thandle_t handle) {
    return static_cast<Source*>(handle)->file.size();
}

// Nothing is ever written into the map.
int Map(thandle_t handle, void** map, toff_t* size) {
    const Source& source = *static_cast<Source*>(handle);
    *map = const_cast<std::byte*>(source.file.data());
    *size = source.file.size();
    return 1;
}

void Unmap(thandle_t /*handle*/, void* /*map*/, toff_t /*size*/) {}

int KeepError(TIFF* /*tiff*/, void* data, const char* /*module*/, const char* format,
              va_list arguments) {
    std::string& error = static_cast<Source*>(data)->error;
    if (!error.empty()) return 1;
    constexpr std::size_t kLongest = 512;
    char text[kLongest];
    std::vsnprintf(text, sizeof text, format, arguments);
    error = text;
    error.erase(error.find_last_not_of(" .!\n") + 1);
    return 1;  // nobody else hears of it
}

int IgnoreWarning(TIFF* /*tiff*/, void* /*data*/, const char* /*module*/, const char* /*format*/,
                  va_list /*arguments*/) {
    return 1;
}

class TiffReader {
  public:
    explicit TiffReader(std::span<const std::byte> file) : source_{file, 0, {}} {
        const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(
            TIFFOpenOptionsAlloc(), TIFFOpenOptionsFree);
        if (!options) throw std::bad_alloc();
        TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), static_cast<tmsize_t>(kMostBlockBytes));
        TIFFOpenOptionsSetErrorHandlerExtR(options.get(), KeepError, &source_);
        TIFFOpenOptionsSetWarningHandlerExtR(options.get(), IgnoreWarning, nullptr);
        tiff_.reset(TIFFClientOpenExt("", "r", &source_, Read, Write, Seek, Close, Size, Map, Unmap,
                                      options.get()));
        if (!tiff_) ThrowDamaged();
    }

    DecodedPhoto Load() {
        ChooseFullPicture();
        width_ = Number<std::uint32_t>(TIFFTAG_IMAGEWIDTH);
        height_ = Number<std::uint32_t>(TIFFTAG_IMAGELENGTH);
        CheckPhotoSize(width_, height_);
        CheckCodec();
        const bool plain = DescribePixels();
        CheckBlocks();
        CheckNotCut();
        DecodedPhoto photo;
        photo.width = static_cast<int>(width_);
        photo.height = static_cast<int>(height_);
        photo.orientation = Orientation();
        if (plain) {
            LoadBlocks(photo);
        } else {
            LoadConverted(photo);
        }
        return photo;
    }

  private:
    template <typename T>
    T Number(std::uint32_t tag) {
        T value{};
        TIFFGetFieldDefaulted(tiff_.get(), tag, &value);
        return value;
    }

    [[noreturn]] void ThrowDamaged() const {
        if (source_.error.empty()) throw PhotoError("It is damaged.");
        throw PhotoError("It is damaged: " + source_.error + ".");
    }

    // The first page that is not a smaller one or a mask of another; without such the first.
    void ChooseFullPicture() {
        for (int page = 0; page < kMostPages; ++page) {
            const auto kind = Number<std::uint32_t>(TIFFTAG_SUBFILETYPE);
            if ((kind & (FILETYPE_REDUCEDIMAGE | FILETYPE_MASK)) == 0) return;
            if (TIFFReadDirectory(tiff_.get()) != 1) break;
        }
        if (TIFFSetDirectory(tiff_.get(), 0) != 1) ThrowDamaged();
    }

    void CheckCodec() {
        const auto compression = Number<std::uint16_t>(TIFFTAG_COMPRESSION);
        if (TIFFIsCODECConfigured(compression) == 1) return;
        const TIFFCodec* const codec = TIFFFindCODEC(compression);
        const std::string name =
            codec == nullptr ? "no. " + std::to_string(compression) : std::string(codec->name);
        throw PhotoError("Its compression (" + name + ") is not known to the TIFF library.");
    }

    [[nodiscard]] bool IsTiled() const { return TIFFIsTiled(tiff_.get()) != 0; }

    void CheckNotCut() {
        const std::uint64_t size = source_.file.size();
        const std::uint32_t count =
            IsTiled() ? TIFFNumberOfTiles(tiff_.get()) : TIFFNumberOfStrips(tiff_.get());
        for (std::uint32_t i = 0; i < count; ++i) {
            int failed = 0;
            const std::uint64_t offset = TIFFGetStrileOffsetWithErr(tiff_.get(), i, &failed);
            if (failed != 0) ThrowDamaged();
            const std::uint64_t bytes = TIFFGetStrileByteCountWithErr(tiff_.get(), i, &failed);
            if (failed != 0) ThrowDamaged();
            if (offset > size || bytes > size - offset) throw PhotoError("It is cut short.");
        }
    }

    int Orientation() {
        const int orientation = Number<std::uint16_t>(TIFFTAG_ORIENTATION);
        return orientation >= ORIENTATION_TOPLEFT && orientation <= ORIENTATION_LEFTBOT
                   ? orientation
                   : ORIENTATION_TOPLEFT;
    }

    // False: the library has to convert them.
    bool DescribePixels();
    bool DescribeKind();
    void FindAlpha();
    void ReadPalette();

    // Nothing is read into more memory than the picture's size explains.
    void CheckBlocks() {
        if (IsTiled()) {
            const std::uint32_t most = std::max({width_, height_, kMostTileSide});
            const auto width = Number<std::uint32_t>(TIFFTAG_TILEWIDTH);
            const auto height = Number<std::uint32_t>(TIFFTAG_TILELENGTH);
            constexpr std::uint32_t kRounding = 16;
            if (width == 0 || height == 0 || width > most + kRounding ||
                height > most + kRounding) {
                throw PhotoError("It is damaged: its tiles have " + std::to_string(width) + " x " +
                                 std::to_string(height) + " pixels.");
            }
        }
        const std::uint64_t bytes =
            IsTiled() ? TIFFTileSize64(tiff_.get()) : TIFFStripSize64(tiff_.get());
        if (bytes == 0) ThrowDamaged();
        if (bytes > kMostBlockBytes) throw PhotoError("It has too many samples for each pixel.");
    }

    void LoadBlocks(DecodedPhoto& photo);
    void LoadStrips(DecodedPhoto& photo, int plane, std::byte* block);
    void LoadTiles(DecodedPhoto& photo, int plane, std::byte* block);
    void LoadConverted(DecodedPhoto& photo);
    void TellColours(DecodedPhoto& photo);

    Source source_;
    std::unique_ptr<TIFF, decltype(&TIFFClose)> tiff_{nullptr, TIFFClose};
    std::uint32_t width_ = 0;
    std::uint32_t height_ = 0;
    TiffPixels pixels_;
    bool multiplied_ = false;  // the colours, by their alpha
};

bool TiffReader::DescribePixels() {
    pixels_.bits = Number<std::uint16_t>(TIFFTAG_BITSPERSAMPLE);
    pixels_.samples = Number<std::uint16_t>(TIFFTAG_SAMPLESPERPIXEL);
    pixels_.planes = Number<std::uint16_t>(TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE;
    if (pixels_.samples > kMostSamples) {
        throw PhotoError("It has too many samples for each pixel.");
    }
    if (!DescribeKind()) return false;
    const auto format = Number<std::uint16_t>(TIFFTAG_SAMPLEFORMAT);
    pixels_.floats = format == SAMPLEFORMAT_IEEEFP;
    const bool whole = format == SAMPLEFORMAT_UINT || format == SAMPLEFORMAT_VOID;
    if (!whole && !pixels_.floats) {
        throw PhotoError("Its samples are signed or complex numbers, which are not read.");
    }
    const int bits = pixels_.bits;
    const bool known = pixels_.floats ? bits == 16 || bits == 32 || bits == 64
                                      : (bits >= 1 && bits <= 16) || bits == 32;
    if (!known || (pixels_.kind == TiffPixels::Kind::Palette && (bits > 8 || pixels_.floats))) {
        throw PhotoError("Its samples have " + std::to_string(bits) +
                         " bits each, which is not read.");
    }
    if (pixels_.kind == TiffPixels::Kind::Palette) ReadPalette();
    FindAlpha();
    return true;
}

bool TiffReader::DescribeKind() {
    using Kind = TiffPixels::Kind;
    std::uint16_t photometric = pixels_.samples < 3 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB;
    TIFFGetField(tiff_.get(), TIFFTAG_PHOTOMETRIC, &photometric);
    // The JPEG decoder gives red, green and blue of its own, with every pixel's colour.
    if (photometric == PHOTOMETRIC_YCBCR && !pixels_.planes &&
        Number<std::uint16_t>(TIFFTAG_COMPRESSION) == COMPRESSION_JPEG) {
        TIFFSetField(tiff_.get(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        photometric = PHOTOMETRIC_RGB;
    }
    switch (photometric) {
        case PHOTOMETRIC_MINISWHITE:
        case PHOTOMETRIC_MINISBLACK:
            pixels_.whiteIsZero = photometric == PHOTOMETRIC_MINISWHITE;
            pixels_.kind = Kind::Grey;
            return true;
        case PHOTOMETRIC_PALETTE:
            pixels_.kind = Kind::Palette;
            return true;
        case PHOTOMETRIC_RGB:
            pixels_.kind = Kind::Rgb;
            break;
        case PHOTOMETRIC_SEPARATED:
            if (Number<std::uint16_t>(TIFFTAG_INKSET) != INKSET_CMYK) return false;
            pixels_.kind = Kind::Cmyk;
            break;
        default:
            return false;
    }
    const int colours = pixels_.kind == Kind::Rgb ? 3 : 4;
    if (pixels_.samples < colours) {
        throw PhotoError("It is damaged: it has " + std::to_string(pixels_.samples) +
                         " samples for each pixel.");
    }
    return true;
}

void TiffReader::FindAlpha() {
    std::uint16_t count = 0;
    const std::uint16_t* kinds = nullptr;
    if (pixels_.kind == TiffPixels::Kind::Cmyk ||
        TIFFGetField(tiff_.get(), TIFFTAG_EXTRASAMPLES, &count, &kinds) != 1) {
        return;
    }
    for (int i = 0; i < count; ++i) {
        const int sample = pixels_.samples - count + i;
        const bool isAlpha =
            kinds[i] == EXTRASAMPLE_ASSOCALPHA || kinds[i] == EXTRASAMPLE_UNASSALPHA;
        if (!isAlpha || IsShown(pixels_, sample)) continue;
        multiplied_ = kinds[i] == EXTRASAMPLE_ASSOCALPHA;
        pixels_.alpha = sample;
        return;
    }
}

void TiffReader::ReadPalette() {
    const std::uint16_t* colours[3] = {};
    if (TIFFGetField(tiff_.get(), TIFFTAG_COLORMAP, &colours[0], &colours[1], &colours[2]) != 1) {
        throw PhotoError("It is damaged: it has no palette.");
    }
    const std::size_t count = std::size_t{1} << pixels_.bits;
    std::uint16_t most = 0;
    for (const std::uint16_t* colour : colours) {
        most = std::max(most, *std::max_element(colour, colour + count));
    }
    const int shift = most > UINT8_MAX ? 8 : 0;  // some programs write the bytes themselves
    for (std::size_t i = 0; i < count; ++i) {
        for (const std::uint16_t* colour : colours) {
            pixels_.palette.push_back(static_cast<std::uint8_t>(colour[i] >> shift));
        }
    }
}

void TiffReader::LoadBlocks(DecodedPhoto& photo) {
    photo.format = FormatFor(pixels_);
    if (pixels_.kind == TiffPixels::Kind::Cmyk) photo.model = ColourModel::Cmyk;
    photo.opaque = pixels_.alpha < 0;
    AllocateSamples(photo);
    const tmsize_t bytes = IsTiled() ? TIFFTileSize(tiff_.get()) : TIFFStripSize(tiff_.get());
    const PixelBuffer block =
        TryAllocatePixels((static_cast<std::size_t>(bytes) / kPixelBytes) + 1);
    if (!block) throw PhotoError("There is not enough memory for its pixels.");
    auto* const samples = reinterpret_cast<std::byte*>(block.get());
    for (int plane = 0; plane < (pixels_.planes ? pixels_.samples : 1); ++plane) {
        if (!IsShown(pixels_, plane)) continue;
        if (IsTiled()) {
            LoadTiles(photo, plane, samples);
        } else {
            LoadStrips(photo, plane, samples);
        }
    }
    if (multiplied_) MakeAlphaStraight(photo);
    TellColours(photo);
}

void TiffReader::LoadStrips(DecodedPhoto& photo, int plane, std::byte* block) {
    const std::uint32_t most = std::min(height_, Number<std::uint32_t>(TIFFTAG_ROWSPERSTRIP));
    const tmsize_t rowBytes = TIFFScanlineSize(tiff_.get());
    if (most == 0 || rowBytes <= 0) ThrowDamaged();
    for (std::uint32_t top = 0; top < height_; top += most) {
        const std::uint32_t rows = std::min(most, height_ - top);
        const tmsize_t bytes = rowBytes * static_cast<tmsize_t>(rows);
        const std::uint32_t strip =
            TIFFComputeStrip(tiff_.get(), top, static_cast<std::uint16_t>(plane));
        if (TIFFReadEncodedStrip(tiff_.get(), strip, block, bytes) != bytes) ThrowDamaged();
        for (std::uint32_t row = 0; row < rows; ++row) {
            PutTiffRow(pixels_, block + (rowBytes * static_cast<tmsize_t>(row)), plane, photo.width,
                       photo, 0, static_cast<int>(top + row));
        }
    }
}

void TiffReader::LoadTiles(DecodedPhoto& photo, int plane, std::byte* block) {
    const auto width = Number<std::uint32_t>(TIFFTAG_TILEWIDTH);
    const auto height = Number<std::uint32_t>(TIFFTAG_TILELENGTH);
    const tmsize_t bytes = TIFFTileSize(tiff_.get());
    const tmsize_t rowBytes = TIFFTileRowSize(tiff_.get());
    if (rowBytes <= 0 || bytes < rowBytes * static_cast<tmsize_t>(height)) ThrowDamaged();
    for (std::uint32_t top = 0; top < height_; top += height) {
        for (std::uint32_t left = 0; left < width_; left += width) {
            const std::uint32_t tile =
                TIFFComputeTile(tiff_.get(), left, top, 0, static_cast<std::uint16_t>(plane));
            if (TIFFReadEncodedTile(tiff_.get(), tile, block, bytes) != bytes) ThrowDamaged();
            const std::uint32_t rows = std::min(height, height_ - top);
            const auto count = static_cast<int>(std::min(width, width_ - left));
            for (std::uint32_t row = 0; row < rows; ++row) {
                PutTiffRow(pixels_, block + (rowBytes * static_cast<tmsize_t>(row)), plane, count,
                           photo, static_cast<int>(left), static_cast<int>(top + row));
            }
        }
    }
}

// 8 bits whatever the file has, multiplied by alpha.
void TiffReader::LoadConverted(DecodedPhoto& photo) {
    constexpr std::size_t kLongest = 1024;
    char reason[kLongest] = "";
    if (TIFFRGBAImageOK(tiff_.get(), reason) != 1) {
        throw PhotoError("Its kind of pixels is not read: " + std::string(reason) + ".");
    }
    AllocateSamples(photo);
    // The orientation that it has anyway: the library turns nothing.
    constexpr int kStopOnError = 1;
    if (TIFFReadRGBAImageOriented(tiff_.get(), width_, height_,
                                  reinterpret_cast<std::uint32_t*>(photo.samples.get()),
                                  photo.orientation, kStopOnError) != 1) {
        ThrowDamaged();
    }
    static_assert(std::endian::native == std::endian::little, "red is a number's lowest byte");
    std::uint16_t extra = 0;
    const std::uint16_t* kinds = nullptr;
    TIFFGetField(tiff_.get(), TIFFTAG_EXTRASAMPLES, &extra, &kinds);
    photo.opaque = extra == 0;
    if (!photo.opaque) MakeAlphaStraight(photo);
    if (Number<std::uint16_t>(TIFFTAG_PHOTOMETRIC) == PHOTOMETRIC_YCBCR) TellColours(photo);
}

void TiffReader::TellColours(DecodedPhoto& photo) {
    std::uint32_t bytes = 0;
    const std::byte* profile = nullptr;
    if (TIFFGetField(tiff_.get(), TIFFTAG_ICCPROFILE, &bytes, &profile) == 1) {
        photo.colours.iccProfile.assign(profile, profile + bytes);
    } else if (photo.format == SampleFormat::Floats) {
        constexpr int kSrgbPrimaries = 1;
        constexpr int kLinear = 8;
        photo.colours.coded = {kSrgbPrimaries, kLinear};
    }
}

}  // namespace

std::optional<DecodedPhoto> LoadTiff(std::span<const std::byte> file) {
    switch (KindOfTiff(file)) {
        case TiffKind::Other:
        case TiffKind::CameraRaw:
            return {};
        case TiffKind::Cut:
            throw PhotoError("It is cut short.");
        case TiffKind::Picture:
            break;
    }
    return TiffReader(file).Load();
}

}  // namespace vistrel

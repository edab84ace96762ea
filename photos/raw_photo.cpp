// SPDX-License-Identifier: GPL-3.0-or-later
// Camera raw, developed by libraw as the camera would: its white balance, its colours as sRGB,
// turned upright.
#include <libraw/libraw.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "photos/raw_process.h"

namespace vistrel {
namespace {

// Half as wide and high is still twice the network's side: each pixel of the sensor's pattern then
// makes one of the picture, which needs no guessing of colours.
constexpr int kEnoughSide = 2 * 1536;
constexpr int kColours = 3;

// libraw writes over its own memory when a directory tells 36 filters and did not tell before that
// they are 6 x 6. So it gets a copy of such a file that tells fewer, and the pattern afterwards.
// Tags are looked for everywhere, since each maker puts directories elsewhere.
class SixBySixFilters {
  public:
    using Pattern = std::array<std::array<char, 6>, 6>;

    explicit SixBySixFilters(std::span<const std::byte> file) : file_(file) {
        using namespace std::string_view_literals;
        constexpr std::string_view kLittle = "\x24\0\0\0"sv;
        constexpr std::string_view kBig = "\0\0\0\x24"sv;
        // CFAPattern behind CFARepeatPatternDim of two SHORT, and Kodak's own tag.
        Find("\x8E\x82"sv, kLittle, "\x8D\x82\x03\0\x02\0\0\0\x06\0\x06\0"sv);
        Find("\x82\x8E"sv, kBig, "\x82\x8D\0\x03\0\0\0\x02\0\x06\0\x06"sv);
        Find("\x09\xFD"sv, kLittle, {});
        Find("\xFD\x09"sv, kBig, {});
    }

    // What libraw may read.
    [[nodiscard]] std::span<const std::byte> File() const { return copy_.empty() ? file_ : copy_; }

    [[nodiscard]] const std::optional<Pattern>& Told() const { return pattern_; }

  private:
    void Find(std::string_view tag, std::string_view count, std::string_view sides) {
        constexpr std::size_t kCountInEntry = 4;
        const std::string_view file(reinterpret_cast<const char*>(file_.data()), file_.size());
        for (std::size_t at = file.find(tag); at != file.npos; at = file.find(tag, at + 1)) {
            const std::size_t counted = at + kCountInEntry;
            if (!file.substr(std::min(counted, file.size())).starts_with(count)) continue;
            if (copy_.empty()) copy_.assign(file_.begin(), file_.end());
            constexpr std::byte kFew{16};
            copy_[counted + count.find('\x24')] = kFew;
            const bool big = count.front() == '\0';
            if (!sides.empty() && file.substr(0, at).ends_with(sides)) Read(counted + 4, big);
        }
    }

    // The pattern whose offset is at `place`.
    void Read(std::size_t place, bool bigEndian) {
        constexpr std::size_t kOffsetBytes = 4;
        if (pattern_ || place + kOffsetBytes > file_.size()) return;
        std::size_t offset = 0;
        for (std::size_t i = 0; i < kOffsetBytes; ++i) {
            const std::size_t byte = bigEndian ? i : kOffsetBytes - 1 - i;
            offset = (offset << 8) | std::to_integer<std::size_t>(file_[place + byte]);
        }
        Pattern pattern;
        if (offset > file_.size() || sizeof pattern > file_.size() - offset) return;
        for (auto& row : pattern) {
            for (char& colour : row) {
                colour = std::to_integer<char>(file_[offset++]);
                if (colour < 0 || colour >= kColours) return;
            }
        }
        pattern_ = pattern;
    }

    std::span<const std::byte> file_;
    std::vector<std::byte> copy_;
    std::optional<Pattern> pattern_;
};

class RawDeveloper {
  public:
    explicit RawDeveloper(std::span<const std::byte> file) : filters_(file) {
        raw_->set_dataerror_handler(NoteDamage, this);
        libraw_output_params_t& output = raw_->imgdata.params;
        output.use_camera_wb = 1;  // where it tells none, libraw balances by the picture
        output.output_color = 1;   // sRGB
        output.output_bps = 8;
        output.gamm[0] = 1 / 2.4;  // sRGB's curve and its steepness near black
        output.gamm[1] = 12.92;
        // Four samples of 16 bits for each pixel that is allowed, and for the sensor's rim.
        constexpr auto kMegabytes = static_cast<unsigned int>((kMostPixels * 9 >> 20) + 1);
#if LIBRAW_COMPILE_CHECK_VERSION_NOTLESS(0, 21)
        raw_->imgdata.rawparams.max_raw_memory_mb = kMegabytes;
#else
        output.max_raw_memory_mb = kMegabytes;
#endif
    }

    // False: libraw does not know the file.
    bool Open() {
        const std::span<const std::byte> file = filters_.File();
        // It reads alone.
        const int code = raw_->open_buffer(const_cast<std::byte*>(file.data()), file.size());
        if (code == LIBRAW_FILE_UNSUPPORTED) return false;
        Require(code);
        return true;
    }

    DecodedPhoto Develop() {
        const libraw_image_sizes_t& sizes = raw_->imgdata.sizes;
        CheckPhotoSize(sizes.width, sizes.height);
        // The sensor has a rim that is not shown.
        CheckPhotoSize(sizes.raw_width / 2, sizes.raw_height);
        TakePattern();
        const bool halved = sizes.width / 2 > kEnoughSide && sizes.height / 2 > kEnoughSide &&
                            raw_->imgdata.idata.filters != 0;
        raw_->imgdata.params.half_size = halved ? 1 : 0;
        Require(raw_->unpack());
        if (cut_) throw PhotoError("It is cut short.");
        Require(raw_->dcraw_process());
        DecodedPhoto photo = Copied();
        photo.reduction = halved ? 2 : 1;
        return photo;
    }

  private:
    void TakePattern() {
        libraw_iparams_t& told = raw_->imgdata.idata;
        const libraw_image_sizes_t& sizes = raw_->imgdata.sizes;
        constexpr unsigned int kSixBySix = 9;
        if (filters_.Told() && told.filters != 0) {
            const SixBySixFilters::Pattern& pattern = *filters_.Told();
            told.filters = kSixBySix;
            told.colors = kColours;
            for (std::size_t y = 0; y < pattern.size(); ++y) {
                for (std::size_t x = 0; x < pattern.size(); ++x) {
                    told.xtrans_abs[y][x] = pattern[y][x];
                    told.xtrans[y][x] = pattern[(y + sizes.top_margin) % pattern.size()]
                                               [(x + sizes.left_margin) % pattern.size()];
                }
            }
        }
        if (told.filters != kSixBySix) return;
        for (const auto& row : told.xtrans) {
            for (const int colour : row) {
                if (colour < 0 || colour >= kColours) throw PhotoError("It is damaged.");
            }
        }
    }

    // The offset's type differs between versions of libraw.
    template <typename Offset>
    static void NoteDamage(void* developer, const char* /*file*/, Offset offset) {
        if (offset < 0) static_cast<RawDeveloper*>(developer)->cut_ = true;
    }

    void Require(int code) const {
        if (code == LIBRAW_SUCCESS) return;
        if (code == LIBRAW_UNSUFFICIENT_MEMORY) {
            throw PhotoError("There is not enough memory for its pixels.");
        }
        if (cut_) throw PhotoError("It is cut short.");
        if (code == LIBRAW_IO_ERROR) throw PhotoError("It is cut short or damaged.");
        throw PhotoError("It cannot be developed: " + std::string(libraw_strerror(code)) + ".");
    }

    DecodedPhoto Copied() {
        DecodedPhoto photo;
        int colours = 0;
        int bits = 0;
        raw_->get_mem_image_format(&photo.width, &photo.height, &colours, &bits);
        if (bits != 8 || (colours != 1 && colours != kColours)) {
            throw PhotoError("It cannot be developed: it has " + std::to_string(colours) +
                             " colours.");
        }
        photo.opaque = true;
        AllocateSamples(photo);
        const std::size_t rowBytes = static_cast<std::size_t>(photo.width) * kPixelBytes;
        Require(raw_->copy_mem_image(photo.samples.get(), static_cast<int>(rowBytes), 0));
        for (int y = 0; y < photo.height; ++y) {
            Widen(photo.samples.get() + (static_cast<std::size_t>(y) * rowBytes), photo.width,
                  colours);
        }
        return photo;
    }

    // From one or three bytes for each pixel to four, in place.
    static void Widen(std::uint8_t* row, int width, int colours) {
        for (int x = width - 1; x >= 0; --x) {
            const std::uint8_t* const from = row + (static_cast<std::ptrdiff_t>(x) * colours);
            const std::uint8_t red = from[0];
            const std::uint8_t green = colours == 1 ? red : from[1];
            const std::uint8_t blue = colours == 1 ? red : from[2];
            std::uint8_t* const to = row + (static_cast<std::ptrdiff_t>(x) * kPixelBytes);
            to[0] = red;
            to[1] = green;
            to[2] = blue;
            to[3] = UINT8_MAX;
        }
    }

    SixBySixFilters filters_;
    bool cut_ = false;
    std::unique_ptr<LibRaw> raw_ = std::make_unique<LibRaw>();  // too large for a stack
};

}  // namespace

std::optional<DecodedPhoto> DevelopRaw(std::span<const std::byte> file) {
    if (file.empty()) return {};
    RawDeveloper developer(file);
    if (!developer.Open()) return {};
    return developer.Develop();
}

std::optional<DecodedPhoto> LoadRaw(std::span<const std::byte> file) {
    return LoadInOwnProcess(DevelopRaw, file);
}

}  // namespace vistrel

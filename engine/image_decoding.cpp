// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/image_decoding.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>

// Where a damaged file ends early, or uses colours that its palette lacks, the decoder hands out
// memory that it never wrote: zeros then, the same every time and nothing of the program's. Large
// blocks come from the system zeroed, so that this costs nothing.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast"  // of what the last of these gives back
#define STBI_MALLOC(size) std::calloc(1, size)
#define STBI_FREE(memory) std::free(memory)
#define STBI_REALLOC(memory, size) std::realloc(memory, size)
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#include <stb_image.h>
#pragma GCC diagnostic pop

namespace vistrel {

namespace {

std::runtime_error Failure(const char* reason) {
    return std::runtime_error(std::string("stb_image failed to load (")
                                  .append(reason != nullptr ? reason : "unknown reason")
                                  .append(")"));
}

// Asked of pictures without alpha, too: a colour that the palette lacks comes with none.
bool IsOpaque(const Picture& picture) {
    const auto pixels =
        static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height);
    unsigned int all = 255;
    for (std::size_t i = 0; i < pixels; ++i) {
        all &= picture.pixels[(i * kPixelBytes) + (kPixelBytes - 1)];
    }
    return all == 255;
}

// The decoder's view of a file in memory, which behaves as a file on disk does. The decoder reads
// ahead into one block of its own, the one of its first call, and takes there what it gets;
// anywhere else it needs all that it asks for.
class StrictFile {
  public:
    explicit StrictFile(std::span<const std::byte> file) : file_(file) {}

    // Whether the decoder needed what lies behind the end.
    [[nodiscard]] bool ReadPastEnd() const { return readPastEnd_; }

    static int Read(void* self, char* to, int size) {
        return static_cast<StrictFile*>(self)->ReadBytes(to, static_cast<std::size_t>(size));
    }

    static void Skip(void* self, int size) {
        auto& file = *static_cast<StrictFile*>(self);
        file.position_ += std::min(static_cast<std::size_t>(size), file.Left());
        file.atEnd_ = file.Left() == 0;
    }

    static int IsAtEnd(void* self) { return static_cast<StrictFile*>(self)->atEnd_ ? 1 : 0; }

  private:
    [[nodiscard]] std::size_t Left() const { return file_.size() - position_; }

    int ReadBytes(char* to, std::size_t size) {
        if (readAhead_ == nullptr) readAhead_ = to;
        const std::size_t read = std::min(size, Left());
        if (read == 0 || (read < size && to != readAhead_)) readPastEnd_ = true;
        if (read < size) atEnd_ = true;
        if (read > 0) std::memcpy(to, file_.data() + position_, read);
        position_ += read;
        return static_cast<int>(read);
    }

    std::span<const std::byte> file_;
    std::size_t position_ = 0;
    const char* readAhead_ = nullptr;
    bool atEnd_ = false;  // as std::feof
    bool readPastEnd_ = false;
};

constexpr stbi_io_callbacks kStrictCalls = {StrictFile::Read, StrictFile::Skip,
                                            StrictFile::IsAtEnd};

bool HasNoAlpha(int channelsInFile) {
    // One channel is grey and three are red, green and blue: the decoder filled in the alpha.
    return channelsInFile == STBI_grey || channelsInFile == STBI_rgb;
}

bool IsJpeg(std::span<const std::byte> file) {
    return file.size() > 2 && file[0] == std::byte{0xFF} && file[1] == std::byte{0xD8};
}

void RequirePicture(const Picture& picture, const StrictFile& file) {
    if (file.ReadPastEnd()) throw PictureCutShort("cut short");
    if (!picture.pixels) {
        const char* const reason = stbi_failure_reason();
        throw std::runtime_error(reason != nullptr ? reason : "unknown reason");
    }
    if (picture.width < 1 || picture.height < 1) throw std::runtime_error("no pixels");
}

}  // namespace

Picture DecodePicture(std::FILE* file) {
    int width = 0;
    int height = 0;
    int channelsInFile = 0;
    PixelBuffer pixels(stbi_load_from_file(file, &width, &height, &channelsInFile, STBI_rgb_alpha));
    if (!pixels) throw Failure(stbi_failure_reason());
    // To the decoder a read error is an early end, which some formats bear: half a picture.
    if (std::ferror(file) != 0) throw Failure("read error");
    // Not every format's reader minds a side of no pixels.
    if (width < 1 || height < 1) throw Failure("no pixels");

    Picture picture = {std::move(pixels), width, height};
    picture.opaque = HasNoAlpha(channelsInFile) && IsOpaque(picture);
    return picture;
}

std::optional<PictureFacts> ReadPictureFacts(std::span<const std::byte> file) {
    StrictFile strict(file);
    PictureFacts facts;
    int channels = 0;
    if (stbi_info_from_callbacks(&kStrictCalls, &strict, &facts.width, &facts.height, &channels) ==
        0) {
        return std::nullopt;
    }
    StrictFile again(file);
    facts.deep = stbi_is_16_bit_from_callbacks(&kStrictCalls, &again) != 0;
    return facts;
}

Picture DecodeWholePicture(std::span<const std::byte> file) {
    StrictFile strict(file);
    Picture picture;
    int channels = 0;
    picture.pixels.reset(stbi_load_from_callbacks(&kStrictCalls, &strict, &picture.width,
                                                  &picture.height, &channels, STBI_rgb_alpha));
    RequirePicture(picture, strict);
    // JPEG has neither alpha nor palettes, and looking at every pixel takes time.
    picture.opaque = HasNoAlpha(channels) && (IsJpeg(file) || IsOpaque(picture));
    return picture;
}

Picture DecodeDeepPicture(std::span<const std::byte> file) {
    StrictFile strict(file);
    Picture picture;
    int channels = 0;
    picture.pixels.reset(reinterpret_cast<std::uint8_t*>(stbi_load_16_from_callbacks(
        &kStrictCalls, &strict, &picture.width, &picture.height, &channels, STBI_rgb_alpha)));
    RequirePicture(picture, strict);
    return picture;
}

}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/pictures/movie_file.h"

#include <cmath>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "base/new_file.h"
#include "render/pictures/ffmpeg_process.h"

namespace vistrel {
namespace {

using Words = std::vector<std::string>;

void Append(Words& words, const Words& more) {
    words.insert(words.end(), more.begin(), more.end());
}

// How H.264 names the arrangements in which the left eye's picture is the first.
const char* FramePacking(StereoLayout layout) {
    switch (layout) {
        case StereoLayout::Checkerboard:
            return "0";
        case StereoLayout::Columns:
            return "1";
        case StereoLayout::Rows:
            return "2";
        case StereoLayout::SideBySide:
        case StereoLayout::HalfSideBySide:
            return "3";
        case StereoLayout::OverUnder:
        case StereoLayout::HalfOverUnder:
            return "4";
        default:
            return nullptr;
    }
}

// How WebM names those that it has.
const char* WebmStereoMode(StereoLayout layout) {
    switch (layout) {
        case StereoLayout::SideBySide:
        case StereoLayout::HalfSideBySide:
            return "left_right";
        case StereoLayout::Crossed:
            return "right_left";
        case StereoLayout::OverUnder:
        case StereoLayout::HalfOverUnder:
            return "top_bottom";
        default:
            return nullptr;
    }
}

// WebM's players show one eye's picture in the shape that its pixels have.
const char* PixelShape(StereoLayout layout) {
    switch (layout) {
        case StereoLayout::HalfSideBySide:
            return "2";
        case StereoLayout::HalfOverUnder:
            return "1/2";
        default:
            return "1";
    }
}

// An encoder's measure of loss: 0 is without any, `most` as much as there can be.
std::string LossOf(int quality, double most, double least) {
    const double share = static_cast<double>(quality) / kBestQuality;
    return std::to_string(std::lround(most + (least - most) * share));
}

// The colours that players expect of pictures of this size.
const std::string kToVideoColors = "scale=out_color_matrix=bt709:out_range=tv,format=yuv420p";
const Words kVideoColors = {"-color_primaries", "bt709", "-color_trc",   "bt709",
                            "-colorspace",      "bt709", "-color_range", "tv"};

Words Mp4Words(const MovieOptions& options) {
    Words words = {"-vf",     kToVideoColors, "-c:v", "libx264",
                   "-preset", "medium",       "-crf", LossOf(options.quality, 51, 15)};
    Append(words, kVideoColors);
    if (const char* packing = FramePacking(options.layout)) {
        Append(words, {"-x264-params", std::string("frame-packing=") + packing});
    }
    Append(words, {"-movflags", "+faststart", "-f", "mp4"});
    return words;
}

Words WebmWords(const MovieOptions& options) {
    Words words = {"-vf",       kToVideoColors + ",setsar=" + PixelShape(options.layout),
                   "-c:v",      "libvpx-vp9",
                   "-b:v",      "0",
                   "-crf",      LossOf(options.quality, 63, 25),
                   "-deadline", "good",
                   "-cpu-used", "4",
                   "-row-mt",   "1"};
    Append(words, kVideoColors);
    if (const char* mode = WebmStereoMode(options.layout)) {
        Append(words, {"-metadata:s:v:0", std::string("stereo_mode=") + mode});
    }
    Append(words, {"-f", "webm"});
    return words;
}

// A palette for each frame: one for all would have to wait, in memory, for the last of them.
Words GifWords() {
    return {"-vf",   "split[a][b];[a]palettegen=stats_mode=single[p];[b][p]paletteuse=new=1",
            "-loop", "0",
            "-f",    "gif"};
}

Words WordsOf(const MovieOptions& options) {
    const std::string size = std::to_string(options.width) + 'x' + std::to_string(options.height);
    Words words = {"-f",          "rawvideo", "-pix_fmt",   "rgb0",
                   "-video_size", size,       "-framerate", std::to_string(options.framesPerSecond),
                   "-i",          "pipe:0"};
    switch (options.kind) {
        case MovieKind::Mp4:
            Append(words, Mp4Words(options));
            break;
        case MovieKind::Webm:
            Append(words, WebmWords(options));
            break;
        case MovieKind::Gif:
            Append(words, GifWords());
            break;
    }
    words.emplace_back(FfmpegProcess::kOutput);
    return words;
}

void CheckSize(const MovieOptions& options) {
    const auto fits = [&options](int side) {
        return side > 0 && (side % 2 == 0 || options.kind == MovieKind::Gif);
    };
    if (fits(options.width) && fits(options.height)) return;
    throw std::invalid_argument("the sides of a movie are even numbers of pixels");
}

}  // namespace

// The thread that hands frames over, and one frame that waits for it.
class MovieFile::Encoder {
  public:
    Encoder(const std::filesystem::path& path, const MovieOptions& options)
        : frameBytes_(4 * static_cast<std::size_t>(options.width) *
                      static_cast<std::size_t>(options.height)),
          file_(path),
          process_(WordsOf(options), file_.Descriptor()),
          thread_([this] { HandOver(); }) {}

    ~Encoder() {
        if (!thread_.joinable()) return;
        process_.End();
        Join();
    }

    void Add(Picture frame) {
        if (frame.pixels.size() != frameBytes_) {
            throw std::invalid_argument("a frame has another size than the movie");
        }
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return !waiting_ || hasFailed_; });
        if (!hasFailed_) {
            waiting_ = std::move(frame);
            changed_.notify_all();
            return;
        }
        lock.unlock();
        GiveUp();
    }

    void Commit() {
        Join();
        if (hasFailed_) GiveUp();
        process_.Finish();
        file_.Commit();
    }

  private:
    // The frame that waits; nothing at the end.
    std::optional<Picture> Next() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return waiting_ || isAtEnd_; });
        changed_.notify_all();
        return std::exchange(waiting_, std::nullopt);
    }

    void HandOver() {
        while (const std::optional<Picture> frame = Next()) {
            if (process_.Write(std::as_bytes(std::span(frame->pixels)))) continue;
            const std::lock_guard lock(mutex_);
            hasFailed_ = true;
            changed_.notify_all();
            return;
        }
    }

    void Join() {
        {
            const std::lock_guard lock(mutex_);
            isAtEnd_ = true;
            changed_.notify_all();
        }
        thread_.join();
    }

    [[noreturn]] void GiveUp() {
        if (thread_.joinable()) Join();
        process_.Finish();
        throw std::runtime_error("ffmpeg has ended before the movie did");
    }

    const std::size_t frameBytes_;
    NewFile file_;
    FfmpegProcess process_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::optional<Picture> waiting_;  // these three are guarded by mutex_
    bool isAtEnd_ = false;
    bool hasFailed_ = false;
    std::thread thread_;  // the last one: it uses the others
};

MovieFile::MovieFile(const std::filesystem::path& path, const MovieOptions& options) {
    CheckSize(options);
    encoder_ = std::make_unique<Encoder>(path, options);
}

MovieFile::~MovieFile() = default;

void MovieFile::Add(Picture frame) {
    encoder_->Add(std::move(frame));
}

void MovieFile::Commit() {
    encoder_->Commit();
}

}  // namespace vistrel

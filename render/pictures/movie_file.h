// SPDX-License-Identifier: GPL-3.0-or-later
// Movies, made by the program ffmpeg.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>

#include "render/picture.h"
#include "render/pictures/jpeg_encoding.h"
#include "render/stereo_layout.h"

namespace vistrel {

enum class MovieKind : std::uint8_t {
    Mp4,   // H.264, half the resolution for colours, begins to play before it is there
    Webm,  // VP9, likewise
    Gif,   // plays over and over; 256 colours in each frame
};

struct MovieOptions {
    MovieKind kind = MovieKind::Mp4;
    int width = 0;  // pixels; both even but for Gif
    int height = 0;
    int framesPerSecond = 30;
    int quality = kUsualQuality;  // 1 to kBestQuality; not for Gif
    // Told to players: in Mp4, by the H.264 stream, for two eyes' pictures beside, above or within
    // each other, the left one first; in Webm, by the container, for those beside or above each
    // other, either one first.
    StereoLayout layout = StereoLayout::None;
};

// A movie that is encoded while its next frames are drawn. It appears whole or not at all, as
// base/new_file.h has it. One object is for one thread. All throw std::runtime_error that tells
// what is wrong, with ffmpeg's own words where it fails.
class MovieFile {
  public:
    // Throws std::invalid_argument for sizes that are not even or not there.
    MovieFile(const std::filesystem::path& path, const MovieOptions& options);
    ~MovieFile();  // what was not committed is gone
    MovieFile(const MovieFile&) = delete;
    MovieFile& operator=(const MovieFile&) = delete;

    // The next frame, of the movie's size. Waits while one is being encoded and another one waits.
    void Add(Picture frame);

    // The movie takes its place.
    void Commit();

  private:
    class Encoder;
    std::unique_ptr<Encoder> encoder_;
};

}  // namespace vistrel

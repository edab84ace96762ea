// SPDX-License-Identifier: GPL-3.0-or-later
// write_movie KIND LAYOUT WIDTH HEIGHT FRAMES OUTPUT: a movie that grows brighter, 10 frames a
// second, for movie_files_test.py. Prints "frame" after each. A negative number of frames: that
// many, then it ends as a command does that is interrupted.
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <stdexcept>
#include <string>

#include "base/new_file.h"
#include "render/pictures/ffmpeg_process.h"
#include "render/pictures/movie_file.h"

namespace vistrel {
namespace {

Picture Frame(const MovieOptions& options, int number) {
    Picture picture(options.width, options.height);
    for (std::size_t i = 0; i < picture.pixels.size(); ++i) {
        const auto red = static_cast<std::uint8_t>(20 * number);
        const auto other = static_cast<std::uint8_t>(10 * number + 30);
        picture.pixels[i] = i % 4 == 0 ? red : other;
    }
    return picture;
}

StereoLayout LayoutOf(const std::string& name) {
    const auto found = std::ranges::find(kStereoLayouts, name, &StereoLayoutName::name);
    if (found == kStereoLayouts.end()) throw std::runtime_error("no layout " + name);
    return static_cast<StereoLayout>(found - kStereoLayouts.begin());
}

void Write(char** arguments) {
    const std::map<std::string, MovieKind> kinds = {
        {"mp4", MovieKind::Mp4}, {"webm", MovieKind::Webm}, {"gif", MovieKind::Gif}};
    MovieOptions options;
    options.kind = kinds.at(arguments[0]);
    options.layout = LayoutOf(arguments[1]);
    options.width = std::atoi(arguments[2]);
    options.height = std::atoi(arguments[3]);
    options.framesPerSecond = 10;
    const int frames = std::atoi(arguments[4]);
    MovieFile movie(arguments[5], options);
    for (int i = 0; i < std::abs(frames); ++i) {
        movie.Add(Frame(options, i));
        std::puts("frame");
        std::fflush(stdout);
    }
    if (frames < 0) {
        EndFfmpegProcesses();
        DiscardUnfinishedFiles();
        _exit(0);
    }
    movie.Commit();
}

}  // namespace
}  // namespace vistrel

int main(int argc, char** argv) {
    try {
        if (argc != 7) throw std::runtime_error("wrong usage");
        vistrel::Write(argv + 1);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}

// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/render/movie_output.h"

#include <cmath>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "cli/render/movie_progress.h"
#include "cli/render/picture_output.h"
#include "cli/render/view.h"
#include "render/pictures/movie_file.h"

namespace vistrel {
namespace {

MovieKind KindOf(OutputKind kind) {
    if (kind == OutputKind::Gif) return MovieKind::Gif;
    return kind == OutputKind::Webm ? MovieKind::Webm : MovieKind::Mp4;
}

// The view's camera goes along; its eyes with it.
class MovingView {
  public:
    MovingView(const View& view, const MovieMotion& motion, float depth)
        : view_(view), motion_(motion), depth_(depth) {}

    [[nodiscard]] View At(float phase) const {
        View moved = view_;
        moved.camera = MovedCamera(view_.camera, depth_, motion_.kind,
                                   static_cast<float>(motion_.amount), phase);
        return moved;
    }

    // The cameras of where it goes farthest.
    [[nodiscard]] std::vector<PinholeCamera> FarthestCameras(bool hasEyes) const {
        std::vector<PinholeCamera> all;
        for (const float phase : FarthestPhases(motion_.kind)) {
            for (const PinholeCamera& camera : At(phase).Cameras(hasEyes)) all.push_back(camera);
        }
        return all;
    }

  private:
    const View& view_;
    MovieMotion motion_;
    float depth_;
};

}  // namespace

void WriteMovie(SplatRenderer& renderer, const SceneFile& file, const RenderOptions& options,
                const std::filesystem::path& output, LongStep& step) {
    const MovieMotion& motion = options.motion;
    View view = ViewOf(renderer, file, options);
    const MovingView moving(view, motion, MiddleDepth(renderer, file.scene, view));
    if (IsCropped(file, options)) {
        Crop(renderer, file.scene, moving.FarthestCameras(options.HasEyes()), view);
    }
    const int frames = motion.Frames();
    const MovieProgress progress(frames, step);
    MovieFile movie(output, {.kind = KindOf(options.kind),
                             .width = view.width,
                             .height = view.height,
                             .framesPerSecond = motion.framesPerSecond,
                             .quality = options.quality,
                             .layout = options.layout});
    for (int frame = 0; frame < frames; ++frame) {
        const float phase = static_cast<float>(frame) / static_cast<float>(frames);
        const View moved = moving.At(phase);
        movie.Add(WholeOf(DrawEyes(renderer, file.scene, moved, options), moved, options));
        progress.FramesDone(frame + 1);
    }
    movie.Commit();
}

}  // namespace vistrel

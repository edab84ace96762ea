// SPDX-License-Identifier: GPL-3.0-or-later
// Draws scenes on the command line.
//
// Errors and notes go to standard error. Exit status 0: everything was written; 1: something was
// not, standard error says why; 2: wrong usage.
#include <cstddef>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/new_file.h"
#include "cli/command.h"
#include "cli/long_work.h"
#include "cli/output_check.h"
#include "cli/photograph_check.h"
#include "cli/render/movie_output.h"
#include "cli/render/movie_progress.h"
#include "cli/render/options.h"
#include "cli/render/picture_output.h"
#include "cli/render/scene_input.h"
#include "cli/render/special_pictures.h"
#include "cli/render/view.h"
#include "render/pictures/ffmpeg_process.h"
#include "render/splat_renderer.h"

namespace vistrel {
namespace {

// One scene after the other.
class SceneRendering {
  public:
    SceneRendering(const RenderOptions& options, LongStep& step) : options_(options), step_(step) {}

    // Throws std::exception with the text for the user.
    void Run(const RenderJob& job) {
        // Before a folder is made for it.
        WithName(job.scene, [&] { RefusePhotograph(job.scene); });
        PrepareOutput(job.output);
        step_.Begin("Reading the scene\u2026");
        const SceneFile file =
            WithName(job.scene, [&] { return ReadScene(job.scene, options_.spzFrame); });
        step_.Begin("Drawing the picture\u2026");
        if (options_.IsMovie()) {
            WriteMovie(renderer_, file, options_, job.output, step_);
        } else {
            WriteOutput(job.output, PictureFile(file));
        }
    }

  private:
    [[nodiscard]] std::vector<std::byte> PictureFile(const SceneFile& file) {
        if (options_.isDepthMap) return DepthMapFile(renderer_, file, options_);
        if (options_.quilt) return QuiltFile(renderer_, file, options_);
        View view = ViewOf(renderer_, file, options_);
        if (IsCropped(file, options_))
            Crop(renderer_, file.scene, view.Cameras(options_.HasEyes()), view);
        const EyePictures eyes = DrawEyes(renderer_, file.scene, view, options_);
        step_.Begin("Writing the picture\u2026");
        return EncodeEyes(eyes, view, options_);
    }

    static void PrepareOutput(const std::filesystem::path& output) {
        if (output.has_parent_path()) {
            std::error_code ignored;  // a folder that is missing is told by the check
            std::filesystem::create_directories(output.parent_path(), ignored);
        }
        WithName(output, [&output] { CheckOutput(output); });
    }

    const RenderOptions& options_;
    LongStep& step_;
    SplatRenderer renderer_;
};

// The exit status. Throws what keeps a single picture from being made.
int RenderAll(const RenderOptions& options, LongStep& step) {
    SceneRendering rendering(options, step);
    int status = EXIT_SUCCESS;
    for (const RenderJob& job : options.jobs) {
        try {
            rendering.Run(job);
        } catch (const std::exception& error) {
            if (!options.hasFolder) throw;
            Tell(std::string("Error: ") + error.what());
            status = EXIT_FAILURE;
        }
    }
    return status;
}

[[noreturn]] void EndInterrupted(int /*signal*/) {
    EndFfmpegProcesses();
    DiscardUnfinishedFiles();
    EraseProgress();
    Tell("Error: interrupted");
    std::_Exit(EXIT_FAILURE);
}

int Render(const RenderOptions& options) {
    int status = EXIT_SUCCESS;
    RunLongWork([&](LongStep& step) { status = RenderAll(options, step); }, EndInterrupted);
    return status;
}

}  // namespace
}  // namespace vistrel

int main(int argc, char** argv) {
    using namespace vistrel;
    return RunCommand([&] {
        const ParsedOptions parsed = ParseOptions(argc, argv);
        return parsed.status ? *parsed.status : Render(parsed.options);
    });
}

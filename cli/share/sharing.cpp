// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/share/sharing.h"

#include <algorithm>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

#include "base/new_file.h"
#include "cli/command.h"
#include "cli/output_check.h"
#include "cli/photograph_check.h"
#include "cli/share/byte_size.h"
#include "cli/share/even_thinning.h"
#include "cli/share/page_filling.h"
#include "cli/share/size_search.h"
#include "cli/share/start_view.h"
#include "cli/share/viewer_page.h"
#include "formats/scene_formats.h"
#include "formats/spz.h"
#include "formats/thinning.h"

namespace vistrel {
namespace {

bool IsThere(const std::filesystem::path& folder) {
    std::error_code ignored;
    return folder.empty() || std::filesystem::is_directory(folder, ignored);
}

struct SharedScene {
    RawScene scene;               // what can be written of it
    std::size_t countInFile = 0;  // of Gaussians
};

SharedScene ReadWhole(const ShareOptions& options) {
    RawSceneSink sink;
    ReadSceneFile(options.scene, sink, options.spzFrame);
    const std::size_t count = sink.scene.Count();
    if (count == 0) throw std::runtime_error("the scene has no Gaussians");
    LeaveOutUnwritable(sink.scene);
    if (sink.scene.Count() == 0) {
        throw std::runtime_error("the scene has no Gaussian whose values are all finite");
    }
    return {std::move(sink.scene), count};
}

// The page's reader takes no later version.
constexpr SceneWriteOptions kPageScene = {.spzVersion = 3};

std::string SpzOf(const RawScene& scene) {
    MemorySink sink;
    WriteSpz(scene, kPageScene, sink);
    return std::move(sink.content);
}

PackedScene PackWhole(const RawScene& scene, const ShareOptions& options, const PageFilling& page) {
    const std::size_t most = ThinnedCount(scene.Count(), options.keepRatio);
    std::optional<EvenThinning> evenly;
    if (scene.Facts().camera && (most < scene.Count() || options.sizeLimit)) evenly.emplace(scene);
    const auto pack = [&](std::size_t count) {
        if (count == scene.Count()) return SpzOf(scene);
        return SpzOf(evenly ? evenly->To(count) : ThinnedTo(scene, count));
    };
    if (!options.sizeLimit) return {most, pack(most)};
    std::optional<PackedScene> packed = FillRoom(most, page.Room(*options.sizeLimit), pack);
    if (packed) return *std::move(packed);
    throw std::runtime_error("--size-limit is too low, with a single Gaussian the page has " +
                             std::to_string(page.Size(pack(1).size())) + " bytes already");
}

void WritePage(const std::filesystem::path& output, const PageFilling& page,
               const std::string& scene) {
    try {
        NewFile file(output);
        FileSink sink(file);
        page.Write(std::as_bytes(std::span(scene)), sink);
        file.Commit();
    } catch (const std::system_error& failure) {
        throw std::runtime_error(output.native() +
                                 " could not be written: " + failure.code().message());
    }
}

// 1,234,567
std::string Grouped(std::size_t number) {
    std::string text = std::to_string(number);
    for (std::size_t at = text.size(); at > 3;) text.insert(at -= 3, 1, ',');
    return text;
}

}  // namespace

void ShareScene(const ShareOptions& options, LongStep& step) {
    const std::filesystem::path folder = options.output.parent_path();
    WithName(options.scene, [&] { RefusePhotograph(options.scene); });
    if (IsThere(folder)) WithName(options.output, [&] { CheckOutput(options.output); });
    step.Begin("Reading the scene\u2026");
    const auto [scene, countInFile] = WithName(options.scene, [&] { return ReadWhole(options); });
    if (!IsThere(folder)) {
        std::error_code ignored;  // a folder that is missing is told by the check
        std::filesystem::create_directories(folder, ignored);
        WithName(options.output, [&] { CheckOutput(options.output); });
    }
    step.Begin("Drawing the scene\u2026");
    StartView view = LookAt(scene, options.hasPoster);
    const PageFilling page(ViewerPage(), {.title = options.title,
                                          .poster = std::move(view.poster),
                                          .camera = view.camera,
                                          .depths = view.depths,
                                          .isFree = options.isFree});
    step.Begin("Packing the scene\u2026");
    const PackedScene packed =
        WithName(options.output, [&] { return PackWhole(scene, options, page); });
    step.Begin("Writing the page\u2026");
    WritePage(options.output, page, packed.bytes);
    Tell(options.output.native() + ": " + ByteSizeText(page.Size(packed.bytes.size())) + ", " +
         Grouped(packed.count) + " of " + Grouped(countInFile) + " Gaussians");
}

}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/convert/scene_output.h"

#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

#include "base/log.h"
#include "base/new_file.h"
#include "base/text_encoding.h"
#include "formats/ply.h"
#include "formats/scene_formats.h"
#include "formats/thinning.h"

namespace vistrel {
namespace {

// Counts what goes through it.
class CountingSink : public FileSink {
  public:
    using FileSink::Append;
    using FileSink::FileSink;
    void Append(std::span<const std::byte> bytes) override {
        count_ += bytes.size();
        FileSink::Append(bytes);
    }
    [[nodiscard]] std::uint64_t Count() const { return count_; }

  private:
    std::uint64_t count_ = 0;
};

void LeaveOut(RawScene& scene, float keepRatio) {
    const std::size_t before = scene.Count();
    LeaveOutUnwritable(scene);
    if (scene.Count() < before) {
        LogInfo("  Leaving out " + std::to_string(before - scene.Count()) +
                " Gaussians with values that are no numbers");
    }
    if (scene.Count() == 0) {
        throw std::runtime_error(before == 0 ? "the scene has no Gaussians"
                                             : "the scene has no Gaussian that can be drawn");
    }
    const std::size_t kept = ThinnedCount(scene.Count(), keepRatio);
    if (kept == scene.Count()) return;
    LogInfo("  Decimating: keeping " + std::to_string(kept) + " of " +
            std::to_string(scene.Count()));
    scene = ThinnedTo(scene, kept);
}

NewFile OpenScene(const std::filesystem::path& path, Durability durability) {
    try {
        return NewFile(path, {.durability = durability});
    } catch (const std::system_error& failure) {
        throw std::runtime_error("Cannot open output file: " + failure.code().message());
    }
}

}  // namespace

bool IsForeignName(const std::filesystem::path& output) {
    const SceneWriter writer = SceneWriterFor(output);
    return writer != nullptr && writer != WritePly;
}

std::size_t SaveScene(RawScene scene, const std::filesystem::path& output, float keepRatio,
                      const SceneWriteOptions& options, Durability durability) {
    LeaveOut(scene, keepRatio);
    const SceneWriter known = SceneWriterFor(output);
    NewFile file = OpenScene(output, durability);
    CountingSink sink(file);
    try {
        (known == nullptr ? WritePly : known)(scene, options, sink);
        file.Commit();
    } catch (const std::system_error& failure) {
        throw std::runtime_error("Cannot write output file: " + failure.code().message());
    }
    LogInfoWide(L"  Saved scene with " + std::to_wstring(scene.Count()) + L" Gaussians in " +
                std::to_wstring(sink.Count()) + L" bytes to " + FromPath(output));
    return scene.Count();
}

}  // namespace vistrel

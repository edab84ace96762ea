#include "tests/fuzz/recording_engine.h"

#include <span>
#include <utility>

#include "base/new_file.h"
#include "base/text_encoding.h"
#include "engine/conversion_engine.h"

namespace vistrel {

struct ConversionEngine::Shared {
    std::atomic<bool> busy = false;
    std::atomic<bool> cancelRequested = false;
    std::function<void(const std::wstring&)> onProgress;
    std::function<void(bool, const std::wstring&)> onFinished;
};

namespace {

fuzz::ConversionWatcher& Watcher() {
    static fuzz::ConversionWatcher watcher;
    return watcher;
}

}  // namespace

ConversionEngine::ConversionEngine(std::shared_ptr<Shared> shared)
    : shared_(std::move(shared)),
      busy(shared_->busy),
      cancelRequested(shared_->cancelRequested),
      onProgress(shared_->onProgress),
      onFinished(shared_->onFinished) {}

ConversionEngine::ConversionEngine(ProviderList /*providers*/)
    : ConversionEngine(std::make_shared<Shared>()) {}

ConversionEngine::~ConversionEngine() = default;

bool ConversionEngine::Run(const std::wstring& /*modelPath*/, const std::wstring& inputPath,
                           const std::wstring& outputPath, float /*keepRatio*/,
                           ExecutionProvider /*provider*/) {
    Watcher()(ToUtf8(inputPath), ToUtf8(outputPath));
    onProgress(L"Saving PLY\u2026");
    const std::string scene = fuzz::RecordedScene(ToUtf8(inputPath));
    return WriteNewFile(ToPath(outputPath), std::as_bytes(std::span(scene)));
}

namespace fuzz {

void WatchConversions(ConversionWatcher watcher) {
    Watcher() = std::move(watcher);
}

std::string RecordedScene(const std::string& photograph) {
    return "scene of " + photograph;
}

}  // namespace fuzz
}  // namespace vistrel

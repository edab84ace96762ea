#include "tests/fuzz/recording_engine.h"

#include <stdexcept>
#include <utility>

#include "base/text_encoding.h"
#include "engine/conversion_engine.h"
#include "engine/output_file.h"

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
    onProgress(kSavingStage);
    try {
        OutputFile(outputPath).Append(fuzz::RecordedScene(ToUtf8(inputPath)));
        return true;
    } catch (const std::runtime_error&) {
        return false;
    }
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

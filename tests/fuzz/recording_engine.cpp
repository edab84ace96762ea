#include "tests/fuzz/recording_engine.h"

#include <stdexcept>
#include <utility>

#include "base/text_encoding.h"
#include "engine/conversion_engine.h"
#include "engine/output_file.h"

namespace vistrel {

namespace {

fuzz::ConversionWatcher& Watcher() {
    static fuzz::ConversionWatcher watcher;
    return watcher;
}

}  // namespace

ConversionEngine::ConversionEngine(ProviderList providers) : providers_(std::move(providers)) {}

bool ConversionEngine::Run(const ConversionJob& job, const ConversionCallbacks& callbacks) const {
    Watcher()(ToUtf8(job.inputPath), ToUtf8(job.outputPath));
    callbacks.onProgress(kSavingStage);
    try {
        OutputFile(job.outputPath).Append(fuzz::RecordedScene(ToUtf8(job.inputPath)));
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

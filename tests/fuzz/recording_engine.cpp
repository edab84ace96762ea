// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/fuzz/recording_engine.h"

#include <span>
#include <utility>

#include "base/new_file.h"
#include "base/text_encoding.h"
#include "engine/conversion_engine.h"

namespace vistrel {

namespace {

fuzz::ConversionWatcher& Watcher() {
    static fuzz::ConversionWatcher watcher;
    return watcher;
}

}  // namespace

ConversionEngine::ConversionEngine(ProviderList providers, PhotographReader reader,
                                   GaussianWriter writer)
    : providers_(std::move(providers)), reader_(std::move(reader)), writer_(std::move(writer)) {}

bool ConversionEngine::Run(const ConversionJob& job, const ConversionCallbacks& callbacks) const {
    Watcher()(ToUtf8(job.inputPath), ToUtf8(job.outputPath));
    callbacks.onProgress(L"Saving PLY\u2026");
    const std::string scene = fuzz::RecordedScene(ToUtf8(job.inputPath));
    return WriteNewFile(ToPath(job.outputPath), std::as_bytes(std::span(scene)));
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

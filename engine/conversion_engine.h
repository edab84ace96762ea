// One photograph in, one splat PLY out.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "engine/execution_provider.h"
#include "engine/sharp_inference.h"

namespace vistrel {

// Creates the folder that `outputPath` names as its parent, with all missing ancestors; does
// nothing where the path has no folder. Throws std::filesystem::filesystem_error, its text
// beginning with "create_directories". Any thread.
void CreateOutputFolder(const std::wstring& outputPath);

// Runs conversions, on the caller's thread or on one of its own. The callbacks may be empty and are
// called on the thread that converts. A run reports to those that were there when it was started,
// so they may be replaced while it goes on; replacing and starting are for one thread at a time. A
// run in progress outlives the engine safely; it shares all it touches.
class ConversionEngine {
  private:
    struct Shared;
    std::shared_ptr<Shared> shared_;  // constant after construction; holds what follows

    explicit ConversionEngine(std::shared_ptr<Shared> shared);

  public:
    // `providers` tells the session which execution providers there are. The first engine sets, for
    // the whole process, that the memory of large buffers goes back to the system when they are
    // freed.
    explicit ConversionEngine(ProviderList providers = AvailableExecutionProviders);
    ~ConversionEngine();
    ConversionEngine(const ConversionEngine&) = delete;
    ConversionEngine& operator=(const ConversionEngine&) = delete;

    // Another engine with the same state: callbacks, flags and providers are one and the same. For
    // a thread of the client's own that may outlive the client's engine.
    [[nodiscard]] std::unique_ptr<ConversionEngine> Share() const;

    // True while a run of StartAsync goes on; a synchronous Run neither reads nor sets it. Stays
    // true when StartAsync could not create the output folder.
    std::atomic<bool>& busy;
    // For the client's own use between runs: cleared by StartAsync; a run never stops for it.
    std::atomic<bool>& cancelRequested;
    // Receives the text of each stage as it begins.
    std::function<void(const std::wstring& stage)>& onProgress;
    // Receives the end of each run: true and the output path, or false and what went wrong.
    std::function<void(bool success, const std::wstring& text)>& onFinished;

    // Converts `inputPath` with the network at `modelPath` into `outputPath`, whose folder exists,
    // keeping the share `keepRatio` of the Gaussians. Returns whether it succeeded, after
    // onFinished was told. Throws only what onFinished throws when it is told of a failure. Any
    // thread, several at a time.
    bool Run(const std::wstring& modelPath, const std::wstring& inputPath,
             const std::wstring& outputPath, float keepRatio, ExecutionProvider provider);

    // The same on a detached thread; creates the output's folder first. Returns false, and does
    // nothing, while a run started this way goes on. Throws std::filesystem::filesystem_error as
    // CreateOutputFolder does and std::system_error when there is no thread to be had.
    bool StartAsync(const std::wstring& modelPath, const std::wstring& inputPath,
                    const std::wstring& outputPath, float keepRatio, ExecutionProvider provider);
};

}  // namespace vistrel

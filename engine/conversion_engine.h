// SPDX-License-Identifier: GPL-3.0-or-later
// One photograph in, one scene out.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "engine/execution_provider.h"
#include "engine/gaussian_writer.h"
#include "engine/photograph.h"
#include "engine/sharp_inference.h"

namespace vistrel {

// Creates the folder that `outputPath` names as its parent, with all missing ancestors; does
// nothing where the path has no folder. Throws std::filesystem::filesystem_error, its text
// beginning with "create_directories". Any thread.
void CreateOutputFolder(const std::wstring& outputPath);

// One photograph and what becomes of it.
struct ConversionJob {
    std::wstring modelPath;   // the network's ONNX file
    std::wstring inputPath;   // the photograph
    std::wstring outputPath;  // the scene
    float keepRatio = 1.0F;   // share of the Gaussians to keep, 0 to 1
    ExecutionProvider provider = ExecutionProvider::Cpu;
};

// Stages, counted from 1: the one that opens the network and runs it, and the last one.
inline constexpr int kNetworkStage = 2;
inline constexpr int kSavingStage = 4;

// Whom one run reports to, on the thread that converts. Each may be empty.
struct ConversionCallbacks {
    // Receives the text of each stage as it begins. What it throws fails the run.
    std::function<void(const std::wstring& stage)> onProgress = {};
    // Receives the end, once: true and the output path, or false and what went wrong. What it
    // throws at a success turns that into a failure, of which it is told as well.
    std::function<void(bool success, const std::wstring& text)> onFinished = {};
    // Told before onFinished where the run fails since the network's file cannot be opened.
    std::function<void()> onModelFileError = {};
    // The network has been opened, and running it begins. What it throws fails the run.
    std::function<void()> onNetworkOpened = {};
};

// Runs conversions, on the caller's thread or on one of its own. What belongs to a single run comes
// with that run, so any number of threads may share one engine.
class ConversionEngine {
  public:
    // `providers` tells the session which execution providers there are; it is called on the
    // threads that convert, maybe on several at a time. `reader` takes the place of the engine's
    // own reading of photographs, which is LoadAndPreprocess by the EXIF orientation, and `writer`
    // that of WriteSplatPly. The first engine sets, for the whole process, that the memory of large
    // buffers goes back to the system when they are freed.
    explicit ConversionEngine(ProviderList providers = AvailableExecutionProviders,
                              PhotographReader reader = {}, GaussianWriter writer = {});

    // Atomic. True while a run of StartAsync goes on; a synchronous Run neither reads nor sets it.
    // Stays true when StartAsync could not create the output folder.
    std::atomic<bool> busy = false;
    // Atomic. For the clients' own use between runs: cleared by StartAsync; a run never stops for
    // it.
    std::atomic<bool> cancelRequested = false;

    // Does `job`, whose output folder exists. Returns whether it succeeded, after onFinished was
    // told. Throws only what onFinished throws when it is told of a failure. Any thread, several at
    // a time.
    bool Run(const ConversionJob& job, const ConversionCallbacks& callbacks = {}) const;

    // The same on a detached thread, which shares `engine`; creates the output folder first.
    // Returns false, and does nothing, while a run started this way goes on. Throws
    // std::filesystem::filesystem_error as CreateOutputFolder does and std::system_error when there
    // is no thread to be had. Any thread.
    static bool StartAsync(const std::shared_ptr<ConversionEngine>& engine, ConversionJob job,
                           ConversionCallbacks callbacks = {});

  private:
    void Convert(const ConversionJob& job, const ConversionCallbacks& callbacks) const;

    const ProviderList providers_;
    const PhotographReader reader_;  // may be empty
    const GaussianWriter writer_;
};

}  // namespace vistrel

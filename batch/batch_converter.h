// SPDX-License-Identifier: GPL-3.0-or-later
// Every photograph of a folder becomes a scene in another one.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "engine/conversion_engine.h"

namespace vistrel {

// What happens to output files that exist already.
enum class BatchConflictPolicy : std::int32_t {
    OverwriteAll = 1,
    RenameAll = 2,    // an output whose name is taken gets the first free number
    CancelBatch = 3,  // nothing is converted
};

// Unless completed, cancelled or errorMessage is set, a file is being converted; any of them ends
// the batch, and exactly one such report is made.
struct BatchProgressInfo {
    std::int32_t current = 0;         // number of the file, from 1; 0 in the last report
    std::int32_t total = 0;           // files in the batch; 0 in the last report
    std::wstring fileName = {};       // of the photograph, without folder
    std::int32_t elapsedSeconds = 0;  // whole seconds since this file's conversion began
    bool completed = false;
    bool cancelled = false;
    std::wstring errorMessage = {};  // the input folder could not be read
};

// Whether `extension`, with its dot and in any case (ASCII), is one that a batch takes: .jpg,
// .jpeg, .png, .bmp, .webp. Any thread.
[[nodiscard]] bool IsSupportedImageExtension(std::wstring_view extension);

// What the names of a batch's scenes end in.
inline constexpr const char* kBatchEnding = ".ply";

// The first of "stem(1).ext", "stem(2).ext", ... beside `path` that no file has; `path` ends in
// `ending`, or has any extension. Any thread.
[[nodiscard]] std::wstring MakeUniqueOutputPath(const std::wstring& path,
                                                const std::string& ending = kBatchEnding);

// `path` itself where no file has it, or else one that MakeUniqueOutputPath finds. A name counts as
// taken as long as the disk does not tell whether it is. Any thread.
[[nodiscard]] std::wstring FreeOutputPath(const std::wstring& path,
                                          const std::string& ending = kBatchEnding);

// Where the scene of `photograph` goes in `outputDir` if it is converted now. Any thread.
[[nodiscard]] std::wstring BatchOutputPath(const std::wstring& photograph,
                                           const std::wstring& outputDir,
                                           BatchConflictPolicy policy);

class BatchConverter {
  public:
    explicit BatchConverter(std::shared_ptr<const ConversionEngine> engine);

    // These may be empty, are called on the thread of Run and are not replaced during a run. What
    // onProgress throws while a file is converted fails that file; what onConflict throws, and
    // onProgress in the last report, leaves Run.
    std::function<void(const BatchProgressInfo& info)> onProgress;
    // Receives the end of each file's conversion as ConversionCallbacks::onFinished does. What it
    // throws at a failure is lost.
    std::function<void(bool success, const std::wstring& text)> onFileFinished;
    // Asked once, before the first conversion, when an output file exists. The text is empty.
    std::function<BatchConflictPolicy(const std::wstring& text)> onConflict;
    // Atomic. Set from any thread to end the batch after the current file; cleared when Run starts.
    std::atomic<bool> cancelRequested = false;

    // Converts the photographs of `inputDir` into `outputDir`, one after the other, and returns
    // when the batch has ended. A photograph that fails is skipped. `provider` is an
    // ExecutionProvider. Any thread, one run at a time.
    void Run(const std::wstring& modelPath, const std::wstring& inputDir,
             const std::wstring& outputDir, std::int32_t provider);

  private:
    const std::shared_ptr<const ConversionEngine> engine_;
};

}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
// All photographs of a folder on the command line.
#pragma once

#include <filesystem>
#include <string>

#include "batch/batch_converter.h"
#include "engine/execution_provider.h"
#include "formats/scene_io.h"
#include "photos/focal_length.h"

namespace vistrel {

struct BatchOptions {
    std::filesystem::path model;
    std::filesystem::path inputDir;
    std::filesystem::path outputDir;  // created where it is missing
    ExecutionProvider provider = ExecutionProvider::Cpu;
    BatchConflictPolicy onConflict = BatchConflictPolicy::CancelBatch;
    FocalChoice focal = {};
    bool convertColours = true;
    std::string ending = kBatchEnding;  // of the scenes' names, which says the format
    SceneWriteOptions writing = {};
};

enum class BatchOutcome {
    AllConverted,         // also when there was nothing to convert
    NotAllConverted,      // a file failed, or the batch did not run to its end
    WouldOverwriteInput,  // nothing was converted
};

// Runs the batch and tells about it on standard error. The first SIGINT, SIGTERM or SIGHUP ends it
// after the current file, the second ends the process at once. Main thread, before any other thread
// has started. Throws std::filesystem::filesystem_error when the output folder cannot be made.
[[nodiscard]] BatchOutcome ConvertFolder(const BatchOptions& options);

}  // namespace vistrel

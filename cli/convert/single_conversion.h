// SPDX-License-Identifier: GPL-3.0-or-later
// One photograph on the command line.
#pragma once

#include <string>

#include "engine/execution_provider.h"
#include "formats/scene_io.h"
#include "photos/focal_length.h"

namespace vistrel {

struct SingleOptions {
    std::string model;
    std::string input;   // the photograph's file; "-" is standard input
    std::string output;  // the scene; its name's ending says in which format
    ExecutionProvider provider = ExecutionProvider::Cpu;
    float keepRatio = 1.0F;
    FocalChoice focal = {};
    bool convertColours = true;
    SceneWriteOptions writing = {};
};

// Writing the scene over the photograph or the network would lose them. Throws
// std::filesystem::filesystem_error when the disk does not tell.
[[nodiscard]] bool OutputIsAnInput(const SingleOptions& options);

// Converts, and tells about it on standard error; SIGINT, SIGTERM and SIGHUP end the process at
// once. The output's folder is made once the photograph has been read. Main thread, before any
// other thread has started. Throws std::exception with what went wrong.
void ConvertPhotograph(const SingleOptions& options);

}  // namespace vistrel

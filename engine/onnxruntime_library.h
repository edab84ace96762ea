// SPDX-License-Identifier: GPL-3.0-or-later
// ONNX Runtime's library, which is opened when it is first needed: no program's start waits for it.
#pragma once

#include <filesystem>
#include <string>

namespace vistrel {

// What the library is called, in whatever folder.
inline constexpr const char* kOnnxRuntimeFile = "libonnxruntime.so.1";

// It stays open until the process ends.
struct OnnxRuntimeLibrary {
    std::string file;     // where it was found
    std::string version;  // such as "1.22.0"
    const void* api;      // its table of functions, in the version of our headers
};

// Keeps the library from reporting to its maker, unless the environment tells already what it may
// do. Main thread, before any other has started.
void KeepOnnxRuntimeSilent();

// Opens the user's own library, in RuntimeFolder(), where there is one, else the one beside the
// program. Any thread.
//
// Throws std::runtime_error with the text for the user when it cannot be opened, is older than our
// headers or of a version that is known to be ruinous; the next call tries once more.
[[nodiscard]] const OnnxRuntimeLibrary& OpenedOnnxRuntime();

// The version of the library in `file`, which does not stay open. Throws as OpenedOnnxRuntime does.
[[nodiscard]] std::string VersionOfOnnxRuntime(const std::filesystem::path& file);

}  // namespace vistrel

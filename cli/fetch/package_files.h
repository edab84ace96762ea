// SPDX-License-Identifier: GPL-3.0-or-later
// The libraries of ONNX Runtime in the packages of its makers.
#pragma once

#include <filesystem>

namespace vistrel {

// What CUDA takes beside ONNX Runtime's own library.
inline constexpr const char* kSharedProviderFile = "libonnxruntime_providers_shared.so";
inline constexpr const char* kCudaProviderFile = "libonnxruntime_providers_cuda.so";

// Writes kOnnxRuntimeFile and the two above into `folder`, which is there. `package` is one of the
// archives .tgz, .nupkg and .whl, known by content, or a folder with the libraries, or with a
// folder `lib` of them. Nothing else in it is looked at, and no name in it says where to write.
//
// Throws std::runtime_error, of the package, where it is broken, lacks one of them or holds more
// than anybody publishes, and std::system_error where the folder does not take them. What was
// written until then stays.
void TakeRuntimeFiles(const std::filesystem::path& package, const std::filesystem::path& folder);

}  // namespace vistrel

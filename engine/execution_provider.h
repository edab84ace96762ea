// SPDX-License-Identifier: GPL-3.0-or-later
// What a network runs on.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vistrel {

// A number from the settings: 1 is CUDA, every other value is the CPU.
enum class ExecutionProvider : std::int32_t { Cpu = 0, Cuda = 1 };

// The name under which ONNX Runtime lists CUDA.
inline constexpr const char* kCudaProviderName = "CUDAExecutionProvider";

// The providers compiled into the ONNX Runtime library that was loaded, in its order. Being listed
// does not mean that the provider's own libraries are installed. Any thread.
//
// Throws std::runtime_error when there is no such library that can be used.
[[nodiscard]] std::vector<std::string> AvailableExecutionProviders();

// Opens the CUDA provider and all it needs, as a conversion does; it has to be among the available
// ones. Throws std::exception with ONNX Runtime's text. Any thread.
void OpenCudaProvider();

}  // namespace vistrel

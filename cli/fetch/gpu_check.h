// SPDX-License-Identifier: GPL-3.0-or-later
// Whether this computer has what conversions with CUDA need.
#pragma once

#include <filesystem>

namespace vistrel {

// Where a driver of NVIDIA tells its version.
inline constexpr const char* kDriverVersionFile = "/proc/driver/nvidia/version";

// Looks for ONNX Runtime with CUDA, each library that it needs and the driver, and tells on
// standard output where they are, or what brings those that are missing. Returns whether nothing
// is. Main thread.
[[nodiscard]] bool CheckGpu(const std::filesystem::path& driverVersion = kDriverVersionFile);

}  // namespace vistrel

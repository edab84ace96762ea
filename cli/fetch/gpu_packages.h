// SPDX-License-Identifier: GPL-3.0-or-later
// The packages of ONNX Runtime that compute on NVIDIA's graphics cards, and what they need in turn.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace vistrel {

// As its makers publish it.
struct GpuPackage {
    int cuda;                  // the major version that it is built for
    std::string_view version;  // of ONNX Runtime
    std::string_view file;
    std::string_view url;
    std::uint64_t bytes;  // told, but not compared: the checksum decides
    std::string_view sha256;
};

// nullptr: none is known to work.
[[nodiscard]] const GpuPackage* GpuPackageForCuda(int major);
// nullptr: it is not one of ours.
[[nodiscard]] const GpuPackage* GpuPackageOfName(std::string_view file);
// Of that checksum; nullptr: it is not one of ours.
[[nodiscard]] const GpuPackage* GpuPackageOfSum(std::string_view sha256);

// NVIDIA's driver comes with it; whoever computes on a card loads it late.
inline constexpr std::string_view kDriverLibrary = "libcuda.so.1";

// NVIDIA's libraries that the packages need at least.
[[nodiscard]] std::span<const std::string_view> NvidiaLibraries();
// The package that brings a library, by the names of NVIDIA's repository. Empty: nobody knows.
[[nodiscard]] std::string_view PackageOfNvidiaLibrary(std::string_view library);

}  // namespace vistrel

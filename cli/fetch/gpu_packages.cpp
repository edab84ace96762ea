// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/fetch/gpu_packages.h"

#include <algorithm>
#include <array>

namespace vistrel {
namespace {

constexpr std::array<GpuPackage, 1> kPackages = {
    {{12, "1.22.0", "onnxruntime-linux-x64-gpu-1.22.0.tgz",
      "https://github.com/microsoft/onnxruntime/releases/download/v1.22.0/"
      "onnxruntime-linux-x64-gpu-1.22.0.tgz",
      227'317'516, "2a19dbfa403672ec27378c3d40a68f793ac7a6327712cd0e8240a86be2b10c55"}}};

constexpr std::array<std::string_view, 6> kNvidiaLibraries = {
    "libcublas.so.12", "libcublasLt.so.12", "libcudart.so.12",
    "libcudnn.so.9",   "libcufft.so.11",    "libcurand.so.10"};

struct LibraryPackage {
    std::string_view beginning;  // of the library's name
    std::string_view end;
    std::string_view package;
};

// Those of CUDA 12 and cuDNN 9; cuDNN has a library for each of its parts.
constexpr std::array<LibraryPackage, 9> kLibraryPackages = {
    {{"libcublas", ".so.12", "libcublas-12-8"},
     {"libcudart", ".so.12", "cuda-cudart-12-8"},
     {"libcudnn", ".so.9", "libcudnn9-cuda-12"},
     {"libcufft", ".so.11", "libcufft-12-8"},
     {"libcurand", ".so.10", "libcurand-12-8"},
     {"libnvrtc", ".so.12", "cuda-nvrtc-12-8"},
     {"libnvJitLink", ".so.12", "libnvjitlink-12-8"},
     {"libcuda", ".so.1", "libcuda1"},
     {"libz", ".so.1", "zlib1g"}}};

}  // namespace

const GpuPackage* GpuPackageForCuda(int major) {
    const auto* const found = std::ranges::find(kPackages, major, &GpuPackage::cuda);
    return found != kPackages.end() ? found : nullptr;
}

const GpuPackage* GpuPackageOfName(std::string_view file) {
    const auto* const found = std::ranges::find(kPackages, file, &GpuPackage::file);
    return found != kPackages.end() ? found : nullptr;
}

const GpuPackage* GpuPackageOfSum(std::string_view sha256) {
    const auto* const found = std::ranges::find(kPackages, sha256, &GpuPackage::sha256);
    return found != kPackages.end() ? found : nullptr;
}

std::span<const std::string_view> NvidiaLibraries() {
    return kNvidiaLibraries;
}

std::string_view PackageOfNvidiaLibrary(std::string_view library) {
    for (const LibraryPackage& known : kLibraryPackages) {
        if (library.starts_with(known.beginning) && library.ends_with(known.end)) {
            return known.package;
        }
    }
    return {};
}

}  // namespace vistrel

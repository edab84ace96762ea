// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/fetch/gpu_runtime.h"

#include <cstdlib>
#include <stdexcept>
#include <system_error>

#include "base/new_file.h"
#include "base/text_encoding.h"
#include "base/user_folders.h"
#include "base/whole_file.h"
#include "cli/command.h"
#include "cli/fetch/gpu_check.h"
#include "cli/fetch/gpu_download.h"
#include "cli/fetch/gpu_packages.h"
#include "cli/fetch/new_runtime.h"
#include "cli/fetch/package_files.h"
#include "cli/fetch/shared_library.h"
#include "cli/fetch/transfer_display.h"
#include "cli/long_work.h"
#include "download/sha256.h"
#include "engine/onnxruntime_library.h"

namespace vistrel {
namespace {

namespace fs = std::filesystem;

// The checksum of the tested package that holds the runtime. The name makes it go with that.
constexpr const char* kSumFile = "libonnxruntime.sha256";

void WriteSum(const GpuPackage& package, const fs::path& folder) {
    NewFile file(folder / kSumFile);
    file.Append(package.sha256);
    file.Commit();
}

// nullptr: it is none that the manifest knows. Throws std::runtime_error where it only pretends to
// be one.
const GpuPackage* KnownPackage(const fs::path& file, LongStep& step) {
    if (fs::is_directory(file)) return nullptr;
    step.Begin("Comparing the package\u2026");
    const std::string sum = Sha256OfFile(file).Digest();
    if (const GpuPackage* const known = GpuPackageOfSum(sum)) return known;
    const GpuPackage* const named = GpuPackageOfName(file.filename().native());
    if (named == nullptr) return nullptr;
    throw std::runtime_error(file.native() +
                             " is broken, or not what its makers have published: its SHA-256 is " +
                             sum + ", not " + std::string(named->sha256) + ".");
}

// Throws where something in the folder cannot be used.
std::string CheckedVersion(const fs::path& folder) {
    for (const char* const name : {kOnnxRuntimeFile, kSharedProviderFile, kCudaProviderFile}) {
        WithName(name, [&] { return NeededLibraries(folder / name); });
    }
    return VersionOfOnnxRuntime(folder / kOnnxRuntimeFile);
}

// Whether the runtime that would be fetched is there already.
bool IsThere(const GpuOptions& options) {
    const fs::path folder = ToPath(RuntimeFolder());
    if (ReadWholeFile(folder / kSumFile) != GpuPackageForCuda(options.cuda)->sha256) return false;
    try {
        Tell("ONNX Runtime " + CheckedVersion(folder) + " is there already.");
        return true;
    } catch (const std::runtime_error&) {
        return false;
    }
}

void Install(const GpuOptions& options, LongStep& step) {
    NewRuntime runtime;
    const bool isBrought = !options.package.empty();
    const fs::path package = isBrought ? options.package : DownloadGpuPackage(options, step);
    const GpuPackage* const tested =
        isBrought ? KnownPackage(package, step) : GpuPackageForCuda(options.cuda);

    step.Begin("Unpacking\u2026");
    TakeRuntimeFiles(package, runtime.Folder());
    const std::string version = CheckedVersion(runtime.Folder());
    if (tested != nullptr) WriteSum(*tested, runtime.Folder());
    runtime.TakePlace();
    if (tested == nullptr) {
        Tell(package.native() + " holds ONNX Runtime " + version + ", which was not tested; " +
             std::string(GpuPackageForCuda(options.cuda)->file) + " was.");
    }
    Tell("ONNX Runtime " + version + " is in " + ToUtf8(RuntimeFolder()) + ".");
    std::error_code ignored;
    if (!isBrought) fs::remove(package, ignored);
}

}  // namespace

int FetchGpuRuntime(const GpuOptions& options) {
    const bool isAsked = !options.checkOnly;
    if (isAsked && (!options.package.empty() || !IsThere(options))) {
        RunLongWork([&](LongStep& step) { Install(options, step); },
                    [](int signal) {
                        EraseTransferLine();
                        NewRuntime::Remove();
                        EndUnfinished(signal);
                    });
    }
    return CheckGpu() ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/fetch/gpu_runtime.h"

#include <cstdlib>
#include <stdexcept>
#include <system_error>

#include "base/text_encoding.h"
#include "base/user_folders.h"
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

// Whether it is one that the manifest knows. Throws std::runtime_error where it only pretends to
// be.
bool IsTested(const fs::path& file, LongStep& step) {
    if (fs::is_directory(file)) return false;
    step.Begin("Comparing the package\u2026");
    const std::string sum = Sha256OfFile(file).Digest();
    if (IsGpuPackageSum(sum)) return true;
    const GpuPackage* const named = GpuPackageOfName(file.filename().native());
    if (named == nullptr) return false;
    throw std::runtime_error(file.native() +
                             " is broken, or not what its makers have published: its SHA-256 is " +
                             sum + ", not " + std::string(named->sha256) + ".");
}

// Throws where something in the folder cannot be used.
std::string CheckedVersion(const NewRuntime& runtime) {
    for (const char* const name : {kOnnxRuntimeFile, kSharedProviderFile, kCudaProviderFile}) {
        WithName(name, [&] { return NeededLibraries(runtime.Folder() / name); });
    }
    return VersionOfOnnxRuntime(runtime.Folder() / kOnnxRuntimeFile);
}

void Install(const GpuOptions& options, LongStep& step) {
    NewRuntime runtime;
    const bool isBrought = !options.package.empty();
    const fs::path package = isBrought ? options.package : DownloadGpuPackage(options, step);
    const bool isTested = !isBrought || IsTested(package, step);

    step.Begin("Unpacking\u2026");
    TakeRuntimeFiles(package, runtime.Folder());
    const std::string version = CheckedVersion(runtime);
    runtime.TakePlace();
    if (!isTested) {
        Tell(package.native() + " holds ONNX Runtime " + version + ", which was not tested; " +
             std::string(GpuPackageForCuda(options.cuda)->file) + " was.");
    }
    Tell("ONNX Runtime " + version + " is in " + ToUtf8(RuntimeFolder()) + ".");
    std::error_code ignored;
    if (!isBrought) fs::remove(package, ignored);
}

}  // namespace

int FetchGpuRuntime(const GpuOptions& options) {
    if (!options.checkOnly) {
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

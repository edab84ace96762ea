// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/fetch/gpu_check.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "base/text_encoding.h"
#include "base/user_folders.h"
#include "cli/fetch/gpu_packages.h"
#include "cli/fetch/package_files.h"
#include "cli/fetch/shared_library.h"
#include "engine/execution_provider.h"
#include "engine/onnxruntime_library.h"

namespace vistrel {
namespace {

namespace fs = std::filesystem;

constexpr const char* kFetch = "vistrel-fetch gpu brings it";
constexpr const char* kFetchAnew = "vistrel-fetch gpu brings another";

// What is told, and what is missing of it.
class Findings {
  public:
    void Tell(const std::string& what, const std::string& where) const {
        std::printf("%s: %s\n", what.c_str(), where.c_str());
    }
    void Miss(const std::string& what, const std::string& reason) {
        Tell(what, reason);
        ++missing_;
    }
    // What brings it is a package of Debian's or NVIDIA's; empty: nobody knows which.
    void MissPackage(const std::string& what, const std::string& state, std::string_view package) {
        if (package.empty()) {
            Miss(what, state);
            return;
        }
        Miss(what, state + ", the package " + std::string(package) + " brings it");
        packages_.emplace(package);
    }

    [[nodiscard]] bool IsComplete() const { return missing_ == 0; }

    void Conclude() const {
        if (IsComplete()) {
            std::puts("Conversions with CUDA have all they need.");
            return;
        }
        std::puts(missing_ == 1 ? "One thing is missing."
                                : (std::to_string(missing_) + " things are missing.").c_str());
        if (packages_.empty()) return;
        std::string line = "With NVIDIA's repository for Debian: sudo apt install";
        for (const std::string& package : packages_) line += ' ' + package;
        std::puts(line.c_str());
    }

  private:
    int missing_ = 0;
    std::set<std::string> packages_;
};

// Opens the user's own library, if there is one, else the program's; empty where that fails.
fs::path FindRuntime(Findings& findings) {
    const fs::path own = ToPath(RuntimeFolder()) / kOnnxRuntimeFile;
    try {
        if (fs::exists(fs::symlink_status(own))) {
            static_cast<void>(NeededLibraries(own));  // opening half a library may end the process
            static_cast<void>(VersionOfOnnxRuntime(own));
        }
        const OnnxRuntimeLibrary& opened = OpenedOnnxRuntime();
        const std::vector<std::string> providers = AvailableExecutionProviders();
        const bool hasCuda = std::ranges::find(providers, kCudaProviderName) != providers.end();
        const std::string name = "ONNX Runtime " + opened.version;
        if (!hasCuda) {
            findings.Miss(name, opened.file + ", without CUDA; " + kFetchAnew);
            return {};
        }
        findings.Tell(name, opened.file + ", with CUDA");
        return opened.file;
    } catch (const std::exception& failure) {
        findings.Miss(own.native(), std::string(failure.what()) + "; " + kFetchAnew);
        return {};
    }
}

// What the provider beside `runtime` needs; without one, what it would need at least.
std::vector<std::string> LibrariesForCuda(const fs::path& runtime, Findings& findings) {
    std::vector<std::string> libraries(NvidiaLibraries().begin(), NvidiaLibraries().end());
    if (runtime.empty()) return libraries;
    for (const char* const name : {kSharedProviderFile, kCudaProviderFile}) {
        const fs::path file = runtime.parent_path() / name;
        if (!fs::exists(file)) {
            findings.Miss(file.native(), std::string("missing, ") + kFetch);
            continue;
        }
        try {
            std::vector<std::string> needed = NeededLibraries(file);
            findings.Tell(name, file.native());
            if (name == std::string_view(kCudaProviderFile)) libraries = std::move(needed);
        } catch (const std::runtime_error& failure) {
            findings.Miss(file.native(), std::string(failure.what()) + " " + kFetchAnew);
        }
    }
    return libraries;
}

// Opened, since only that tells whether all is there that the library needs in turn.
void LookFor(const std::string& library, const fs::path& folder, Findings& findings) {
    const fs::path beside = folder / library;
    const bool isBeside = !folder.empty() && fs::exists(beside);
    const std::string asked = isBeside ? beside.native() : library;
    void* const opened = dlopen(asked.c_str(), RTLD_LAZY | RTLD_LOCAL);
    const std::string_view package = PackageOfNvidiaLibrary(library);
    if (opened == nullptr) {
        const char* const told = dlerror();
        const std::string reason = told != nullptr ? told : "unknown reason";
        const bool isMissing =
            reason.starts_with(library + ": cannot open shared object file: No such file");
        findings.MissPackage(library, isMissing ? "missing" : "cannot be opened (" + reason + ")",
                             package);
        return;
    }
    const link_map* map = nullptr;
    const bool isKnown = dlinfo(opened, RTLD_DI_LINKMAP, &map) == 0;
    // Others are the system's, which every program needs.
    if (!package.empty()) findings.Tell(library, isKnown ? map->l_name : asked);
}

// "535.183.01" of "NVRM version: NVIDIA UNIX x86_64 Kernel Module  535.183.01  Sun May 12 ...".
std::string DriverVersionIn(const std::string& line) {
    for (std::size_t start = 0; start < line.size();) {
        const std::size_t end = std::min(line.find_first_of(" \t", start), line.size());
        const std::string word = line.substr(start, end - start);
        if (word.find('.') != word.npos && word.find_first_not_of("0123456789.") == word.npos) {
            return word;
        }
        start = end + 1;
    }
    return line;
}

void LookForDriver(const fs::path& driverVersion, Findings& findings) {
    std::string line;
    if (std::getline(std::ifstream(driverVersion), line)) {
        findings.Tell("NVIDIA's driver", DriverVersionIn(line));
    } else {
        findings.MissPackage("NVIDIA's driver", "missing or not running", "nvidia-driver");
    }
}

void TryProvider(Findings& findings) {
    try {
        OpenCudaProvider();
    } catch (const std::exception& failure) {
        findings.Miss(kCudaProviderName, failure.what());
    }
}

}  // namespace

bool CheckGpu(const fs::path& driverVersion) {
    Findings findings;
    const fs::path runtime = FindRuntime(findings);
    std::vector<std::string> libraries = LibrariesForCuda(runtime, findings);
    libraries.emplace_back(kDriverLibrary);
    for (const std::string& library : libraries) {
        LookFor(library, runtime.parent_path(), findings);
    }
    LookForDriver(driverVersion, findings);
    if (findings.IsComplete()) TryProvider(findings);
    findings.Conclude();
    return findings.IsComplete();
}

}  // namespace vistrel

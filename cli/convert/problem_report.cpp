// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/convert/problem_report.h"

#include <dlfcn.h>
#include <sys/utsname.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <system_error>
#include <thread>

#include "base/last_failure.h"
#include "base/text_encoding.h"
#include "base/user_folders.h"
#include "cli/chosen_model.h"
#include "engine/onnxruntime_library.h"
#include "photos/photo_formats.h"

namespace vistrel {
namespace {

constexpr const char* kUnknown = "unknown";

// The first line of a file of the system that begins with `key`, without it and what separates
// them.
std::string LineOf(const char* file, const std::string& key) {
    std::ifstream stream(file);
    for (std::string line; std::getline(stream, line);) {
        if (!line.starts_with(key)) continue;
        const std::size_t start = line.find_first_not_of(" \t:=\"", key.size());
        const std::size_t end = line.find_last_not_of(" \"");
        return start == line.npos ? "" : line.substr(start, end + 1 - start);
    }
    return kUnknown;
}

std::string Kernel() {
    utsname system{};
    if (uname(&system) != 0) return kUnknown;
    return std::string(system.sysname) + " " + system.release + " " + system.machine;
}

// Those that make a difference for Vistrel and ONNX Runtime.
std::string InstructionSets() {
    std::istringstream words(LineOf("/proc/cpuinfo", "flags"));
    std::set<std::string> flags;
    for (std::string word; words >> word;) flags.insert(word);
    std::string found;
    for (const char* const name :
         {"sse4_1", "sse4_2", "avx", "f16c", "fma", "avx2", "avx512f", "avx512bw", "avx512_bf16",
          "avx512_fp16", "avx_vnni", "amx_bf16"}) {
        if (flags.contains(name)) found += (found.empty() ? "" : " ") + std::string(name);
    }
    return found.empty() ? "none of those that matter" : found;
}

std::string FirstWord(const std::filesystem::path& file) {
    std::ifstream stream(file);
    std::string word;
    return stream >> word ? word : kUnknown;
}

void TellGraphics(std::ostream& report) {
    std::error_code ignored;
    std::set<std::string> cards;
    for (const auto& entry : std::filesystem::directory_iterator("/sys/class/drm", ignored)) {
        const std::filesystem::path device = entry.path() / "device";
        const std::string name = entry.path().filename();
        if (!name.starts_with("card") || name.find('-') != name.npos) continue;
        const std::string driver =
            std::filesystem::read_symlink(device / "driver", ignored).filename();
        cards.insert(FirstWord(device / "vendor") + ":" + FirstWord(device / "device") +
                     ", driver " + (driver.empty() ? kUnknown : driver));
    }
    if (cards.empty()) report << "Graphics: no card\n";
    for (const std::string& card : cards) report << "Graphics: " << card << '\n';
    const std::string nvidia = LineOf("/proc/driver/nvidia/version", "NVRM version");
    if (nvidia != kUnknown) report << "NVIDIA's driver: " << nvidia << '\n';
}

std::string OnnxRuntime() {
    try {
        const OnnxRuntimeLibrary& library = OpenedOnnxRuntime();
        const std::filesystem::path own = ToPath(RuntimeFolder());
        const bool isOwn = std::filesystem::path(library.file).parent_path() == own;
        return library.version + (isOwn ? ", of the user's own" : ", the one of the program");
    } catch (const std::exception& failure) {
        return WithoutNames(failure.what());
    }
}

// Whether a shared library opens, or why it does not. It stays open: some cannot be closed well.
std::string Opening(const std::string& file) {
    if (dlopen(file.c_str(), RTLD_LAZY | RTLD_LOCAL) != nullptr) return "opens";
    const char* const reason = dlerror();
    return reason == nullptr ? kUnknown : WithoutNames(reason);
}

void TellLibraries(std::ostream& report) {
    report << "ONNX Runtime: " << OnnxRuntime() << '\n';
    const std::filesystem::path modules = ToPath(ProgramFolder()) / "photos";
    for (const PhotoFormat& format : PhotoFormats()) {
        report << "Decoder of " << format.name << ": "
               << Opening(modules / (std::string(format.module) + ".so")) << '\n';
    }
    for (const char* const library :
         {"libcuda.so.1", "libcudart.so.12", "libcublas.so.12", "libcudnn.so.9"}) {
        report << library << ": " << Opening(library) << '\n';
    }
}

std::string Network() {
    const std::filesystem::path model = ChosenModel();
    if (model.empty()) return "none chosen";
    std::error_code missing;
    const std::uintmax_t bytes = std::filesystem::file_size(model, missing);
    const bool isUsual = model.filename() == ToPath(ModelFile()).filename();
    const std::string name = isUsual ? model.filename().native() : "of another name";
    return name + (missing ? ", missing" : ", " + std::to_string(bytes) + " bytes");
}

std::string Language() {
    for (const char* const variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* const value = std::getenv(variable);
        if (value == nullptr || *value == '\0') continue;
        static const std::regex locale(R"([A-Za-z_]{1,8}([.@][\w-]{1,12}){0,2})");
        return std::regex_match(value, locale) ? value : "of another kind";
    }
    return "none";
}

}  // namespace

std::string ProblemReport() {
    std::ostringstream report;
    report << "Vistrel: " VISTREL_VERSION "\n"
           << "System: " << LineOf("/etc/os-release", "PRETTY_NAME") << ", " << Kernel() << '\n'
           << "Processor: " << LineOf("/proc/cpuinfo", "model name") << ", "
           << std::thread::hardware_concurrency() << " threads, " << InstructionSets() << '\n'
           << "Memory: " << LineOf("/proc/meminfo", "MemTotal") << ", available "
           << LineOf("/proc/meminfo", "MemAvailable") << ", swap "
           << LineOf("/proc/meminfo", "SwapTotal") << '\n';
    TellGraphics(report);
    TellLibraries(report);
    const std::string failure = LastFailure();
    report << "Network: " << Network() << '\n'
           << "Language: " << Language() << '\n'
           << "Last failure: " << (failure.empty() ? "none" : failure) << '\n';
    return report.str();
}

}  // namespace vistrel

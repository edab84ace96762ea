// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/onnxruntime_library.h"

#include <dlfcn.h>
#include <link.h>
#include <onnxruntime_c_api.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <system_error>

#include "base/text_encoding.h"
#include "base/user_folders.h"

namespace vistrel {
namespace {

// Takes minutes instead of seconds for half precision on the processor.
constexpr const char* kRuinousVersion = "1.29.0";
constexpr const char* kGoodVersion = "1.22";

struct Close {
    void operator()(void* library) const { dlclose(library); }
};
using Handle = std::unique_ptr<void, Close>;

// The user's own library; empty where there is none. Nobody can have put one into a folder that
// they may not look into, such as the home of another user in whose name a service runs. Any other
// doubt counts as one: falling back to another without a word would leave the user guessing.
std::filesystem::path OwnLibrary() {
    const std::filesystem::path file = ToPath(RuntimeFolder()) / kOnnxRuntimeFile;
    std::error_code failure;
    const auto type = std::filesystem::symlink_status(file, failure).type();
    const bool absent =
        type == std::filesystem::file_type::not_found || failure == std::errc::permission_denied;
    return absent ? std::filesystem::path() : file;
}

class CannotBeOpened : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

[[noreturn]] void FailToOpenRuntime() {
    const char* const reason = dlerror();
    throw CannotBeOpened(std::string("ONNX Runtime cannot be opened: ") +
                         (reason != nullptr ? reason : "unknown reason"));
}

std::string FileOf(void* library) {
    const link_map* map = nullptr;
    return dlinfo(library, RTLD_DI_LINKMAP, &map) == 0 ? map->l_name : kOnnxRuntimeFile;
}

// What the library tells of itself; throws where it is not to be used.
OnnxRuntimeLibrary Asked(const Handle& library) {
    const auto entry =
        reinterpret_cast<decltype(&OrtGetApiBase)>(dlsym(library.get(), "OrtGetApiBase"));
    if (entry == nullptr) FailToOpenRuntime();
    const OrtApiBase* const base = entry();
    OnnxRuntimeLibrary found = {FileOf(library.get()), base->GetVersionString(), nullptr};
    const std::string name = "ONNX Runtime " + found.version;
    if (found.version == kRuinousVersion) {
        throw std::runtime_error(name +
                                 " takes ruinously long for half precision on the processor: use " +
                                 kGoodVersion + " instead of " + found.file);
    }
    // Every version has the tables of all versions before it.
    found.api = base->GetApi(ORT_API_VERSION);
    if (found.api == nullptr) {
        throw std::runtime_error(name + " is too old: version 1." +
                                 std::to_string(ORT_API_VERSION) +
                                 " or newer is needed instead of " + found.file);
    }
    return found;
}

Handle Open(const char* file) {
    Handle library(dlopen(file, RTLD_NOW | RTLD_LOCAL));
    if (library == nullptr) FailToOpenRuntime();
    return library;
}

OnnxRuntimeLibrary Opened() {
    const std::filesystem::path own = OwnLibrary();
    try {
        Handle library = Open(own.empty() ? VISTREL_ONNXRUNTIME : own.c_str());
        OnnxRuntimeLibrary opened = Asked(library);
        const void* const staysOpen [[maybe_unused]] = library.release();
        return opened;
    } catch (const CannotBeOpened& failure) {
        if (own.empty()) throw;
        throw std::runtime_error(std::string(failure.what()) +
                                 ". The command vistrel-fetch gpu --check tells more.");
    }
}

}  // namespace

void KeepOnnxRuntimeSilent() {
    constexpr int kKeep = 0;
    setenv("ORT_DISABLE_TELEMETRY", "1", kKeep);
}

const OnnxRuntimeLibrary& OpenedOnnxRuntime() {
    static const OnnxRuntimeLibrary opened = Opened();
    return opened;
}

std::string VersionOfOnnxRuntime(const std::filesystem::path& file) {
    return Asked(Open(file.c_str())).version;
}

}  // namespace vistrel

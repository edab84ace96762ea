// SPDX-License-Identifier: GPL-3.0-or-later
#include "photos/photo_modules.h"

#include <dlfcn.h>

#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

#include "photos/module.h"
#include "photos/photo_formats.h"

namespace vistrel {
namespace {

// "libheif.so.1: cannot open shared object file: No such file or directory"; a module that is
// missing itself is named with its folder.
std::string WhyNotOpened(const std::string& reason) {
    constexpr std::string_view kMissing = ": cannot open shared object file: No such file";
    const std::size_t end = reason.find(kMissing);
    if (end == std::string::npos) return "what reads those cannot be opened: " + reason + ".";
    const std::string library = reason.substr(0, end);
    const std::string package = PackageOfLibrary(library);
    return library + " is missing" +
           (package.empty() ? std::string(".") : ": install the package " + package + ".");
}

[[noreturn]] void FailToOpen(const PhotoFormat& format) {
    const char* const reason = dlerror();
    throw PhotoModuleError(std::string("It is a ") + format.name + " picture, and " +
                           WhyNotOpened(reason != nullptr ? reason : "unknown reason"));
}

}  // namespace

PhotoModules::Function PhotoModules::Open(std::size_t format) {
    const std::scoped_lock lock(mutex_);
    Function& function = opened_.at(format);
    if (function != nullptr) return function;

    const PhotoFormat& asked = PhotoFormats()[format];
    const std::filesystem::path file = folder_ / (std::string(asked.module) + ".so");
    void* const module = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) FailToOpen(asked);
    function = reinterpret_cast<Function>(dlsym(module, kPhotoModuleFunction));
    if (function == nullptr) FailToOpen(asked);
    return function;
}

std::optional<DecodedPhoto> PhotoModules::Load(std::span<const std::byte> file) {
    std::optional<PhotoModuleError> missing;
    for (std::size_t i = 0; i < PhotoFormats().size(); ++i) {
        if (!PhotoFormats()[i].mayBe(file)) continue;
        try {
            DecodedPhoto photo;
            if (Open(i)(file, photo)) return photo;
        } catch (const PhotoModuleError& failure) {
            if (!missing) missing = failure;
        } catch (const PhotoError&) {
            // A decoder that the file was not meant for may have stumbled over it.
            if (missing) throw *missing;
            throw;
        }
    }
    if (missing) throw *missing;
    return std::nullopt;
}

}  // namespace vistrel

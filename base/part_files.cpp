// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/part_files.h"

#include <sys/random.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <string>

namespace vistrel {
namespace {

// Not made of the target's name, which may be as long as names can be.
std::string RandomName() {
    std::uint64_t number = 0;
    if (getrandom(&number, sizeof number, 0) != sizeof number) number = 0;
    constexpr int kHexadecimal = 16;
    std::array<char, 16> digits{};
    const auto end =
        std::to_chars(digits.data(), digits.data() + digits.size(), number, kHexadecimal).ptr;
    return ".vistrel-" + std::string(digits.data(), end) + ".part";
}

}  // namespace

// Never destroyed: threads may still write when the process ends.
PartFiles& PartFiles::All() {
    static PartFiles& all = *new PartFiles;
    return all;
}

std::filesystem::path PartFiles::NameBeside(
    const std::filesystem::path& target,
    const std::function<bool(const std::filesystem::path&)>& make) {
    constexpr int kAttempts = 100;
    for (int i = 0; i < kAttempts; ++i) {
        const auto [name, isNew] = live_.insert(target.parent_path() / RandomName());
        if (!isNew) continue;
        if (make(*name)) return *name;
        const int error = errno;
        live_.erase(name);
        errno = error;
        if (error != EEXIST) break;
    }
    return {};
}

void PartFiles::RemoveAll() const {
    for (const std::filesystem::path& name : live_) unlink(name.c_str());
}

}  // namespace vistrel

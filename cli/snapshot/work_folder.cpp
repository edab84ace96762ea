// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/snapshot/work_folder.h"

#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace vistrel {
namespace {

constexpr std::string_view kPlainLetters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789/._-";

bool IsPlainAbsolutePath(std::string_view path) {
    return path.starts_with('/') && path.find_first_not_of(kPlainLetters) == path.npos;
}

}  // namespace

WorkFolder::WorkFolder() {
    const char* const wanted = std::getenv("TMPDIR");
    for (const char* parent : {wanted, "/tmp"}) {
        if (parent == nullptr || !IsPlainAbsolutePath(parent)) continue;
        std::string name = std::string(parent) + "/vistrel-XXXXXX";
        if (mkdtemp(name.data()) == nullptr) continue;
        path_ = name;
        return;
    }
    throw std::runtime_error("no temporary folder could be made: " +
                             std::generic_category().message(errno));
}

WorkFolder::~WorkFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

}  // namespace vistrel

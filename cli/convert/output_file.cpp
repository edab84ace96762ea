// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/convert/output_file.h"

#include <system_error>

#include "base/text_encoding.h"
#include "cli/output_check.h"
#include "engine/conversion_engine.h"

namespace vistrel {
namespace {

bool HasFolder(const std::filesystem::path& output) {
    std::error_code ignored;
    const std::filesystem::path folder = output.parent_path();
    return folder.empty() || std::filesystem::is_directory(folder, ignored);
}

}  // namespace

bool IsSameFile(const std::filesystem::path& first, const std::filesystem::path& second) {
    std::error_code error;
    if (std::filesystem::equivalent(first, second, error)) return true;
    if (error == std::errc::io_error) {
        throw std::filesystem::filesystem_error("cannot look at files", first, second, error);
    }
    return false;
}

void CheckOutputInFolder(const std::filesystem::path& output) {
    if (HasFolder(output)) CheckOutput(output);
}

void MakeOutputFolder(const std::filesystem::path& output) {
    if (HasFolder(output)) return;
    CreateOutputFolder(FromPath(output));
    CheckOutput(output);
}

}  // namespace vistrel

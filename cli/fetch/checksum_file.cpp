// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/fetch/checksum_file.h"

#include "base/new_file.h"
#include "base/whole_file.h"
#include "download/http_values.h"

namespace vistrel {
namespace {

std::filesystem::path ChecksumNameOf(const std::filesystem::path& file) {
    return file.native() + ".sha256";
}

}  // namespace

void WriteChecksum(const std::filesystem::path& file, const std::string& sum) {
    NewFile checksum(ChecksumNameOf(file));
    checksum.Append(sum + "  " + file.filename().native() + "\n");
    checksum.Commit();
}

std::string ReadChecksum(const std::filesystem::path& file) {
    const std::string text = ReadWholeFile(ChecksumNameOf(file)).value_or("");
    const std::size_t end = text.find(' ');
    const bool isOfThisFile =
        end != std::string::npos && text.substr(end) == "  " + file.filename().native() + "\n";
    return isOfThisFile ? Sha256InEtag(text.substr(0, end)) : std::string();
}

}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
// The program's own writers, one per run, to be watched from outside.
//
// Usage: fault_probe settings | extraction FOLDER | picture FILE BYTES | download URL FILE
// Exit status 0 for success; the settings tell nobody, so for them always.
#include <cstddef>
#include <cstdlib>
#include <future>
#include <iostream>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/new_file.h"
#include "base/text_encoding.h"
#include "download/model_downloader.h"
#include "shell/start/extraction.h"
#include "ui/settings.h"

namespace vistrel::test {
namespace {

bool SaveSettings() {
    AppSettings settings;
    settings.Load();
    settings.outputFilename = L"saved.ply";
    settings.Save();
    return true;
}

bool SavePicture(const std::string& file, std::size_t size) {
    return WriteNewFile(file, std::vector<std::byte>(size, std::byte{'n'}));
}

bool Download(const std::string& url, const std::string& file) {
    std::promise<bool> result;
    const auto downloader = std::make_shared<ModelDownloader>(url);
    ModelDownloader::StartDownload(downloader, FromPath(file), {},
                                   [&](bool success, const std::wstring& message) {
                                       std::cerr << ToUtf8(message) << '\n';
                                       result.set_value(success);
                                   });
    return result.get_future().get();
}

bool Run(std::span<char*> words) {
    const std::string_view what = words.empty() ? "" : words[0];
    if (what == "settings") return SaveSettings();
    if (what == "extraction") return ExtractResources(FromPath(words[1])).has_value();
    if (what == "picture") return SavePicture(words[1], std::stoul(words[2]));
    if (what == "download") return Download(words[1], words[2]);
    return false;
}

}  // namespace
}  // namespace vistrel::test

int main(int argc, char** argv) {
    const bool success = vistrel::test::Run({argv + 1, argv + argc});
    std::cout.flush();
    std::cerr.flush();
    // The downloader's thread may still be ending.
    std::_Exit(success ? EXIT_SUCCESS : EXIT_FAILURE);
}

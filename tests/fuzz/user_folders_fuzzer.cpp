// SPDX-License-Identifier: GPL-3.0-or-later
// Any bytes as the desktop's list of folders: the documents folder is one that is there, by a name
// that every part of the program reads alike.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "base/text_encoding.h"
#include "base/user_folders.h"
#include "tests/fuzz/require.h"
#include "tests/fuzz/scratch_folder.h"
#include "tests/fuzz/seeded_mutation.h"

namespace vistrel {
namespace {

using fuzz::Require;

// The home folder, with some folders that an input may name.
const std::filesystem::path& Home() {
    static const test::TemporaryFolder scratch = fuzz::MakeScratchFolder();
    static const std::filesystem::path home = [] {
        for (const char* const name : {"a", "a b", "\"", "\\", "$", "\xC3\xA9", "\xFF"})
            std::filesystem::create_directory(scratch / name);
        setenv("HOME", scratch.Path().c_str(), 1);
        setenv("XDG_CONFIG_HOME", scratch.Path().c_str(), 1);
        return scratch.Path();
    }();
    return home;
}

void RunOne(std::string_view text) {
    std::ofstream(Home() / "user-dirs.dirs", std::ios::binary) << text;
    const std::wstring wide = DocumentsFolder();
    const std::string folder = ToPath(wide).native();
    Require(folder.starts_with('/') && folder.find('\0') == folder.npos);
    Require(std::filesystem::is_directory(folder));
    Require(FromPath(folder) == wide);
}

const std::vector<std::string>& Seeds() {
    static const std::vector<std::string> seeds = {
        "# a comment\nXDG_DESKTOP_DIR=\"$HOME/b\"\nXDG_DOCUMENTS_DIR=\"$HOME/a\"\n",
        "XDG_DOCUMENTS_DIR=\"$HOME/a b/\"",
        " \tXDG_DOCUMENTS_DIR=\"$HOME\"",
        "XDG_DOCUMENTS_DIR=\"/tmp\"\nXDG_DOCUMENTS_DIR=\"$HOME/\\\"\"",
        "XDG_DOCUMENTS_DIR=\"$HOME/\\\\\"\n",
        "XDG_DOCUMENTS_DIR=\"/\"\n",
        "XDG_DOCUMENTS_DIR=\"$HOME/\xC3\xA9\"\n"};
    return seeds;
}

}  // namespace
}  // namespace vistrel

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    vistrel::RunOne({reinterpret_cast<const char*>(bytes), size});
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t most, unsigned int seed) {
    return vistrel::fuzz::MutateSeeded(vistrel::Seeds(), data, size, most, seed);
}

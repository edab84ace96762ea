// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/fetch/shared_library.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

const std::filesystem::path kProvider =
    std::filesystem::path(VISTREL_RUNTIMES) / "cuda" / "libonnxruntime_providers_cuda.so";

// Empty: the file is refused.
std::vector<std::string> NeededOrNothing(const std::filesystem::path& file) {
    try {
        return NeededLibraries(file);
    } catch (const std::runtime_error&) {
        return {};
    }
}

TEST(SharedLibrary, NeedsWhatItWasLinkedWith) {
    std::vector<std::string> needed = NeededLibraries(kProvider);
    // What the thread sanitizer links in comes first.
    std::erase_if(needed, [](const std::string& name) { return name.starts_with("libtsan."); });
    ASSERT_GE(needed.size(), 3U);
    EXPECT_EQ(needed[0], "libcublas.so.12");
    EXPECT_EQ(needed[1], "libcudnn_vistrel.so.9");
    EXPECT_EQ(needed[2], "libvistrel_none.so.7");
}

TEST(SharedLibrary, CutAnywhereIsRefused) {
    const test::TemporaryFolder folder;
    const std::string whole = test::ReadFile(kProvider);
    constexpr std::size_t kStep = 503;
    for (std::size_t size = 0; size < whole.size(); size += kStep) {
        const auto file = folder.Write("cut", whole.substr(0, size));
        EXPECT_TRUE(NeededOrNothing(file).empty()) << size;
    }
}

// Only that reading it ends: many changes leave a library that could be one.
TEST(SharedLibrary, WithWrongBytesInItsTablesIsReadToAnEnd) {
    const test::TemporaryFolder folder;
    const std::string whole = test::ReadFile(kProvider);
    constexpr std::size_t kTables = 640;
    constexpr std::size_t kStep = 7;
    for (std::size_t place = 0; place < kTables; place += kStep) {
        std::string changed = whole;
        changed[place] = static_cast<char>(~changed[place]);
        EXPECT_LE(NeededOrNothing(folder.Write("changed", changed)).size(), 10U) << place;
    }
}

TEST(SharedLibrary, OfAnotherKindIsRefused) {
    const test::TemporaryFolder folder;
    EXPECT_THROW(static_cast<void>(NeededLibraries(folder.Write("text", std::string(200, 'a')))),
                 std::runtime_error);
    EXPECT_THROW(static_cast<void>(NeededLibraries("/proc/self/exe.none")), std::runtime_error);
}

}  // namespace
}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/whole_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>

#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

class WholeFile : public testing::Test {
  protected:
    const test::TemporaryFolder folder;
};

TEST_F(WholeFile, BytesComeBack) {
    std::string bytes(200000, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * i);
    EXPECT_EQ(ReadWholeFile(folder.Write("f", bytes)), bytes);
}

TEST_F(WholeFile, NamesThatAreNoTextWork) {
    EXPECT_EQ(ReadWholeFile(folder.Write("\xFF", "x")), "x");
}

TEST_F(WholeFile, WhatIsNotThereIsNoFile) {
    EXPECT_FALSE(ReadWholeFile(folder / "gone"));
}

TEST_F(WholeFile, FolderIsNoFile) {
    EXPECT_FALSE(ReadWholeFile(folder.Path()));
}

TEST_F(WholeFile, DevicesAndPipesAreNoFiles) {
    const auto pipe = folder / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const auto& path : {pipe, std::filesystem::path("/dev/null")}) {
        EXPECT_FALSE(ReadWholeFile(path));
    }
}

TEST_F(WholeFile, WhatExistsIsToldFromWhatDoesNot) {
    EXPECT_EQ(Exists(folder.Write("f", "")), true);
    EXPECT_EQ(Exists(folder.Path()), true);
    EXPECT_EQ(Exists(folder / "gone"), false);
    EXPECT_EQ(Exists(folder / "f/gone"), false);
}

TEST_F(WholeFile, NobodyCanTellWhatANameTooLongIs) {
    EXPECT_EQ(Exists(folder / std::string(300, 'x')), std::nullopt);
}

}  // namespace
}  // namespace vistrel

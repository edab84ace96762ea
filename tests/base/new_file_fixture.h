// SPDX-License-Identifier: GPL-3.0-or-later
// A folder, and new files in it on both kinds of file systems.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <iterator>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "base/new_file.h"
#include "tests/support/refused_calls.h"
#include "tests/support/temporary_folder.h"

namespace vistrel::test {

inline const RefusedCall kNoUnnamedFiles = {SYS_openat, EOPNOTSUPP, 2, O_TMPFILE};

// A megabyte in which no two neighbouring pages are the same.
inline std::string Megabyte() {
    std::string content(1'000'003, '\0');
    for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * 31 / 7);
    return content;
}

inline void WriteInPieces(NewFile& file, std::string_view content, std::size_t piece) {
    for (; !content.empty(); content.remove_prefix(std::min(piece, content.size()))) {
        file.Append(content.substr(0, piece));
    }
}

inline void WriteWhole(const std::filesystem::path& path, std::string_view content,
                       NewFileOptions options = {}) {
    NewFile file(path, std::move(options));
    file.Append(content);
    file.Commit();
}

// The error that `work` fails with; 0 for none.
inline int ErrorOf(const std::function<void()>& work) {
    try {
        work();
    } catch (const std::system_error& failure) {
        return failure.code().value();
    }
    return 0;
}

class NewFileTest : public testing::Test {
  protected:
    ~NewFileTest() override {
        std::filesystem::permissions(folder_.Path(), std::filesystem::perms{0700});
    }

    [[nodiscard]] long Entries() const {
        return std::distance(std::filesystem::directory_iterator(folder_.Path()), {});
    }

    [[nodiscard]] std::filesystem::path MakePipe() const {
        const std::filesystem::path path = folder_ / "pipe";
        EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
        return path;
    }

    const TemporaryFolder folder_;
};

enum class FileSystem { kWithUnnamedFiles, kWithout };

// Cases that run on both.
class OnBothFileSystems : public NewFileTest, public testing::WithParamInterface<FileSystem> {
  protected:
    [[nodiscard]] static bool HasUnnamedFiles() {
        return GetParam() == FileSystem::kWithUnnamedFiles;
    }

    // `more`: refused besides.
    static void Run(const std::function<void()>& work, std::vector<RefusedCall> more = {}) {
        if (!HasUnnamedFiles()) more.push_back(kNoUnnamedFiles);
        WithRefusedCalls(more, work);
    }
};

inline std::string NameOf(const testing::TestParamInfo<FileSystem>& info) {
    return info.param == FileSystem::kWithUnnamedFiles ? "Unnamed" : "Named";
}

inline const auto kBothFileSystems =
    testing::Values(FileSystem::kWithUnnamedFiles, FileSystem::kWithout);

}  // namespace vistrel::test

#include "viewer/captured_image.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <iterator>
#include <string>

#include "base/text_encoding.h"
#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

using test::ReadFile;
using test::TemporaryFolder;

bool Write(const std::filesystem::path& path, const std::string& text) {
    return WriteCapturedImage(FromPath(path), std::as_bytes(std::span(text)));
}

std::ptrdiff_t FilesIn(const TemporaryFolder& folder) {
    return std::distance(std::filesystem::directory_iterator(folder.Path()), {});
}

TEST(CapturedImage, NameThatIsNoUtf8) {
    const TemporaryFolder folder;
    const std::filesystem::path path = folder / "\xff \xe5\x86\x99 #.png";
    EXPECT_TRUE(Write(path, "picture"));
    EXPECT_EQ(ReadFile(path), "picture");
    EXPECT_EQ(FilesIn(folder), 1);
}

TEST(CapturedImage, LongestName) {
    const TemporaryFolder folder;
    const std::filesystem::path path = folder / std::string(255, 'x');
    EXPECT_TRUE(Write(path, "picture"));
    EXPECT_EQ(ReadFile(path), "picture");
}

TEST(CapturedImage, RelativeName) {
    const TemporaryFolder folder;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.Path());
    EXPECT_TRUE(Write("a.png", "picture"));
    std::filesystem::current_path(before);
    EXPECT_EQ(ReadFile(folder / "a.png"), "picture");
}

TEST(CapturedImage, LongerFileIsReplaced) {
    const TemporaryFolder folder;
    const auto path = folder.Write("a.png", "a longer picture");
    EXPECT_TRUE(Write(path, "picture"));
    EXPECT_EQ(ReadFile(path), "picture");
    EXPECT_EQ(FilesIn(folder), 1);
}

TEST(CapturedImage, LinkStaysALink) {
    const TemporaryFolder folder;
    const auto path = folder.Write("a.png", "former");
    std::filesystem::create_symlink("a.png", folder / "link.png");
    EXPECT_TRUE(Write(folder / "link.png", "picture"));
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "link.png"));
    EXPECT_EQ(ReadFile(path), "picture");
}

TEST(CapturedImage, FolderInThePlaceOfTheFile) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "a.png");
    EXPECT_FALSE(Write(folder / "a.png", "picture"));
    EXPECT_EQ(FilesIn(folder), 1);
}

TEST(CapturedImage, FolderThatIsMissing) {
    const TemporaryFolder folder;
    EXPECT_FALSE(Write(folder.Path() / "none" / "a.png", "picture"));
    EXPECT_EQ(FilesIn(folder), 0);
}

TEST(CapturedImage, FullDevice) {
    EXPECT_FALSE(Write("/dev/full", "picture"));
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
}

// The disk is full after ten bytes.
class FullDisk {
  public:
    FullDisk() {
        handler_ = std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit small = {10, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
    }
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

  private:
    rlimit before_{};
    void (*handler_)(int) = nullptr;
};

TEST(CapturedImage, FullDiskLeavesWhatWasThere) {
    const TemporaryFolder folder;
    const auto path = folder.Write("a.png", "former");
    bool newOne = true;
    bool replaced = true;
    {
        const FullDisk disk;
        newOne = Write(folder / "b.png", "a picture of many bytes");
        replaced = Write(path, "a picture of many bytes");
    }
    EXPECT_FALSE(newOne);
    EXPECT_FALSE(replaced);
    EXPECT_EQ(ReadFile(path), "former");
    EXPECT_EQ(FilesIn(folder), 1);
}

}  // namespace
}  // namespace vistrel

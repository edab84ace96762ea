// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/preview.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <filesystem>

#include "base/text_encoding.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/test_pictures.h"
#include "tests/support/wait_until.h"
#include "ui/theme.h"

namespace vistrel {
namespace {

using test::WaitUntil;

constexpr QColor kRed(200, 30, 60);
constexpr QColor kGreen(20, 180, 70);

class PreviewTest : public testing::Test {
  protected:
    PreviewTest() { preview.resize(300, 200); }
    std::wstring File(const char* name, int width, int height, const QColor& colour) {
        const auto picture = test::FilledPicture(
            width, height, static_cast<std::uint8_t>(colour.red()),
            static_cast<std::uint8_t>(colour.green()), static_cast<std::uint8_t>(colour.blue()));
        return FromPath(folder.Write(name, test::EncodePng(picture)));
    }
    [[nodiscard]] bool Wait() {
        return WaitUntil([this] { return !preview.IsReading(); });
    }
    // The pixels of `colour`, as their bounding rectangle.
    [[nodiscard]] QRect Drawn(const QColor& colour) {
        const QImage picture = preview.grab().toImage();
        QRect drawn;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                if (picture.pixelColor(x, y) == colour) drawn |= QRect(x, y, 1, 1);
            }
        }
        return drawn;
    }

    test::TemporaryFolder folder;
    Preview preview{(ApplyTheme(), nullptr)};  // colours come first
};

TEST_F(PreviewTest, NothingIsDrawnAtFirst) {
    EXPECT_EQ(Drawn(kWindowColour), QRect(0, 0, 300, 200));
}

TEST_F(PreviewTest, SmallPhotographIsDrawnAtItsOwnSizeInTheMiddle) {
    preview.Show(File("a.png", 100, 50, kRed));
    ASSERT_TRUE(Wait());
    EXPECT_EQ(Drawn(kRed), QRect(100, 75, 100, 50));
}

TEST_F(PreviewTest, TallPhotographIsShrunkToTheHeight) {
    preview.Show(File("a.png", 300, 800, kRed));
    ASSERT_TRUE(Wait());
    EXPECT_EQ(Drawn(kRed), QRect(112, 0, 75, 200));
}

TEST_F(PreviewTest, PhotographFollowsTheSizeOfTheArea) {
    preview.Show(File("a.png", 300, 800, kRed));
    ASSERT_TRUE(Wait());
    preview.resize(590, 400);
    EXPECT_EQ(Drawn(kRed), QRect(220, 0, 150, 400));
    preview.resize(300, 200);
    EXPECT_EQ(Drawn(kRed), QRect(112, 0, 75, 200));
}

TEST_F(PreviewTest, FileIsReadOnlyOnce) {
    const std::wstring path = File("a.png", 100, 50, kRed);
    preview.Show(path);
    ASSERT_TRUE(Wait());
    std::filesystem::remove(ToPath(path));
    preview.resize(400, 300);
    EXPECT_EQ(Drawn(kRed), QRect(150, 125, 100, 50));
}

TEST_F(PreviewTest, LaterChoiceWins) {
    preview.Show(File("a.png", 1500, 1500, kRed));
    preview.Show(File("b.png", 100, 50, kRed));
    preview.Show(File("c.png", 80, 40, kGreen));
    ASSERT_TRUE(Wait());
    EXPECT_EQ(Drawn(kRed), QRect());
    EXPECT_EQ(Drawn(kGreen), QRect(110, 80, 80, 40));
}

TEST_F(PreviewTest, FormerPhotographIsGoneWhileTheNextIsRead) {
    preview.Show(File("a.png", 100, 50, kRed));
    ASSERT_TRUE(Wait());
    preview.Show(File("b.png", 80, 40, kGreen));
    EXPECT_EQ(Drawn(kRed), QRect());
    ASSERT_TRUE(Wait());
    EXPECT_EQ(Drawn(kGreen), QRect(110, 80, 80, 40));
}

TEST_F(PreviewTest, ClearedPreviewStaysEmptyWhenTheFileArrives) {
    preview.Show(File("a.png", 100, 50, kRed));
    preview.Clear();
    ASSERT_TRUE(Wait());
    EXPECT_EQ(Drawn(kRed), QRect());
}

TEST_F(PreviewTest, PhotographThatIsTooLargeIsAnOutlineWithItsSize) {
    preview.Show(FromPath(folder.Write("a.pgm", "P5 20000 10001 255\n")));
    ASSERT_TRUE(Wait());
    EXPECT_EQ(Drawn(kEdgeColour), QRect(0, 25, 300, 150));
    const QRect text = Drawn(kTextColour);
    EXPECT_GT(text.width(), 20);
    EXPECT_TRUE(QRect(0, 25, 300, 150).contains(text));
}

TEST_F(PreviewTest, FileThatIsNoPictureIsNotDrawn) {
    preview.Show(File("a.png", 100, 50, kRed));
    ASSERT_TRUE(Wait());
    preview.Show(FromPath(folder.Write("b.jpg", "nothing")));
    ASSERT_TRUE(Wait());
    EXPECT_EQ(Drawn(kWindowColour), QRect(0, 0, 300, 200));
}

TEST_F(PreviewTest, ScreenReadersAreToldThePhotographsName) {
    const QAccessibleInterface* const told = QAccessible::queryAccessibleInterface(&preview);
    EXPECT_EQ(told->role(), QAccessible::Client);
    preview.Show(File("a.png", 100, 50, kRed));
    EXPECT_EQ(told->role(), QAccessible::Graphic);
    EXPECT_EQ(told->text(QAccessible::Name), "a.png");
    preview.Clear();
    EXPECT_EQ(told->role(), QAccessible::Client);
    EXPECT_EQ(told->text(QAccessible::Name), "");
    ASSERT_TRUE(Wait());
}

TEST_F(PreviewTest, CallDoesNotWaitForTheFile) {
    preview.Show(File("a.png", 100, 50, kRed));
    EXPECT_TRUE(preview.IsReading());
    ASSERT_TRUE(Wait());
}

TEST(Preview, MayGoWhileItReads) {
    const test::TemporaryFolder folder;
    const auto path =
        folder.Write("a.png", test::EncodePng(test::FilledPicture(900, 900, 1, 2, 3)));
    {
        Preview preview(nullptr);
        preview.Show(FromPath(path));
    }
    QCoreApplication::processEvents();
}

}  // namespace
}  // namespace vistrel

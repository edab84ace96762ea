// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/user_folders.h"
#include "tests/shell/window/file_dialog_fixture.h"
#include "tests/support/wait_until.h"

namespace vistrel {
namespace {

using test::Accept;
using test::FileDialogTest;
using test::FiltersOf;
using test::ListedIn;
using test::NameOf;

TEST_F(FileDialogTest, PhotographsAndScenesAreAskedFor) {
    Look([this] { return dialogs.AskPhotographOrScene(); },
         [this](QFileDialog& dialog) {
             EXPECT_EQ(dialog.windowTitle(), "Open");
             EXPECT_EQ(dialog.acceptMode(), QFileDialog::AcceptOpen);
             EXPECT_EQ(dialog.fileMode(), QFileDialog::ExistingFile);
             EXPECT_EQ(dialog.parentWidget(), &owner);
             EXPECT_EQ(FiltersOf(dialog),
                       (QStringList{"Images & 3DGS", "Images", "3DGS Files", "All Files"}));
         });
}

TEST_F(FileDialogTest, JapaneseUsersSeeJapaneseFilters) {
    dialogs.isJapaneseUser = [] { return true; };
    Look([this] { return dialogs.AskPhotographOrScene(); },
         [](QFileDialog& dialog) {
             EXPECT_EQ(FiltersOf(dialog),
                       (QStringList{"画像 & 3DGS", "画像", "3DGSファイル", "すべてのファイル"}));
         });
}

class OpenFilterTest : public FileDialogTest {
  protected:
    // The files that are listed under filter number `index` once there are `count`.
    QStringList Listed(int index, int count) {
        for (const char* name : {"a.jpg", "b.jpeg", "c.png", "d.bmp", "e.tif", "f.tiff", "g.ply",
                                 "h.splat", "i.spz", "j.ksplat", "k.JPG", "l.txt", "m"}) {
            (void)Make(name);
        }
        QStringList listed;
        Look([this] { return dialogs.AskPhotographOrScene(); },
             [&](QFileDialog& dialog) {
                 dialog.setDirectory(FromWide(FromPath(files.Path())));
                 EXPECT_TRUE(test::WaitUntil([&] { return ListedIn(dialog).contains("a.jpg"); }));
                 auto& box = *dialog.findChild<QComboBox*>("fileTypeCombo");
                 box.setCurrentIndex(index);
                 emit box.activated(index);
                 EXPECT_TRUE(test::WaitUntil([&] { return ListedIn(dialog).size() == count; }));
                 listed = ListedIn(dialog);
             });
        listed.sort();
        return listed;
    }
};

TEST_F(OpenFilterTest, FirstFilterTakesPhotographsAndScenesInCapitalsToo) {
    EXPECT_EQ(Listed(0, 11), (QStringList{"a.jpg", "b.jpeg", "c.png", "d.bmp", "e.tif", "f.tiff",
                                          "g.ply", "h.splat", "i.spz", "j.ksplat", "k.JPG"}));
}

TEST_F(OpenFilterTest, SecondFilterTakesPhotographs) {
    EXPECT_EQ(Listed(1, 7),
              (QStringList{"a.jpg", "b.jpeg", "c.png", "d.bmp", "e.tif", "f.tiff", "k.JPG"}));
}

TEST_F(OpenFilterTest, ThirdFilterTakesScenes) {
    EXPECT_EQ(Listed(2, 4), (QStringList{"g.ply", "h.splat", "i.spz", "j.ksplat"}));
}

TEST_F(OpenFilterTest, LastFilterTakesNamesWithoutADotToo) {
    EXPECT_EQ(Listed(3, 13).size(), 13);
}

TEST_F(FileDialogTest, ExistingFileIsOpened) {
    (void)Make("a.jpg");
    Type(At("a.jpg"));
    EXPECT_EQ(dialogs.AskPhotographOrScene(), FromPath(files / "a.jpg"));
}

TEST_F(FileDialogTest, NextDialogBeginsWhereTheLastEnded) {
    (void)Make("a.jpg");
    Type(At("a.jpg"));
    (void)dialogs.AskPhotographOrScene();
    Look([this] { return dialogs.AskPhotographOrScene(); },
         [this](QFileDialog& dialog) {
             EXPECT_EQ(dialog.directory().path(), FromWide(FromPath(files.Path())));
         });
}

TEST_F(FileDialogTest, MissingFileIsNotOpened) {
    Look([this] { return dialogs.AskPhotographOrScene(); },
         [this](QFileDialog& dialog) {
             NameOf(dialog).setText(At("gone.jpg"));
             AnswerBox(QMessageBox::Ok);
             Accept(dialog);
             EXPECT_TRUE(boxText.contains("gone.jpg")) << boxText.toStdString();
             EXPECT_TRUE(dialog.isVisible());
         });
}

TEST_F(FileDialogTest, FirstModelIsLookedForInTheModelsFolder) {
    Look([this] { return dialogs.AskModel(L""); },
         [](QFileDialog& dialog) {
             EXPECT_EQ(dialog.windowTitle(), "Open");
             EXPECT_EQ(dialog.fileMode(), QFileDialog::ExistingFile);
             EXPECT_EQ(FiltersOf(dialog), (QStringList{"ONNX Model", "All Files"}));
             EXPECT_EQ(dialog.directory().path(), FromWide(UserDataFolder() + L"/Vistrel/Models"));
             EXPECT_EQ(NameOf(dialog).text(), "");
         });
    EXPECT_TRUE(std::filesystem::is_directory(ToPath(UserDataFolder()) / "Vistrel/Models"));
}

TEST_F(FileDialogTest, NextModelIsLookedForBesideTheFirst) {
    (void)Make("first.onnx");
    Look([this] { return dialogs.AskModel(FromPath(files / "first.onnx")); },
         [this](QFileDialog& dialog) {
             EXPECT_EQ(dialog.directory().path(), FromWide(FromPath(files.Path())));
             EXPECT_EQ(NameOf(dialog).text(), "first.onnx");
         });
    EXPECT_FALSE(std::filesystem::exists(ToPath(UserDataFolder())));
}

TEST_F(FileDialogTest, ModelWhoseFolderIsGoneIsLookedForAbove) {
    Look([this] { return dialogs.AskModel(FromPath(files / "gone/first.onnx")); },
         [this](QFileDialog& dialog) {
             EXPECT_EQ(dialog.directory().path(), FromWide(FromPath(files.Path())));
             EXPECT_EQ(NameOf(dialog).text(), "gone/first.onnx");
         });
}

TEST_F(FileDialogTest, ModelsFolderThatCannotBeMadeIsNoFailure) {
    home.variables.Set("XDG_DATA_HOME", Make("file").string());
    Look([this] { return dialogs.AskModel(L""); },
         [this](QFileDialog& dialog) {
             EXPECT_EQ(dialog.directory().path(), FromWide(FromPath(files.Path())));
         });
}

TEST_F(FileDialogTest, OwnerMayGoWhileADialogIsOpen) {
    auto other = std::make_unique<QWidget>();
    DesktopDialogs asked(other.get());
    QTimer::singleShot(0, [&other] { other.reset(); });
    EXPECT_EQ(asked.AskPhotographOrScene(), std::nullopt);
}

}  // namespace
}  // namespace vistrel

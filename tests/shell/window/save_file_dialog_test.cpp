// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/shell/window/file_dialog_fixture.h"

namespace vistrel {
namespace {

using test::Accept;
using test::FileDialogTest;
using test::FiltersOf;
using test::NameOf;
using test::OnNextDialog;

TEST_F(FileDialogTest, PictureIsSavedAsPng) {
    Look([this] { return dialogs.AskPictureToSave(); },
         [](QFileDialog& dialog) {
             EXPECT_EQ(dialog.windowTitle(), "Save As");
             EXPECT_EQ(dialog.acceptMode(), QFileDialog::AcceptSave);
             EXPECT_EQ(FiltersOf(dialog), (QStringList{"PNG Image", "JPEG Image"}));
             EXPECT_EQ(NameOf(dialog).text(), "rendering.png");
         });
}

TEST_F(FileDialogTest, PictureWithoutADotGetsTheExtensionUnderEitherFilter) {
    for (const char* filter : {"PNG Image (*.png)", "JPEG Image (*.jpg)"}) {
        OnNextDialog<QFileDialog>([&](QFileDialog& dialog) {
            dialog.selectNameFilter(filter);
            NameOf(dialog).setText(At("picture"));
            Accept(dialog);
        });
        EXPECT_EQ(dialogs.AskPictureToSave(), FromPath(files / "picture.png"));
    }
}

TEST_F(FileDialogTest, PictureKeepsTheExtensionThatWasTyped) {
    Type(At("picture.jpg"));
    EXPECT_EQ(dialogs.AskPictureToSave(), FromPath(files / "picture.jpg"));
}

TEST_F(FileDialogTest, SceneIsSavedAsProposed) {
    Look([this] { return AskScene("photo.ply"); },
         [this](QFileDialog& dialog) {
             EXPECT_EQ(dialog.windowTitle(), "Save As");
             EXPECT_EQ(FiltersOf(dialog), (QStringList{"PLY Files", "All Files"}));
             EXPECT_EQ(dialog.directory().path(), FromWide(FromPath(files.Path())));
             EXPECT_EQ(NameOf(dialog).text(), "photo.ply");
         });
    OnNextDialog<QFileDialog>([](QFileDialog& dialog) { Accept(dialog); });
    EXPECT_EQ(AskScene("photo.ply"), FromPath(files / "photo.ply"));
}

TEST_F(FileDialogTest, SceneWithoutADotGetsTheExtension) {
    Type("scene");
    EXPECT_EQ(AskScene("photo.ply"), FromPath(files / "scene.ply"));
}

TEST_F(FileDialogTest, SceneInAFolderThatIsNotThereYetIsTaken) {
    OnNextDialog<QFileDialog>([this](QFileDialog& dialog) {
        EXPECT_EQ(dialog.directory().path(), FromWide(FromPath(files.Path())));
        EXPECT_EQ(NameOf(dialog).text(), "new/folder/photo.ply");
        Accept(dialog);
    });
    EXPECT_EQ(AskScene("new/folder/photo.ply"), FromPath(files / "new/folder/photo.ply"));
    EXPECT_FALSE(std::filesystem::exists(files / "new"));
}

TEST_F(FileDialogTest, ExistingSceneIsChosenOnceTheUserAgrees) {
    (void)Make("photo.ply");
    OnNextDialog<QFileDialog>([this](QFileDialog& dialog) {
        AnswerBox(QMessageBox::No);
        Accept(dialog);
        EXPECT_TRUE(dialog.isVisible());
        EXPECT_EQ(boxText, "photo.ply already exists.\nDo you want to replace it?");
        AnswerBox(QMessageBox::Yes);
        Accept(dialog);
    });
    EXPECT_EQ(AskScene("photo.ply"), FromPath(files / "photo.ply"));
    EXPECT_EQ(test::ReadFile(files / "photo.ply"), "old");
}

TEST_F(FileDialogTest, AppendedExtensionIsAskedAboutToo) {
    (void)Make("photo.ply");
    OnNextDialog<QFileDialog>([this](QFileDialog& dialog) {
        NameOf(dialog).setText("photo");
        AnswerBox(QMessageBox::No);
        Accept(dialog);
    });
    EXPECT_EQ(AskScene("other.ply"), std::nullopt);
    EXPECT_EQ(boxText, "photo.ply already exists.\nDo you want to replace it?");
}

TEST_F(FileDialogTest, FolderIsEnteredAndNotChosen) {
    std::filesystem::create_directory(files / "sub");
    OnNextDialog<QFileDialog>([this](QFileDialog& dialog) {
        NameOf(dialog).setText(At("sub"));
        Accept(dialog);
        EXPECT_TRUE(dialog.isVisible());
        EXPECT_EQ(dialog.directory().path(), At("sub"));
    });
    EXPECT_EQ(AskScene("photo.ply"), std::nullopt);
}

TEST_F(FileDialogTest, ProposalOfAnyBytesIsKept) {
    OnNextDialog<QFileDialog>([](QFileDialog& dialog) { Accept(dialog); });
    EXPECT_EQ(AskScene("a\xff\xc3.ply"), FromPath(files / "a\xff\xc3.ply"));
}

TEST_F(FileDialogTest, ExistingSceneOfAnyBytesIsAskedAbout) {
    (void)Make("a\xff.ply");
    OnNextDialog<QFileDialog>([this](QFileDialog& dialog) {
        AnswerBox(QMessageBox::No);
        Accept(dialog);
    });
    EXPECT_EQ(AskScene("a\xff.ply"), std::nullopt);
    EXPECT_FALSE(boxText.isEmpty());
}

TEST_F(FileDialogTest, FolderOfAnyBytesIsKept) {
    std::filesystem::create_directory(files / "f\xff");
    OnNextDialog<QFileDialog>([](QFileDialog& dialog) { Accept(dialog); });
    EXPECT_EQ(AskScene("f\xff/photo.ply"), FromPath(files / "f\xff/photo.ply"));
}

TEST_F(FileDialogTest, OwnerMayGoWhileReplacingIsAskedAbout) {
    (void)Make("photo.ply");
    auto other = std::make_unique<QWidget>();
    DesktopDialogs asked(other.get());
    QTimer::singleShot(0, [&other] {
        QTimer::singleShot(0, [&other] { other.reset(); });
        Accept(dynamic_cast<QDialog&>(*QApplication::activeModalWidget()));
    });
    EXPECT_EQ(asked.AskSceneToSave(FromPath(files / "photo.ply"), L""), std::nullopt);
}

TEST_F(FileDialogTest, EndOfTheProgramEndsADialog) {
    std::optional<std::wstring> answer = L"none yet";
    QTimer::singleShot(0, [&] {
        QTimer::singleShot(0, [] { QCoreApplication::exit(); });
        answer = dialogs.AskPictureToSave();
    });
    QCoreApplication::exec();
    EXPECT_EQ(answer, std::nullopt);
}

}  // namespace
}  // namespace vistrel

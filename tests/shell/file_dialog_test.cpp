#include <gtest/gtest.h>

#include <QComboBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QListView>
#include <QMessageBox>
#include <QPushButton>
#include <QWidget>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

#include "engine/wide.h"
#include "shell/questions.h"
#include "shell/user_folders.h"
#include "shell/wide_text.h"
#include "tests/shell/dialog_answers.h"
#include "tests/support/own_home.h"
#include "tests/support/wait_until.h"

namespace vistrel {
namespace {

using test::OnNextDialog;

QLineEdit& NameOf(const QFileDialog& dialog) {
    return *dialog.findChild<QLineEdit*>("fileNameEdit");
}

QStringList FiltersOf(const QFileDialog& dialog) {
    const auto& box = *dialog.findChild<QComboBox*>("fileTypeCombo");
    QStringList shown;
    for (int i = 0; i < box.count(); ++i) shown << box.itemText(i);
    return shown;
}

QStringList ListedIn(const QFileDialog& dialog) {
    const auto& view = *dialog.findChild<QListView*>("listView");
    QStringList names;
    for (int i = 0; i < view.model()->rowCount(view.rootIndex()); ++i) {
        names << view.model()->index(i, 0, view.rootIndex()).data().toString();
    }
    return names;
}

// As its button does.
void Accept(QDialog& dialog) {
    dialog.accept();
}

class FileDialogTest : public testing::Test {
  protected:
    FileDialogTest() {
        questions.isJapaneseUser = [] { return false; };
    }

    // Looks at the next file dialog, then cancels it.
    template <typename Ask>
    void Look(const Ask& ask, const std::function<void(QFileDialog&)>& look) {
        bool seen = false;
        OnNextDialog<QFileDialog>([&](QFileDialog& dialog) {
            seen = true;
            look(dialog);
        });
        EXPECT_EQ(ask(), std::nullopt);
        EXPECT_TRUE(seen);
    }
    // Types `name` into the next file dialog and accepts it.
    void Type(const QString& name) {
        OnNextDialog<QFileDialog>([name](QFileDialog& dialog) {
            NameOf(dialog).setText(name);
            Accept(dialog);
        });
    }
    // Once for a box on top of the dialog.
    void AnswerBox(QMessageBox::StandardButton button) {
        OnNextDialog<QMessageBox>([this, button](QMessageBox& box) {
            boxText = box.text();
            box.button(button)->click();
        });
    }
    std::filesystem::path Make(std::string_view name) { return files.Write(name, "old"); }
    [[nodiscard]] QString At(std::string_view name) const {
        return FromWide(FromPath(files / name));
    }
    [[nodiscard]] std::optional<std::wstring> AskScene(const std::string& name) {
        return questions.AskSceneToSave(FromPath(files / name), FromPath(files.Path()));
    }

    test::OwnHome home;
    test::TemporaryFolder files;
    QWidget owner;
    QuestionDialogs questions{&owner};
    QString boxText;
};

TEST_F(FileDialogTest, PhotographsAndScenesAreAskedFor) {
    Look([this] { return questions.AskPhotographOrScene(); },
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
    questions.isJapaneseUser = [] { return true; };
    Look([this] { return questions.AskPhotographOrScene(); },
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
        Look([this] { return questions.AskPhotographOrScene(); },
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
    EXPECT_EQ(questions.AskPhotographOrScene(), FromPath(files / "a.jpg"));
}

TEST_F(FileDialogTest, NextDialogBeginsWhereTheLastEnded) {
    (void)Make("a.jpg");
    Type(At("a.jpg"));
    (void)questions.AskPhotographOrScene();
    Look([this] { return questions.AskPhotographOrScene(); },
         [this](QFileDialog& dialog) {
             EXPECT_EQ(dialog.directory().path(), FromWide(FromPath(files.Path())));
         });
}

TEST_F(FileDialogTest, MissingFileIsNotOpened) {
    Look([this] { return questions.AskPhotographOrScene(); },
         [this](QFileDialog& dialog) {
             NameOf(dialog).setText(At("gone.jpg"));
             AnswerBox(QMessageBox::Ok);
             Accept(dialog);
             EXPECT_TRUE(boxText.contains("gone.jpg")) << boxText.toStdString();
             EXPECT_TRUE(dialog.isVisible());
         });
}

TEST_F(FileDialogTest, FirstModelIsLookedForInTheModelsFolder) {
    Look([this] { return questions.AskModel(L""); },
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
    Look([this] { return questions.AskModel(FromPath(files / "first.onnx")); },
         [this](QFileDialog& dialog) {
             EXPECT_EQ(dialog.directory().path(), FromWide(FromPath(files.Path())));
             EXPECT_EQ(NameOf(dialog).text(), "first.onnx");
         });
    EXPECT_FALSE(std::filesystem::exists(ToPath(UserDataFolder())));
}

TEST_F(FileDialogTest, ModelWhoseFolderIsGoneIsLookedForAbove) {
    Look([this] { return questions.AskModel(FromPath(files / "gone/first.onnx")); },
         [this](QFileDialog& dialog) {
             EXPECT_EQ(dialog.directory().path(), FromWide(FromPath(files.Path())));
             EXPECT_EQ(NameOf(dialog).text(), "gone/first.onnx");
         });
}

TEST_F(FileDialogTest, ModelsFolderThatCannotBeMadeIsNoFailure) {
    home.variables.Set("XDG_DATA_HOME", Make("file").string());
    Look([this] { return questions.AskModel(L""); },
         [this](QFileDialog& dialog) {
             EXPECT_EQ(dialog.directory().path(), FromWide(FromPath(files.Path())));
         });
}

TEST_F(FileDialogTest, PictureIsSavedAsPng) {
    Look([this] { return questions.AskPictureToSave(); },
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
        EXPECT_EQ(questions.AskPictureToSave(), FromPath(files / "picture.png"));
    }
}

TEST_F(FileDialogTest, PictureKeepsTheExtensionThatWasTyped) {
    Type(At("picture.jpg"));
    EXPECT_EQ(questions.AskPictureToSave(), FromPath(files / "picture.jpg"));
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

TEST_F(FileDialogTest, OwnerMayGoWhileADialogIsOpen) {
    auto other = std::make_unique<QWidget>();
    QuestionDialogs asked(other.get());
    QTimer::singleShot(0, [&other] { other.reset(); });
    EXPECT_EQ(asked.AskPhotographOrScene(), std::nullopt);
}

TEST_F(FileDialogTest, OwnerMayGoWhileReplacingIsAskedAbout) {
    (void)Make("photo.ply");
    auto other = std::make_unique<QWidget>();
    QuestionDialogs asked(other.get());
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
        answer = questions.AskPictureToSave();
    });
    QCoreApplication::exec();
    EXPECT_EQ(answer, std::nullopt);
}

}  // namespace
}  // namespace vistrel

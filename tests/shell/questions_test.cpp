#include "shell/questions.h"

#include <gtest/gtest.h>

#include <QMessageBox>
#include <QPushButton>
#include <QUrl>
#include <QWidget>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <vector>

#include "engine/wide.h"
#include "shell/ui_text.h"
#include "shell/wide_text.h"
#include "tests/shell/dialog_answers.h"
#include "tests/support/own_home.h"

namespace vistrel {
namespace {

using test::OnNextDialog;

// What a message box shows.
struct Shown {
    QString caption;
    QString text;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QMessageBox::StandardButtons buttons;
    Qt::TextFormat format = Qt::AutoText;
    QWidget* owner = nullptr;
};

void MakeFile(const std::filesystem::path& path) {
    std::filesystem::create_directories(path.parent_path());
    ASSERT_TRUE(std::ofstream(path).good());
}

class QuestionsTest : public testing::Test {
  protected:
    QuestionsTest() {
        gUiText = &kEnglishText;
        questions.isJapaneseUser = [] { return false; };
        questions.openAddress = [this](const QUrl& address) {
            opened.push_back(address.toEncoded());
            return opens;
        };
    }
    ~QuestionsTest() override { gUiText = nullptr; }

    // Answers the next message box with `button`.
    void Answer(QMessageBox::StandardButton button) {
        OnNextDialog<QMessageBox>([this, button](QMessageBox& box) {
            shown = {box.windowTitle(),     box.text(),       box.icon(),
                     box.standardButtons(), box.textFormat(), box.parentWidget()};
            box.button(button)->click();
        });
    }

    test::OwnHome home;
    QWidget owner;
    QuestionDialogs questions{&owner};
    Shown shown;
    std::vector<QByteArray> opened;
    bool opens = true;
};

TEST_F(QuestionsTest, DownloadQuestionOffersYesAndNo) {
    Answer(QMessageBox::Yes);
    EXPECT_TRUE(questions.AskWhetherToDownload());
    EXPECT_EQ(shown.caption, "Download Model");
    EXPECT_EQ(shown.text,
              "The model file is approximately 1.3GB.\nDo you want to start the download?");
    EXPECT_EQ(shown.icon, QMessageBox::Question);
    EXPECT_EQ(shown.buttons, QMessageBox::Yes | QMessageBox::No);
    EXPECT_EQ(shown.owner, &owner);
}

TEST_F(QuestionsTest, NoIsNoDownload) {
    Answer(QMessageBox::No);
    EXPECT_FALSE(questions.AskWhetherToDownload());
}

TEST_F(QuestionsTest, EscapedQuestionIsNoDownload) {
    OnNextDialog<QMessageBox>([](QMessageBox& box) { box.close(); });
    EXPECT_FALSE(questions.AskWhetherToDownload());
}

TEST_F(QuestionsTest, ProviderFallbackIsAWarning) {
    Answer(QMessageBox::Ok);
    questions.TellProviderFallback();
    EXPECT_EQ(shown.caption, "Execution Provider Fallback");
    EXPECT_EQ(shown.text, FromWide(kEnglishText[33]));
    EXPECT_EQ(shown.icon, QMessageBox::Warning);
    EXPECT_EQ(shown.buttons, QMessageBox::Ok);
}

TEST_F(QuestionsTest, AboutIsInformationWithItsBlanksKept) {
    Answer(QMessageBox::Ok);
    questions.TellAbout();
    EXPECT_EQ(shown.caption, "About Vistrel");
    EXPECT_EQ(shown.text, FromWide(kEnglishText[35]));
    EXPECT_EQ(shown.format, Qt::PlainText);
    EXPECT_EQ(shown.icon, QMessageBox::Information);
}

TEST_F(QuestionsTest, JapaneseTableGivesJapaneseTexts) {
    gUiText = &kJapaneseText;
    Answer(QMessageBox::No);
    (void)questions.AskWhetherToDownload();
    EXPECT_EQ(shown.caption, FromWide(kJapaneseText[32]));
    EXPECT_EQ(shown.text, FromWide(kJapaneseText[31]));
}

TEST_F(QuestionsTest, EnglishHelpIsOpened) {
    MakeFile(home.Home() / "program folder/help_en.html");
    questions.OpenHelp(FromPath(home.Home() / "program folder"));
    EXPECT_EQ(opened, std::vector<QByteArray>{QByteArray::fromStdString(
                          "file://" + home.Home().native() + "/program%20folder/help_en.html")});
}

TEST_F(QuestionsTest, JapaneseUsersHelpIsOpened) {
    questions.isJapaneseUser = [] { return true; };
    MakeFile(home.Home() / "help_jp.html");
    questions.OpenHelp(FromPath(home.Home()));
    ASSERT_EQ(opened.size(), 1U);
    EXPECT_TRUE(opened[0].endsWith("/help_jp.html")) << opened[0].toStdString();
}

TEST_F(QuestionsTest, HelpInAFolderOfAnyBytesIsOpened) {
    const std::filesystem::path folder = home.Home() / "a\xff#?";
    MakeFile(folder / "help_en.html");
    questions.OpenHelp(FromPath(folder));
    ASSERT_EQ(opened.size(), 1U);
    EXPECT_TRUE(opened[0].endsWith("/a%FF%23%3F/help_en.html")) << opened[0].toStdString();
}

TEST_F(QuestionsTest, HelpThatDoesNotOpenIsToldInJapanese) {
    opens = false;
    MakeFile(home.Home() / "help_en.html");
    Answer(QMessageBox::Ok);
    questions.OpenHelp(FromPath(home.Home()));
    EXPECT_EQ(shown.caption, "Vistrel");
    EXPECT_EQ(shown.text, QString::fromUtf8("ヘルプファイルを開けませんでした。"));
    EXPECT_EQ(shown.icon, QMessageBox::Critical);
    EXPECT_EQ(shown.buttons, QMessageBox::Ok);
}

TEST_F(QuestionsTest, MissingHelpIsToldAndNotOpened) {
    Answer(QMessageBox::Ok);
    questions.OpenHelp(FromPath(home.Home()));
    EXPECT_EQ(shown.icon, QMessageBox::Critical);
    EXPECT_TRUE(opened.empty());
}

TEST_F(QuestionsTest, OwnerMayGoWhileAQuestionIsOpen) {
    auto other = std::make_unique<QWidget>();
    QuestionDialogs asked(other.get());
    QTimer::singleShot(0, [&other] { other.reset(); });
    EXPECT_FALSE(asked.AskWhetherToDownload());
}

TEST_F(QuestionsTest, EndOfTheProgramEndsAQuestion) {
    bool answer = true;
    QTimer::singleShot(0, [&] {
        QTimer::singleShot(0, [] { QCoreApplication::exit(); });
        answer = questions.AskWhetherToDownload();
    });
    QCoreApplication::exec();
    EXPECT_FALSE(answer);
}

}  // namespace
}  // namespace vistrel

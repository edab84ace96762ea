// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/window/window_dialogs.h"

#include <gtest/gtest.h>

#include <QMessageBox>
#include <QPushButton>
#include <QUrl>
#include <QWidget>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/text_encoding.h"
#include "tests/shell/window/dialog_answers.h"
#include "tests/support/own_home.h"
#include "tests/support/wait_until.h"
#include "ui/ui_text.h"
#include "ui/wide_text.h"

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

class WindowDialogsTest : public testing::Test {
  protected:
    WindowDialogsTest() {
        gUiText = &kEnglishText;
        dialogs.isJapaneseUser = [] { return false; };
        openAsUsual =
            std::exchange(dialogs.openAddress,
                          [this](const QUrl& address, const std::function<void()>& onFailure) {
                              opened.push_back(address.toEncoded());
                              if (!opens) onFailure();
                          });
    }
    ~WindowDialogsTest() override { gUiText = nullptr; }

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
    DesktopDialogs dialogs{&owner};
    Shown shown;
    std::vector<QByteArray> opened;
    bool opens = true;
    std::function<void(const QUrl& address, const std::function<void()>& onFailure)> openAsUsual;
};

// With the desktop's opener in the test's hands.
class OpenedAddressTest : public WindowDialogsTest {
  protected:
    void MakeOpener(const std::string& script) {
        const std::filesystem::path opener = home.Home() / "bin/xdg-open";
        MakeFile(opener);
        std::ofstream(opener) << "#!/bin/sh\n" << script << '\n';
        std::filesystem::permissions(opener, std::filesystem::perms{0755});
        home.variables.Set("PATH", (home.Home() / "bin").string() + ":/usr/bin:/bin");
    }
    [[nodiscard]] std::filesystem::path Told() const { return home.Home() / "told"; }
    void Open(const char* address) {
        openAsUsual(QUrl(address), [this] { ++failures; });
    }

    int failures = 0;
};

TEST_F(OpenedAddressTest, GoesToTheDesktopsOpener) {
    MakeOpener("printf %s \"$1\" > '" + Told().native() + "'");
    Open("file:///a%20b.html");
    EXPECT_TRUE(test::WaitUntil([&] {
        return std::filesystem::exists(Told()) && test::ReadFile(Told()) == "file:///a%20b.html";
    }));
    EXPECT_EQ(failures, 0);
}

TEST_F(OpenedAddressTest, OpenerThatFailsIsTold) {
    MakeOpener("exit 3");
    Open("file:///a.html");
    EXPECT_TRUE(test::WaitUntil([&] { return failures == 1; }));
}

TEST_F(OpenedAddressTest, OpenerThatCannotBeStartedIsTold) {
    MakeOpener("exit 0");
    std::ofstream(home.Home() / "bin/xdg-open") << "#!/gone\n";
    Open("file:///a.html");
    EXPECT_TRUE(test::WaitUntil([&] { return failures == 1; }));
}

TEST_F(OpenedAddressTest, FailureAfterTheWindowIsNobodys) {
    MakeOpener("touch '" + Told().native() + "'; exit 3");
    auto window = std::make_unique<QWidget>();
    DesktopDialogs(window.get()).openAddress(QUrl("file:///a.html"), [this] { ++failures; });
    window.reset();
    EXPECT_TRUE(test::WaitUntil([&] { return std::filesystem::exists(Told()); }));
    MakeOpener("exit 4");  // ends later
    Open("file:///a.html");
    EXPECT_TRUE(test::WaitUntil([&] { return failures > 0; }));
    EXPECT_EQ(failures, 1);
}

TEST_F(WindowDialogsTest, DownloadQuestionOffersYesAndNo) {
    Answer(QMessageBox::Yes);
    EXPECT_TRUE(dialogs.AskWhetherToDownload());
    EXPECT_EQ(shown.caption, "Download Model");
    EXPECT_EQ(shown.text,
              "The model file is approximately 1.3GB.\nDo you want to start the download?");
    EXPECT_EQ(shown.icon, QMessageBox::Question);
    EXPECT_EQ(shown.buttons, QMessageBox::Yes | QMessageBox::No);
    EXPECT_EQ(shown.owner, &owner);
}

TEST_F(WindowDialogsTest, NoIsNoDownload) {
    Answer(QMessageBox::No);
    EXPECT_FALSE(dialogs.AskWhetherToDownload());
}

TEST_F(WindowDialogsTest, EscapedQuestionIsNoDownload) {
    OnNextDialog<QMessageBox>([](QMessageBox& box) { box.close(); });
    EXPECT_FALSE(dialogs.AskWhetherToDownload());
}

TEST_F(WindowDialogsTest, ProviderFallbackIsAWarning) {
    Answer(QMessageBox::Ok);
    dialogs.TellProviderFallback();
    EXPECT_EQ(shown.caption, "Execution Provider Fallback");
    EXPECT_EQ(shown.text, FromWide(EnglishText(TextId::FallbackWarning)));
    EXPECT_EQ(shown.icon, QMessageBox::Warning);
    EXPECT_EQ(shown.buttons, QMessageBox::Ok);
}

TEST_F(WindowDialogsTest, AboutIsInformationWithItsBlanksKept) {
    Answer(QMessageBox::Ok);
    dialogs.TellAbout();
    EXPECT_EQ(shown.caption, "About Vistrel");
    EXPECT_EQ(shown.text, FromWide(EnglishText(TextId::About)));
    EXPECT_EQ(shown.format, Qt::PlainText);
    EXPECT_EQ(shown.icon, QMessageBox::Information);
}

TEST_F(WindowDialogsTest, JapaneseTableGivesJapaneseTexts) {
    gUiText = &kJapaneseText;
    Answer(QMessageBox::No);
    (void)dialogs.AskWhetherToDownload();
    EXPECT_EQ(shown.caption, UiString(TextId::DownloadCaption));
    EXPECT_EQ(shown.text, UiString(TextId::DownloadQuestion));
}

TEST_F(WindowDialogsTest, EnglishHelpIsOpened) {
    MakeFile(home.Home() / "program folder/help_en.html");
    dialogs.OpenHelp(FromPath(home.Home() / "program folder"));
    EXPECT_EQ(opened, std::vector<QByteArray>{QByteArray::fromStdString(
                          "file://" + home.Home().native() + "/program%20folder/help_en.html")});
}

TEST_F(WindowDialogsTest, JapaneseUsersHelpIsOpened) {
    dialogs.isJapaneseUser = [] { return true; };
    MakeFile(home.Home() / "help_jp.html");
    dialogs.OpenHelp(FromPath(home.Home()));
    ASSERT_EQ(opened.size(), 1U);
    EXPECT_TRUE(opened[0].endsWith("/help_jp.html")) << opened[0].toStdString();
}

TEST_F(WindowDialogsTest, HelpInAFolderOfAnyBytesIsOpened) {
    const std::filesystem::path folder = home.Home() / "a\xff#?";
    MakeFile(folder / "help_en.html");
    dialogs.OpenHelp(FromPath(folder));
    ASSERT_EQ(opened.size(), 1U);
    EXPECT_TRUE(opened[0].endsWith("/a%FF%23%3F/help_en.html")) << opened[0].toStdString();
}

TEST_F(WindowDialogsTest, HelpThatDoesNotOpenIsToldInJapanese) {
    opens = false;
    MakeFile(home.Home() / "help_en.html");
    Answer(QMessageBox::Ok);
    dialogs.OpenHelp(FromPath(home.Home()));
    EXPECT_EQ(shown.caption, "Vistrel");
    EXPECT_EQ(shown.text, QString::fromUtf8("ヘルプファイルを開けませんでした。"));
    EXPECT_EQ(shown.icon, QMessageBox::Critical);
    EXPECT_EQ(shown.buttons, QMessageBox::Ok);
}

TEST_F(WindowDialogsTest, MissingHelpIsToldAndNotOpened) {
    Answer(QMessageBox::Ok);
    dialogs.OpenHelp(FromPath(home.Home()));
    EXPECT_EQ(shown.icon, QMessageBox::Critical);
    EXPECT_TRUE(opened.empty());
}

TEST_F(WindowDialogsTest, OwnerMayGoWhileAQuestionIsOpen) {
    auto other = std::make_unique<QWidget>();
    DesktopDialogs asked(other.get());
    QTimer::singleShot(0, [&other] { other.reset(); });
    EXPECT_FALSE(asked.AskWhetherToDownload());
}

TEST_F(WindowDialogsTest, EndOfTheProgramEndsAQuestion) {
    bool answer = true;
    QTimer::singleShot(0, [&] {
        QTimer::singleShot(0, [] { QCoreApplication::exit(); });
        answer = dialogs.AskWhetherToDownload();
    });
    QCoreApplication::exec();
    EXPECT_FALSE(answer);
}

}  // namespace
}  // namespace vistrel

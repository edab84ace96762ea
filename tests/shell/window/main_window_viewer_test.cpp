// SPDX-License-Identifier: GPL-3.0-or-later
// What passes between the main window and its viewer.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QLabel>
#include <QTimer>
#include <filesystem>
#include <string>
#include <vector>

#include "shell/window/main_window.h"
#include "shell/window/window_messages.h"
#include "tests/shell/window/window_fixture.h"
#include "tests/support/capture.h"
#include "ui/mailbox.h"
#include "ui/ui_text.h"

namespace vistrel {
namespace {

using test::LogOf;
using test::ReadFile;

class ViewerTest : public test::WindowTest {
  protected:
    [[nodiscard]] std::wstring Status() const {
        return Find<QLabel>(ControlId::GenerateStatus)->text().toStdWString();
    }
    void FailScene() {
        (void)LogOf([this] { browser.SayInConsole(L"Cannot show the scene: It is cut"); });
    }
    void FailProcess() {
        (void)LogOf([this] { browser.FailProcess(L"killed"); });
    }
    static std::vector<std::byte> Picture() { return {std::byte{'P'}}; }
};

TEST_F(ViewerTest, BrowserThatRefusesToStartIsToldInTheStatus) {
    browser.starts = false;
    Open();
    EXPECT_EQ(Status(), Text(TextId::WebViewFailed));
}

TEST_F(ViewerTest, EndOfThePagesProcessIsToldInTheStatus) {
    Open();
    window->LoadScene(L"/a.ply");
    FailProcess();
    EXPECT_EQ(Status(), L"The viewer has stopped. Open the scene again.");
}

TEST_F(ViewerTest, ReasonForNotShowingASceneIsToldInTheStatus) {
    Open();
    window->LoadScene(L"/a.ply");
    FailScene();
    EXPECT_EQ(Status(), L"The scene cannot be shown: It is cut");
}

TEST_F(ViewerTest, StatusIsJapaneseForWhoReadsIt) {
    gUiText = &kJapaneseText;
    Open();
    window->LoadScene(L"/a.ply");
    FailScene();
    EXPECT_EQ(Status(), L"シーンを表示できません: It is cut");
    FailProcess();
    EXPECT_EQ(Status(), L"ビューアーが停止しました。シーンを開き直してください。");
}

TEST_F(ViewerTest, FailureOfOneSceneIsNotToldOfTheNext) {
    Open();
    window->LoadScene(L"/a.ply");
    FailScene();
    window->LoadScene(L"/b.ply");
    EXPECT_EQ(Status(), L"");
    FailScene();
    window->SelectFile(Photograph());
    EXPECT_EQ(Status(), L"");
}

TEST_F(ViewerTest, StatusOfAConversionOutlivesAFormerFailure) {
    Open();
    window->LoadScene(L"/a.ply");
    FailScene();
    window->Messages()->Post(
        std::make_unique<WindowMessage>(kGenerateDoneMessage, 1, L"no network"));
    QCoreApplication::processEvents();
    const std::wstring told = Status();
    window->LoadScene(L"/b.ply");
    EXPECT_EQ(Status(), told);
}

TEST_F(ViewerTest, ModeAndEyesArePassedAfterEachLoad) {
    WriteSettings(R"({"stereoMode":4,"isSwapped":1})");
    Open();
    window->LoadScene(L"/a.ply");
    const std::vector<std::wstring> wanted = {
        L"if(typeof ChgstFromNative==='function'){ChgstFromNative(4)}",
        L"if(typeof SwapFromNative==='function'){SwapFromNative(true)}"};
    for (int load = 0; load < 2; ++load) {
        browser.calls.clear();
        browser.EndNavigation();
        EXPECT_EQ(browser.Scripts(), wanted);
    }
}

TEST_F(ViewerTest, EmptyPageIsPassedNothing) {
    Open();
    EXPECT_EQ(browser.Scripts(), std::vector<std::wstring>{});
}

TEST_F(ViewerTest, PictureThatIsNotSavedIsToldInTheStatus) {
    Open();
    window->LoadScene(L"/a.ply");
    dialogs->answer = InFolder("none/a.png");
    window->OnCommand(ControlId::SaveImage);
    (void)LogOf([this] { browser.AnswerCapture(true, Picture()); });
    EXPECT_EQ(Status(), L"The image was not saved: No such file or directory");
}

TEST_F(ViewerTest, EndWaitsForThePicture) {
    Open();
    window->LoadScene(L"/a.ply");
    dialogs->answer = InFolder("a.png");
    window->OnCommand(ControlId::SaveImage);
    bool wasVisible = false;
    QTimer::singleShot(0, window.get(), [&] {
        wasVisible = window->isVisible();
        browser.AnswerCapture(true, Picture());
    });
    window->OnKeyDown(Qt::Key_Q);
    EXPECT_EQ(ReadFile(folder / "a.png"), "P");
    EXPECT_TRUE(wasVisible);
    EXPECT_FALSE(window->isVisible());
}

}  // namespace
}  // namespace vistrel

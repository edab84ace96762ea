// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/web_view_bridge.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QMessageBox>
#include <QTimer>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "base/text_encoding.h"
#include "tests/support/capture.h"
#include "tests/viewer/web_view_bridge_fixture.h"

namespace vistrel {
namespace {

using test::Calls;
using test::WebViewBridgeTest;

using WebViewBridgeStart = WebViewBridgeTest;

TEST_F(WebViewBridgeStart, HostWindowLiesInTheWindow) {
    EXPECT_TRUE(Initialize());
    ASSERT_NE(Host(), nullptr);
    EXPECT_EQ(Host()->parent(), &window_);
    EXPECT_EQ(Host()->geometry(), QRect(290, 0, 640, 480));
    EXPECT_FALSE(Host()->isWindow());
    EXPECT_FALSE(Host()->isHidden());
}

TEST_F(WebViewBridgeStart, EnvironmentIsMadeWithTheseOptions) {
    Initialize();
    EXPECT_EQ(browser_.options.additionalBrowserArguments,
              L"--allow-file-access-from-files --disable-web-security "
              L"--allow-running-insecure-content");
    EXPECT_EQ(browser_.options.targetCompatibleBrowserVersion, L"124.0.2478.35");
    EXPECT_EQ(browser_.userDataFolder, FromPath(folder_ / "Vistrel/WebView2"));
    EXPECT_TRUE(std::filesystem::is_directory(folder_ / "Vistrel/WebView2"));
}

TEST_F(WebViewBridgeStart, WithoutAHomeTheBrowsersOwnFolderIsTaken) {
    unsetenv("XDG_DATA_HOME");
    unsetenv("HOME");
    EXPECT_TRUE(Initialize());
    EXPECT_EQ(browser_.userDataFolder, L"");
}

TEST_F(WebViewBridgeStart, StepsFollowInOrder) {
    Initialize();
    EXPECT_EQ(browser_.calls, Calls{L"create environment"});
    browser_.AnswerEnvironment();
    EXPECT_EQ(browser_.hosts, std::vector{Host()});
    EXPECT_EQ(bridge_->View(), nullptr);
    EXPECT_TRUE(answers_.empty());
    browser_.calls.clear();

    browser_.AnswerController();

    EXPECT_EQ(browser_.calls, (Calls{L"scripts on", L"dialogs off", L"status bar off",
                                     L"messages on", L"bounds 0 0 640 480", L"navigation handler",
                                     L"navigate file:///t/gaus3d.html?nreso=1&mode=0"}));
    EXPECT_EQ(answers_, std::vector{true});
    EXPECT_NE(bridge_->View(), nullptr);
}

TEST_F(WebViewBridgeStart, OwnerHearsOfTheViewBeforeTheStartPageIsShown) {
    bridge_->Prepare(&window_, QRect(0, 0, 10, 10));
    bridge_->Initialize(L"/t", [this](bool) {
        browser_.calls.emplace_back(L"ready");
        bridge_->SetStereoMode(1);
    });
    browser_.AnswerEnvironment();
    browser_.AnswerController();
    const Calls last(browser_.calls.end() - 3, browser_.calls.end());
    EXPECT_EQ(last, (Calls{L"ready",
                           L"script if(typeof ChgstFromNative==='function'){ChgstFromNative(1)}",
                           L"navigate file:///t/gaus3d.html?nreso=1&mode=0"}));
}

TEST_F(WebViewBridgeStart, BlanksOfTheFolderStayInTheAddress) {
    Initialize(L"/my temp/\\x");
    browser_.AnswerEnvironment();
    browser_.AnswerController();
    EXPECT_EQ(browser_.Addresses(), Calls{L"file:///my temp//x/gaus3d.html?nreso=1&mode=0"});
}

TEST_F(WebViewBridgeStart, FolderWithAnyNameIsWholeInTheAddress) {
    Initialize(L"/C#/why?/50%41");
    browser_.AnswerEnvironment();
    browser_.AnswerController();
    bridge_->ShowScene(L"/a.ply", true);
    EXPECT_EQ(browser_.Addresses(),
              (Calls{L"file:///C%23/why%3F/50%2541/gaus3d.html?nreso=1&mode=0",
                     L"file:///C%23/why%3F/50%2541/gaus3d.html?nreso=1&mode=0&nst=1"
                     L"&openFile=/a.ply"}));
}

TEST_F(WebViewBridgeStart, WithoutAParentThereIsNoHostWindow) {
    bridge_->Prepare(nullptr, QRect(0, 0, 10, 10));
    EXPECT_FALSE(bridge_->Initialize(L"/t", [this](bool ready) { answers_.push_back(ready); }));
    EXPECT_EQ(answers_, std::vector{false});
    EXPECT_TRUE(browser_.calls.empty());
}

TEST_F(WebViewBridgeStart, FactoryThatDoesNotStartIsReportedAsEveryFailure) {
    browser_.starts = false;
    EXPECT_FALSE(Initialize());
    EXPECT_EQ(answers_, std::vector{false});
}

TEST_F(WebViewBridgeStart, EnvironmentThatCannotBeMade) {
    EXPECT_TRUE(Initialize());
    browser_.AnswerEnvironment(false);
    EXPECT_EQ(answers_, std::vector{false});
    EXPECT_EQ(browser_.calls, Calls{L"create environment"});
}

TEST_F(WebViewBridgeStart, ControllerThatCannotBeMade) {
    EXPECT_TRUE(Initialize());
    browser_.AnswerEnvironment();
    browser_.AnswerController(false);
    EXPECT_EQ(answers_, std::vector{false});
    EXPECT_EQ(bridge_->View(), nullptr);
    EXPECT_EQ(browser_.calls, (Calls{L"create environment", L"create controller"}));
}

TEST_F(WebViewBridgeStart, SecondControllerReplacesTheFirst) {
    Initialize();
    Initialize();
    browser_.AnswerEnvironment();
    browser_.AnswerController();
    browser_.AnswerEnvironment();
    EXPECT_EQ(browser_.environments, 1);
    EXPECT_EQ(browser_.controllers, 1);
    browser_.AnswerController();
    EXPECT_EQ(browser_.environments, 1);
    EXPECT_EQ(browser_.controllers, 1);
    EXPECT_EQ(window_.findChildren<QWidget*>("WebViewHost").size(), 1);
}

TEST_F(WebViewBridgeStart, SecondStartGivesTheFirstViewUp) {
    MakeReady();
    Initialize();
    EXPECT_EQ(bridge_->View(), nullptr);
    EXPECT_EQ(browser_.controllers, 0);
    EXPECT_EQ(window_.findChildren<QWidget*>("WebViewHost").size(), 1);
}

TEST_F(WebViewBridgeStart, MissingLoaderIsToldInAMessageBox) {
    bridge_.emplace(L"No loader.\nSorry.");
    QString title;
    QString text;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    const QWidget* owner = nullptr;
    QTimer::singleShot(0, &window_, [&] {
        auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        ASSERT_NE(box, nullptr);
        EXPECT_TRUE(answers_.empty());
        title = box->windowTitle();
        text = box->text();
        icon = box->icon();
        owner = box->parentWidget();
        box->accept();
    });
    const std::string log = test::LogOf([&] { EXPECT_FALSE(Initialize()); });
    EXPECT_EQ(title, "Vistrel");
    EXPECT_EQ(text, "No loader.\nSorry.");
    EXPECT_EQ(icon, QMessageBox::Critical);
    EXPECT_EQ(owner, &window_);
    EXPECT_EQ(answers_, std::vector{false});
    EXPECT_TRUE(log.starts_with("  WebView2Loader.dll cannot be used: ")) << log;
}

using WebViewBridgeEnd = WebViewBridgeTest;

TEST_F(WebViewBridgeEnd, NothingHappensWhenTheEnvironmentComesAfterwards) {
    Initialize();
    bridge_.reset();
    EXPECT_EQ(Host(), nullptr);
    EXPECT_TRUE(browser_.AnswerEnvironment());
    EXPECT_EQ(browser_.environments, 0);
    EXPECT_TRUE(answers_.empty());
}

TEST_F(WebViewBridgeEnd, NothingHappensWhenTheControllerDoesNotCome) {
    Initialize();
    browser_.AnswerEnvironment();
    bridge_.reset();
    EXPECT_EQ(browser_.environments, 0);
    EXPECT_FALSE(browser_.AnswerController());
    EXPECT_TRUE(answers_.empty());
}

TEST_F(WebViewBridgeEnd, EverythingIsReleased) {
    MakeReady();
    bridge_.reset();
    EXPECT_EQ(browser_.controllers, 0);
    EXPECT_EQ(browser_.environments, 0);
    EXPECT_EQ(Host(), nullptr);
}

TEST_F(WebViewBridgeEnd, OwnerMayEndItWhenTheViewIsReady) {
    bridge_->Prepare(&window_, QRect(0, 0, 10, 10));
    bridge_->Initialize(L"/t", [this](bool) { bridge_.reset(); });
    browser_.AnswerEnvironment();
    browser_.AnswerController();
    EXPECT_EQ(browser_.Addresses(), Calls{});
    EXPECT_EQ(browser_.controllers, 0);
}

TEST_F(WebViewBridgeEnd, OwnerMayEndItWhenTheViewFails) {
    bridge_->Prepare(&window_, QRect(0, 0, 10, 10));
    bridge_->Initialize(L"/t", [this](bool) { bridge_.reset(); });
    browser_.AnswerEnvironment(false);
    EXPECT_EQ(Host(), nullptr);
}

TEST_F(WebViewBridgeEnd, MayComeWhileTheLoaderIsMissed) {
    bridge_.emplace(L"No loader.");
    QTimer::singleShot(0, &window_, [&] {
        bridge_.reset();
        QApplication::activeModalWidget()->close();
    });
    const std::string log = test::LogOf([&] { EXPECT_FALSE(Initialize()); });
    EXPECT_FALSE(log.empty());
    EXPECT_TRUE(answers_.empty());
}

}  // namespace
}  // namespace vistrel

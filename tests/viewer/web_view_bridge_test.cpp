// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/web_view_bridge.h"

#include <gtest/gtest.h>

#include <QRect>
#include <string>

#include "tests/support/capture.h"
#include "tests/viewer/web_view_bridge_fixture.h"

namespace vistrel {
namespace {

using test::Calls;
using test::WebViewBridgeTest;

using WebViewBridgeLayout = WebViewBridgeTest;

TEST_F(WebViewBridgeLayout, BrowserFillsTheHostWindow) {
    MakeReady();
    bridge_->SetBounds(QRect(0, 0, 800, 600));
    EXPECT_EQ(Host()->geometry(), QRect(0, 0, 800, 600));
    EXPECT_EQ(browser_.calls, Calls{L"bounds 0 0 800 600"});
}

TEST_F(WebViewBridgeLayout, BrowserThatComesLaterTakesTheBoundsOfThen) {
    Initialize();
    bridge_->SetBounds(QRect(0, 0, 800, 600));
    browser_.AnswerEnvironment();
    browser_.calls.clear();
    browser_.AnswerController();
    EXPECT_EQ(browser_.calls.at(4), L"bounds 0 0 800 600");
}

TEST_F(WebViewBridgeLayout, BrowserAndHostWindowAreShownAndHiddenTogether) {
    MakeReady();
    bridge_->SetVisible(false);
    EXPECT_TRUE(Host()->isHidden());
    bridge_->SetVisible(true);
    EXPECT_FALSE(Host()->isHidden());
    EXPECT_EQ(browser_.calls, (Calls{L"invisible", L"visible"}));
}

TEST_F(WebViewBridgeLayout, NothingHappensBeforeTheStart) {
    bridge_->SetBounds(QRect(0, 0, 8, 6));
    bridge_->SetVisible(true);
    EXPECT_TRUE(browser_.calls.empty());
}

using WebViewBridgeCalls = WebViewBridgeTest;

TEST_F(WebViewBridgeCalls, SettersRunTheirScripts) {
    MakeReady();
    bridge_->SetStereoMode(3);
    bridge_->SetFocusDepth(10, 30);
    bridge_->SetSwapEyes(true);
    bridge_->ExecJS(L"1+1");
    EXPECT_EQ(browser_.Scripts(),
              (Calls{L"if(typeof ChgstFromNative==='function'){ChgstFromNative(3)}",
                     L"if(typeof SetFocusFromNative==='function'){SetFocusFromNative(10,30)}",
                     L"if(typeof SwapFromNative==='function'){SwapFromNative(true)}", L"1+1"}));
}

TEST_F(WebViewBridgeCalls, AnswersOfScriptsAreIgnored) {
    MakeReady();
    bridge_->ExecJS(L"1+1");
    bridge_->ExecJS(L"}{");
    EXPECT_TRUE(browser_.AnswerScript(true));
    EXPECT_TRUE(browser_.AnswerScript(false));
    EXPECT_EQ(browser_.Scripts().size(), 2U);
}

TEST_F(WebViewBridgeCalls, AreDroppedUntilTheViewIsReady) {
    bridge_->SetStereoMode(1);
    Initialize();
    bridge_->SetFocusDepth(1, 2);
    browser_.AnswerEnvironment();
    bridge_->SetSwapEyes(true);
    bridge_->ExecJS(L"1+1");
    browser_.AnswerController();
    browser_.EndNavigation();
    EXPECT_EQ(browser_.Scripts(), Calls{});
}

using WebViewBridgeScenes = WebViewBridgeTest;

TEST_F(WebViewBridgeScenes, ReadyViewGoesToTheScenesAddress) {
    MakeReady();
    bridge_->ShowScene(L"/my scans/a.ply", true);
    bridge_->ShowScene(L"/b.splat", false);
    EXPECT_EQ(browser_.calls,
              (Calls{L"navigate file:///t/gaus3d.html?nreso=1&mode=0&nst=1"
                     L"&openFile=/my%20scans/a.ply",
                     L"navigate file:///t/gaus3d.html?nreso=1&mode=1&nst=1&openFile=/b.splat"}));
    browser_.EndNavigation();
    EXPECT_EQ(browser_.Scripts(), Calls{});
}

TEST_F(WebViewBridgeScenes, ApostropheStaysAsItIsInTheAddress) {
    MakeReady();
    bridge_->ShowScene(L"/it's.ply", true);
    EXPECT_EQ(browser_.Addresses(),
              Calls{L"file:///t/gaus3d.html?nreso=1&mode=0&nst=1&openFile=/it's.ply"});
}

TEST_F(WebViewBridgeScenes, EarlyFileWaitsForTheStartPage) {
    bridge_->ShowScene(L"/it's \\a.ply", false);
    Initialize();
    browser_.AnswerEnvironment();
    browser_.AnswerController();
    EXPECT_EQ(browser_.Scripts(), Calls{});
    browser_.EndNavigation();
    EXPECT_EQ(browser_.Scripts(),
              Calls{L"if(typeof FileFromNative==='function'){FileFromNative('/it\\'s /a.ply')}"});
    EXPECT_EQ(browser_.Addresses(), Calls{L"file:///t/gaus3d.html?nreso=1&mode=0"});
}

TEST_F(WebViewBridgeScenes, OnlyTheLastEarlyFileIsShown) {
    Initialize();
    bridge_->ShowScene(L"/a.ply", true);
    browser_.AnswerEnvironment();
    bridge_->ShowScene(L"/b.ply", true);
    browser_.AnswerController();
    browser_.EndNavigation();
    EXPECT_EQ(browser_.Scripts(),
              Calls{L"if(typeof FileFromNative==='function'){FileFromNative('/b.ply')}"});
}

TEST_F(WebViewBridgeScenes, EarlyFileIsDeliveredOnceAndAfterAFailedNavigationToo) {
    bridge_->ShowScene(L"/a.ply", true);
    Initialize();
    browser_.AnswerEnvironment();
    browser_.AnswerController();
    browser_.EndNavigation(false);
    browser_.EndNavigation(true);
    EXPECT_EQ(browser_.Scripts().size(), 1U);
}

TEST_F(WebViewBridgeScenes, NextOneOpensAfterTheBrowsersProcessEnded) {
    MakeReady();
    std::wstring heard;
    bridge_->onProcessFailed = [&heard](const std::wstring& reason) { heard = reason; };
    const std::string log = test::LogOf([&] { browser_.FailProcess(L"killed by signal 9"); });
    EXPECT_EQ(log, "  The browser view failed: killed by signal 9\n");
    EXPECT_EQ(heard, L"killed by signal 9");
    bridge_->ShowScene(L"/a.ply", true);
    EXPECT_EQ(browser_.Addresses().size(), 1U);
}

TEST_F(WebViewBridgeScenes, PagesReasonForNotShowingOneIsToldAndLogged) {
    MakeReady();
    std::wstring heard;
    bridge_->onSceneFailed = [&heard](const std::wstring& reason) { heard = reason; };
    const std::string log =
        test::LogOf([&] { browser_.SayInConsole(L"Cannot show the scene: It has no Gaussians"); });
    EXPECT_EQ(log, "  The scene cannot be shown: It has no Gaussians\n");
    EXPECT_EQ(heard, L"It has no Gaussians");
}

TEST_F(WebViewBridgeScenes, OtherLinesOfTheConsoleAreNoFailures) {
    MakeReady();
    bridge_->onSceneFailed = [](const std::wstring&) { FAIL(); };
    EXPECT_EQ(test::LogOf([&] { browser_.SayInConsole(L"Network error !"); }), "");
}

TEST_F(WebViewBridgeScenes, OwnerHearsOfEveryPageThatIsLoaded) {
    MakeReady();
    int pages = 0;
    bridge_->onPageLoaded = [&pages] { ++pages; };
    browser_.EndNavigation();
    browser_.EndNavigation(false);
    EXPECT_EQ(pages, 1);
    browser_.EndNavigation();
    EXPECT_EQ(pages, 2);
}

TEST_F(WebViewBridgeScenes, EarlyFileIsDeliveredBeforeTheOwnerHearsOfThePage) {
    bridge_->ShowScene(L"/a.ply", false);
    MakeReady();
    bridge_->onPageLoaded = [this] { bridge_->SetStereoMode(2); };
    browser_.EndNavigation();
    EXPECT_EQ(browser_.Scripts(),
              (Calls{L"if(typeof FileFromNative==='function'){FileFromNative('/a.ply')}",
                     L"if(typeof ChgstFromNative==='function'){ChgstFromNative(2)}"}));
}

TEST_F(WebViewBridgeScenes, FailuresNeedNoListener) {
    MakeReady();
    EXPECT_NE(test::LogOf([&] { browser_.FailProcess(L"gone"); }), "");
    EXPECT_NE(test::LogOf([&] { browser_.SayInConsole(L"Cannot show the scene: x"); }), "");
}

}  // namespace
}  // namespace vistrel

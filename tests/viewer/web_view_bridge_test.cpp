#include "viewer/web_view_bridge.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QMessageBox>
#include <QTimer>
#include <QWidget>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/wide.h"
#include "tests/support/capture.h"
#include "tests/support/temporary_folder.h"
#include "tests/viewer/fake_web_view.h"

namespace vistrel {
namespace {

using test::FakeBrowser;
using test::ReadFile;
using test::TemporaryFolder;

using Calls = std::vector<std::wstring>;

class WebViewBridgeTest : public testing::Test {
  protected:
    WebViewBridgeTest() { setenv("XDG_DATA_HOME", folder_.Path().c_str(), 1); }

    bool Initialize(const std::wstring& tempFolder = L"/t") {
        return bridge_->Initialize(&window_, QRect(290, 0, 640, 480), tempFolder,
                                   [this](bool ready) { answers_.push_back(ready); });
    }

    void MakeReady() {
        Initialize();
        browser_.AnswerEnvironment();
        browser_.AnswerController();
        browser_.calls.clear();
    }

    QWidget* Host() { return window_.findChild<QWidget*>("WebViewHost"); }

    const TemporaryFolder folder_;
    FakeBrowser browser_;
    QWidget window_;
    std::optional<WebViewBridge> bridge_{std::in_place, L"No loader.\nSorry.", browser_.Factory()};
    std::vector<bool> answers_;
};

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
    bridge_->Initialize(&window_, QRect(0, 0, 10, 10), L"/t", [this](bool) {
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

TEST_F(WebViewBridgeStart, WithoutAParentThereIsNoHostWindow) {
    EXPECT_FALSE(bridge_->Initialize(nullptr, QRect(0, 0, 10, 10), L"/t",
                                     [this](bool ready) { answers_.push_back(ready); }));
    EXPECT_EQ(answers_, std::vector{false});
    EXPECT_TRUE(browser_.calls.empty());
}

TEST_F(WebViewBridgeStart, FactoryThatDoesNotStartIsReportedByTheResultAlone) {
    browser_.starts = false;
    EXPECT_FALSE(Initialize());
    EXPECT_TRUE(answers_.empty());
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
    EXPECT_EQ(window_.findChildren<QWidget*>().size(), 1);
}

TEST_F(WebViewBridgeStart, SecondStartGivesTheFirstViewUp) {
    MakeReady();
    Initialize();
    EXPECT_EQ(bridge_->View(), nullptr);
    EXPECT_EQ(browser_.controllers, 0);
    EXPECT_EQ(window_.findChildren<QWidget*>().size(), 1);
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
    bridge_->Initialize(&window_, QRect(0, 0, 10, 10), L"/t", [this](bool) { bridge_.reset(); });
    browser_.AnswerEnvironment();
    browser_.AnswerController();
    EXPECT_EQ(browser_.Addresses(), Calls{});
    EXPECT_EQ(browser_.controllers, 0);
}

TEST_F(WebViewBridgeEnd, OwnerMayEndItWhenTheViewFails) {
    bridge_->Initialize(&window_, QRect(0, 0, 10, 10), L"/t", [this](bool) { bridge_.reset(); });
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

TEST_F(WebViewBridgeScenes, EndOfTheBrowsersProcessNeedsNoListener) {
    MakeReady();
    EXPECT_NE(test::LogOf([&] { browser_.FailProcess(L"gone"); }), "");
}

class WebViewBridgeCapture : public WebViewBridgeTest {
  protected:
    void Capture(const std::string& name) {
        bridge_->CaptureImage(&window_, FromPath(folder_ / name));
    }
    static std::vector<std::byte> Bytes(char letter) {
        return {std::byte{'P'}, std::byte{0}, static_cast<std::byte>(letter)};
    }
    static std::string Text(char letter) { return {'P', '\0', letter}; }
    std::ptrdiff_t Files() const {
        return std::distance(std::filesystem::directory_iterator(folder_.Path()), {});
    }
};

TEST_F(WebViewBridgeCapture, IsWrittenAfterTheCallHasReturned) {
    MakeReady();
    Capture("a.png");
    EXPECT_FALSE(std::filesystem::exists(folder_ / "a.png"));
    browser_.AnswerCapture(true, Bytes('1'));
    EXPECT_EQ(ReadFile(folder_ / "a.png"), Text('1'));
    EXPECT_EQ(browser_.calls, Calls{L"capture"});
}

TEST_F(WebViewBridgeCapture, TwoAtOnceHaveTheirOwnFiles) {
    MakeReady();
    Capture("a.png");
    Capture("b.png");
    browser_.AnswerCapture(true, Bytes('1'));
    browser_.AnswerCapture(true, Bytes('2'));
    EXPECT_EQ(ReadFile(folder_ / "a.png"), Text('1'));
    EXPECT_EQ(ReadFile(folder_ / "b.png"), Text('2'));
}

TEST_F(WebViewBridgeCapture, ReplacesAnExistingFile) {
    MakeReady();
    const auto path = folder_.Write("a.png", "a longer former picture");
    Capture("a.png");
    browser_.AnswerCapture(true, Bytes('1'));
    EXPECT_EQ(ReadFile(path), Text('1'));
}

TEST_F(WebViewBridgeCapture, BeforeTheViewIsReadyDoesNothing) {
    Capture("a.png");
    Initialize();
    Capture("a.png");
    EXPECT_EQ(browser_.calls, Calls{L"create environment"});
    EXPECT_FALSE(std::filesystem::exists(folder_ / "a.png"));
}

TEST_F(WebViewBridgeCapture, FailureOrNothingLeavesNoFileAndTheFormerOneAlone) {
    MakeReady();
    folder_.Write("b.png", "former");
    const std::ptrdiff_t before = Files();
    for (const char* name : {"a.png", "b.png"}) {
        Capture(name);
        browser_.AnswerCapture(false, Bytes('1'));
        Capture(name);
        browser_.AnswerCapture(true, {});
    }
    EXPECT_EQ(Files(), before);
    EXPECT_EQ(ReadFile(folder_ / "b.png"), "former");
}

TEST_F(WebViewBridgeCapture, PathThatCannotBeWrittenLeavesNothing) {
    MakeReady();
    folder_.Write("file", "kept");
    const std::ptrdiff_t before = Files();
    Capture("none/a.png");
    Capture("file/a.png");
    browser_.AnswerCapture(true, Bytes('1'));
    browser_.AnswerCapture(true, Bytes('1'));
    EXPECT_EQ(Files(), before);
}

TEST_F(WebViewBridgeCapture, IsLostWithTheBridge) {
    MakeReady();
    Capture("a.png");
    bridge_.reset();
    EXPECT_FALSE(browser_.AnswerCapture(true, Bytes('1')));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "a.png"));
}

}  // namespace
}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
#include "viewer/web_view_bridge.h"

#include <gtest/gtest.h>

#include <QTimer>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "base/text_encoding.h"
#include "tests/support/capture.h"
#include "tests/support/temporary_folder.h"
#include "tests/viewer/web_view_bridge_fixture.h"

namespace vistrel {
namespace {

using test::Calls;
using test::ReadFile;
using test::WebViewBridgeTest;

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

TEST_F(WebViewBridgeCapture, KeepsAPrivateFilePrivate) {
    MakeReady();
    const auto path = folder_.Write("a.png", "private");
    constexpr std::filesystem::perms kPrivate{0600};
    std::filesystem::permissions(path, kPrivate);
    Capture("a.png");
    browser_.AnswerCapture(true, Bytes('1'));
    EXPECT_EQ(ReadFile(path), Text('1'));
    EXPECT_EQ(std::filesystem::status(path).permissions(), kPrivate);
}

TEST_F(WebViewBridgeCapture, FollowsALinkToAFileThatIsYetToBeMade) {
    MakeReady();
    std::filesystem::create_symlink("target.png", folder_ / "a.png");
    Capture("a.png");
    browser_.AnswerCapture(true, Bytes('1'));
    EXPECT_TRUE(std::filesystem::is_symlink(folder_ / "a.png"));
    EXPECT_EQ(ReadFile(folder_ / "target.png"), Text('1'));
}

TEST_F(WebViewBridgeCapture, BeforeTheViewIsReadyThereIsNoPicture) {
    std::vector<std::wstring> heard;
    bridge_->onCaptureFailed = [&heard](const std::wstring& reason) { heard.push_back(reason); };
    (void)test::LogOf([&] {
        Capture("a.png");
        Initialize();
        Capture("a.png");
    });
    EXPECT_EQ(heard, (Calls{L"There is no picture", L"There is no picture"}));
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

TEST_F(WebViewBridgeCapture, FailureIsToldWithItsReason) {
    MakeReady();
    std::vector<std::wstring> heard;
    bridge_->onCaptureFailed = [&heard](const std::wstring& reason) { heard.push_back(reason); };
    const std::string log = test::LogOf([&] {
        Capture("none/a.png");
        browser_.AnswerCapture(true, Bytes('1'));
        Capture("a.png");
        browser_.AnswerCapture(false, {});
        Capture("a.png");
        browser_.AnswerCapture(true, Bytes('1'));
    });
    EXPECT_EQ(heard, (Calls{L"No such file or directory", L"There is no picture"}));
    EXPECT_NE(log.find("none/a.png: No such file or directory\n"), log.npos) << log;
}

TEST_F(WebViewBridgeCapture, IsWaitedForAtTheEnd) {
    MakeReady();
    Capture("a.png");
    Capture("b.png");
    QTimer::singleShot(0, &window_, [this] {
        browser_.AnswerCapture(true, Bytes('1'));
        QTimer::singleShot(0, &window_, [this] { browser_.AnswerCapture(true, Bytes('2')); });
    });
    bridge_->FinishCaptures();
    EXPECT_EQ(ReadFile(folder_ / "a.png"), Text('1'));
    EXPECT_EQ(ReadFile(folder_ / "b.png"), Text('2'));
    EXPECT_EQ(browser_.calls, (Calls{L"capture", L"capture"}));
}

TEST_F(WebViewBridgeCapture, ViewIsHiddenForOneThatDoesNotCome) {
    MakeReady();
    Capture("a.png");
    bridge_->FinishCaptures();
    EXPECT_EQ(browser_.calls, (Calls{L"capture", L"invisible"}));
}

TEST_F(WebViewBridgeCapture, WithoutAnyNothingIsWaitedFor) {
    bridge_->FinishCaptures();
    MakeReady();
    Capture("a.png");
    browser_.AnswerCapture(true, Bytes('1'));
    bridge_->FinishCaptures();
    EXPECT_EQ(browser_.calls, Calls{L"capture"});
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

// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/snapshot/scene_snapshot.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QByteArray>
#include <QColor>
#include <QCoreApplication>
#include <QImage>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/capture.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/wait_until.h"
#include "tests/viewer/fake_web_view.h"

namespace vistrel {
namespace {

using test::FailureOf;
using test::FakeBrowser;
using test::TemporaryFolder;

std::vector<std::byte> Png(int width, int height) {
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::red);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "PNG");
    const auto* const first = reinterpret_cast<const std::byte*>(bytes.constData());
    return {first, first + bytes.size()};
}

// A page that answers through the event loop, as `state` says.
class SceneSnapshot : public testing::Test {
  protected:
    SceneSnapshot() {
        setenv("XDG_DATA_HOME", folder_.Path().c_str(), 1);
        request_.pageFolder = L"/page";
        request_.scene = L"/folder/scene.ply";
        request_.size = {.width = 40, .height = 30};
        request_.timeout = std::chrono::seconds(60);
        QObject::connect(&pump_, &QTimer::timeout, [this] {
            browser_.AnswerEnvironment(hasEnvironment_);
            browser_.AnswerController(hasController_);
            browser_.AnswerScript(true, L'"' + state_() + L'"');
            browser_.AnswerCapture(canCapture_, picture_);
        });
        pump_.start(std::chrono::milliseconds(1));
    }

    std::vector<std::byte> Take() { return TakeSnapshot(request_, browser_.Factory()); }
    std::string Failure() {
        return FailureOf([this] { (void)Take(); });
    }

    bool WasTold() const {
        const auto scripts = browser_.Scripts();
        return std::any_of(scripts.begin(), scripts.end(), [](const std::wstring& script) {
            return script.find(L"SetFocusFromNative") != script.npos;
        });
    }

    const TemporaryFolder folder_;
    FakeBrowser browser_;
    QTimer pump_;
    SnapshotRequest request_;
    bool hasEnvironment_ = true;
    bool hasController_ = true;
    std::function<std::wstring()> state_ = [this] { return WasTold() ? L"shown" : L"busy"; };
    bool canCapture_ = true;
    std::vector<std::byte> picture_ = Png(40, 30);
};

TEST_F(SceneSnapshot, PictureComesFromThePageOfTheScene) {
    EXPECT_EQ(Take(), picture_);
    EXPECT_EQ(browser_.Addresses().back(),
              L"file:///page/gaus3d.html?nreso=1&mode=0&nst=1&openFile=/folder/scene.ply");
    EXPECT_EQ(browser_.environments, 0);
}

TEST_F(SceneSnapshot, PageIsToldModeEyesFocusAndDepthOnce) {
    request_.mode = 3;
    request_.sharp = false;
    request_.swap = true;
    request_.focus = -12.5;
    request_.depth = 45;
    (void)Take();
    auto scripts = browser_.Scripts();
    std::erase_if(scripts, [](const std::wstring& script) { return !script.starts_with(L"if("); });
    EXPECT_EQ(scripts,
              (std::vector<std::wstring>{
                  L"if(typeof ChgstFromNative==='function'){ChgstFromNative(3)}",
                  L"if(typeof SwapFromNative==='function'){SwapFromNative(true)}",
                  L"if(typeof SetFocusFromNative==='function'){SetFocusFromNative(-12.5,45)}"}));
    EXPECT_NE(browser_.Addresses().back().find(L"&mode=1&"), std::wstring::npos);
}

TEST_F(SceneSnapshot, SceneThatWasShownBeforeThePageWasToldIsAskedForAgain) {
    int answers = 0;
    state_ = [&answers] {
        ++answers;
        return L"shown";
    };
    (void)Take();
    EXPECT_TRUE(WasTold());
    EXPECT_GT(answers, 3);
}

TEST_F(SceneSnapshot, BrowserThatDoesNotStart) {
    browser_.starts = false;
    EXPECT_EQ(Failure(), "the browser could not be started");
}

TEST_F(SceneSnapshot, EnvironmentThatCannotBeMade) {
    hasEnvironment_ = false;
    EXPECT_EQ(Failure(), "the browser could not be started");
}

TEST_F(SceneSnapshot, ControllerThatCannotBeMade) {
    hasController_ = false;
    EXPECT_EQ(Failure(), "the browser could not be started");
}

TEST_F(SceneSnapshot, FailureOfThePageIsToldInItsLastWords) {
    state_ = [this] {
        for (const wchar_t* text : {L"1", L"2", L"3", L"4", L"5"}) browser_.SayInConsole(text);
        browser_.SayInConsole(L"No Gaussians in \"写.ply\"");
        return L"failed";
    };
    EXPECT_EQ(Failure(),
              "the page cannot show it\n  2\n  3\n  4\n  5\n  No Gaussians in \"写.ply\"");
}

TEST_F(SceneSnapshot, PageWithoutItsFunctions) {
    state_ = [] { return L"complete"; };
    EXPECT_EQ(Failure(), "the page cannot show it");
}

TEST_F(SceneSnapshot, ProcessThatEnds) {
    state_ = [this] {
        browser_.FailProcess(L"killed");
        return L"busy";
    };
    std::string failure;
    (void)test::LogOf([&] { failure = Failure(); });
    EXPECT_EQ(failure, "the browser's process ended: killed");
}

TEST_F(SceneSnapshot, TimeThatRunsOut) {
    state_ = [] { return L"busy"; };
    request_.timeout = std::chrono::milliseconds(1000);
    EXPECT_EQ(Failure(), "it was not there after 1 seconds");
}

TEST_F(SceneSnapshot, CaptureThatFails) {
    canCapture_ = false;
    EXPECT_EQ(Failure(), "the browser gave no picture of it");
}

TEST_F(SceneSnapshot, CaptureThatIsNoPicture) {
    picture_.resize(20);
    EXPECT_EQ(Failure(), "the browser gave no picture of it");
}

TEST_F(SceneSnapshot, PictureOfAnotherSize) {
    picture_ = Png(80, 60);
    EXPECT_EQ(Failure(), "the display made the picture 80x60 pixels large");
}

TEST_F(SceneSnapshot, ApplicationThatExits) {
    state_ = [] {
        QCoreApplication::exit();
        return L"busy";
    };
    EXPECT_EQ(Failure(), "interrupted");
    test::TakeBackExit();
}

}  // namespace
}  // namespace vistrel

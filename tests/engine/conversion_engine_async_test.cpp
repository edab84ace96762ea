// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <future>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include "base/text_encoding.h"
#include "engine/conversion_engine.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/test_models.h"
#include "tests/support/test_pictures.h"

namespace vistrel {
namespace {

std::wstring ModelPath(std::string_view name) {
    return FromPath(test::ModelFile(name));
}

// An engine whose runs stop at their first stage until the test lets them go on, and whose result
// the test can wait for.
class StartAsyncTest : public testing::Test {
  protected:
    StartAsyncTest() {
        callbacks_.onProgress = [started = started_,
                                 goOn = goOn_.get_future().share()](const std::wstring& stage) {
            if (stage != L"Preprocessing image\u2026") return;
            started->set_value();
            goOn.wait();
        };
        callbacks_.onFinished = [result = result_](bool success, const std::wstring& text) {
            result->set_value({success, text});
        };
    }

    bool Start(const std::filesystem::path& output) {
        return ConversionEngine::StartAsync(engine_, Job(output), callbacks_);
    }

    [[nodiscard]] ConversionJob Job(const std::filesystem::path& output) const {
        return {ModelPath("echo"), FromPath(photo_), FromPath(output)};
    }

    // The worker stores false into busy right after its last callback.
    void WaitUntilIdle() const {
        while (engine_->busy) std::this_thread::yield();
    }

    test::TemporaryFolder folder_;
    std::filesystem::path photo_ =
        folder_.Write("photo.png", test::EncodePng(test::NoisePicture(4, 3)));
    // The worker shares these, so that it may outlive the test's engine.
    std::shared_ptr<std::promise<void>> started_ = std::make_shared<std::promise<void>>();
    std::shared_ptr<std::promise<std::pair<bool, std::wstring>>> result_ =
        std::make_shared<std::promise<std::pair<bool, std::wstring>>>();
    std::promise<void> goOn_;
    ConversionCallbacks callbacks_;
    std::shared_ptr<ConversionEngine> engine_ = std::make_shared<ConversionEngine>();
};

TEST_F(StartAsyncTest, IsBusyFromTheStartToTheEnd) {
    EXPECT_FALSE(engine_->busy);
    ASSERT_TRUE(Start(folder_ / "out.ply"));
    started_->get_future().wait();
    EXPECT_TRUE(engine_->busy);
    goOn_.set_value();
    EXPECT_TRUE(result_->get_future().get().first);
    WaitUntilIdle();
}

TEST_F(StartAsyncTest, SecondStartWhileRunningDoesNothing) {
    ASSERT_TRUE(Start(folder_ / "out.ply"));
    started_->get_future().wait();
    engine_->cancelRequested = true;
    EXPECT_FALSE(Start(folder_ / "second/out.ply"));
    EXPECT_TRUE(engine_->cancelRequested);
    EXPECT_FALSE(std::filesystem::exists(folder_ / "second"));
    goOn_.set_value();
    // The one promise takes one result: a second callback would throw in the worker.
    EXPECT_EQ(result_->get_future().get().second, FromPath(folder_ / "out.ply"));
    WaitUntilIdle();
}

TEST_F(StartAsyncTest, RunOfAnotherThreadMeanwhileIsNotHeardOf) {
    ASSERT_TRUE(Start(folder_ / "out.ply"));
    started_->get_future().wait();
    EXPECT_TRUE(engine_->Run(Job(folder_ / "other.ply")));
    goOn_.set_value();
    // The one promise takes one result: a second callback would throw in the worker.
    EXPECT_EQ(result_->get_future().get().second, FromPath(folder_ / "out.ply"));
    WaitUntilIdle();
}

TEST_F(StartAsyncTest, RefusedStartReportsNothing) {
    ASSERT_TRUE(Start(folder_ / "out.ply"));
    started_->get_future().wait();
    std::atomic<int> reports = 0;
    EXPECT_FALSE(
        ConversionEngine::StartAsync(engine_, Job(folder_ / "second.ply"),
                                     {[&reports](const std::wstring&) { ++reports; },
                                      [&reports](bool, const std::wstring&) { ++reports; }}));
    goOn_.set_value();
    EXPECT_TRUE(result_->get_future().get().first);
    WaitUntilIdle();
    EXPECT_EQ(reports, 0);
}

TEST_F(StartAsyncTest, StartClearsACancellationAndALaterOneDoesNotStopTheRun) {
    engine_->cancelRequested = true;
    ASSERT_TRUE(Start(folder_ / "out.ply"));
    EXPECT_FALSE(engine_->cancelRequested);
    engine_->cancelRequested = true;
    goOn_.set_value();
    EXPECT_TRUE(result_->get_future().get().first);
    WaitUntilIdle();
}

TEST_F(StartAsyncTest, MissingFoldersOfTheOutputAreMadeBeforeTheRun) {
    ASSERT_TRUE(Start(folder_ / "a/b c/out.ply"));
    EXPECT_TRUE(std::filesystem::is_directory(folder_ / "a/b c"));
    goOn_.set_value();
    EXPECT_TRUE(result_->get_future().get().first);
    WaitUntilIdle();
    EXPECT_TRUE(std::filesystem::exists(folder_ / "a/b c/out.ply"));
}

TEST_F(StartAsyncTest, OutputWithoutAFolderMakesNone) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder_.Path());
    ASSERT_TRUE(Start("out.ply"));
    goOn_.set_value();
    EXPECT_TRUE(result_->get_future().get().first);
    WaitUntilIdle();
    std::filesystem::current_path(before);
    EXPECT_TRUE(std::filesystem::exists(folder_ / "out.ply"));
}

TEST_F(StartAsyncTest, FolderThatCannotBeMadeIsThrownAndBusyStays) {
    folder_.Write("file", "not a folder");
    try {
        Start(folder_ / "file/sub/out.ply");
        FAIL() << "nothing was thrown";
    } catch (const std::filesystem::filesystem_error& error) {
        EXPECT_EQ(std::string(error.what()).substr(0, 18), "create_directories") << error.what();
        EXPECT_TRUE(error.code());
    }
    EXPECT_TRUE(engine_->busy);
    EXPECT_EQ(test::ReadFile(folder_ / "file"), "not a folder");
}

TEST_F(StartAsyncTest, RunKeepsItsEngineToTheEndAndNoLonger) {
    ASSERT_TRUE(Start(folder_ / "out.ply"));
    started_->get_future().wait();
    const std::weak_ptr<ConversionEngine> engine = engine_;
    engine_.reset();
    EXPECT_FALSE(engine.expired());
    goOn_.set_value();
    EXPECT_TRUE(result_->get_future().get().first);
    while (!engine.expired()) std::this_thread::yield();
    EXPECT_TRUE(std::filesystem::exists(folder_ / "out.ply"));
}

TEST_F(StartAsyncTest, NextStartWorksAfterAFailure) {
    std::filesystem::remove(photo_);
    ASSERT_TRUE(Start(folder_ / "out.ply"));
    goOn_.set_value();
    EXPECT_FALSE(result_->get_future().get().first);
    WaitUntilIdle();

    folder_.Write("photo.png", test::EncodePng(test::NoisePicture(4, 3)));
    std::promise<bool> second;
    callbacks_ = {nullptr,
                  [&second](bool success, const std::wstring&) { second.set_value(success); }};
    ASSERT_TRUE(Start(folder_ / "out.ply"));
    EXPECT_TRUE(second.get_future().get());
    WaitUntilIdle();
}

}  // namespace
}  // namespace vistrel

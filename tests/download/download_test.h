// SPDX-License-Identifier: GPL-3.0-or-later
// A downloader, a folder to download into, and what its callbacks were told.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <future>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/text_encoding.h"
#include "download/model_downloader.h"
#include "tests/download/scripted_server.h"
#include "tests/support/temporary_folder.h"

namespace vistrel::test {

class DownloadTest : public testing::Test {
  protected:
    using Result = std::pair<bool, std::wstring>;

    // The download thread still ends after its last callback; the process must not end under it.
    ~DownloadTest() override {
        while (Threads() > threadsBefore_) std::this_thread::yield();
    }

    void Start(const std::shared_ptr<ModelDownloader>& downloader) {
        ModelDownloader::StartDownload(
            downloader, FromPath(destination_),
            [this](double fraction, const std::wstring& text) {
                fractions_.push_back(fraction);
                texts_.push_back(text);
                if (onProgress_) onProgress_();
            },
            [this](bool success, const std::wstring& message) {
                result_.set_value({success, message});  // a second result would throw
            });
    }

    Result WaitForResult() { return result_.get_future().get(); }

    // A whole download; the result.
    Result Download(const std::shared_ptr<ModelDownloader>& downloader) {
        Start(downloader);
        Result result = WaitForResult();
        EXPECT_FALSE(downloader->busy);
        return result;
    }

    // The same, from a server that gives this answer to every request.
    Result DownloadAnswer(const std::string& answer) {
        const ScriptedServer server(answer);
        const auto downloader = std::make_shared<ModelDownloader>(server.Url());
        return Download(downloader);
    }

    [[nodiscard]] std::filesystem::path Temporary() const { return destination_.native() + ".tmp"; }

    // The names in the destination's folder.
    [[nodiscard]] std::vector<std::string> Left() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(destination_.parent_path())) {
            names.push_back(entry.path().filename());
        }
        std::ranges::sort(names);
        return names;
    }

    // Puts a file at the destination that the download meets there.
    void WriteFormerModel() {
        std::filesystem::create_directories(destination_.parent_path());
        folder_.Write("models/model.onnx", "former");
    }

    TemporaryFolder folder_;
    std::filesystem::path destination_ = folder_ / "models" / "model.onnx";
    std::function<void()> onProgress_;  // on the download thread
    std::vector<double> fractions_;
    std::vector<std::wstring> texts_;

  private:
    static std::ptrdiff_t Threads() {
        return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
    }

    // The thread sanitizer adds a thread of its own to the first one that is started.
    static std::ptrdiff_t ThreadsAfterOne() {
        std::thread([] {}).join();
        return Threads();
    }

    std::ptrdiff_t threadsBefore_ = ThreadsAfterOne();
    std::promise<Result> result_;
};

}  // namespace vistrel::test

// SPDX-License-Identifier: GPL-3.0-or-later
#include "download/model_downloader.h"

#include <string>

#include "tests/download/download_test.h"
#include "tests/download/tls_front.h"

namespace vistrel {
namespace {

using test::Connection;
using test::kOkHead;
using test::ReadFile;
using test::ScriptedServer;
using Names = std::vector<std::string>;

constexpr std::size_t kMegabyte = 1'048'576;

class ModelDownloaderTest : public test::DownloadTest {
  protected:
    Result Success() const { return {true, FromPath(destination_)}; }
};

TEST_F(ModelDownloaderTest, ModelComesOverHttps) {
    const ScriptedServer server(kOkHead + "Content-Length: 5\r\n\r\nmodel");
    const test::TlsFront front(server.Port());
    const auto downloader = std::make_shared<ModelDownloader>(
        front.Url(),
        [settings = HttpSettings{front.Authorities()}] { return MakeHttpRequest(settings); });
    EXPECT_EQ(Download(downloader), Success());
    EXPECT_EQ(ReadFile(destination_), "model");
    EXPECT_EQ(Left(), Names{"model.onnx"});
}

TEST_F(ModelDownloaderTest, MissingFoldersAreMade) {
    destination_ = folder_ / "a/b/c/model.onnx";
    EXPECT_EQ(DownloadAnswer(kOkHead + "\r\nmodel"), Success());
    EXPECT_EQ(ReadFile(destination_), "model");
}

TEST_F(ModelDownloaderTest, FormerModelIsReplaced) {
    WriteFormerModel();
    EXPECT_EQ(DownloadAnswer(kOkHead + "\r\nmodel"), Success());
    EXPECT_EQ(ReadFile(destination_), "model");
    EXPECT_EQ(Left(), Names{"model.onnx"});
}

TEST_F(ModelDownloaderTest, TemporaryFileLeftByAnEarlierRunIsOverwritten) {
    std::filesystem::create_directories(destination_.parent_path());
    folder_.Write("models/model.onnx.tmp", "longer than the model");
    EXPECT_EQ(DownloadAnswer(kOkHead + "\r\nmodel"), Success());
    EXPECT_EQ(ReadFile(destination_), "model");
    EXPECT_EQ(Left(), Names{"model.onnx"});
}

TEST_F(ModelDownloaderTest, EmptyFolderInPlaceOfTheModelIsReplaced) {
    std::filesystem::create_directories(destination_);
    EXPECT_EQ(DownloadAnswer(kOkHead + "\r\nmodel"), Success());
    EXPECT_EQ(ReadFile(destination_), "model");
}

TEST_F(ModelDownloaderTest, NameMayHoldAnyBytes) {
    destination_ = folder_ / "\xE5\x86\x99\xE7\x9C\x9F \xFF" / "%\\\n\x80.onnx";
    EXPECT_EQ(DownloadAnswer(kOkHead + "\r\nmodel"), Success());
    EXPECT_EQ(Left(), Names{"%\\\n\x80.onnx"});
}

TEST_F(ModelDownloaderTest, EmptyAnswerMakesAnEmptyFile) {
    EXPECT_EQ(DownloadAnswer(kOkHead + "Content-Length: 0\r\n\r\n"), Success());
    EXPECT_EQ(ReadFile(destination_), "");
    EXPECT_TRUE(texts_.empty());
}

TEST_F(ModelDownloaderTest, DroppedConnectionIsASuccessWithAShortFile) {
    WriteFormerModel();
    EXPECT_EQ(DownloadAnswer(kOkHead + "Content-Length: 3145728\r\n\r\nmod"), Success());
    EXPECT_EQ(ReadFile(destination_), "mod");
    EXPECT_EQ(texts_, std::vector<std::wstring>{L"Downloading\u2026 0 MB / 3 MB"});
    EXPECT_EQ(Left(), Names{"model.onnx"});
}

TEST_F(ModelDownloaderTest, ResetConnectionIsASuccessWithAShortFile) {
    std::promise<void> received;
    onProgress_ = [&received] { received.set_value(); };
    const ScriptedServer server([&received](Connection& connection) {
        connection.ReadRequest();
        connection.Send(kOkHead + "Content-Length: 5\r\n\r\nmod");
        received.get_future().wait();
        connection.Reset();
    });
    const auto downloader = std::make_shared<ModelDownloader>(server.Url());
    EXPECT_EQ(Download(downloader), Success());
    EXPECT_EQ(ReadFile(destination_), "mod");
}

TEST_F(ModelDownloaderTest, ProgressGrowsWithEveryChunkUpToAllOfIt) {
    const std::string body(3 * kMegabyte + 1, 'm');
    DownloadAnswer(kOkHead + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
    EXPECT_GE(fractions_.size(), body.size() / 65'536);
    EXPECT_GT(fractions_.front(), 0.0);
    EXPECT_EQ(std::ranges::adjacent_find(fractions_, std::greater_equal()), fractions_.end());
    EXPECT_EQ(fractions_.back(), 1.0);
    EXPECT_EQ(texts_.front(), L"Downloading\u2026 0 MB / 3 MB");
    EXPECT_EQ(texts_.back(), L"Downloading\u2026 3 MB / 3 MB");
    EXPECT_EQ(ReadFile(destination_), body);
}

TEST_F(ModelDownloaderTest, ProgressWithoutALengthIsZeroAndNamesNoTotal) {
    DownloadAnswer(kOkHead + "\r\n" + std::string(3 * kMegabyte, 'm'));
    EXPECT_EQ(std::ranges::count(fractions_, 0.0), std::ssize(fractions_));
    EXPECT_EQ(texts_.back(), L"Downloading\u2026 3 MB");
}

TEST_F(ModelDownloaderTest, MegabytesAreRoundedDown) {
    DownloadAnswer(kOkHead + "Content-Length: 1048575\r\n\r\n" + std::string(kMegabyte - 1, 'm'));
    EXPECT_EQ(texts_.back(), L"Downloading\u2026 0 MB / 0 MB");
}

TEST_F(ModelDownloaderTest, EmptyCallbacksAreNotCalled) {
    const ScriptedServer server(kOkHead + "\r\nmodel");
    const auto downloader = std::make_shared<ModelDownloader>(server.Url());
    ModelDownloader::StartDownload(downloader, FromPath(destination_), nullptr, nullptr);
    while (downloader->busy) std::this_thread::yield();
    EXPECT_EQ(ReadFile(destination_), "model");
}

TEST_F(ModelDownloaderTest, SecondStartWhileOneRunsDoesNothing) {
    std::promise<void> goOn;
    const ScriptedServer server([&goOn](Connection& connection) {
        connection.ReadRequest();
        goOn.get_future().wait();
        connection.Send(kOkHead + "\r\nmodel");
    });
    const auto downloader = std::make_shared<ModelDownloader>(server.Url());
    Start(downloader);
    EXPECT_TRUE(downloader->busy);
    ModelDownloader::StartDownload(
        downloader, FromPath(folder_ / "second/model.onnx"),
        [](double, const std::wstring&) { ADD_FAILURE() << "progress of the second"; },
        [](bool, const std::wstring&) { ADD_FAILURE() << "end of the second"; });
    goOn.set_value();
    EXPECT_EQ(WaitForResult(), Success());
    EXPECT_FALSE(std::filesystem::exists(folder_ / "second"));
}

TEST_F(ModelDownloaderTest, SecondStartDoesNotTakeACancellationBack) {
    const ScriptedServer server([](Connection& connection) { connection.WaitUntilClosed(); });
    const auto downloader = std::make_shared<ModelDownloader>(server.Url());
    Start(downloader);
    downloader->cancelRequested = true;
    ModelDownloader::StartDownload(downloader, FromPath(destination_), nullptr, nullptr);
    EXPECT_EQ(WaitForResult(), Result(false, L"Download cancelled."));
}

TEST_F(ModelDownloaderTest, NextDownloadMayBeStartedAtTheEndOfOne) {
    const ScriptedServer server(kOkHead + "\r\nmodel");
    const auto downloader = std::make_shared<ModelDownloader>(server.Url());
    bool wasBusy = true;
    downloader->cancelRequested = true;  // of no meaning before a start
    ModelDownloader::StartDownload(downloader, FromPath(folder_ / "first.onnx"), nullptr,
                                   [&](bool, const std::wstring&) {
                                       wasBusy = downloader->busy;
                                       Start(downloader);
                                   });
    EXPECT_EQ(WaitForResult(), Success());
    EXPECT_FALSE(wasBusy);
    EXPECT_EQ(ReadFile(folder_ / "first.onnx"), "model");
    EXPECT_EQ(ReadFile(destination_), "model");
}

TEST_F(ModelDownloaderTest, DownloadKeepsItsDownloaderToTheEndAndNoLonger) {
    std::promise<void> arrived;
    std::promise<void> goOn;
    const ScriptedServer server([&](Connection& connection) {
        connection.ReadRequest();
        arrived.set_value();
        goOn.get_future().wait();
        connection.Send(kOkHead + "\r\nmodel");
    });
    auto downloader = std::make_shared<ModelDownloader>(server.Url());
    Start(downloader);
    arrived.get_future().wait();
    const std::weak_ptr<ModelDownloader> shared = downloader;
    downloader.reset();
    EXPECT_FALSE(shared.expired());
    goOn.set_value();
    EXPECT_EQ(WaitForResult(), Success());
    while (!shared.expired()) std::this_thread::yield();
}

}  // namespace
}  // namespace vistrel

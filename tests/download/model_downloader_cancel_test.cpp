// SPDX-License-Identifier: GPL-3.0-or-later
// Cancelling a download at each of its points.
#include <string>

#include "tests/download/download_test.h"

namespace vistrel {
namespace {

using test::Connection;
using test::kOkHead;
using test::ReadFile;
using test::ScriptedServer;
using Names = std::vector<std::string>;

class CancelTest : public test::DownloadTest {
  protected:
    CancelTest() { WriteFormerModel(); }

    // The server sends `start` and then nothing; the download is cancelled when `waitForProgress`
    // ends or, without it, when that has been sent.
    Result CancelAfter(const std::string& start, bool waitForProgress = false) {
        std::promise<void> reached;
        if (waitForProgress) onProgress_ = [&reached] { reached.set_value(); };
        const ScriptedServer server([&](Connection& connection) {
            connection.ReadRequest();
            connection.Send(start);
            if (!waitForProgress) reached.set_value();
            connection.WaitUntilClosed();
        });
        const auto downloader = std::make_shared<ModelDownloader>(server.Url());
        Start(downloader);
        reached.get_future().wait();
        EXPECT_EQ(std::filesystem::exists(Temporary()), waitForProgress);
        downloader->cancelRequested = true;
        return WaitForResult();
    }

    void ExpectOnlyTheFormerModel() {
        EXPECT_EQ(Left(), Names{"model.onnx"});
        EXPECT_EQ(ReadFile(destination_), "former");
    }

    const Result kCancelled{false, L"Download cancelled."};
};

TEST_F(CancelTest, RightAfterTheStart) {
    const ScriptedServer server([](Connection& connection) { connection.WaitUntilClosed(); });
    const auto downloader = std::make_shared<ModelDownloader>(server.Url());
    Start(downloader);
    downloader->cancelRequested = true;
    EXPECT_EQ(WaitForResult(), kCancelled);
    ExpectOnlyTheFormerModel();
}

TEST_F(CancelTest, WhileTheAnswerDoesNotCome) {
    EXPECT_EQ(CancelAfter(""), kCancelled);
    ExpectOnlyTheFormerModel();
}

TEST_F(CancelTest, WhileTheHeadersAreIncomplete) {
    EXPECT_EQ(CancelAfter("HTTP/1.1 200 O"), kCancelled);
    ExpectOnlyTheFormerModel();
}

TEST_F(CancelTest, WhileTheBodyStandsStill) {
    EXPECT_EQ(CancelAfter(kOkHead + "Content-Length: 5\r\n\r\nmod", true), kCancelled);
    ExpectOnlyTheFormerModel();
}

TEST_F(CancelTest, BetweenTwoChunks) {
    const std::string body(1'000'000, 'm');
    const ScriptedServer server(kOkHead + "\r\n" + body);
    const auto downloader = std::make_shared<ModelDownloader>(server.Url());
    onProgress_ = [&downloader] { downloader->cancelRequested = true; };
    EXPECT_EQ(Download(downloader), kCancelled);
    EXPECT_EQ(texts_.size(), 1U);
    ExpectOnlyTheFormerModel();
}

TEST_F(CancelTest, AfterTheLastChunk) {
    const ScriptedServer server(kOkHead + "Content-Length: 5\r\n\r\nmodel");
    const auto downloader = std::make_shared<ModelDownloader>(server.Url());
    onProgress_ = [&downloader] { downloader->cancelRequested = true; };
    EXPECT_EQ(Download(downloader), kCancelled);
    EXPECT_EQ(fractions_, std::vector{1.0});
    ExpectOnlyTheFormerModel();
}

TEST_F(CancelTest, NextStartIsNotCancelled) {
    const ScriptedServer server(kOkHead + "\r\nmodel");
    const auto downloader = std::make_shared<ModelDownloader>(server.Url());
    ModelDownloader::StartDownload(
        downloader, FromPath(destination_),
        [&downloader](double, const std::wstring&) { downloader->cancelRequested = true; },
        [this, &downloader](bool, const std::wstring&) { Start(downloader); });
    EXPECT_EQ(WaitForResult(), Result(true, FromPath(destination_)));
}

TEST_F(CancelTest, TemporaryFileThatCannotBeDeletedIsReported) {
    const ScriptedServer server(kOkHead + "\r\nmodel");
    const auto downloader = std::make_shared<ModelDownloader>(server.Url());
    onProgress_ = [this, &downloader] {
        std::filesystem::remove(Temporary());
        std::filesystem::create_directories(Temporary() / "sub");
        downloader->cancelRequested = true;
    };
    const auto [success, message] = Download(downloader);
    EXPECT_FALSE(success);
    EXPECT_NE(message.find(L"remove"), std::wstring::npos) << ToUtf8(message);
    EXPECT_NE(message.find(FromPath(Temporary())), std::wstring::npos) << ToUtf8(message);
    EXPECT_EQ(Left(), (Names{"model.onnx", "model.onnx.tmp"}));
    EXPECT_EQ(ReadFile(destination_), "former");
}

}  // namespace
}  // namespace vistrel

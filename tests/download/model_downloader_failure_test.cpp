// SPDX-License-Identifier: GPL-3.0-or-later
// What a failed download tells, and what it leaves on the disk.
#include <sys/resource.h>

#include <stdexcept>
#include <string>

#include "tests/download/download_test.h"

namespace vistrel {
namespace {

using test::kOkHead;
using test::ReadFile;
using test::ScriptedServer;
using Names = std::vector<std::string>;

class DownloadFailureTest : public test::DownloadTest {
  protected:
    DownloadFailureTest() { WriteFormerModel(); }

    static Result Failure(const std::string& text) { return {false, FromUtf8(text)}; }

    void ExpectOnlyTheFormerModel() {
        EXPECT_EQ(Left(), Names{"model.onnx"});
        EXPECT_EQ(ReadFile(destination_), "former");
    }
};

TEST_F(DownloadFailureTest, UrlThatCannotBeParsed) {
    destination_ = folder_ / "new" / "model.onnx";
    const auto downloader = std::make_shared<ModelDownloader>("huggingface.co/model");
    EXPECT_EQ(Download(downloader), Failure("Failed to parse download URL."));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "new"));
}

// Succeeds at its first steps.
class FailingRequest : public HttpRequest {
  public:
    explicit FailingRequest(int goodSteps) : goodSteps_(goodSteps) {}

    bool ParseUrl(const std::string&) override { return goodSteps_-- > 0; }
    bool OpenSession() override { return goodSteps_-- > 0; }
    bool Connect() override { return goodSteps_-- > 0; }
    bool OpenRequest() override { return goodSteps_-- > 0; }
    bool Send(HttpReceiver&) override { return goodSteps_-- > 0; }

  private:
    int goodSteps_;
};

struct FailedStep {
    std::string name;
    int goodSteps;
    std::string text;
    bool makesTheFolder;
};

class FailedStepTest : public DownloadFailureTest,
                       public testing::WithParamInterface<FailedStep> {};

TEST_P(FailedStepTest, HasItsOwnText) {
    destination_ = folder_ / "new" / "model.onnx";
    const auto downloader = std::make_shared<ModelDownloader>(
        kModelUrl, [] { return std::make_unique<FailingRequest>(GetParam().goodSteps); });
    EXPECT_EQ(Download(downloader), Failure(GetParam().text));
    EXPECT_EQ(std::filesystem::exists(folder_ / "new"), GetParam().makesTheFolder);
    EXPECT_FALSE(std::filesystem::exists(Temporary()));
    EXPECT_FALSE(std::filesystem::exists(destination_));
}

INSTANTIATE_TEST_SUITE_P(
    All, FailedStepTest,
    testing::Values(FailedStep{"ParseUrl", 0, "Failed to parse download URL.", false},
                    FailedStep{"OpenSession", 1, "WinHttpOpen failed.", true},
                    FailedStep{"Connect", 2, "WinHttpConnect failed.", true},
                    FailedStep{"OpenRequest", 3, "WinHttpOpenRequest failed.", true},
                    FailedStep{"Send", 4, "HTTP request failed.", true}),
    [](const auto& step) { return step.param.name; });

TEST_F(DownloadFailureTest, PortWithoutServer) {
    const test::DeafPort deaf;
    const auto downloader =
        std::make_shared<ModelDownloader>("http://127.0.0.1:" + std::to_string(deaf.Port()));
    EXPECT_EQ(Download(downloader), Failure("HTTP request failed."));
    ExpectOnlyTheFormerModel();
}

TEST_F(DownloadFailureTest, StatusOtherThan200) {
    EXPECT_EQ(DownloadAnswer("HTTP/1.1 404 Not Found\r\nContent-Length: 4\r\n\r\ngone"),
              Failure("HTTP error: 404"));
    EXPECT_TRUE(texts_.empty());
    ExpectOnlyTheFormerModel();
}

TEST_F(DownloadFailureTest, ErrorOfTheServerWithoutABody) {
    EXPECT_EQ(DownloadAnswer("HTTP/1.1 500 Oh\r\n\r\n"), Failure("HTTP error: 500"));
    ExpectOnlyTheFormerModel();
}

TEST_F(DownloadFailureTest, StatusOtherThan200LeavesATemporaryFileOfAnEarlierRun) {
    folder_.Write("models/model.onnx.tmp", "earlier");
    EXPECT_EQ(DownloadAnswer("HTTP/1.1 404 Not Found\r\n\r\n"), Failure("HTTP error: 404"));
    EXPECT_EQ(ReadFile(Temporary()), "earlier");
}

TEST_F(DownloadFailureTest, FileInPlaceOfTheFolder) {
    folder_.Write("file", "kept");
    destination_ = folder_ / "file" / "model.onnx";
    const auto [success, message] = DownloadAnswer(kOkHead + "\r\nmodel");
    EXPECT_FALSE(success);
    EXPECT_NE(message.find(L"create_directories"), std::wstring::npos) << ToUtf8(message);
    EXPECT_NE(message.find(FromPath(folder_ / "file")), std::wstring::npos) << ToUtf8(message);
    EXPECT_EQ(ReadFile(folder_ / "file"), "kept");
}

TEST_F(DownloadFailureTest, FolderThatTakesNoFiles) {
    destination_ = "/proc/self/model.onnx";
    EXPECT_EQ(DownloadAnswer(kOkHead + "\r\nmodel"),
              Failure("Cannot create output file: /proc/self/model.onnx.tmp"));
}

TEST_F(DownloadFailureTest, FolderInPlaceOfTheTemporaryFile) {
    std::filesystem::create_directory(Temporary());
    EXPECT_EQ(DownloadAnswer(kOkHead + "\r\nmodel"),
              Failure("Cannot create output file: " + Temporary().native()));
    EXPECT_EQ(Left(), (Names{"model.onnx", "model.onnx.tmp"}));
    EXPECT_EQ(ReadFile(destination_), "former");
}

// As from two windows.
TEST_F(DownloadFailureTest, AnotherDownloadToTheSamePlace) {
    std::promise<void> refused;
    const ScriptedServer slow([&refused](test::Connection& connection) {
        connection.ReadRequest();
        connection.Send(kOkHead + "\r\nfirst");
        refused.get_future().wait();
        connection.Send(" model");
    });
    std::promise<void> begun;
    std::promise<Result> first;
    ModelDownloader::StartDownload(
        std::make_shared<ModelDownloader>(slow.Url()), FromPath(destination_),
        [&, isFirst = true](double, const std::wstring&) mutable {
            if (std::exchange(isFirst, false)) begun.set_value();
        },
        [&first](bool success, const std::wstring& message) {
            first.set_value({success, message});
        });
    begun.get_future().wait();
    EXPECT_EQ(DownloadAnswer(kOkHead + "\r\nsecond"),
              Failure("Cannot create output file: " + Temporary().native()));
    refused.set_value();
    EXPECT_EQ(first.get_future().get(), Result(true, FromPath(destination_)));
    EXPECT_EQ(ReadFile(destination_), "first model");
    EXPECT_EQ(Left(), Names{"model.onnx"});
}

TEST_F(DownloadFailureTest, FolderWithContentInPlaceOfTheModel) {
    destination_ = folder_ / "models";  // the former model is in it
    EXPECT_EQ(DownloadAnswer(kOkHead + "\r\nmodel"),
              Failure("Failed to move downloaded file: " + destination_.native()));
    EXPECT_EQ(Left(), (Names{"models", "models.tmp"}));
    EXPECT_EQ(ReadFile(Temporary()), "model");
    EXPECT_EQ(ReadFile(destination_ / "model.onnx"), "former");
}

TEST_F(DownloadFailureTest, TemporaryFileThatVanishes) {
    onProgress_ = [this] { std::filesystem::remove(Temporary()); };
    EXPECT_EQ(DownloadAnswer(kOkHead + "\r\nmodel"),
              Failure("Failed to move downloaded file: " + destination_.native()));
    ExpectOnlyTheFormerModel();
}

TEST_F(DownloadFailureTest, DiskThatIsFull) {
    std::filesystem::create_symlink("/dev/full", Temporary());
    EXPECT_EQ(
        DownloadAnswer(kOkHead + "\r\n" + std::string(1'000'000, 'm')),
        Failure("Cannot write output file: " + Temporary().native() + ": No space left on device"));
    ExpectOnlyTheFormerModel();
}

TEST_F(DownloadFailureTest, DiskThatIsFullOnlyAtTheEnd) {
    std::filesystem::create_symlink("/dev/full", Temporary());
    EXPECT_EQ(
        DownloadAnswer(kOkHead + "\r\nmodel"),
        Failure("Cannot write output file: " + Temporary().native() + ": No space left on device"));
    ExpectOnlyTheFormerModel();
}

// By itself the signal for it would end the process.
TEST_F(DownloadFailureTest, FileThatGrowsBeyondTheLimitOfTheProcess) {
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit small{300'000, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const Result result = DownloadAnswer(kOkHead + "\r\n" + std::string(1'000'000, 'm'));
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    EXPECT_EQ(result,
              Failure("Cannot write output file: " + Temporary().native() + ": File too large"));
    ExpectOnlyTheFormerModel();
}

TEST_F(DownloadFailureTest, ProgressCallbackThatThrows) {
    onProgress_ = [] { throw std::runtime_error("no more"); };
    EXPECT_EQ(DownloadAnswer(kOkHead + "\r\nmodel"), Failure("no more"));
    ExpectOnlyTheFormerModel();
}

TEST_F(DownloadFailureTest, ProgressCallbackThatThrowsSomethingElse) {
    onProgress_ = [] { throw 1; };
    EXPECT_EQ(DownloadAnswer(kOkHead + "\r\nmodel"), Failure("Unknown error during download."));
    ExpectOnlyTheFormerModel();
}

TEST_F(DownloadFailureTest, LastCallbackThatThrowsEndsNothingElse) {
    const ScriptedServer server(kOkHead + "\r\nmodel");
    const auto downloader = std::make_shared<ModelDownloader>(server.Url());
    ModelDownloader::StartDownload(
        downloader, FromPath(destination_), nullptr,
        [](bool, const std::wstring&) { throw std::runtime_error("mine"); });
    while (downloader->busy) std::this_thread::yield();
    EXPECT_EQ(Download(downloader), Result(true, FromPath(destination_)));
}

}  // namespace
}  // namespace vistrel

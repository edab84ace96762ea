// SPDX-License-Identifier: GPL-3.0-or-later
// What would take long with real pauses; the rest is seen from outside, in the tests of
// vistrel-fetch.
#include "download/resumable_download.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "download/sha256.h"
#include "tests/download/scripted_server.h"
#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

using test::Connection;
using test::kOkHead;
using test::ScriptedServer;

class RecordingWatcher : public DownloadWatcher {
  public:
    void OnProgress(std::int64_t done, std::int64_t /*size*/) override { progress.push_back(done); }
    void OnNotice(const std::string& sentence) override { notices.push_back(sentence); }
    void OnStep(const std::string& /*name*/) override {}
    void Pause(std::chrono::seconds time) override { pauses.push_back(time.count()); }

    std::vector<std::int64_t> progress;
    std::vector<std::string> notices;
    std::vector<std::int64_t> pauses;
};

std::string SumOf(const std::string& bytes) {
    Sha256 sum;
    sum.Add(bytes);
    return sum.Digest();
}

class ResumableDownload : public testing::Test {
  protected:
    std::string Fetch(const std::string& url, const FileFacts& facts) {
        return DownloadFile({.url = url}, facts, file_, watcher_);
    }

    // Why it failed.
    std::string FailureOf(const std::string& url, const FileFacts& facts) {
        try {
            static_cast<void>(Fetch(url, facts));
        } catch (const std::runtime_error& failure) {
            return failure.what();
        }
        return "";
    }

    const FileFacts facts_ = {8, SumOf("the file"), {}};
    test::TemporaryFolder folder_;
    std::filesystem::path file_ = folder_ / "net.onnx";
    RecordingWatcher watcher_;
};

TEST_F(ResumableDownload, AfterACutTheRestIsAskedFor) {
    std::vector<std::string> requests;
    {
        const ScriptedServer server([&](Connection& connection) {
            requests.push_back(connection.ReadRequest());
            if (requests.size() == 1) {
                connection.Send(kOkHead + "Content-Length: 8\r\n\r\nthe ");
            } else {
                connection.Send(
                    "HTTP/1.1 206 Piece\r\nContent-Range: bytes 4-7/8\r\n"
                    "Content-Length: 4\r\n\r\nfile");
            }
        });
        EXPECT_EQ(Fetch(server.Url(), facts_), facts_.sha256);
    }
    EXPECT_EQ(test::ReadFile(file_), "the file");
    EXPECT_EQ(requests.size(), 2U);
    EXPECT_NE(requests[1].find("Range: bytes=4-\r\n"), std::string::npos);
    EXPECT_EQ(watcher_.progress, (std::vector<std::int64_t>{4, 8}));
}

TEST_F(ResumableDownload, AServerThatNeverAnswersIsGivenUp) {
    const test::DeafPort deaf;
    const std::string url = "http://127.0.0.1:" + std::to_string(deaf.Port()) + "/file";
    EXPECT_NE(FailureOf(url, facts_), "");
    EXPECT_EQ(watcher_.pauses, (std::vector<std::int64_t>{1, 2, 4, 8, 16, 32, 60, 60, 60, 60}));
    EXPECT_TRUE(std::filesystem::is_empty(folder_.Path()));
}

TEST_F(ResumableDownload, AServerThatAlwaysCutsAtTheSamePlaceIsGivenUp) {
    int requests = 0;
    {
        const ScriptedServer server([&](Connection& connection) {
            connection.ReadRequest();
            ++requests;
            connection.Send(kOkHead + "Content-Length: 8\r\n\r\nthe f");
        });
        EXPECT_NE(FailureOf(server.Url(), facts_), "");
    }
    EXPECT_EQ(requests, Retries::kPatient);
    EXPECT_EQ(test::ReadFile(folder_ / "net.onnx.part"), "the f");
}

TEST_F(ResumableDownload, APauseThatTheServerAsksForIsKept) {
    int requests = 0;
    const ScriptedServer server([&](Connection& connection) {
        connection.ReadRequest();
        connection.Send(requests++ == 0 ? "HTTP/1.1 503 Busy\r\nRetry-After: 40\r\n\r\n"
                                        : kOkHead + "Content-Length: 8\r\n\r\nthe file");
    });
    EXPECT_EQ(Fetch(server.Url(), facts_), facts_.sha256);
    EXPECT_EQ(watcher_.pauses, std::vector<std::int64_t>{40});
}

TEST_F(ResumableDownload, WithoutSizeTheEndOfTheAnswerIsTheEnd) {
    const ScriptedServer server(kOkHead +
                                "Transfer-Encoding: chunked\r\n\r\n4\r\nfile\r\n0\r\n\r\n");
    EXPECT_EQ(Fetch(server.Url(), {}), SumOf("file"));
}

TEST_F(ResumableDownload, WithoutSizeABrokenAnswerIsNoFile) {
    int requests = 0;
    const ScriptedServer server([&](Connection& connection) {
        connection.ReadRequest();
        connection.Send(kOkHead + "Transfer-Encoding: chunked\r\n\r\n4\r\nfi" +
                        (requests++ == 0 ? "" : "le\r\n0\r\n\r\n"));
    });
    EXPECT_EQ(Fetch(server.Url(), {}), SumOf("file"));
    EXPECT_EQ(requests, 2);
}

TEST_F(ResumableDownload, WithASizeOfItsOwnItIsAskedForWithoutAHub) {
    const ScriptedServer server(kOkHead + "Content-Length: 8\r\nETag: \"a\"\r\n\r\nthe file");
    const FileFacts facts = AskForFile({.url = server.Url()}, watcher_);
    EXPECT_EQ(facts.size, 8);
    EXPECT_EQ(facts.sha256, "");
    EXPECT_EQ(facts.etag, "\"a\"");
}

TEST_F(ResumableDownload, AHubThatIsAwayIsAskedAsOftenAsWanted) {
    const test::DeafPort deaf;
    const std::string url = "http://127.0.0.1:" + std::to_string(deaf.Port()) + "/file";
    EXPECT_THROW((void)AskForFile({.url = url}, watcher_, 3), std::runtime_error);
    EXPECT_EQ(watcher_.pauses, std::vector<std::int64_t>{1});
}

}  // namespace
}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
#include "download/http_request.h"

#include <gtest/gtest.h>

#include <future>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/download/recorder.h"
#include "tests/download/scripted_server.h"

namespace vistrel {
namespace {

using test::Connection;
using test::Get;
using test::kOkHead;
using test::Recorder;
using test::ScriptedServer;

TEST(HttpRequest, RequestNamesHostAndProgramAndNothingElse) {
    std::string request;
    Recorder recorder;
    std::string port;
    {
        const ScriptedServer server([&request](Connection& connection) {
            request = connection.ReadRequest();
            connection.Send(kOkHead + "Content-Length: 0\r\n\r\n");
        });
        port = std::to_string(server.Port());
        EXPECT_TRUE(Get(server.Url("/folder/model?a=b%20c"), recorder));
    }
    EXPECT_EQ(request, "GET /folder/model?a=b%20c HTTP/1.1\r\nHost: 127.0.0.1:" + port +
                           "\r\nUser-Agent: Vistrel/1.0\r\n\r\n");
}

TEST(HttpRequest, HeadersOfTheCallerAreSent) {
    std::string request;
    Recorder recorder;
    {
        const ScriptedServer server([&request](Connection& connection) {
            request = connection.ReadRequest();
            connection.Send(kOkHead + "Content-Length: 0\r\n\r\n");
        });
        EXPECT_TRUE(
            Get(server.Url(), recorder, {.headers = {"Range: bytes=5-", "If-Range: \"a\""}}));
    }
    EXPECT_NE(request.find("\r\nRange: bytes=5-\r\nIf-Range: \"a\"\r\n"), std::string::npos);
}

TEST(HttpRequest, HeadersOfTheFinalAnswerAreTold) {
    const ScriptedServer server("HTTP/1.1 103 Early\r\nLink: <x>\r\n\r\n" + kOkHead +
                                "ETag:  \"a\" \r\nContent-Length: 0\r\n\r\n");
    Recorder recorder;
    EXPECT_TRUE(Get(server.Url(), recorder));
    EXPECT_EQ(recorder.headers, (std::vector<std::string>{"ETag: \"a\"", "Content-Length: 0"}));
}

// What ended a transfer of that answer.
HttpFailure FailureAfter(const std::string& answer) {
    const ScriptedServer server(answer);
    Recorder recorder;
    const std::unique_ptr<HttpRequest> request = MakeHttpRequest();
    static_cast<void>(test::Send(*request, server.Url(), recorder));
    return request->Failure();
}

TEST(HttpRequest, WhatEndedATransferEarlyIsTold) {
    EXPECT_EQ(FailureAfter(kOkHead + "Content-Length: 5\r\n\r\nmodel").reason, "");
    for (const std::string& answer : {std::string(), kOkHead + "Content-Length: 6\r\n\r\nmodel"}) {
        const HttpFailure failure = FailureAfter(answer);
        EXPECT_NE(failure.reason, "");
        EXPECT_FALSE(failure.isForGood);
    }
}

struct Answer {
    std::string name;
    std::string bytes;
    std::int64_t length;
    std::string body;
};

class GoodAnswer : public testing::TestWithParam<Answer> {};

TEST_P(GoodAnswer, ArrivesAsItWasSent) {
    const ScriptedServer server(GetParam().bytes);
    Recorder recorder;
    EXPECT_TRUE(Get(server.Url(), recorder));
    EXPECT_EQ(recorder.statuses, std::vector{200});
    EXPECT_EQ(recorder.length, GetParam().length);
    EXPECT_EQ(recorder.body, GetParam().body);
}

INSTANTIATE_TEST_SUITE_P(
    All, GoodAnswer,
    testing::Values(
        Answer{"WithLength", kOkHead + "Content-Length: 5\r\n\r\nmodel", 5, "model"},
        Answer{"WithoutLength", kOkHead + "\r\nmodel", 0, "model"},
        Answer{"WithoutCarriageReturns", "HTTP/1.1 200 OK\nContent-Length: 5\n\nmodel", 5, "model"},
        Answer{"InChunks",
               kOkHead + "Transfer-Encoding: chunked\r\n\r\n3\r\nmod\r\n2\r\nel\r\n0\r\n\r\n", 0,
               "model"},
        Answer{"InChunksWithTrailer",
               kOkHead + "Transfer-Encoding: chunked\r\n\r\n5\r\nmodel\r\n0\r\nMore: x\r\n\r\n", 0,
               "model"},
        Answer{"EmptyWithLength", kOkHead + "Content-Length: 0\r\n\r\n", 0, ""},
        Answer{"EmptyWithoutLength", kOkHead + "\r\n", 0, ""},
        Answer{"Continued", "HTTP/1.1 100 Continue\r\n\r\n" + kOkHead + "\r\nmodel", 0, "model"},
        Answer{"OldProtocol", "HTTP/1.0 200 OK\r\n\r\nmodel", 0, "model"},
        Answer{"EncodedStaysEncoded", kOkHead + "Content-Encoding: gzip\r\n\r\nnot unpacked", 0,
               "not unpacked"},
        Answer{"BytesBeyondTheLengthAreDropped", kOkHead + "Content-Length: 5\r\n\r\nmodels", 5,
               "model"},
        Answer{"ShorterThanItsLength", kOkHead + "Content-Length: 9\r\n\r\nmodel", 9, "model"},
        Answer{"NothingOfItsLength", kOkHead + "Content-Length: 9\r\n\r\n", 9, ""},
        Answer{"LargestLength", kOkHead + "Content-Length: 9223372036854775807\r\n\r\nmodel",
               9'223'372'036'854'775'807, "model"},
        Answer{"LengthThatDoesNotFit", kOkHead + "Content-Length: 9223372036854775808\r\n\r\nmodel",
               0, "model"},
        Answer{"BrokenChunk", kOkHead + "Transfer-Encoding: chunked\r\n\r\n5\r\nmo", 0, "mo"}),
    [](const auto& answer) { return answer.param.name; });

struct Refusal {
    std::string name;
    std::string bytes;
};

class NoAnswer : public testing::TestWithParam<Refusal> {};

TEST_P(NoAnswer, IsAFailedRequest) {
    const ScriptedServer server(GetParam().bytes);
    Recorder recorder;
    EXPECT_FALSE(Get(server.Url(), recorder));
    EXPECT_TRUE(recorder.statuses.empty());
    EXPECT_EQ(recorder.body, "");
}

INSTANTIATE_TEST_SUITE_P(
    All, NoAnswer,
    testing::Values(Refusal{"ClosedAtOnce", ""}, Refusal{"AnotherProtocol", "220 ready\r\n\r\n"},
                    Refusal{"ClosedInTheHeaders", kOkHead + "Content-Le"},
                    Refusal{"ClosedInTheHeadersOfARedirect", "HTTP/1.1 302 Found\r\nLocat"},
                    Refusal{"LengthIsNoNumber", kOkHead + "Content-Length: many\r\n\r\nmodel"},
                    Refusal{"LengthIsEmpty", kOkHead + "Content-Length:\r\n\r\nmodel"},
                    Refusal{"LengthIsNegative", kOkHead + "Content-Length: -5\r\n\r\nmodel"},
                    Refusal{"OnlyContinue", "HTTP/1.1 100 Continue\r\n\r\n"}),
    [](const auto& refusal) { return refusal.param.name; });

TEST(HttpRequest, OtherStatusIsAnAnswerToo) {
    for (const int status : {204, 206, 304, 404, 407, 500, 599}) {
        const ScriptedServer server("HTTP/1.1 " + std::to_string(status) + " Text\r\n\r\n");
        Recorder recorder;
        EXPECT_TRUE(Get(server.Url(), recorder)) << status;
        EXPECT_EQ(recorder.statuses, std::vector{status});
    }
}

TEST(HttpRequest, ResetAfterTheHeadersIsAnAnswer) {
    class GatedRecorder : public Recorder {
      public:
        std::promise<void> answered;

      private:
        void OnAnswer(int status, std::int64_t bytes) override {
            Recorder::OnAnswer(status, bytes);
            answered.set_value();
        }
    } recorder;
    const ScriptedServer server([&recorder](Connection& connection) {
        connection.ReadRequest();
        connection.Send(kOkHead + "Content-Length: 5\r\n\r\n");
        recorder.answered.get_future().wait();
        connection.Reset();
    });
    EXPECT_TRUE(Get(server.Url(), recorder));
    EXPECT_EQ(recorder.statuses, std::vector{200});
    EXPECT_EQ(recorder.body, "");
}

TEST(HttpRequest, ResetBeforeTheHeadersIsNoAnswer) {
    const ScriptedServer server([](Connection& connection) {
        connection.ReadRequest();
        connection.Reset();
    });
    Recorder recorder;
    EXPECT_FALSE(Get(server.Url(), recorder));
    EXPECT_TRUE(recorder.statuses.empty());
}

TEST(HttpRequest, PortWithoutServerIsNoAnswer) {
    const test::DeafPort deaf;
    Recorder recorder;
    EXPECT_FALSE(Get("http://127.0.0.1:" + std::to_string(deaf.Port()) + "/model", recorder));
}

TEST(HttpRequest, PiecesAreNotLargerThan64KiB) {
    const std::string body(5'000'000, 'm');
    const ScriptedServer server(kOkHead + "\r\n" + body);
    Recorder recorder;
    EXPECT_TRUE(Get(server.Url(), recorder));
    EXPECT_EQ(recorder.body, body);
    EXPECT_LE(recorder.largestPiece, 65'536U);
}

TEST(HttpRequest, UrlThatIsNotOfTheWebIsRefused) {
    for (const char* url :
         {"", "model", "//host/model", "https://", "ftp://host/", "file:///etc/passwd",
          "https://host:99999/", "https://ho st/", "mailto:somebody@host"}) {
        EXPECT_FALSE(MakeHttpRequest()->ParseUrl(url)) << url;
    }
    for (const char* url : {"https://host/model", "HTTPS://host", "http://[::1]:80/model"}) {
        EXPECT_TRUE(MakeHttpRequest()->ParseUrl(url)) << url;
    }
}

TEST(HttpRequest, WhatTheReceiverThrowsAtTheAnswerComesOut) {
    class Thrower : public Recorder {
        void OnAnswer(int, std::int64_t) override { throw std::runtime_error("not wanted"); }
    } thrower;
    const ScriptedServer server(kOkHead + "\r\nmodel");
    EXPECT_THROW((void)Get(server.Url(), thrower), std::runtime_error);
    EXPECT_EQ(thrower.body, "");
}

TEST(HttpRequest, WhatTheReceiverThrowsAtABodyComesOutAndIsTheLastCall) {
    class Thrower : public Recorder {
        void OnBody(std::string_view bytes) override {
            Recorder::OnBody(bytes.substr(0, 1));
            throw std::runtime_error("no room");
        }
    } thrower;
    const ScriptedServer server(kOkHead + "\r\n" + std::string(1'000'000, 'm'));
    EXPECT_THROW((void)Get(server.Url(), thrower), std::runtime_error);
    EXPECT_EQ(thrower.body, "m");
}

TEST(HttpRequest, SilenceBeforeTheHeadersIsNoAnswer) {
    const ScriptedServer server([](Connection& connection) { connection.WaitUntilClosed(); });
    Recorder recorder;
    EXPECT_FALSE(Get(server.Url(), recorder, {.silenceTimeout = std::chrono::seconds(1)}));
    EXPECT_TRUE(recorder.statuses.empty());
}

TEST(HttpRequest, SilenceInTheBodyEndsItLikeABrokenConnection) {
    const ScriptedServer server([](Connection& connection) {
        connection.ReadRequest();
        connection.Send(kOkHead + "\r\nmod");
        connection.WaitUntilClosed();
    });
    Recorder recorder;
    const std::unique_ptr<HttpRequest> request =
        MakeHttpRequest({.silenceTimeout = std::chrono::seconds(1)});
    EXPECT_TRUE(test::Send(*request, server.Url(), recorder));
    EXPECT_EQ(recorder.body, "mod");
    EXPECT_NE(request->Failure().reason, "");
    EXPECT_FALSE(request->Failure().isForGood);
}

// A transfer that stops in the middle, without an end, and is cancelled there.
class CancelledRequest : public testing::Test {
  protected:
    // The server takes the request and sends `start`; nothing at all where that is empty.
    void GetAndCancel(const std::string& scheme, const std::string& start) {
        const ScriptedServer server([&](Connection& connection) {
            if (!start.empty()) {
                connection.ReadRequest();
                connection.Send(start);
            }
            if (!recorder_.cancelAtAnswer && !recorder_.cancelAtBody) recorder_.cancelled = true;
            connection.WaitUntilClosed();
        });
        answered_ = Get(scheme + server.Url().substr(4), recorder_);
    }

    class CancellingRecorder : public Recorder {
      public:
        bool cancelAtAnswer = false;
        bool cancelAtBody = false;

        void OnAnswer(int status, std::int64_t bytes) override {
            Recorder::OnAnswer(status, bytes);
            if (cancelAtAnswer) cancelled = true;
        }
        void OnBody(std::string_view bytes) override {
            Recorder::OnBody(bytes);
            if (cancelAtBody) cancelled = true;
        }
    } recorder_;
    bool answered_ = false;
};

TEST_F(CancelledRequest, EndsBeforeAnythingGoesOut) {
    recorder_.cancelled = true;
    const ScriptedServer server([](Connection&) { ADD_FAILURE() << "a connection was made"; });
    EXPECT_FALSE(Get(server.Url(), recorder_));
}

TEST_F(CancelledRequest, EndsWhileTlsIsNotAnswered) {
    GetAndCancel("https", "");
    EXPECT_FALSE(answered_);
}

TEST_F(CancelledRequest, EndsBeforeTheHeadersAreComplete) {
    GetAndCancel("http", "HTTP/1.1 ");
    EXPECT_FALSE(answered_);
}

TEST_F(CancelledRequest, EndsWhileTheBodyStandsStill) {
    recorder_.cancelAtAnswer = true;
    GetAndCancel("http", kOkHead + "Content-Length: 5\r\n\r\n");
    EXPECT_TRUE(answered_);
    EXPECT_EQ(recorder_.body, "");
}

TEST_F(CancelledRequest, EndsWithThePieceThatArrived) {
    recorder_.cancelAtBody = true;
    GetAndCancel("http", kOkHead + "\r\n" + std::string(1'000'000, 'm'));
    EXPECT_TRUE(answered_);
    EXPECT_EQ(recorder_.body.size(), recorder_.largestPiece);
}

}  // namespace
}  // namespace vistrel

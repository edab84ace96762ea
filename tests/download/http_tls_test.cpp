// SPDX-License-Identifier: GPL-3.0-or-later
// HTTPS: whom a request trusts, and how secure connections end.
#include <gtest/gtest.h>

#include <future>
#include <string>
#include <vector>

#include "download/http_request.h"
#include "tests/download/recorder.h"
#include "tests/download/scripted_server.h"
#include "tests/download/tls_front.h"
#include "tests/support/temporary_folder.h"

namespace vistrel {
namespace {

using test::Connection;
using test::Get;
using test::kOkHead;
using test::Recorder;
using test::ScriptedServer;
using test::TlsFront;

// The client finds fault with the certificate after TLS has come about.
void ExpectNoRequest(Connection& connection) {
    EXPECT_EQ(connection.ReadRequest(), "");
}

TEST(Certificate, OfATrustedAuthorityIsAccepted) {
    const ScriptedServer server(kOkHead + "Content-Length: 5\r\n\r\nmodel");
    const TlsFront front(server.Port());
    Recorder recorder;
    EXPECT_TRUE(Get(front.Url(), recorder, {.authorities = front.Authorities()}));
    EXPECT_EQ(recorder.statuses, std::vector{200});
    EXPECT_EQ(recorder.length, 5);
    EXPECT_EQ(recorder.body, "model");
}

TEST(Certificate, OfAnUnknownAuthorityIsRefused) {
    const ScriptedServer server(ExpectNoRequest);
    const TlsFront front(server.Port());
    Recorder recorder;
    EXPECT_FALSE(Get(front.Url(), recorder));
    EXPECT_TRUE(recorder.statuses.empty());
}

TEST(Certificate, ForAnotherHostIsRefused) {
    const ScriptedServer server(ExpectNoRequest);
    const TlsFront front(server.Port(), "DNS:elsewhere.test");
    Recorder recorder;
    EXPECT_FALSE(Get(front.Url(), recorder, {.authorities = front.Authorities()}));
}

TEST(Certificate, IsRefusedWhenTheAuthoritiesCannotBeRead) {
    const ScriptedServer server(ExpectNoRequest);
    const TlsFront front(server.Port());
    const test::TemporaryFolder folder;
    Recorder recorder;
    EXPECT_FALSE(Get(front.Url(), recorder, {.authorities = folder / "none.pem"}));
}

TEST(Tls, ServerWithoutItIsNoAnswer) {
    const ScriptedServer server([](Connection& connection) {
        connection.Send(kOkHead + "\r\nmodel");
        connection.WaitUntilClosed();
    });
    Recorder recorder;
    EXPECT_FALSE(Get("https" + server.Url().substr(4), recorder));
    EXPECT_TRUE(recorder.statuses.empty());
}

TEST(Tls, HandshakeThatIsNotAnsweredEndsAtTheConnectTimeout) {
    const ScriptedServer server([](Connection& connection) { connection.WaitUntilClosed(); });
    Recorder recorder;
    EXPECT_FALSE(Get("https" + server.Url().substr(4), recorder,
                     {.connectTimeout = std::chrono::seconds(1)}));
}

TEST(Tls, ConnectionClosedInTheBodyEndsIt) {
    for (const std::string length : {"", "Content-Length: 9\r\n"}) {
        const ScriptedServer server(kOkHead + length + "\r\nmodel");
        const TlsFront front(server.Port());
        Recorder recorder;
        EXPECT_TRUE(Get(front.Url(), recorder, {.authorities = front.Authorities()}));
        EXPECT_EQ(recorder.body, "model");
    }
}

TEST(Tls, ResetInTheBodyEndsIt) {
    class GatedRecorder : public Recorder {
      public:
        std::promise<void> received;

      private:
        void OnBody(std::string_view bytes) override {
            Recorder::OnBody(bytes);
            received.set_value();
        }
    } recorder;
    const ScriptedServer server([&recorder](Connection& connection) {
        connection.ReadRequest();
        connection.Send(kOkHead + "Content-Length: 9\r\n\r\nmodel");
        recorder.received.get_future().wait();
        connection.Reset();
    });
    const TlsFront front(server.Port());
    EXPECT_TRUE(Get(front.Url(), recorder, {.authorities = front.Authorities()}));
    EXPECT_EQ(recorder.body, "model");
}

TEST(Tls, ResetBeforeTheHeadersIsNoAnswer) {
    const ScriptedServer server([](Connection& connection) {
        connection.ReadRequest();
        connection.Reset();
    });
    const TlsFront front(server.Port());
    Recorder recorder;
    EXPECT_FALSE(Get(front.Url(), recorder, {.authorities = front.Authorities()}));
    EXPECT_TRUE(recorder.statuses.empty());
}

}  // namespace
}  // namespace vistrel

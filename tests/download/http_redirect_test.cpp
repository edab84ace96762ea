// SPDX-License-Identifier: GPL-3.0-or-later
// Redirects and proxies: where a request goes.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "download/http_request.h"
#include "tests/download/recorder.h"
#include "tests/download/scripted_server.h"
#include "tests/download/tls_front.h"

namespace vistrel {
namespace {

using test::Connection;
using test::Get;
using test::Recorder;
using test::ScriptedServer;
using test::TlsFront;

const std::string kModel = "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nmodel";

// With a body and a length of its own, which must not be taken for the model's.
std::string RedirectTo(const std::string& target) {
    return "HTTP/1.1 302 Found\r\nLocation: " + target +
           "\r\nContent-Length: 8\r\nConnection: close\r\n\r\ngo there";
}

TEST(Redirect, ToAnotherHostAndPortIsFollowed) {
    std::string request;
    Recorder recorder;
    {
        const ScriptedServer second([&request](Connection& connection) {
            request = connection.ReadRequest();
            connection.Send("HTTP/1.1 200 OK\r\n\r\nmodel");
        });
        const std::string target = "localhost:" + std::to_string(second.Port());
        const ScriptedServer first(RedirectTo("http://" + target + "/elsewhere"));
        EXPECT_TRUE(Get(first.Url(), recorder));
        EXPECT_EQ(request.substr(0, request.find("\r\nUser")),
                  "GET /elsewhere HTTP/1.1\r\nHost: " + target);
    }
    EXPECT_EQ(recorder.statuses, std::vector{200});
    EXPECT_EQ(recorder.length, 0);
    EXPECT_EQ(recorder.body, "model");
}

TEST(Redirect, TenAreFollowedAndOneMoreIsNot) {
    for (const int redirects : {10, 11}) {
        int requests = 0;
        Recorder recorder;
        bool answered = false;
        {
            const ScriptedServer server([&](Connection& connection) {
                connection.ReadRequest();
                connection.Send(requests++ < redirects ? RedirectTo("next") : kModel);
            });
            answered = Get(server.Url(), recorder);
        }
        EXPECT_EQ(requests, 11);
        EXPECT_EQ(answered, redirects == 10);
        EXPECT_EQ(recorder.body, redirects == 10 ? "model" : "");
    }
}

TEST(Redirect, WithoutATargetIsTheFinalAnswer) {
    const ScriptedServer server("HTTP/1.1 302 Found\r\n\r\ngo somewhere");
    Recorder recorder;
    EXPECT_TRUE(Get(server.Url(), recorder));
    EXPECT_EQ(recorder.statuses, std::vector{302});
}

TEST(Redirect, ToAFileIsTheFinalAnswer) {
    const ScriptedServer server(RedirectTo("file:///etc/passwd"));
    Recorder recorder;
    EXPECT_TRUE(Get(server.Url(), recorder));
    EXPECT_EQ(recorder.statuses, std::vector{302});
    EXPECT_EQ(recorder.body, "");
}

TEST(Redirect, ToAPortWithoutServerIsNoAnswer) {
    const test::DeafPort deaf;
    const ScriptedServer server(
        RedirectTo("http://127.0.0.1:" + std::to_string(deaf.Port()) + "/model"));
    Recorder recorder;
    EXPECT_FALSE(Get(server.Url(), recorder));
    EXPECT_TRUE(recorder.statuses.empty());
}

TEST(Redirect, FromHttpsToHttpIsTheFinalAnswer) {
    const ScriptedServer plain([](Connection&) { ADD_FAILURE() << "it was followed"; });
    const ScriptedServer server(RedirectTo(plain.Url()));
    const TlsFront front(server.Port());
    Recorder recorder;
    EXPECT_TRUE(Get(front.Url(), recorder, {.authorities = front.Authorities()}));
    EXPECT_EQ(recorder.statuses, std::vector{302});
    EXPECT_EQ(recorder.body, "");
}

TEST(Redirect, FromHttpsToAnotherHttpsHostIsFollowed) {
    std::string target;
    int requests = 0;
    const ScriptedServer server([&](Connection& connection) {
        connection.ReadRequest();
        connection.Send(requests++ == 0 ? RedirectTo(target) : kModel);
    });
    const TlsFront front(server.Port());
    target = front.Url("localhost");
    Recorder recorder;
    EXPECT_TRUE(Get(front.Url("127.0.0.1"), recorder, {.authorities = front.Authorities()}));
    EXPECT_EQ(recorder.body, "model");
}

TEST(Redirect, FromHttpToHttpsIsFollowed) {
    const ScriptedServer server(kModel);
    const TlsFront front(server.Port());
    const ScriptedServer plain(RedirectTo(front.Url()));
    Recorder recorder;
    EXPECT_TRUE(Get(plain.Url(), recorder, {.authorities = front.Authorities()}));
    EXPECT_EQ(recorder.body, "model");
}

TEST(Redirect, IsLeftToTheCallerWhoWantsIt) {
    const ScriptedServer server(
        "HTTP/1.1 302 Found\r\nLocation: ../b\r\nContent-Length: 0\r\n\r\n");
    Recorder recorder;
    const std::unique_ptr<HttpRequest> request = MakeHttpRequest({.followsRedirects = false});
    EXPECT_TRUE(test::Send(*request, server.Url("/x/y/a"), recorder));
    EXPECT_EQ(recorder.statuses, std::vector{302});
    EXPECT_EQ(request->RedirectTarget(), server.Url("/x/b"));
}

// Sets a variable for the life of the object.
class Environment {
  public:
    Environment(const char* name, const std::string& value) : name_(name) {
        setenv(name, value.c_str(), 1);
    }
    ~Environment() { unsetenv(name_); }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

  private:
    const char* name_;
};

TEST(Proxy, OfTheEnvironmentIsAskedForPlainAddresses) {
    std::string request;
    Recorder recorder;
    {
        const ScriptedServer proxy([&request](Connection& connection) {
            request = connection.ReadRequest();
            connection.Send(kModel);
        });
        const Environment environment("http_proxy", proxy.Url(""));
        EXPECT_TRUE(Get("http://elsewhere.test/model", recorder));
    }
    EXPECT_TRUE(request.starts_with("GET http://elsewhere.test/model HTTP/1.1\r\n"));
    EXPECT_EQ(recorder.body, "model");
}

TEST(Proxy, OfTheEnvironmentTunnelsSecureConnections) {
    std::string request;
    Recorder recorder;
    {
        const ScriptedServer proxy([&request](Connection& connection) {
            request = connection.ReadRequest();
            connection.Send("HTTP/1.1 200 Connected\r\n\r\n");  // and then no TLS
        });
        const Environment environment("https_proxy", proxy.Url(""));
        EXPECT_FALSE(Get("https://elsewhere.test/model", recorder));
    }
    EXPECT_TRUE(request.starts_with("CONNECT elsewhere.test:443 HTTP/1.1\r\n"));
    EXPECT_TRUE(recorder.statuses.empty());
}

TEST(Proxy, IsNotAskedForHostsThatTheEnvironmentExcepts) {
    const ScriptedServer proxy([](Connection&) { ADD_FAILURE() << "the proxy was asked"; });
    const ScriptedServer server(kModel);
    const Environment environment("http_proxy", proxy.Url(""));
    const Environment exception("no_proxy", "127.0.0.1");
    Recorder recorder;
    EXPECT_TRUE(Get(server.Url(), recorder));
}

}  // namespace
}  // namespace vistrel

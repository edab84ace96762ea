// SPDX-License-Identifier: GPL-3.0-or-later
// One GET request over HTTPS (or HTTP), in the steps in which it can fail.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vistrel {

// Takes what arrives, on the thread that called HttpRequest::Send. What the On... functions
// throw ends the transfer and comes out of Send.
class HttpReceiver {
  public:
    virtual ~HttpReceiver() = default;

    // For each header of the final answer, before OnAnswer.
    virtual void OnHeader(std::string_view /*name*/, std::string_view /*value*/) {}
    // Once, when the headers of the final answer are complete. `length` is their Content-Length in
    // bytes; 0 where there is none or it does not fit.
    virtual void OnAnswer(int status, std::int64_t length) = 0;
    // After OnAnswer, for every piece of the body as it was sent: 1 to 65,536 bytes.
    virtual void OnBody(std::string_view bytes) = 0;
    // Asked after every piece and ten times a second; true ends the transfer.
    [[nodiscard]] virtual bool IsCancelled() const = 0;
};

// What ended a transfer before its time.
struct HttpFailure {
    std::string reason{};    // empty: nothing did
    bool isForGood = false;  // another attempt would end the same way
};

// The steps are called once each and in this order; each returns false when it fails, and none
// follows one that failed. One thread at a time.
class HttpRequest {
  public:
    HttpRequest() = default;
    virtual ~HttpRequest() = default;
    HttpRequest(const HttpRequest&) = delete;
    HttpRequest& operator=(const HttpRequest&) = delete;

    [[nodiscard]] virtual bool ParseUrl(const std::string& url) = 0;
    [[nodiscard]] virtual bool OpenSession() = 0;
    // Chooses host and port; nothing goes over the network yet.
    [[nodiscard]] virtual bool Connect() = 0;
    [[nodiscard]] virtual bool OpenRequest() = 0;
    // Sends the request and receives until the body ends, however it ends: early ends look like
    // complete ones. Follows up to 10 redirects; one from HTTPS to HTTP is no redirect but the
    // final answer. Returns whether there was a final answer, that is whether OnAnswer was called.
    [[nodiscard]] virtual bool Send(HttpReceiver& receiver) = 0;

    // After Send: where the final answer, if that is a redirect, leads to, as an absolute address.
    [[nodiscard]] virtual std::string RedirectTarget() const { return {}; }
    // After a step that failed, and after Send.
    [[nodiscard]] virtual HttpFailure Failure() const { return {}; }
};

struct HttpSettings {
    std::string authorities{};  // PEM file of trusted certificates; empty: the system's
    std::chrono::seconds connectTimeout{60};  // name, connection and TLS together
    std::chrono::seconds silenceTimeout{30};  // without a byte while one is due
    std::vector<std::string> headers{};       // "NAME: VALUE", sent to every host on the way
    bool followsRedirects = true;             // false: a redirect is the final answer
};

using HttpRequestMaker = std::function<std::unique_ptr<HttpRequest>()>;

// A request that uses the proxy named by the environment (https_proxy, no_proxy and so on). The
// library behind it lies in a module beside the program, which the first request opens; where that
// is impossible, OpenSession fails. It is set up by the first request and never taken down. A
// process that ends while a request is under way on another thread has to end without exit handlers
// (std::_Exit), because those of the TLS library would free what the request uses. Any thread.
[[nodiscard]] std::unique_ptr<HttpRequest> MakeHttpRequest(const HttpSettings& settings = {});

}  // namespace vistrel

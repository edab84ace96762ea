// SPDX-License-Identifier: GPL-3.0-or-later
// What an HttpRequest says to its receiver, written down.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "download/http_request.h"

namespace vistrel::test {

class Recorder : public HttpReceiver {
  public:
    std::vector<int> statuses;
    std::vector<std::string> headers;  // "NAME: VALUE"
    std::int64_t length = -1;
    std::string body;
    std::size_t largestPiece = 0;
    std::atomic<bool> cancelled = false;

    void OnHeader(std::string_view name, std::string_view value) override {
        headers.push_back(std::string(name).append(": ").append(value));
    }
    void OnAnswer(int status, std::int64_t bytes) override {
        statuses.push_back(status);
        length = bytes;
    }
    void OnBody(std::string_view bytes) override {
        body += bytes;
        largestPiece = std::max(largestPiece, bytes.size());
    }
    [[nodiscard]] bool IsCancelled() const override { return cancelled; }
};

// All steps of a request; false where one of them fails.
inline bool Send(HttpRequest& request, const std::string& url, HttpReceiver& receiver) {
    return request.ParseUrl(url) && request.OpenSession() && request.Connect() &&
           request.OpenRequest() && request.Send(receiver);
}

inline bool Get(const std::string& url, HttpReceiver& receiver, const HttpSettings& settings = {}) {
    return Send(*MakeHttpRequest(settings), url, receiver);
}

}  // namespace vistrel::test

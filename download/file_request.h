// SPDX-License-Identifier: GPL-3.0-or-later
// A request for a file, from a hub that may send it on to where the file lies.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "download/http_request.h"

namespace vistrel {

// Where a file is to be had.
struct FileSource {
    std::string url;
    // Shows who asks, to servers of this origin alone: wherever else a redirect leads, it does not
    // go. Empty: nobody is told.
    std::string token{};
    std::string tokenOrigin{};  // as OriginOf has it
    HttpSettings http{};        // without headers
    std::function<std::unique_ptr<HttpRequest>(const HttpSettings&)> makeRequest = MakeHttpRequest;
};

// An answer's headers as far as they matter for files. Empty or nothing: it has no such header.
struct FileAnswer {
    int status = 0;
    std::optional<std::int64_t> length{};
    std::string etag{};  // as it was sent
    std::string contentRange{};
    std::string retryAfter{};
    // What the hub says of the file to which it redirects.
    std::string linkedSha256{};
    std::optional<std::int64_t> linkedSize{};
};

// As HttpReceiver, on the thread that asks. What it throws comes out of RequestFile.
class FileReceiver {
  public:
    virtual ~FileReceiver() = default;

    // Before a redirect is followed; false: it is not.
    virtual bool OnRedirect(const FileAnswer& answer) = 0;
    // `answer` also says what redirects on the way have said of the file. False: the body is not
    // wanted.
    virtual bool OnAnswer(const FileAnswer& answer) = 0;
    // False: no more is wanted.
    virtual bool OnBody(std::string_view bytes) = 0;
};

// Asks for the file with these headers ("NAME: VALUE") and follows up to ten redirects, from HTTPS
// to HTTPS alone. Returns what ended the transfer early: nothing where it ended in order, or where
// the receiver wanted no more.
[[nodiscard]] HttpFailure RequestFile(const FileSource& source,
                                      const std::vector<std::string>& headers,
                                      FileReceiver& receiver);

}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
#include "download/file_request.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include "download/http_values.h"

namespace vistrel {
namespace {

constexpr int kMostRedirects = 10;
constexpr std::int64_t kLongestRedirect = std::int64_t{1} << 20;  // bytes of its body

bool IsNamed(std::string_view name, std::string_view lowercase) {
    return std::ranges::equal(name, lowercase, [](char one, char other) {
        return std::tolower(static_cast<unsigned char>(one)) == other;
    });
}

// One request on the way to the file. Redirects are for the caller to follow.
class Hop : public HttpReceiver {
  public:
    Hop(FileReceiver& receiver, FileAnswer known)
        : receiver_(receiver), answer_(std::move(known)) {}

    void OnHeader(std::string_view name, std::string_view value) override {
        if (IsNamed(name, "etag")) answer_.etag = value;
        if (IsNamed(name, "content-range")) answer_.contentRange = value;
        if (IsNamed(name, "retry-after")) answer_.retryAfter = value;
        if (IsNamed(name, "x-linked-etag") && answer_.linkedSha256.empty()) {
            answer_.linkedSha256 = Sha256InEtag(value);
        }
        if (IsNamed(name, "x-linked-size") && !answer_.linkedSize) {
            answer_.linkedSize = ParseByteCount(value);
        }
    }

    void OnAnswer(int status, std::int64_t length) override {
        answer_.status = status;
        if (length > 0) answer_.length = length;
        if (!IsRedirect()) wantsMore_ = receiver_.OnAnswer(answer_);
    }

    void OnBody(std::string_view bytes) override {
        if (IsRedirect()) {
            redirectBody_ += static_cast<std::int64_t>(bytes.size());
            wantsMore_ = redirectBody_ <= kLongestRedirect;
        } else if (wantsMore_) {
            wantsMore_ = receiver_.OnBody(bytes);
        }
    }

    [[nodiscard]] bool IsCancelled() const override { return !wantsMore_; }

    [[nodiscard]] bool IsRedirect() const { return answer_.status / 100 == 3; }
    [[nodiscard]] const FileAnswer& Answer() const { return answer_; }

  private:
    FileReceiver& receiver_;
    FileAnswer answer_;
    std::int64_t redirectBody_ = 0;
    bool wantsMore_ = true;
};

HttpFailure FailureOf(const HttpRequest& request, const std::string& otherwise, bool isForGood) {
    HttpFailure failure = request.Failure();
    if (failure.reason.empty()) failure = {otherwise, isForGood};
    return failure;
}

bool IsHttps(const std::string& url) {
    return OriginOf(url).starts_with("https://");
}

}  // namespace

HttpFailure RequestFile(const FileSource& source, const std::vector<std::string>& headers,
                        FileReceiver& receiver) {
    std::string url = source.url;
    FileAnswer known;
    for (int hops = 0; hops <= kMostRedirects; ++hops) {
        HttpSettings settings = source.http;
        settings.followsRedirects = false;
        settings.headers = headers;
        if (!source.token.empty() && OriginOf(url) == source.tokenOrigin) {
            settings.headers.push_back("Authorization: Bearer " + source.token);
        }
        const std::unique_ptr<HttpRequest> request = source.makeRequest(settings);
        if (!request->ParseUrl(url)) return {"This is no address of the web: " + url, true};
        if (!request->OpenSession() || !request->Connect() || !request->OpenRequest()) {
            return FailureOf(*request, "No request can be made", true);
        }
        Hop hop(receiver, known);
        if (!request->Send(hop)) return FailureOf(*request, "There is no answer", false);
        if (!hop.IsRedirect()) return hop.IsCancelled() ? HttpFailure() : request->Failure();
        const std::string target = request->RedirectTarget();
        if (target.empty()) {
            return FailureOf(*request, "The server's redirect leads nowhere", true);
        }
        if (IsHttps(url) && !IsHttps(target)) {
            return {"The server's redirect leads to an unprotected address", true};
        }
        if (!receiver.OnRedirect(hop.Answer())) return {};
        known.linkedSha256 = hop.Answer().linkedSha256;
        known.linkedSize = hop.Answer().linkedSize;
        url = target;
    }
    return {"The server's redirects do not end", true};
}

}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
// Requests by libcurl, as a module: the library brings dozens of others, which nobody waits for who
// fetches nothing.
#include <curl/curl.h>

#include <array>
#include <exception>
#include <utility>

#include "download/http_module.h"
#include "download/http_request.h"

namespace vistrel {
namespace {

constexpr const char* kUserAgent = "Vistrel/1.0";
constexpr long kMaxRedirects = 10;
constexpr long kFirstFinalStatus = 200;
constexpr int kCancelCheckMs = 100;

template <auto function>
struct Release {
    template <typename T>
    void operator()(T* handle) const {
        function(handle);
    }
};
using UrlParts = std::unique_ptr<CURLU, Release<curl_url_cleanup>>;
using Session = std::unique_ptr<CURL, Release<curl_easy_cleanup>>;
using Driver = std::unique_ptr<CURLM, Release<curl_multi_cleanup>>;
using HeaderList = std::unique_ptr<curl_slist, Release<curl_slist_free_all>>;

constexpr bool IsRedirect(long status) {
    return status / 100 == 3;
}

// Ends that the next request would have, too.
constexpr bool IsForGood(CURLcode end) {
    return end == CURLE_PEER_FAILED_VERIFICATION || end == CURLE_SSL_CACERT_BADFILE ||
           end == CURLE_UNSUPPORTED_PROTOCOL || end == CURLE_URL_MALFORMAT;
}

// One call of Send: what the library's callbacks share.
class Exchange {
  public:
    Exchange(CURL* session, HttpReceiver& receiver) : session_(session), receiver_(receiver) {}

    bool Register() {
        return curl_easy_setopt(session_, CURLOPT_HEADERFUNCTION, &Exchange::TakeHeader) ==
                   CURLE_OK &&
               curl_easy_setopt(session_, CURLOPT_HEADERDATA, this) == CURLE_OK &&
               curl_easy_setopt(session_, CURLOPT_WRITEFUNCTION, &Exchange::TakeBody) == CURLE_OK &&
               curl_easy_setopt(session_, CURLOPT_WRITEDATA, this) == CURLE_OK;
    }

    // After the transfer; throws what the receiver threw.
    bool Finish(CURLcode end) {
        if (failure_) std::rethrow_exception(failure_);
        // A redirect that leads nowhere, or where it may not lead, is the answer.
        const bool notFollowed = end == CURLE_OK || end == CURLE_UNSUPPORTED_PROTOCOL;
        if (!answered_ && notFollowed && headersComplete_ && IsRedirect(Status())) Answer();
        return answered_;
    }

  private:
    [[nodiscard]] long Status() const {
        long status = 0;
        curl_easy_getinfo(session_, CURLINFO_RESPONSE_CODE, &status);
        return status;
    }

    void Answer() {
        curl_off_t length = -1;
        curl_easy_getinfo(session_, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
        answered_ = true;
        curl_header* header = nullptr;
        constexpr int kLastAnswer = -1;
        while ((header = curl_easy_nextheader(session_, CURLH_HEADER, kLastAnswer, header)) !=
               nullptr) {
            receiver_.OnHeader(header->name, header->value);
        }
        receiver_.OnAnswer(static_cast<int>(Status()), length > 0 ? length : 0);
    }

    // Exceptions must not pass through the library. False tells it to stop.
    template <typename Function>
    bool Guarded(Function work) {
        try {
            work();
            return true;
        } catch (...) {
            failure_ = std::current_exception();
            return false;
        }
    }

    void OnHeader(std::string_view line) {
        headersComplete_ = line == "\r\n" || line == "\n";
        // Whether a redirect is followed shows later. What else is not 1xx is final.
        if (headersComplete_ && !answered_ && Status() >= kFirstFinalStatus &&
            !IsRedirect(Status())) {
            Answer();
        }
    }

    void OnBody(std::string_view bytes) {
        if (!answered_) Answer();  // bodies of redirects that are followed do not come here
        receiver_.OnBody(bytes);
    }

    static std::size_t TakeHeader(char* data, std::size_t size, std::size_t count, void* self) {
        auto* exchange = static_cast<Exchange*>(self);
        const std::string_view line(data, size * count);
        return exchange->Guarded([=] { exchange->OnHeader(line); }) ? line.size() : 0;
    }

    static std::size_t TakeBody(char* data, std::size_t size, std::size_t count, void* self) {
        auto* exchange = static_cast<Exchange*>(self);
        const std::string_view bytes(data, size * count);
        const bool goOn = exchange->Guarded([=] { exchange->OnBody(bytes); }) &&
                          !exchange->receiver_.IsCancelled();
        return goOn ? bytes.size() : 0;
    }

    CURL* session_;
    HttpReceiver& receiver_;
    bool headersComplete_ = false;  // of the answer that came last
    bool answered_ = false;         // the receiver has been told
    std::exception_ptr failure_;
};

class CurlRequest : public HttpRequest {
  public:
    explicit CurlRequest(HttpSettings settings) : settings_(std::move(settings)) {}

    bool ParseUrl(const std::string& url) override {
        url_.reset(curl_url());
        if (!url_ || curl_url_set(url_.get(), CURLUPART_URL, url.c_str(), 0) != CURLUE_OK) {
            return false;
        }
        char* scheme = nullptr;
        if (curl_url_get(url_.get(), CURLUPART_SCHEME, &scheme, 0) != CURLUE_OK) return false;
        scheme_ = scheme;
        curl_free(scheme);
        return scheme_ == "https" || scheme_ == "http";
    }

    bool OpenSession() override {
        static const CURLcode libraryStart = curl_global_init(CURL_GLOBAL_DEFAULT);
        if (libraryStart != CURLE_OK) return false;
        session_.reset(curl_easy_init());
        driver_.reset(curl_multi_init());
        return session_ && driver_ && Set(CURLOPT_USERAGENT, kUserAgent) &&
               Set(CURLOPT_NOSIGNAL, 1L) && Set(CURLOPT_ERRORBUFFER, reason_.data()) &&
               (settings_.authorities.empty() ||
                Set(CURLOPT_CAINFO, settings_.authorities.c_str()));
    }

    bool Connect() override {
        return Set(CURLOPT_CURLU, url_.get()) &&
               Set(CURLOPT_CONNECTTIMEOUT, static_cast<long>(settings_.connectTimeout.count()));
    }

    bool OpenRequest() override {
        headers_.reset(curl_slist_append(nullptr, "Accept:"));  // takes the library's own away
        for (const std::string& header : settings_.headers) {
            if (!headers_) return false;
            curl_slist* const longer = curl_slist_append(headers_.get(), header.c_str());
            if (longer == nullptr) return false;
        }
        return headers_ && Set(CURLOPT_HTTPHEADER, headers_.get()) && Set(CURLOPT_HTTPGET, 1L) &&
               Set(CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_1_1) &&
               Set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L) &&
               Set(CURLOPT_FOLLOWLOCATION, settings_.followsRedirects ? 1L : 0L) &&
               Set(CURLOPT_MAXREDIRS, kMaxRedirects) &&
               Set(CURLOPT_REDIR_PROTOCOLS_STR, scheme_ == "https" ? "https" : "http,https") &&
               Set(CURLOPT_LOW_SPEED_LIMIT, 1L) &&
               Set(CURLOPT_LOW_SPEED_TIME, static_cast<long>(settings_.silenceTimeout.count()));
    }

    bool Send(HttpReceiver& receiver) override {
        Exchange exchange(session_.get(), receiver);
        if (!exchange.Register()) return false;
        if (curl_multi_add_handle(driver_.get(), session_.get()) != CURLM_OK) return false;
        const CURLcode end = Drive(receiver);
        curl_multi_remove_handle(driver_.get(), session_.get());
        if (end != CURLE_OK && end != CURLE_ABORTED_BY_CALLBACK) {
            const std::string reason = reason_.data();
            failure_ = {reason.empty() ? curl_easy_strerror(end) : reason, IsForGood(end)};
        }
        return exchange.Finish(end);
    }

    [[nodiscard]] std::string RedirectTarget() const override {
        const char* target = nullptr;
        curl_easy_getinfo(session_.get(), CURLINFO_REDIRECT_URL, &target);
        return target != nullptr ? target : "";
    }

    [[nodiscard]] HttpFailure Failure() const override { return failure_; }

  private:
    template <typename T>
    bool Set(CURLoption option, T value) {
        return curl_easy_setopt(session_.get(), option, value) == CURLE_OK;
    }

    // Runs the transfer to its end, or until it is cancelled.
    CURLcode Drive(const HttpReceiver& receiver) {
        int running = 1;
        while (!receiver.IsCancelled()) {
            if (curl_multi_perform(driver_.get(), &running) != CURLM_OK) break;
            if (running == 0) break;
            if (curl_multi_poll(driver_.get(), nullptr, 0, kCancelCheckMs, nullptr) != CURLM_OK) {
                break;
            }
        }
        int left = 0;
        const CURLMsg* message = curl_multi_info_read(driver_.get(), &left);
        return message != nullptr ? message->data.result : CURLE_ABORTED_BY_CALLBACK;
    }

    HttpSettings settings_;
    std::string scheme_;
    UrlParts url_;
    HeaderList headers_;
    HttpFailure failure_;
    std::array<char, CURL_ERROR_SIZE> reason_{};
    Driver driver_;
    Session session_;
};

}  // namespace
}  // namespace vistrel

vistrel::HttpRequest* VistrelMakeHttpRequest(const vistrel::HttpSettings& settings) {
    return new vistrel::CurlRequest(settings);
}

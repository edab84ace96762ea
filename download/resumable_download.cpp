// SPDX-License-Identifier: GPL-3.0-or-later
#include "download/resumable_download.h"

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

#include "download/http_values.h"
#include "download/part_file.h"

namespace vistrel {
namespace {

constexpr int kWhole = 200;
constexpr int kPiece = 206;
constexpr int kOutOfRange = 416;

// Why an answer is of no use.
struct Trouble {
    std::string reason;
    bool isForGood = false;
    std::chrono::seconds pause{0};  // that the server asks for
    bool wasAvoidable = false;      // by a request for the whole file, which comes next
};

bool MayPass(int status) {
    constexpr int kTimeout = 408;
    constexpr int kTooEarly = 425;
    constexpr int kTooMany = 429;
    return status == kTimeout || status == kTooEarly || status == kTooMany || status / 100 == 5;
}

Trouble TroubleOf(const FileAnswer& answer) {
    const std::string status = "The server answers with status " + std::to_string(answer.status);
    switch (answer.status) {
        case 401:
        case 403:
            return {status +
                        ": it gives the file only to people it knows; HF_TOKEN in the "
                        "environment tells it who asks",
                    true};
        case 404:
        case 410:
            return {status + ": there is no such file", true};
        default:
            break;
    }
    const auto asked = ParseRetryAfter(answer.retryAfter, std::chrono::system_clock::now());
    return {status, !MayPass(answer.status), asked.value_or(std::chrono::seconds(0))};
}

// Notes what the first answer says that tells of the file, and wants nothing else.
class Question : public FileReceiver {
  public:
    bool OnRedirect(const FileAnswer& answer) override {
        if (answer.linkedSha256.empty() || !answer.linkedSize) return true;
        facts = {*answer.linkedSize, answer.linkedSha256, {}};
        return false;
    }
    bool OnAnswer(const FileAnswer& answer) override {
        if (answer.status == kWhole) {
            facts = {answer.linkedSize.value_or(answer.length.value_or(0)), answer.linkedSha256,
                     StrongEtag(answer.etag)};
        } else {
            trouble = TroubleOf(answer);
        }
        return false;
    }
    bool OnBody(std::string_view /*bytes*/) override { return false; }

    std::optional<FileFacts> facts;
    std::optional<Trouble> trouble;
};

Retries RetriesToldTo(DownloadWatcher& watcher, int tries) {
    return {tries, [&watcher](const std::string& sentence) { watcher.OnNotice(sentence); },
            [&watcher](std::chrono::seconds time) { watcher.Pause(time); }};
}

std::string InMegabytes(std::int64_t bytes) {
    constexpr std::int64_t kMegabyte = 1'000'000;
    return std::to_string(bytes / kMegabyte) + " MB";
}

class ResumableTransfer : public FileReceiver {
  public:
    ResumableTransfer(const FileSource& source, FileFacts facts,
                      const std::filesystem::path& destination, DownloadWatcher& watcher)
        : source_(source),
          facts_(std::move(facts)),
          destination_(destination),
          watcher_(watcher),
          part_(destination),
          retries_(RetriesToldTo(watcher, Retries::kPatient)) {}

    std::string Run() {
        try {
            TakeUp();
            RequireRoom();
            ReceiveAll();
            while (isTooLong_ || (IsKnown() && sum_.Digest() != facts_.sha256)) {
                RejectContent();
                ReceiveAll();
            }
        } catch (...) {
            if (part_.Size() == 0) part_.Discard();
            throw;
        }
        part_.Commit();
        return sum_.Digest();
    }

    bool OnRedirect(const FileAnswer& answer) override { return IsStillTheFile(answer); }

    bool OnAnswer(const FileAnswer& answer) override {
        if (!IsStillTheFile(answer)) return false;
        if (answer.status == kWhole) return TakeWhole(answer);
        if (answer.status == kPiece) return TakePiece(answer);
        if (answer.status == kOutOfRange && part_.Size() > 0) {
            return BeginAnewAfter("The server says that the file ends before what is here");
        }
        trouble_ = TroubleOf(answer);
        return false;
    }

    bool OnBody(std::string_view bytes) override {
        const std::int64_t room = facts_.size - part_.Size();
        isTooLong_ = facts_.size > 0 && static_cast<std::int64_t>(bytes.size()) > room;
        if (isTooLong_) return false;
        part_.Append(bytes);
        sum_.Add(bytes);
        if (part_.Size() > furthest_) {
            furthest_ = part_.Size();
            retries_.Forget();
        }
        watcher_.OnProgress(part_.Size(), facts_.size);
        return true;
    }

  private:
    // Goes on with the part that is there, where that is possible.
    void TakeUp() {
        if (part_.Size() == 0) return;
        const std::optional<PartOrigin> origin = ReadPartOrigin(destination_);
        const std::string why = WhyNotOf(origin);
        if (!why.empty()) {
            watcher_.OnNotice(why + ": " + PartNameOf(destination_).native() + ". Starting anew.");
            BeginPart({});
            return;
        }
        watcher_.OnStep("Reading what is there\u2026");
        sum_ = part_.Sum();
        watcher_.OnStep("");
        etag_ = origin->etag;
        furthest_ = part_.Size();
        watcher_.OnNotice("Going on after " + InMegabytes(part_.Size()) + ".");
    }

    // Empty where the part can be gone on with.
    [[nodiscard]] std::string WhyNotOf(const std::optional<PartOrigin>& origin) const {
        if (!origin) return "Nothing tells which file this is a part of";
        const bool isSame = !facts_.sha256.empty() || !origin->sha256.empty()
                                ? origin->sha256 == facts_.sha256
                                : origin->url == source_.url && origin->etag == facts_.etag;
        if (!isSame || origin->size != facts_.size) {
            return "The file on the server is another by now than that of this part";
        }
        if (facts_.sha256.empty() && facts_.etag.empty()) {
            return "The server does not tell whether this is a part of the same file";
        }
        if (facts_.size > 0 && part_.Size() > facts_.size)
            return "This part is longer than the file";
        return {};
    }

    void RequireRoom() const {
        const std::int64_t needed = std::max(facts_.size - part_.Size(), std::int64_t{0});
        std::error_code failure;
        const auto space = std::filesystem::space(destination_.parent_path() / ".", failure);
        if (failure || space.available >= static_cast<std::uintmax_t>(needed)) return;
        throw std::runtime_error("There is no room for the file: it needs " +
                                 std::to_string(needed) + " bytes more, and " +
                                 std::to_string(space.available) + " are free in " +
                                 destination_.parent_path().native());
    }

    void BeginPart(const std::string& etag) {
        part_.Begin({source_.url, etag, facts_.size, facts_.sha256});
        etag_ = etag;
        sum_ = Sha256();
    }

    [[nodiscard]] bool IsKnown() const { return !facts_.sha256.empty(); }

    // Another file has taken its place on the hub.
    bool IsStillTheFile(const FileAnswer& answer) {
        if (!IsKnown() || answer.linkedSha256.empty() || answer.linkedSha256 == facts_.sha256) {
            return true;
        }
        facts_ = {answer.linkedSize.value_or(0), answer.linkedSha256, {}};
        return BeginAnewAfter("The file on the server has just changed");
    }

    // What is here goes when the server begins to send the file, and not before.
    bool BeginAnewAfter(const std::string& reason) {
        mayGoOn_ = false;
        trouble_ = Trouble{.reason = reason, .wasAvoidable = asksForPiece_};
        return false;
    }

    bool TakeWhole(const FileAnswer& answer) {
        const std::string etag = StrongEtag(answer.etag);
        if (!IsKnown() && etag != facts_.etag) {
            facts_ = {answer.length.value_or(0), {}, etag};
        } else if (facts_.size > 0 && answer.length && *answer.length != facts_.size) {
            trouble_ = Trouble{"The server would send " + std::to_string(*answer.length) +
                                   " bytes, but the file has " + std::to_string(facts_.size),
                               true};
            return false;
        }
        if (part_.Size() > 0) {
            watcher_.OnNotice("The server sends the file from its beginning, after " +
                              InMegabytes(part_.Size()) + " were here.");
        }
        BeginPart(etag);
        mayGoOn_ = true;
        return true;
    }

    bool TakePiece(const FileAnswer& answer) {
        const auto range = ParseContentRange(answer.contentRange);
        if (!range || !asksForPiece_ || range->first != part_.Size() ||
            (range->total && facts_.size > 0 && *range->total != facts_.size)) {
            return BeginAnewAfter(
                "The server sends another piece of the file than it was asked for");
        }
        if (!IsKnown() && StrongEtag(answer.etag) != etag_) {
            return BeginAnewAfter("The server sends a piece of another file");
        }
        if (facts_.size == 0) facts_.size = range->total.value_or(0);
        return true;
    }

    // Until as much is here as there should be, or more.
    void ReceiveAll() {
        bool hasAll = facts_.size > 0 && part_.Size() == facts_.size;
        while (!hasAll && !isTooLong_) hasAll = ReceiveMore();
    }

    // True: nothing is missing. Otherwise another try is due.
    bool ReceiveMore() {
        trouble_.reset();
        const HttpFailure end = RequestFile(source_, Headers(), *this);
        if (isTooLong_) return false;
        if (!trouble_) {
            const bool hasAll = facts_.size > 0 ? part_.Size() == facts_.size : end.reason.empty();
            if (hasAll) return true;
            trouble_ = Trouble{end.reason.empty() ? "The connection has ended early" : end.reason,
                               end.isForGood};
        }
        if (trouble_->isForGood) throw std::runtime_error(trouble_->reason);
        if (trouble_->wasAvoidable) {
            watcher_.OnNotice(trouble_->reason + ". Fetching all of it.");
        } else {
            retries_.Failed(trouble_->reason, trouble_->pause);
        }
        return false;
    }

    // Those of a request for what is missing.
    std::vector<std::string> Headers() {
        asksForPiece_ = part_.Size() > 0 && mayGoOn_ && (IsKnown() || !etag_.empty());
        if (!asksForPiece_) return {};
        std::vector<std::string> headers = {"Range: bytes=" + std::to_string(part_.Size()) + "-"};
        if (!etag_.empty()) headers.push_back("If-Range: " + etag_);
        return headers;
    }

    // It may have been damaged here or on the way, so that a second time is worth while.
    void RejectContent() {
        const std::string reason = isTooLong_
                                       ? "The server has sent more than the " +
                                             std::to_string(facts_.size) + " bytes of the file"
                                       : "What has arrived is not the file: its SHA-256 is " +
                                             sum_.Digest() + " and should be " + facts_.sha256;
        BeginPart({});
        if (wasWrong_) throw std::runtime_error(reason + ". Nothing of it is kept");
        watcher_.OnNotice(reason + ". Fetching it anew.");
        wasWrong_ = true;
        isTooLong_ = false;
        furthest_ = 0;
    }

    const FileSource& source_;
    FileFacts facts_;
    const std::filesystem::path& destination_;
    DownloadWatcher& watcher_;
    PartFile part_;
    Retries retries_;
    Sha256 sum_;
    std::string etag_;  // with which what is here arrived
    std::int64_t furthest_ = 0;
    std::optional<Trouble> trouble_;
    bool mayGoOn_ = true;        // with what is here
    bool asksForPiece_ = false;  // in the present request
    bool isTooLong_ = false;     // more has arrived than there should be
    bool wasWrong_ = false;      // a first time
};

}  // namespace

FileFacts AskForFile(const FileSource& source, DownloadWatcher& watcher, int tries) {
    Retries retries = RetriesToldTo(watcher, tries);
    for (;;) {
        Question question;
        const HttpFailure end = RequestFile(source, {}, question);
        if (question.facts) return *question.facts;
        const Trouble trouble = question.trouble.value_or(Trouble{end.reason, end.isForGood});
        if (trouble.isForGood) throw std::runtime_error(trouble.reason);
        retries.Failed(trouble.reason, trouble.pause);
    }
}

std::string DownloadFile(const FileSource& source, const FileFacts& facts,
                         const std::filesystem::path& destination, DownloadWatcher& watcher) {
    return ResumableTransfer(source, facts, destination, watcher).Run();
}

}  // namespace vistrel

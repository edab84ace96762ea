// SPDX-License-Identifier: GPL-3.0-or-later
#include "download/model_downloader.h"

#include <pthread.h>

#include <csignal>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "base/new_file.h"
#include "base/text_encoding.h"

namespace vistrel {

namespace {

struct ModelDownloadJob {
    std::wstring destPath;
    ModelDownloader::OnProgress onProgress;
    ModelDownloader::OnFinished onFinished;
};

constexpr int kOk = 200;

void Require(bool succeeded, const std::string& otherwise) {
    if (!succeeded) throw std::runtime_error(otherwise);
}

void CreateFolderOf(const std::filesystem::path& file) {
    const std::filesystem::path folder = file.parent_path();
    if (folder.empty()) return;
    std::error_code code;
    std::filesystem::create_directories(folder, code);
    if (code) throw std::filesystem::filesystem_error("create_directories", folder, code);
}

std::wstring ProgressText(std::int64_t done, std::int64_t total) {
    constexpr std::int64_t kMegabyte = 1'048'576;
    std::wstring text = L"Downloading\u2026 " + std::to_wstring(done / kMegabyte) + L" MB";
    if (total > 0) text += L" / " + std::to_wstring(total / kMegabyte) + L" MB";
    return text;
}

// Gives a failure of `action` the text that the user sees.
template <typename Action>
void TellAs(const std::string& text, const Action& action) {
    try {
        action();
    } catch (const std::system_error&) {
        throw std::runtime_error(text);
    }
}

// The same with the system's reason, such as a full disk, at the end.
template <typename Action>
void TellWithReason(const std::string& text, const Action& action) {
    try {
        action();
    } catch (const std::system_error& failure) {
        throw std::runtime_error(text + ": " + failure.code().message());
    }
}

// One download: from the address to the file in its place.
class Transfer : public HttpReceiver {
  public:
    Transfer(const ModelDownloadJob& job, const std::atomic<bool>& cancelRequested)
        : onProgress_(job.onProgress),
          cancelRequested_(cancelRequested),
          destination_(ToPath(job.destPath)),
          temporary_(destination_.native() + ".tmp") {}

    void Run(const std::string& url, std::unique_ptr<HttpRequest> request) {
        Require(request->ParseUrl(url), "Failed to parse download URL.");
        CreateFolderOf(destination_);
        Require(request->OpenSession(), "WinHttpOpen failed.");
        Require(request->Connect(), "WinHttpConnect failed.");
        Require(request->OpenRequest(), "WinHttpOpenRequest failed.");
        const bool answered = request->Send(*this);
        request.reset();

        if (cancelRequested_) {
            if (file_) file_->Discard();
            throw std::runtime_error("Download cancelled.");
        }
        Require(answered, "HTTP request failed.");
        TakePlace();
    }

    void OnAnswer(int status, std::int64_t length) override {
        Require(status == kOk, "HTTP error: " + std::to_string(status));
        total_ = length;
        TellAs("Cannot create output file: " + temporary_.native(),
               [this] { file_.emplace(destination_, NewFileOptions{.growsAs = temporary_}); });
    }

    void OnBody(std::string_view bytes) override {
        TellWithReason(CannotWrite(), [&] { file_->Append(bytes); });
        downloaded_ += static_cast<std::int64_t>(bytes.size());
        if (!onProgress_) return;
        const double fraction =
            total_ > 0 ? static_cast<double>(downloaded_) / static_cast<double>(total_) : 0.0;
        onProgress_(fraction, ProgressText(downloaded_, total_));
    }

    [[nodiscard]] bool IsCancelled() const override { return cancelRequested_; }

  private:
    [[nodiscard]] std::string CannotWrite() const {
        return "Cannot write output file: " + temporary_.native();
    }

    void TakePlace() {
        TellWithReason(CannotWrite(), [this] { file_->Finish(); });
        // Unlike a file, a folder is not replaced; an empty one can be taken away.
        std::error_code ignored;
        if (std::filesystem::is_directory(std::filesystem::symlink_status(destination_, ignored))) {
            std::filesystem::remove(destination_, ignored);
        }
        TellAs("Failed to move downloaded file: " + destination_.native(),
               [this] { file_->Commit(); });
    }

    const ModelDownloader::OnProgress& onProgress_;
    const std::atomic<bool>& cancelRequested_;
    std::filesystem::path destination_;
    std::filesystem::path temporary_;
    std::optional<NewFile> file_;  // from the answer on
    std::int64_t total_ = 0;       // 0 where it is not known
    std::int64_t downloaded_ = 0;
};

// A write to a connection that is gone shall fail and not end the process.
void HoldBackPipeSignal() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

// Throws only what onFinished throws.
void DownloadModel(ModelDownloader& downloader, const ModelDownloadJob& job) {
    bool success = false;
    std::wstring message;
    try {
        Transfer(job, downloader.cancelRequested).Run(downloader.url, downloader.makeRequest());
        success = true;
        message = job.destPath;
    } catch (const std::exception& failure) {
        message = FromUtf8(failure.what());
    } catch (...) {
        message = L"Unknown error during download.";
    }
    downloader.busy = false;
    if (job.onFinished) job.onFinished(success, message);
}

}  // namespace

ModelDownloader::ModelDownloader(std::string address, HttpRequestMaker requestMaker)
    : url(std::move(address)), makeRequest(std::move(requestMaker)) {}

void ModelDownloader::StartDownload(const std::shared_ptr<ModelDownloader>& downloader,
                                    const std::wstring& destPath, OnProgress onProgress,
                                    OnFinished onFinished) {
    if (downloader->busy.exchange(true)) return;
    downloader->cancelRequested = false;
    try {
        std::thread([downloader, job = ModelDownloadJob{destPath, std::move(onProgress),
                                                        std::move(onFinished)}] {
            HoldBackPipeSignal();
            try {
                DownloadModel(*downloader, job);
            } catch (...) {
                // onFinished itself failed, and nobody else is there to be told.
            }
        }).detach();
    } catch (...) {
        downloader->busy = false;  // nothing runs, so the next start is free to try
        throw;
    }
}

}  // namespace vistrel

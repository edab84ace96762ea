#include "download/model_downloader.h"

#include <pthread.h>

#include <csignal>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

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

// A file that is gone with the object unless it was moved to its place.
class TemporaryFile {
  public:
    explicit TemporaryFile(std::filesystem::path path) : path_(std::move(path)) {}
    ~TemporaryFile() {
        if (!exists_) return;
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    void Create() {
        file_.open(path_, std::ios::binary | std::ios::trunc);
        exists_ = file_.is_open();
        Require(exists_, "Cannot create output file: " + path_.native());
    }

    void Write(std::string_view bytes) {
        file_.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        Require(file_.good(), "Cannot write output file: " + path_.native());
    }

    void Remove() {
        file_.close();
        if (!std::exchange(exists_, false)) return;
        std::error_code code;
        std::filesystem::remove(path_, code);
        if (code) throw std::filesystem::filesystem_error("remove", path_, code);
    }

    // Stays where it is when it cannot be moved.
    void MoveTo(const std::filesystem::path& destination) {
        file_.close();
        Require(!file_.fail(), "Cannot write output file: " + path_.native());
        exists_ = false;
        std::error_code code;
        std::filesystem::rename(path_, destination, code);
        if (!code) return;
        // Unlike a file, a folder is not replaced; an empty one can be taken away.
        if (code == std::errc::is_a_directory) {
            std::error_code ignored;
            std::filesystem::remove(destination, ignored);
            std::filesystem::rename(path_, destination, code);
        }
        Require(!code, "Failed to move downloaded file: " + destination.native());
    }

  private:
    std::filesystem::path path_;
    std::ofstream file_;
    bool exists_ = false;  // made here, and still under its first name
};

// One download: from the address to the file in its place.
class Transfer : public HttpReceiver {
  public:
    Transfer(const ModelDownloadJob& job, const std::atomic<bool>& cancelRequested)
        : onProgress_(job.onProgress),
          cancelRequested_(cancelRequested),
          destination_(ToPath(job.destPath)),
          file_(destination_.native() + ".tmp") {}

    void Run(const std::string& url, std::unique_ptr<HttpRequest> request) {
        Require(request->ParseUrl(url), "Failed to parse download URL.");
        CreateFolderOf(destination_);
        Require(request->OpenSession(), "WinHttpOpen failed.");
        Require(request->Connect(), "WinHttpConnect failed.");
        Require(request->OpenRequest(), "WinHttpOpenRequest failed.");
        const bool answered = request->Send(*this);
        request.reset();

        if (cancelRequested_) {
            file_.Remove();
            throw std::runtime_error("Download cancelled.");
        }
        Require(answered, "HTTP request failed.");
        file_.MoveTo(destination_);
    }

    void OnAnswer(int status, std::int64_t length) override {
        Require(status == kOk, "HTTP error: " + std::to_string(status));
        total_ = length;
        file_.Create();
    }

    void OnBody(std::string_view bytes) override {
        file_.Write(bytes);
        downloaded_ += static_cast<std::int64_t>(bytes.size());
        if (!onProgress_) return;
        const double fraction =
            total_ > 0 ? static_cast<double>(downloaded_) / static_cast<double>(total_) : 0.0;
        onProgress_(fraction, ProgressText(downloaded_, total_));
    }

    [[nodiscard]] bool IsCancelled() const override { return cancelRequested_; }

  private:
    const ModelDownloader::OnProgress& onProgress_;
    const std::atomic<bool>& cancelRequested_;
    std::filesystem::path destination_;
    TemporaryFile file_;
    std::int64_t total_ = 0;  // 0 where it is not known
    std::int64_t downloaded_ = 0;
};

// A write past a size limit, or to a connection that is gone, shall fail and not end the process.
void HoldBackWriteSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    sigaddset(&signals, SIGXFSZ);
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
            HoldBackWriteSignals();
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

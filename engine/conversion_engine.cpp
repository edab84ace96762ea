#include "engine/conversion_engine.h"

#include <malloc.h>

#include <cstdint>
#include <exception>
#include <filesystem>
#include <system_error>
#include <thread>
#include <utility>

#include "base/text_encoding.h"
#include "engine/exif_orientation.h"
#include "engine/image_loading.h"
#include "engine/splat_ply.h"
#include "engine/unprojection.h"

namespace vistrel {

struct ConversionEngine::Shared {
    std::atomic<bool> busy = false;             // atomic
    std::atomic<bool> cancelRequested = false;  // atomic
    // Replaced and copied only by clients and by the calls that start a run; no thread of a run
    // touches them.
    std::function<void(const std::wstring&)> onProgress;
    std::function<void(bool, const std::wstring&)> onFinished;
    ProviderList providers;  // constant after construction

    struct Job {
        std::function<void(const std::wstring&)> onProgress;
        std::function<void(bool, const std::wstring&)> onFinished;
        std::wstring modelPath;
        std::wstring inputPath;
        std::wstring outputPath;
        float keepRatio;
        ExecutionProvider provider;
    };

    bool Run(const Job& job) const;

  private:
    void Convert(const Job& job) const;
    static void Report(const Job& job, const std::wstring& stage) {
        if (job.onProgress) job.onProgress(stage);
    }
    static bool Fail(const Job& job, const std::wstring& message) {
        if (job.onFinished) job.onFinished(false, message);
        return false;
    }
};

namespace {

// The standard library puts words of its own before the operation's name; users and callers see
// the operation first.
class CreateDirectoriesError : public std::filesystem::filesystem_error {
  public:
    CreateDirectoriesError(const std::filesystem::path& folder, std::error_code code)
        : filesystem_error("create_directories", folder, code),
          text_("create_directories: " + code.message() + ": \"" + folder.native() + '"') {}

    [[nodiscard]] const char* what() const noexcept override { return text_.c_str(); }

  private:
    std::string text_;
};

// By itself the C library learns from large buffers that come and go and keeps their memory for the
// next ones, which then rarely fit: with every picture some more may stay. A fixed limit gives such
// buffers back to the system at once.
void GiveBackLargeBuffers() {
    constexpr int kLarge = 4 * 1024 * 1024;
    mallopt(M_MMAP_THRESHOLD, kLarge);
}

}  // namespace

void CreateOutputFolder(const std::wstring& outputPath) {
    const std::filesystem::path folder = ToPath(outputPath).parent_path();
    if (folder.empty()) return;
    std::error_code code;
    std::filesystem::create_directories(folder, code);
    if (code) throw CreateDirectoriesError(folder, code);
}

void ConversionEngine::Shared::Convert(const Job& job) const {
    Report(job, L"Preprocessing image\u2026");
    PreprocessedImage image = LoadAndPreprocess(job.inputPath, ReadExifOrientation(job.inputPath));

    const bool cuda = job.provider == ExecutionProvider::Cuda;
    Report(job, std::wstring(L"Running ONNX inference (") + (cuda ? L"CUDA" : L"CPU") + L")\u2026");
    constexpr float kDisparityFactor = 1.0F;
    GaussianSet gaussians =
        RunSharpInference(job.modelPath, image, kDisparityFactor, job.provider, providers);
    image.tensor = {};  // 28 MB that no later stage needs

    Report(job, L"Unprojecting Gaussians\u2026");
    UnprojectGaussians(gaussians, image.focalPx, image.width, image.height, kNetworkSide);

    Report(job, L"Saving PLY\u2026");
    WriteSplatPly(gaussians, job.outputPath, image.focalPx, static_cast<std::uint32_t>(image.width),
                  static_cast<std::uint32_t>(image.height), job.keepRatio);
}

bool ConversionEngine::Shared::Run(const Job& job) const {
    try {
        Convert(job);
        if (job.onFinished) job.onFinished(true, job.outputPath);
        return true;
    } catch (const std::exception& failure) {
        return Fail(job, FromUtf8(failure.what()));
    } catch (...) {
        return Fail(job, L"Unknown error during inference.");
    }
}

ConversionEngine::ConversionEngine(std::shared_ptr<Shared> shared)
    : shared_(std::move(shared)),
      busy(shared_->busy),
      cancelRequested(shared_->cancelRequested),
      onProgress(shared_->onProgress),
      onFinished(shared_->onFinished) {}

ConversionEngine::ConversionEngine(ProviderList providers)
    : ConversionEngine(std::make_shared<Shared>()) {
    shared_->providers = std::move(providers);
    GiveBackLargeBuffers();
}

ConversionEngine::~ConversionEngine() = default;

std::unique_ptr<ConversionEngine> ConversionEngine::Share() const {
    return std::unique_ptr<ConversionEngine>(new ConversionEngine(shared_));
}

bool ConversionEngine::Run(const std::wstring& modelPath, const std::wstring& inputPath,
                           const std::wstring& outputPath, float keepRatio,
                           ExecutionProvider provider) {
    return shared_->Run(
        {onProgress, onFinished, modelPath, inputPath, outputPath, keepRatio, provider});
}

bool ConversionEngine::StartAsync(const std::wstring& modelPath, const std::wstring& inputPath,
                                  const std::wstring& outputPath, float keepRatio,
                                  ExecutionProvider provider) {
    if (busy.exchange(true)) return false;
    cancelRequested = false;
    CreateOutputFolder(outputPath);
    try {
        std::thread([shared = shared_,
                     job = Shared::Job{onProgress, onFinished, modelPath, inputPath, outputPath,
                                       keepRatio, provider}] {
            try {
                shared->Run(job);
            } catch (...) {
                // onFinished itself failed, and nobody else is there to be told.
            }
            shared->busy = false;
        }).detach();
    } catch (...) {
        busy = false;  // nothing runs, so the next start is free to try
        throw;
    }
    return true;
}

}  // namespace vistrel

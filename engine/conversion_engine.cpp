// SPDX-License-Identifier: GPL-3.0-or-later
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

ConversionEngine::ConversionEngine(ProviderList providers, PhotographReader reader,
                                   GaussianWriter writer)
    : providers_(std::move(providers)),
      reader_(std::move(reader)),
      writer_(writer ? std::move(writer) : WriteSplatPly) {
    GiveBackLargeBuffers();
}

void ConversionEngine::Convert(const ConversionJob& job,
                               const ConversionCallbacks& callbacks) const {
    const auto report = [&callbacks](const std::wstring& stage) {
        if (callbacks.onProgress) callbacks.onProgress(stage);
    };
    report(L"Preprocessing image\u2026");
    PreprocessedImage image =
        reader_ ? Preprocess(reader_(job.inputPath), job.inputPath)
                : LoadAndPreprocess(job.inputPath, ReadExifOrientation(job.inputPath));

    const bool cuda = job.provider == ExecutionProvider::Cuda;
    report(std::wstring(L"Running ONNX inference (") + (cuda ? L"CUDA" : L"CPU") + L")\u2026");
    const float disparityFactor = image.focalPx / static_cast<float>(image.width);
    GaussianSet gaussians = RunSharpInference(job.modelPath, image, disparityFactor, job.provider,
                                              providers_, callbacks.onNetworkOpened);
    image.tensor = {};  // 28 MB that no later stage needs

    report(L"Unprojecting Gaussians\u2026");
    UnprojectGaussians(gaussians, image.focalPx, image.width, image.height, kNetworkSide);

    report(L"Saving PLY\u2026");
    writer_(gaussians, job.outputPath, image.focalPx, static_cast<std::uint32_t>(image.width),
            static_cast<std::uint32_t>(image.height), job.keepRatio);
}

bool ConversionEngine::Run(const ConversionJob& job, const ConversionCallbacks& callbacks) const {
    const auto fail = [&callbacks](const std::wstring& message) {
        if (callbacks.onFinished) callbacks.onFinished(false, message);
        return false;
    };
    try {
        Convert(job, callbacks);
        if (callbacks.onFinished) callbacks.onFinished(true, job.outputPath);
        return true;
    } catch (const ModelFileError& failure) {
        if (callbacks.onModelFileError) callbacks.onModelFileError();
        return fail(FromUtf8(failure.what()));
    } catch (const std::exception& failure) {
        return fail(FromUtf8(failure.what()));
    } catch (...) {
        return fail(L"Unknown error during inference.");
    }
}

bool ConversionEngine::StartAsync(const std::shared_ptr<ConversionEngine>& engine,
                                  ConversionJob job, ConversionCallbacks callbacks) {
    if (engine->busy.exchange(true)) return false;
    engine->cancelRequested = false;
    CreateOutputFolder(job.outputPath);
    try {
        std::thread([engine, job = std::move(job), callbacks = std::move(callbacks)] {
            try {
                engine->Run(job, callbacks);
            } catch (...) {
                // onFinished itself failed, and nobody else is there to be told.
            }
            engine->busy = false;
        }).detach();
    } catch (...) {
        engine->busy = false;  // nothing runs, so the next start is free to try
        throw;
    }
    return true;
}

}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
#include "batch/batch_converter.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <exception>
#include <filesystem>
#include <iterator>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include "base/text_encoding.h"

namespace vistrel {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::array<std::wstring_view, 5> kExtensions = {L".jpg", L".jpeg", L".png", L".bmp",
                                                          L".webp"};

wchar_t AsciiLower(wchar_t character) {
    const bool upper = character >= L'A' && character <= L'Z';
    return upper ? static_cast<wchar_t>(character - L'A' + L'a') : character;
}

// Nothing when the disk does not tell. A name that cannot be used counts as free: writing to it
// tells better what is wrong with it.
std::optional<bool> Exists(const std::wstring& path) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(ToPath(path), error);
    for (const std::errc unusable : {std::errc::permission_denied, std::errc::filename_too_long,
                                     std::errc::too_many_symbolic_link_levels}) {
        if (error == unusable) return false;
    }
    if (!std::filesystem::status_known(status)) return std::nullopt;
    return std::filesystem::exists(status);
}

// Whether writing there may cost a file.
bool MayExist(const std::wstring& path) {
    return Exists(path).value_or(true);
}

// In the order of the listing. Throws std::filesystem::filesystem_error.
std::vector<std::wstring> PhotographsOf(const std::wstring& folder) {
    std::vector<std::wstring> found;
    for (const auto& entry : std::filesystem::directory_iterator(ToPath(folder))) {
        // Asked of every entry, so that a folder that cannot be read in full is never taken in
        // part.
        const bool regular = entry.is_regular_file();
        if (regular && IsSupportedImageExtension(FromPath(entry.path().extension()))) {
            found.push_back(FromPath(entry.path()));
        }
    }
    return found;
}

std::wstring PlainOutputPath(const std::wstring& photograph, const std::wstring& folder) {
    std::filesystem::path name = ToPath(photograph).stem();
    name += kBatchEnding;
    return FromPath(ToPath(folder) / name);
}

std::int32_t SecondsSince(Clock::time_point start) {
    const auto passed = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - start);
    return static_cast<std::int32_t>(passed.count());
}

void Report(const BatchConverter& batch, const BatchProgressInfo& info) {
    if (batch.onProgress) batch.onProgress(info);
}

BatchConflictPolicy DecidePolicy(const BatchConverter& batch,
                                 const std::vector<std::wstring>& photographs,
                                 const std::wstring& outputDir) {
    const bool conflict = std::ranges::any_of(photographs, [&](const std::wstring& photograph) {
        return MayExist(PlainOutputPath(photograph, outputDir));
    });
    return conflict && batch.onConflict ? batch.onConflict(L"") : BatchConflictPolicy::OverwriteAll;
}

// Makes a report of every stage of the file that `info` names. Both arguments outlive the file.
std::function<void(const std::wstring&)> StageReports(const BatchConverter& batch,
                                                      BatchProgressInfo& info) {
    return [&batch, &info, start = Clock::now()](const std::wstring& /*stage*/) {
        info.elapsedSeconds = SecondsSince(start);
        Report(batch, info);
    };
}

}  // namespace

bool IsSupportedImageExtension(std::wstring_view extension) {
    return std::ranges::any_of(kExtensions, [&](std::wstring_view one) {
        return std::ranges::equal(one, extension, {}, {}, AsciiLower);
    });
}

std::wstring MakeUniqueOutputPath(const std::wstring& path, const std::string& ending) {
    constexpr int kMostDoubts = 3;  // of a disk that never tells the search would have no end
    const std::filesystem::path plain = ToPath(path);
    const std::string whole = plain.filename();
    const bool isWhole = whole.size() > ending.size() && whole.ends_with(ending);
    const std::string extension = isWhole ? ending : plain.extension().native();
    const std::string stem = whole.substr(0, whole.size() - extension.size());
    int doubts = 0;
    for (std::int64_t number = 1;; ++number) {
        const std::string name = stem + '(' + std::to_string(number) + ')' + extension;
        std::wstring candidate = FromPath(plain.parent_path() / name);
        const std::optional<bool> exists = Exists(candidate);
        if (!exists) ++doubts;
        if (exists == false || doubts == kMostDoubts) return candidate;
    }
}

std::wstring FreeOutputPath(const std::wstring& path, const std::string& ending) {
    return MayExist(path) ? MakeUniqueOutputPath(path, ending) : path;
}

std::wstring BatchOutputPath(const std::wstring& photograph, const std::wstring& outputDir,
                             BatchConflictPolicy policy) {
    const std::wstring plain = PlainOutputPath(photograph, outputDir);
    return policy == BatchConflictPolicy::RenameAll ? FreeOutputPath(plain) : plain;
}

BatchConverter::BatchConverter(std::shared_ptr<const ConversionEngine> engine)
    : engine_(std::move(engine)) {}

void BatchConverter::Run(const std::wstring& modelPath, const std::wstring& inputDir,
                         const std::wstring& outputDir, std::int32_t provider) {
    cancelRequested = false;
    std::vector<std::wstring> photographs;
    try {
        photographs = PhotographsOf(inputDir);
    } catch (const std::exception&) {
        Report(*this, {.errorMessage = L"Failed to scan input directory."});
        return;
    }
    if (photographs.empty()) {
        Report(*this, {.completed = true});
        return;
    }
    const BatchConflictPolicy policy = DecidePolicy(*this, photographs, outputDir);
    if (policy == BatchConflictPolicy::CancelBatch) {
        Report(*this, {.cancelled = true});
        return;
    }

    BatchProgressInfo info{.total = static_cast<std::int32_t>(photographs.size())};
    for (const std::wstring& photograph : photographs) {
        if (cancelRequested) break;
        const ConversionJob job{.modelPath = modelPath,
                                .inputPath = photograph,
                                .outputPath = BatchOutputPath(photograph, outputDir, policy),
                                .provider = ExecutionProvider{provider}};
        ++info.current;
        info.fileName = FromPath(ToPath(photograph).filename());
        try {
            engine_->Run(job, {StageReports(*this, info), onFileFinished});
        } catch (...) {
            // onFileFinished failed to take in a failure; the other photographs can do without.
        }
    }
    const bool cancelled = cancelRequested;
    Report(*this, {.completed = !cancelled, .cancelled = cancelled});
}

}  // namespace vistrel

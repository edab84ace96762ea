// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/fetch/gpu_download.h"

#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "base/text_encoding.h"
#include "base/user_folders.h"
#include "cli/fetch/gpu_packages.h"
#include "cli/fetch/transfer_display.h"
#include "download/resumable_download.h"
#include "download/sha256.h"

namespace vistrel {
namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kBytesPerMegabyte = 1'000'000;

FileSource SourceOf(const GpuPackage& package, const GpuOptions& options) {
    FileSource source;
    source.url = options.url.empty() ? package.url : options.url;
    const char* const authorities = std::getenv("SSL_CERT_FILE");
    if (authorities != nullptr) source.http.authorities = authorities;
    return source;
}

}  // namespace

fs::path DownloadGpuPackage(const GpuOptions& options, LongStep& step) {
    const GpuPackage* const package = GpuPackageForCuda(options.cuda);
    if (package == nullptr) throw std::runtime_error("There is no package for that CUDA.");
    const fs::path file = ToPath(RuntimeFolder()).parent_path() / package->file;
    step.Begin("Comparing what is there\u2026");
    if (fs::exists(file) && Sha256OfFile(file).Digest() == package->sha256) return file;
    step.Begin("");
    TransferDisplay display(step);
    const FileSource source = SourceOf(*package, options);
    display.OnNotice("Fetching ONNX Runtime " + std::string(package->version) + " for CUDA " +
                     std::to_string(package->cuda) + ", " +
                     std::to_string(package->bytes / kBytesPerMegabyte) + " MB, from " +
                     source.url + ".");
    FileFacts facts = AskForFile(source, display);
    facts.sha256 = package->sha256;
    static_cast<void>(DownloadFile(source, facts, file, display));
    return file;
}

}  // namespace vistrel

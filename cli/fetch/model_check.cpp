// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdlib>
#include <exception>
#include <optional>
#include <stdexcept>

#include "cli/command.h"
#include "cli/fetch/checksum_file.h"
#include "cli/fetch/model_file.h"
#include "cli/fetch/model_source.h"
#include "cli/fetch/transfer_display.h"
#include "cli/long_work.h"
#include "download/part_file.h"
#include "download/resumable_download.h"
#include "download/sha256.h"

namespace vistrel {
namespace {

namespace fs = std::filesystem;

// The file that `part` is to become; empty: this is no part.
fs::path WholeNameOf(const fs::path& part) {
    fs::path whole = part;
    whole.replace_extension();
    return PartNameOf(whole) == part ? whole : fs::path();
}

std::string BytesOf(std::int64_t size, std::int64_t of) {
    return std::to_string(size) + " of " + std::to_string(of) + " bytes";
}

// What is wrong with the file; empty: it is whole.
std::string FaultOf(const fs::path& file, const FileFacts& facts, DownloadWatcher& watcher) {
    const auto size = static_cast<std::int64_t>(fs::file_size(file));
    if (facts.size > 0 && size < facts.size) return "too short: " + BytesOf(size, facts.size);
    if (facts.size > 0 && size > facts.size) return "too long: " + BytesOf(size, facts.size);
    if (facts.sha256.empty()) return "nobody can tell: there is no SHA-256 to compare it with";
    watcher.OnStep("Reading the file\u2026");
    const std::string sum = Sha256OfFile(file).Digest();
    watcher.OnStep("");
    if (sum == facts.sha256) return {};
    return "other content: its SHA-256 is " + sum + " and should be " + facts.sha256;
}

// What the file should be: as the server has it, or as it was when it was fetched.
FileFacts FactsOf(const fs::path& file, const FileSource& source, DownloadWatcher& watcher) {
    FileFacts facts;
    try {
        facts = AskForFile(source, watcher, Retries::kHasty);
    } catch (const std::runtime_error& failure) {
        watcher.OnNotice(std::string(failure.what()) + ".");
    }
    if (facts.sha256.empty()) {
        facts.sha256 = ReadChecksum(file);
        if (!facts.sha256.empty()) {
            watcher.OnNotice("Compared with what was noted when it was fetched.");
        }
    }
    return facts;
}

std::string FaultOfPart(const fs::path& part, const fs::path& whole) {
    const auto size = static_cast<std::int64_t>(fs::file_size(part));
    const std::optional<PartOrigin> origin = ReadPartOrigin(whole);
    const std::int64_t expected = origin ? origin->size : 0;
    if (expected == 0) return "a part: " + std::to_string(size) + " bytes";
    return "a part: " + BytesOf(size, expected) + "; `vistrel-fetch model` goes on with it";
}

}  // namespace

int CheckModel(const ModelFetchOptions& options, const fs::path& file) {
    const FileSource source = ModelSource(options);
    if (!fs::is_regular_file(file)) throw std::runtime_error(file.native() + ": no such file");
    std::string fault;
    RunLongWork(
        [&](LongStep& step) {
            TransferDisplay display(step);
            const fs::path whole = WholeNameOf(file);
            fault = whole.empty() ? FaultOf(file, FactsOf(file, source, display), display)
                                  : FaultOfPart(file, whole);
        },
        EndUnfinished);
    Tell(file.native() + ": " + (fault.empty() ? "whole" : fault));
    return fault.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace vistrel

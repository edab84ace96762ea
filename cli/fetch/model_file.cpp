// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/fetch/model_file.h"

#include <cstdlib>
#include <stdexcept>
#include <system_error>

#include "base/text_encoding.h"
#include "base/user_folders.h"
#include "cli/chosen_model.h"
#include "cli/command.h"
#include "cli/fetch/checksum_file.h"
#include "cli/fetch/licence.h"
#include "cli/fetch/model_source.h"
#include "cli/fetch/transfer_display.h"
#include "cli/long_work.h"
#include "download/resumable_download.h"
#include "download/sha256.h"

namespace vistrel {
namespace {

namespace fs = std::filesystem;

// With links resolved, since the file is to lie where they lead, not in their place.
fs::path Destination(const ModelFetchOptions& options, const FileSource& source) {
    const fs::path folder =
        options.folder.empty() ? ToPath(ModelFile()).parent_path() : options.folder;
    fs::create_directories(folder);
    fs::path file = fs::weakly_canonical(fs::absolute(folder / FileNameIn(source.url)));
    if (fs::is_directory(file)) throw std::runtime_error(file.native() + ": this is a folder");
    return file;
}

// The checksum by which `file` is known to be what `facts` describe; empty: it is not, or nobody
// can tell.
std::string SumOfTheSame(const fs::path& file, const FileFacts& facts, DownloadWatcher& watcher) {
    if (facts.size > 0 && static_cast<std::uintmax_t>(facts.size) != fs::file_size(file)) return {};
    const std::string expected = facts.sha256.empty() ? ReadChecksum(file) : facts.sha256;
    if (expected.empty()) return {};
    watcher.OnStep("Comparing what is there\u2026");
    const std::string sum = Sha256OfFile(file).Digest();
    watcher.OnStep("");
    return sum == expected ? sum : std::string();
}

void FetchTo(const fs::path& file, const FileSource& source, DownloadWatcher& watcher) {
    const FileFacts facts = AskForFile(source, watcher);
    if (fs::exists(file)) {
        const std::string sum = SumOfTheSame(file, facts, watcher);
        if (!sum.empty()) {
            WriteChecksum(file, sum);
            watcher.OnNotice(file.native() + " is there already, whole.");
            return;
        }
        watcher.OnNotice(file.native() +
                         " is not what the server has. It stays until the new one is whole.");
    }
    const std::string sum = DownloadFile(source, facts, file, watcher);
    WriteChecksum(file, sum);
    if (facts.sha256.empty()) {
        watcher.OnNotice(
            "The server has not told what its content should be: nobody can tell "
            "whether it is the right one.");
    }
    watcher.OnNotice(file.native() + " is there, SHA-256 " + sum + ".");
}

}  // namespace

int FetchModel(const ModelFetchOptions& options) {
    const FileSource source = ModelSource(options);
    if (!options.licenceAccepted) {
        if (const std::optional<int> status = RefusalOfLicence()) return *status;
    }
    RunLongWork(
        [&](LongStep& step) {
            TransferDisplay display(step);
            const fs::path file = Destination(options, source);
            FetchTo(file, source, display);
            if (options.select) ChooseModel(file);
        },
        [](int signal) {
            EraseTransferLine();
            Tell("What has arrived is kept: the same command goes on from there.");
            EndUnfinished(signal);
        });
    return EXIT_SUCCESS;
}

}  // namespace vistrel

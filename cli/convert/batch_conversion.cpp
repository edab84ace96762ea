// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/convert/batch_conversion.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/text_encoding.h"
#include "cli/command.h"
#include "cli/convert/batch_run.h"
#include "cli/convert/chosen_network.h"
#include "cli/convert/conversion_list.h"
#include "engine/conversion_engine.h"

namespace vistrel {
namespace {

// Where the disk does not tell, the conversion finds out.
bool MayBeMissing(const ListedFile& file) {
    try {
        return !IsThere(file.output);
    } catch (const std::filesystem::filesystem_error&) {
        return true;
    }
}

// Leaves the files that are to be converted. Returns an exit status where others are in their way;
// everything was said. Throws std::filesystem::filesystem_error.
std::optional<int> ResolveConflicts(const ConvertOptions& options, Batch& batch) {
    const ManyOptions& many = options.many;
    if (many.onConflict == ConflictChoice::Overwrite) {
        const std::filesystem::path lost = OutputThatIsAnInput(batch.files, options.model);
        if (!lost.empty()) {
            Tell(lost.native() + " would overwrite a photograph, a scene or the MODEL.");
            return kWrongUsage;
        }
    }
    TakePart(many.part, batch.files);
    if (many.onConflict == ConflictChoice::Cancel &&
        std::ranges::any_of(batch.files,
                            [](const ListedFile& file) { return IsThere(file.output); })) {
        Tell("Output files already exist in " + many.outputDir.native() +
             "; nothing was converted. Choose --on-conflict skip to keep them and convert the "
             "others, overwrite to replace them or rename to keep both.");
        return EXIT_FAILURE;
    }
    if (many.onConflict == ConflictChoice::Skip) {
        batch.counts.skipped = static_cast<int>(
            std::erase_if(batch.files, [](const ListedFile& file) { return !MayBeMissing(file); }));
    }
    return {};
}

void TellUnread(const std::vector<UnreadPlace>& unread, const BatchReport* report) {
    for (const UnreadPlace& place : unread) {
        Tell("Error: " + place.path.native() + ": " + place.reason);
        if (report != nullptr) report->Add({.input = place.path, .error = place.reason});
    }
}

}  // namespace

int ConvertMany(ConvertOptions options) {
    ConversionList list;
    try {
        list = ListConversions(options.many);
    } catch (const WrongList& wrong) {
        Tell(wrong.what());
        return kWrongUsage;
    }
    Batch batch = {.files = std::move(list.files)};
    const bool needsNetwork =
        !options.many.inputDir.empty() || !std::ranges::all_of(batch.files, &ListedFile::isScene);
    if (needsNetwork && !FindNetwork(options)) return kWrongUsage;
    if (const auto status = ResolveConflicts(options, batch)) return *status;
    if (!batch.files.empty()) CreateOutputFolder(FromPath(options.many.outputDir / ""));
    if (!options.many.report.empty()) {
        batch.report = std::make_unique<BatchReport>(options.many.report);
    }
    TellUnread(list.unread, batch.report.get());
    batch.counts.failed = static_cast<int>(list.unread.size());
    return RunBatch(options, batch) ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace vistrel

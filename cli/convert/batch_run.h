// SPDX-License-Identifier: GPL-3.0-or-later
// A batch from its first file to its end.
#pragma once

#include <memory>
#include <vector>

#include "cli/convert/batch_end.h"
#include "cli/convert/batch_report.h"
#include "cli/convert/conversion_list.h"
#include "cli/convert/options.h"

namespace vistrel {

struct Batch {
    std::vector<ListedFile> files;
    BatchCounts counts = {};                         // of what is not among the files
    std::unique_ptr<const BatchReport> report = {};  // null: none is asked for
};

// Converts the files one after the other, tells about them on standard error, and does what is to
// follow. The first SIGINT, SIGTERM or SIGHUP ends it after the current file, the second ends the
// process at once. `options` have a network where there is a photograph. Returns whether all was
// converted and nothing failed, before or afterwards. Main thread, before any other has started.
[[nodiscard]] bool RunBatch(const ConvertOptions& options, const Batch& batch);

}  // namespace vistrel

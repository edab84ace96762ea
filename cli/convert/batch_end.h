// SPDX-License-Identifier: GPL-3.0-or-later
// What a batch sets off when it has come to its end.
#pragma once

#include <filesystem>
#include <string>

#include "cli/interrupts.h"

namespace vistrel {

struct BatchCounts {
    int converted = 0;
    int failed = 0;   // folders that could not be read among them
    int skipped = 0;  // were there already
};

// Has the shell run `command`, with the counts in VISTREL_CONVERTED, VISTREL_FAILED and
// VISTREL_SKIPPED and the folder in VISTREL_OUTPUT_DIR, and waits for its end; signals go on to
// it. Empty where it has ended well, or else what went wrong, for the user. Main thread.
[[nodiscard]] std::string RunShellCommand(const std::string& command, const BatchCounts& counts,
                                          const std::filesystem::path& outputDir,
                                          Interrupts& interrupts);

// Has the desktop show a text; nothing happens where there is none, or where it does not answer
// soon. The text has only letters, figures, blanks, commas and full stops. Main thread.
void NotifyDesktop(const std::string& text);

}  // namespace vistrel

// SPDX-License-Identifier: GPL-3.0-or-later
// The trace of a conversion on standard output. Two formats, one level, no file.
//
// Both writers may be called from any thread. Each line is handed to the stream in one piece;
// nothing is flushed.
#pragma once

#include <string_view>

namespace vistrel {

// "%Y-%m-%d %H:%M:%S - INFO - " (local time), the message, a line feed.
void LogInfo(std::string_view message);

// "INFO - ", the message in UTF-8, a line feed; for messages that hold file paths.
void LogInfoWide(std::wstring_view message);

}  // namespace vistrel

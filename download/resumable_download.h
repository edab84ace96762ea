// SPDX-License-Identifier: GPL-3.0-or-later
// A download that goes on where an earlier one broke off, and knows whether the file is the right
// one.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>

#include "download/file_request.h"
#include "download/retries.h"

namespace vistrel {

// What goes on, on the thread that downloads.
class DownloadWatcher {
  public:
    virtual ~DownloadWatcher() = default;

    // After every piece. `size` is 0 where it is not known.
    virtual void OnProgress(std::int64_t done, std::int64_t size) = 0;
    // Something that the user may wonder about, as a sentence.
    virtual void OnNotice(const std::string& sentence) = 0;
    // A step without progress begins, which may take long; empty: it has ended.
    virtual void OnStep(const std::string& name) = 0;
    // Returns when the time has passed.
    virtual void Pause(std::chrono::seconds time) = 0;
};

// How a server tells one file from another.
struct FileFacts {
    std::int64_t size = 0;  // bytes; 0: not known
    std::string sha256{};   // 64 small hexadecimal digits, or empty: not known
    std::string etag{};     // a strong one, or empty
};

// Asks without fetching; gives up after `tries` failures that may pass. Throws std::runtime_error
// with the reason.
[[nodiscard]] FileFacts AskForFile(const FileSource& source, DownloadWatcher& watcher,
                                   int tries = Retries::kPatient);

// Fetches the file that `facts` describe to `destination`, whose folder is there, and which appears
// whole or not at all; a former file stays until then. Begins with what an earlier call has left in
// the part beside it, if that is of the same file. Where the checksum is known, a file that has
// another one is fetched anew, once; where it is not, the size counts alone. Returns the checksum
// of what is there now.
//
// Throws std::runtime_error: PartIsBusy, or the reason. What has arrived by then is kept for the
// next call unless it is wrong.
[[nodiscard]] std::string DownloadFile(const FileSource& source, const FileFacts& facts,
                                       const std::filesystem::path& destination,
                                       DownloadWatcher& watcher);

}  // namespace vistrel

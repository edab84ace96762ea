// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/convert/photograph_folder.h"

#include <algorithm>
#include <iterator>
#include <system_error>

#include "base/scene_kind.h"

namespace vistrel {
namespace {

bool HasPhotographEnding(const std::filesystem::path& name) {
    return std::ranges::find(kPhotographEndings, SmallEnding(name)) != kPhotographEndings.end();
}

class Search {
  public:
    Search(const std::filesystem::path& top, bool isRecursive, const std::filesystem::path& leftOut)
        : top_(top), isRecursive_(isRecursive), leftOut_(leftOut) {}

    FoundPhotographs Run() {
        // Relative to the top; a tree may be too deep for calls within calls.
        folders_.emplace_back();
        while (!folders_.empty()) {
            const std::filesystem::path folder = std::move(folders_.back());
            folders_.pop_back();
            Read(folder);
        }
        std::ranges::sort(found_.photographs, {}, &std::filesystem::path::native);
        std::ranges::sort(found_.unread, {},
                          [](const UnreadPlace& place) { return place.path.native(); });
        return std::move(found_);
    }

  private:
    // `place` is relative to the top.
    void Note(const std::filesystem::path& place, const std::error_code& error) {
        found_.unread.push_back({place.empty() ? top_ : top_ / place, error.message()});
    }

    void Read(const std::filesystem::path& folder) {
        std::error_code error;
        std::vector<std::filesystem::directory_entry> entries;
        for (std::filesystem::directory_iterator entry(top_ / folder, error), end;
             !error && entry != end; entry.increment(error)) {
            entries.push_back(*entry);
        }
        if (error) return Note(folder, error);
        for (const std::filesystem::directory_entry& entry : entries) {
            Take(entry, folder / entry.path().filename());
        }
    }

    void Take(const std::filesystem::directory_entry& entry, const std::filesystem::path& place) {
        std::error_code error;
        if (std::filesystem::is_directory(entry.symlink_status(error))) {
            if (isRecursive_ && !IsLeftOut(entry.path())) folders_.push_back(place);
            return;
        }
        if (!HasPhotographEnding(place)) return;
        if (entry.is_regular_file(error)) {
            found_.photographs.push_back(place);
        } else if (error && error != std::errc::no_such_file_or_directory) {
            Note(place, error);
        }
    }

    [[nodiscard]] bool IsLeftOut(const std::filesystem::path& folder) const {
        std::error_code ignored;
        return std::filesystem::equivalent(folder, leftOut_, ignored);
    }

    const std::filesystem::path& top_;
    const bool isRecursive_;
    const std::filesystem::path& leftOut_;
    std::vector<std::filesystem::path> folders_;  // yet to be read
    FoundPhotographs found_;
};

}  // namespace

FoundPhotographs FindPhotographs(const std::filesystem::path& folder, bool isRecursive,
                                 const std::filesystem::path& leftOut) {
    return Search(folder, isRecursive, leftOut).Run();
}

}  // namespace vistrel

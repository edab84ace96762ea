// SPDX-License-Identifier: GPL-3.0-or-later
// What every command does around its work.
#pragma once

#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>

namespace vistrel {

inline constexpr int kWrongUsage = 2;  // exit status

// A line on standard error. Any thread.
void Tell(const std::string& line);

// Runs `work` and returns the exit status: its own, or 1 with "Error: " and the reason on standard
// error when it throws, and when something that was printed did not reach standard output; the
// reason is kept as well. A reader of the output that goes away does not stop the work. Main
// thread, before any other has started.
[[nodiscard]] int RunCommand(const std::function<int()>& work);

// What `work` returns. Where it throws a std::runtime_error, its text has the file's name before
// it. Any thread.
template <typename Work>
auto WithName(const std::filesystem::path& file, const Work& work) {
    try {
        return work();
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(file.native() + ": " + error.what());
    }
}

}  // namespace vistrel

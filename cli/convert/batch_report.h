// SPDX-License-Identifier: GPL-3.0-or-later
// What became of each file of a batch, as a table for other programs.
#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace vistrel {

struct ReportLine {
    std::filesystem::path input;
    std::filesystem::path output = {};
    std::optional<std::chrono::duration<double>> taken = {};
    std::optional<std::size_t> gaussians = {};
    std::string error = {};
};

// Tabs between the values; in them a tab, a line break and a backslash are \t, \n or \r, and \\.
// With a line break at the end. Any thread.
[[nodiscard]] std::string ReportText(const ReportLine& line);

// One thread.
class BatchReport {
  public:
    // Goes on with a report that is there already, or begins one with a line of headings. Throws
    // std::runtime_error, with the text for the user, where that cannot be, and where the file is
    // something else.
    explicit BatchReport(const std::filesystem::path& path);
    ~BatchReport();
    BatchReport(const BatchReport&) = delete;
    BatchReport& operator=(const BatchReport&) = delete;

    // The line is in the file at the end, as a whole. Throws as the constructor does.
    void Add(const ReportLine& line) const;

  private:
    void Begin() const;
    void Write(std::string_view text) const;
    [[noreturn]] void Fail() const;

    const std::filesystem::path path_;
    const int file_;
};

}  // namespace vistrel

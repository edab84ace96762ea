// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/last_failure.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <filesystem>
#include <regex>
#include <system_error>
#include <vector>

#include "base/new_file.h"
#include "base/text_encoding.h"
#include "base/user_folders.h"
#include "base/whole_file.h"

namespace vistrel {
namespace {

// The command line of this process.
std::vector<std::string> OwnArguments() {
    const std::string line = ReadWholeFile("/proc/self/cmdline").value_or("");
    std::vector<std::string> arguments;
    for (std::size_t start = 0; start < line.size();) {
        const std::size_t end = line.find('\0', start);
        arguments.push_back(line.substr(start, end - start));
        start = end == line.npos ? line.size() : end + 1;
    }
    return arguments;
}

bool HasArgument(std::string_view part, const std::vector<std::string>& arguments) {
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        const std::string name = std::filesystem::path(arguments[i]).filename();
        if (!name.starts_with("--") && !name.empty() && part.find(name) != part.npos) return true;
    }
    return false;
}

// Whether a word of `part` looks like a file's name, or like one that a file was given by its user.
bool HasFileName(const std::string& part) {
    static const std::regex library(R"(\blib[\w+-]+\.so(\.\d+)*)");
    static const std::regex file(R"([/"'\\\x80-\xff]|\.[A-Za-z]\w*)");
    return std::regex_search(std::regex_replace(part, library, ""), file);
}

std::string Day() {
    std::array<char, 16> text{};
    const std::time_t now = std::time(nullptr);
    std::tm day{};
    gmtime_r(&now, &day);
    return std::strftime(text.data(), text.size(), "%Y-%m-%d", &day) > 0 ? text.data() : "";
}

}  // namespace

std::string WithoutNames(std::string_view text) {
    const std::vector<std::string> arguments = OwnArguments();
    std::string safe;
    while (!text.empty()) {
        std::size_t end = text.find_first_of(":;\n");
        const std::size_t sentence = text.find(". ");
        end = std::min(end, sentence);
        const std::string part(text.substr(0, end));
        safe += HasArgument(part, arguments) || HasFileName(part) ? "<file>" : part;
        if (end == text.npos) break;
        safe += text[end] == '\n' ? ' ' : text[end];
        text.remove_prefix(end + 1);
        if (text.starts_with(' ')) {
            safe += ' ';
            text.remove_prefix(1);
        }
    }
    return safe;
}

void KeepFailure(std::string_view reason) noexcept {
    constexpr std::size_t kMost = 1000;
    try {
        const std::filesystem::path file = ToPath(FailureFile());
        std::filesystem::create_directories(file.parent_path());
        const std::vector<std::string> arguments = OwnArguments();
        const std::string program =
            arguments.empty() ? "" : std::filesystem::path(arguments.front()).filename().native();
        NewFile kept(file);
        kept.Append(Day() + (program.starts_with("vistrel") ? " " + program : "") + ": " +
                    WithoutNames(reason).substr(0, kMost) + "\n");
        kept.Commit();
    } catch (...) {
        return;  // the failure itself was told
    }
}

std::string LastFailure() {
    const std::string text = ReadWholeFile(ToPath(FailureFile())).value_or("");
    return text.substr(0, text.find('\n'));
}

}  // namespace vistrel

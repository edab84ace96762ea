// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/texts/more_sections.h"

#include <fstream>
#include <stdexcept>

namespace vistrel {
namespace {

const TextSection::Item kSettings = {
    "~/.config/Vistrel/settings.json",
    "What is chosen in the window, the network among it. $XDG_CONFIG_HOME takes the place of "
    "~/.config."};
const TextSection::Item kModels = {
    "~/.local/share/Vistrel/Models",
    "Where a network goes that is fetched. $XDG_DATA_HOME takes the place of ~/.local/share."};
const TextSection::Item kRuntime = {
    "~/.local/share/Vistrel/Runtime",
    "An ONNX Runtime of your own, with CUDA for instance, which is used in place of the one that "
    "lies beside the program."};
const TextSection::Item kFailure = {"~/.local/state/Vistrel/last_failure",
                                    "What failed last, for vistrel-convert "
                                    "--report-problem. $XDG_STATE_HOME takes the place "
                                    "of ~/.local/state."};

TextSection ExitStatus(const std::string& success, const std::string& failure) {
    return {"EXIT STATUS", {{"0", success}, {"1", failure}, {"2", "Wrong usage."}}};
}

std::string WithoutMark(const std::string& line) {
    const std::size_t start = line.find_first_not_of("# ");
    return start == std::string::npos ? "" : line.substr(start);
}

// The comment's text behind the line of the licence, and its line with the usage.
void ReadComment(std::istream& script, std::string& text, std::string& usage) {
    for (std::string line; std::getline(script, line) && line.starts_with('#');) {
        const std::string words = WithoutMark(line);
        if (line.starts_with("#!") || words.starts_with("SPDX-") || words.starts_with("shellcheck"))
            continue;
        if (words.starts_with("Usage: ")) {
            usage = words.substr(words.find(' ') + 1);
        } else {
            text += (text.empty() ? "" : " ") + words;
        }
    }
}

}  // namespace

std::vector<TextSection> MoreSections(const std::string& command) {
    if (command == "vistrel-convert") {
        return {ExitStatus("Every scene was written.",
                           "One was not, or the log was lost; standard error says why."),
                {"FILES", {kSettings, kRuntime, kFailure}},
                {"ENVIRONMENT",
                 {{"VISTREL_CONVERTED, VISTREL_FAILED, VISTREL_SKIPPED",
                   "For the command of --then: how many files there were of each kind."},
                  {"VISTREL_OUTPUT_DIR", "For the command of --then: the folder of the scenes."}}}};
    }
    if (command == "vistrel-fetch") {
        return {ExitStatus("What was asked for is there, and whole.",
                           "It is not; standard error says why."),
                {"FILES", {kModels, kRuntime, kSettings}},
                {"ENVIRONMENT",
                 {{"HF_ENDPOINT", "Another hub with the same files, such as https://hub.example."},
                  {"HF_TOKEN", "Tells the hub, and nobody else, who you are."},
                  {"https_proxy, no_proxy", "The way into the network."}}}};
    }
    return {ExitStatus("Everything was written.", "Something was not; standard error says why.")};
}

CommandText WindowText() {
    CommandText text;
    text.name = "vistrel";
    text.summary = "Turns one photograph into a 3D Gaussian Splat scene and shows it.";
    text.sections = {
        {"USAGE",
         {{"",
           "Opens the window; what stands on the command line is not looked at. The manual is in "
           "its menu. Photographs and scenes are opened there, or by a drop onto the window, or "
           "from the desktop."},
          {"", "The first conversion needs the network: vistrel-fetch or the window fetches it."}}},
        {"EXIT STATUS", {{"0", "The window was closed."}, {"1", "It could not be opened."}}},
        {"FILES", {kSettings, kModels, kRuntime}}};
    return text;
}

CommandText ScriptText(const std::filesystem::path& script) {
    std::ifstream stream(script);
    std::string comment;
    std::string usage;
    ReadComment(stream, comment, usage);
    const std::size_t end = comment.find_first_of(".:");
    const std::string exits = "Exits with 1 when ";
    const std::size_t last = comment.find(exits);
    if (end == std::string::npos || last == std::string::npos || usage.empty()) {
        throw std::runtime_error(script.native() + " does not begin with its help");
    }
    CommandText text;
    text.name = script.filename().native();
    text.description = comment.substr(0, last);
    text.summary = comment.substr(0, end) + ".";
    const std::size_t space = usage.find(' ');
    OptionText file;
    file.names = {usage.substr(space + 1, usage.find("...") - space - 1)};
    file.value = "FILE";
    file.isRequired = true;
    file.isRepeated = usage.ends_with("...");
    text.files = {file};
    text.sections = {
        ExitStatus("All of them were made.", "When " + comment.substr(last + exits.size())),
        {"FILES", {kSettings}}};
    return text;
}

}  // namespace vistrel

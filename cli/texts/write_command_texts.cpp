// SPDX-License-Identifier: GPL-3.0-or-later
// Writes the manual pages of all programs and the completions of those with options.
//
// Usage: write_command_texts SHARE DATE SCRIPT. SHARE is a folder as /usr/share is, DATE stands in
// the pages, SCRIPT is vistrel-make-scene.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>

#include "cli/convert/options.h"
#include "cli/fetch/options.h"
#include "cli/render/options.h"
#include "cli/share/options.h"
#include "cli/texts/bash_completion.h"
#include "cli/texts/command_reading.h"
#include "cli/texts/man_page.h"
#include "cli/texts/more_sections.h"
#include "cli/texts/zsh_completion.h"

namespace vistrel {
namespace {

void WriteText(const std::filesystem::path& file, const std::string& text) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream stream(file, std::ios::binary);
    if (!(stream << text).flush()) throw std::runtime_error("cannot write " + file.native());
}

std::vector<CommandText> CommandsWithOptions() {
    std::vector<CommandText> commands;
    for (const auto& show :
         {ShowConvertOptions, ShowFetchOptions, ShowRenderOptions, ShowShareOptions}) {
        show([&commands](const CLI::App& app) { commands.push_back(TextOf(app)); });
        commands.back().sections = MoreSections(commands.back().name);
    }
    return commands;
}

void WriteAll(const std::filesystem::path& share, const std::string& date,
              const std::filesystem::path& script) {
    std::vector<CommandText> commands = CommandsWithOptions();
    for (const CommandText& command : commands) {
        WriteText(share / "bash-completion/completions" / command.name, BashCompletion(command));
        WriteText(share / "zsh/site-functions" / ("_" + command.name), ZshCompletion(command));
    }
    commands.push_back(ScriptText(script));
    commands.push_back(WindowText());
    ManPageFacts facts = {VISTREL_VERSION, date, {}};
    for (const CommandText& command : commands) facts.commands.push_back(command.name);
    for (const CommandText& command : commands) {
        WriteText(share / "man/man1" / (command.name + ".1"), ManPage(command, facts));
    }
}

}  // namespace
}  // namespace vistrel

int main(int argc, char** argv) {
    try {
        if (argc != 4) throw std::runtime_error("usage: write_command_texts SHARE DATE SCRIPT");
        vistrel::WriteAll(argv[1], argv[2], argv[3]);
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return EXIT_FAILURE;
    }
}

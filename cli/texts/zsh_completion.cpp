// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/texts/zsh_completion.h"

#include <sstream>

namespace vistrel {
namespace {

// Within single quotes of the shell, and where _arguments gives brackets and colons a meaning.
std::string ZshText(const std::string& text) {
    std::string escaped;
    for (const char character : text) {
        if (character == '\'') {
            escaped += "'\\''";
        } else {
            if (character == '[' || character == ']' || character == ':') escaped += '\\';
            escaped += character;
        }
    }
    return escaped;
}

// Files of any name where there are no endings.
std::string ZshFiles(const std::vector<std::string>& endings) {
    if (endings.empty()) return "_files";
    std::string pattern;
    for (const std::string& ending : endings) pattern += (pattern.empty() ? "" : "|") + ending;
    return "_files -g \"(#i)*(" + pattern + ")\"";
}

std::string ZshAction(const OptionText& option) {
    if (!option.choices.empty()) {
        std::string words;
        for (const std::string& choice : option.choices)
            words += (words.empty() ? "" : " ") + choice;
        return "(" + words + ")";
    }
    if (TakesFolder(option)) return "_files -/";
    if (TakesFile(option)) return ZshFiles(EndingsIn(option.help));
    return " ";
}

void WriteZshOptions(std::ostream& script, const CommandText& command, const char* indent) {
    for (const OptionText& option : command.options) {
        for (const std::string& name : option.names) {
            script << " \\\n" << indent << '\'' << name;
            if (!option.value.empty() && name.starts_with("--")) script << '=';
            script << '[' << ZshText(ShortHelp(option.help)) << ']';
            if (!option.value.empty()) {
                script << ':' << ZshText(option.value) << ':' << ZshAction(option);
            }
            script << '\'';
        }
    }
}

// Folders that hold what the command takes have to be shown, too; _files does.
void WriteZshFiles(std::ostream& script, const CommandText& command, const char* indent) {
    if (!command.files.empty()) {
        script << " \\\n"
               << indent << "'*:" << ZshText(command.files.front().names.front()) << ":_files'";
    }
}

void WriteZshSubcommands(std::ostream& script, const CommandText& command) {
    script << " \\\n        '1:command:((";
    for (const CommandText& subcommand : command.subcommands) {
        script << (&subcommand == command.subcommands.data() ? "" : " ") << subcommand.name
               << "\\:\"" << ZshText(ShortHelp(subcommand.summary)) << '"';
    }
    script << "))' \\\n        '*::argument:->rest'\n    case $state:${words[1]} in\n";
    for (const CommandText& subcommand : command.subcommands) {
        script << "        rest:" << subcommand.name << ")\n            _arguments -s";
        WriteZshOptions(script, subcommand, "                ");
        WriteZshFiles(script, subcommand, "                ");
        script << "\n            ;;\n";
    }
    script << "    esac\n";
}

}  // namespace

std::string ZshCompletion(const CommandText& command) {
    std::ostringstream script;
    script << "#compdef " << command.name << "\n\n_" << command.name
           << "() {\n    local context state line\n    typeset -A opt_args\n    _arguments -s"
           << (command.subcommands.empty() ? "" : " -C");
    WriteZshOptions(script, command, "        ");
    if (command.subcommands.empty()) {
        WriteZshFiles(script, command, "        ");
        script << '\n';
    } else {
        WriteZshSubcommands(script, command);
    }
    script << "}\n\n_" << command.name << " \"$@\"\n";
    return script.str();
}

}  // namespace vistrel

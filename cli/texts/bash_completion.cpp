// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/texts/bash_completion.h"

#include <algorithm>
#include <sstream>

namespace vistrel {
namespace {

std::string BashFunction(const std::string& command) {
    std::string name = "_" + command;
    std::ranges::replace(name, '-', '_');
    return name;
}

std::string Joined(const std::vector<std::string>& parts, const char* separator) {
    std::string joined;
    for (const std::string& part : parts) joined += (joined.empty() ? "" : separator) + part;
    return joined;
}

// A call that adds the names of files with these endings, which are a regular expression there, and
// of folders.
std::string BashFiles(const std::string& function, const std::vector<std::string>& endings) {
    std::string pattern = Joined(endings, "|");
    for (std::size_t dot = 0; (dot = pattern.find('.', dot)) != std::string::npos; dot += 2) {
        pattern.replace(dot, 1, "\\.");
    }
    return function + "_files '" + (pattern.empty() ? "" : "(" + pattern + ")$") + "'";
}

std::string BashWords(const std::vector<std::string>& words) {
    return "mapfile -t COMPREPLY < <(compgen -W '" + Joined(words, " ") + "' -- \"$current\")";
}

std::string BashValue(const std::string& function, const OptionText& option) {
    if (!option.choices.empty()) return BashWords(option.choices);
    if (TakesFolder(option)) return function + "_files '/$'";
    if (TakesFile(option)) return BashFiles(function, EndingsIn(option.help));
    return "";  // nobody can list them
}

// Cases for "SUBCOMMAND:OPTION", the option's value being what is completed.
void WriteBashValues(std::ostream& script, const std::string& function,
                     const std::string& subcommand, const CommandText& command) {
    for (const OptionText& option : command.options) {
        if (option.value.empty()) continue;
        std::vector<std::string> patterns;
        patterns.reserve(option.names.size());
        for (const std::string& name : option.names) patterns.push_back(subcommand + ":" + name);
        const std::string value = BashValue(function, option);
        script << "        " << Joined(patterns, " | ") << ")\n"
               << (value.empty() ? "" : "            " + value + "\n")
               << "            return\n            ;;\n";
    }
}

std::vector<std::string> NamesIn(const CommandText& command) {
    std::vector<std::string> names;
    for (const OptionText& option : command.options) {
        names.insert(names.end(), option.names.begin(), option.names.end());
    }
    return names;
}

std::vector<std::string> SubcommandNames(const CommandText& command) {
    std::vector<std::string> names;
    names.reserve(command.subcommands.size());
    for (const CommandText& subcommand : command.subcommands) names.push_back(subcommand.name);
    return names;
}

// All endings of which the texts of a command speak: any of them may be that of a file it takes.
std::vector<std::string> AllEndings(const CommandText& command) {
    std::string texts;
    for (const OptionText& option : command.files) texts += option.help + " ";
    for (const OptionText& option : command.options) {
        if (option.value.empty()) texts += option.help + " ";
    }
    return EndingsIn(texts);
}

void WriteBashNames(std::ostream& script, const std::string& function,
                    const std::string& subcommand, const CommandText& command) {
    script << "        " << subcommand << ":-*)\n            " << BashWords(NamesIn(command))
           << "\n            ;;\n        " << subcommand << ":*)\n";
    if (!command.subcommands.empty()) {
        script << "            " << BashWords(SubcommandNames(command)) << '\n';
    } else if (!command.files.empty()) {
        script << "            " << BashFiles(function, AllEndings(command)) << '\n';
    }
    script << "            ;;\n";
}

void WriteFileFunction(std::ostream& script, const std::string& function) {
    script << function << R"(_files() {
    local name
    compopt -o filenames
    while IFS= read -r name; do
        if [[ -d ${name/#\~\//$HOME/} || ($1 != '/$' && ${name,,} =~ $1) ]]; then
            COMPREPLY+=("$name")
        fi
    done < <(compgen -f -- "$current")
}
)";
}

}  // namespace

std::string BashCompletion(const CommandText& command) {
    const std::string function = BashFunction(command.name);
    std::ostringstream script;
    script << "# Completion of " << command.name << " in bash.\n\n";
    WriteFileFunction(script, function);
    script << '\n'
           << function << R"(() {
    local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} within= word
    COMPREPLY=()
    if [[ $current == = ]]; then
        current=
    elif [[ $before == = ]]; then
        before=${COMP_WORDS[COMP_CWORD - 2]}
    fi
)";
    if (!command.subcommands.empty()) {
        script << "    for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n        case $word in "
               << Joined(SubcommandNames(command), " | ") << ") within=$word ;; esac\n    done\n";
    }
    script << "    case $within:$before in\n";
    WriteBashValues(script, function, "", command);
    for (const CommandText& subcommand : command.subcommands) {
        WriteBashValues(script, function, subcommand.name, subcommand);
    }
    script << "    esac\n    case $within:$current in\n";
    WriteBashNames(script, function, "", command);
    for (const CommandText& subcommand : command.subcommands) {
        WriteBashNames(script, function, subcommand.name, subcommand);
    }
    script << "    esac\n}\n\ncomplete -F " << function << ' ' << command.name << '\n';
    return script.str();
}

}  // namespace vistrel
